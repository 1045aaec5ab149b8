# cmake -DBIN=FOLDER -DSHIPPED=LIST -DZIP=FILE -P zip.cmake: packs what the installer would install, in a folder that is
# called like the archive.
cmake_path(GET ZIP STEM LAST_ONLY name)
cmake_path(GET ZIP PARENT_PATH place)
set(stage ${place}/zip)
file(REMOVE_RECURSE ${stage} ${ZIP})
file(MAKE_DIRECTORY ${stage}/${name}/logs ${stage}/${name}/details)
file(STRINGS ${SHIPPED} paths)
foreach(path IN LISTS paths)
  cmake_path(GET path PARENT_PATH folder)
  file(COPY ${BIN}/${path} DESTINATION ${stage}/${name}/${folder})
endforeach()
execute_process(COMMAND ${CMAKE_COMMAND} -E tar cf ${ZIP} --format=zip ${name}
  WORKING_DIRECTORY ${stage} COMMAND_ERROR_IS_FATAL ANY)
file(REMOVE_RECURSE ${stage})
