# One list of everything that an installation holds, for the folder to run from, the installer and the zip.

set_property(GLOBAL PROPERTY ORVO_SHIPPED "")

# ship(PATHS ...): paths below bin/ of files that the build puts there.
function(ship)
  set_property(GLOBAL APPEND PROPERTY ORVO_SHIPPED ${ARGN})
endfunction()

# ship_into(FOLDER FILES ...): copies files into a folder of bin/ first; "." is bin/ itself.
function(ship_into folder)
  foreach(file IN LISTS ARGN)
    cmake_path(GET file FILENAME name)
    cmake_path(SET path NORMALIZE ${folder}/${name})
    configure_file(${file} ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${path} COPYONLY)
    ship(${path})
  endforeach()
endfunction()

# Writes the list as shipped.txt, and as the installer's instructions that add and remove exactly these files. STAGE is
# the folder from which packaging/pack takes them.
function(write_shipped_lists)
  get_property(paths GLOBAL PROPERTY ORVO_SHIPPED)
  list(SORT paths)
  set(folders "")
  foreach(path IN LISTS paths)
    cmake_path(GET path PARENT_PATH folder)
    string(REPLACE "/" "\\" windows_path ${path})
    string(REPLACE "/" "\\" windows_folder "\\${folder}")
    if(folder STREQUAL "")
      set(windows_folder "")
    else()
      list(APPEND folders ${folder})
    endif()
    string(APPEND install
      "  SetOutPath \"$INSTDIR${windows_folder}\"\n"
      "  File \"\${STAGE}/${path}\"\n")
    string(APPEND uninstall "  Delete \"$INSTDIR\\${windows_path}\"\n")
  endforeach()
  list(REMOVE_DUPLICATES folders)
  list(SORT folders ORDER DESCENDING) # the inner ones first
  foreach(folder IN LISTS folders)
    string(REPLACE "/" "\\" windows_folder ${folder})
    string(APPEND uninstall "  RMDir \"$INSTDIR\\${windows_folder}\"\n")
  endforeach()
  list(JOIN paths "\n" lines)
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/shipped.txt CONTENT "${lines}\n" @ONLY)
  file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/shipped.nsh @ONLY CONTENT
    "!macro InstallShipped\n${install}!macroend\n\n!macro UninstallShipped\n${uninstall}!macroend\n")
endfunction()
