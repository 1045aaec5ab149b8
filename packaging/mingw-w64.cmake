# The cross build for 64-bit Windows: Debian's mingw-w64 with POSIX threads, which the C++ library's own threads need.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Qt for Windows, where tools/windows lays it: libraries for Windows, and the tools of the build for this machine.
cmake_path(SET orvo_qt_root NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../build/qt5-mingw)
set(CMAKE_FIND_ROOT_PATH ${orvo_qt_root} /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
