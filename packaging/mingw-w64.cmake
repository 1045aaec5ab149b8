# The cross build for 64-bit Windows: Debian's mingw-w64 with POSIX threads, which the C++ library's own threads need.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
cmake_path(GET CMAKE_CURRENT_LIST_DIR PARENT_PATH orvo_root)

# No folder and no time of the build in its output, so that anyone can build the same bytes.
set(CMAKE_CXX_FLAGS_INIT "\"-ffile-prefix-map=${orvo_root}=.\"")
set(CMAKE_EXE_LINKER_FLAGS_INIT -Wl,--no-insert-timestamp)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -Wl,--no-insert-timestamp)
set(CMAKE_AUTORCC_OPTIONS --format-version 1) # the only one without the files' times

# ASLR, its high entropy and NX are the linker's default.
string(APPEND CMAKE_CXX_FLAGS_INIT " -fstack-protector-strong -D_FORTIFY_SOURCE=2")

# Qt for Windows, where tools/windows unpacks it: libraries for Windows, and the tools of the build for this machine.
set(CMAKE_FIND_ROOT_PATH ${orvo_root}/build/qt5-mingw /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
