# cmake -DREPORTS=FOLDER [-DCLEAR=ON] -P: shows what the sanitizers have reported there and fails if it is anything; with
# CLEAR, empties the folder.

if(CLEAR)
  file(REMOVE_RECURSE ${REPORTS})
  file(MAKE_DIRECTORY ${REPORTS})
  return()
endif()

file(GLOB reports ${REPORTS}/*)
foreach(report IN LISTS reports)
  file(READ ${report} text)
  message("${report}:\n${text}")
endforeach()
if(reports)
  message(FATAL_ERROR "The sanitizers have something to report")
endif()
