# The program and what it loads.

get_property(driver_files GLOBAL PROPERTY ORVO_DRIVER_FILES)
ship(OrvoCloudManager.exe OrvoDriverUpdate.exe Quaylink.dll ${driver_files} Translations/qt_zh_CN.qm)

foreach(module Core Gui Network Sql Widgets)
  get_target_property(library Qt5::${module} IMPORTED_LOCATION_RELEASE)
  ship_into(. ${library})
endforeach()

# ship_plugin(FOLDER TARGET): Qt looks for plugins in folders of these names beside the program.
function(ship_plugin folder plugin)
  get_target_property(library Qt5::${plugin} IMPORTED_LOCATION_RELEASE)
  ship_into(${folder} ${library})
endfunction()
ship_into(. ${CMAKE_CURRENT_SOURCE_DIR}/resources/qt.conf)
ship_plugin(platforms QWindowsIntegrationPlugin)
ship_plugin(styles QWindowsVistaStylePlugin)
ship_plugin(imageformats QGifPlugin)
ship_plugin(imageformats QICOPlugin)
ship_plugin(sqldrivers QSQLiteDriverPlugin)

# The compiler's runtime, without the debug information that is nine tenths of it. -p keeps the time stamps inside.
foreach(name libgcc_s_seh-1.dll libssp-0.dll libstdc++-6.dll libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
    OUTPUT_VARIABLE library OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND ${CMAKE_STRIP} -p -o ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name} ${library}
    COMMAND_ERROR_IS_FATAL ANY)
  ship(${name})
endforeach()
