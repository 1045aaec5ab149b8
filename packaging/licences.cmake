# The licences of what is shipped, as Debian's packages give them.

# ship_licence(NAME FILE): a text by the name that licenses/README.txt calls it by, with the line ends of Windows.
function(ship_licence name file)
  configure_file(${file} ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/licenses/${name} @ONLY NEWLINE_STYLE CRLF)
  ship(licenses/${name})
endfunction()

ship_licence(README.txt ${CMAKE_CURRENT_SOURCE_DIR}/licences.txt)
ship_licence(LGPL-3.txt /usr/share/common-licenses/LGPL-3)
ship_licence(GPL-3.txt /usr/share/common-licenses/GPL-3)
ship_licence(Qt.txt /usr/share/doc/libqt5core5a/copyright)
ship_licence(Qt-translations.txt /usr/share/doc/qttranslations5-l10n/copyright)
ship_licence(SQLite.txt /usr/share/doc/libsqlite3-0/copyright)
ship_licence(GCC-runtime.txt /usr/share/doc/gcc-mingw-w64-base/copyright)
ship_licence(mingw-w64.txt /usr/share/doc/mingw-w64-common/copyright)
ship_licence(NSIS.txt /usr/share/doc/nsis/copyright)
