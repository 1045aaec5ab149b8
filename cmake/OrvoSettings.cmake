# The settings of all directories: language, warnings, definitions, sanitizers, output folders.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTORCC ON)
set(CMAKE_AUTOUIC ON)

# Everything runnable lies in bin/ and finds its neighbours there after the folder is copied elsewhere. DT_RPATH
# rather than DT_RUNPATH: only the former also serves the libraries that QLibrary loads at run time.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
if(NOT WIN32)
  set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
  set(CMAKE_BUILD_RPATH $ORIGIN)
  add_link_options(-Wl,--disable-new-dtags)
endif()

# Outside src/ an include path starts at the repository's root.
include_directories(${CMAKE_SOURCE_DIR})
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual -Wundef)
add_compile_definitions(
  NOMINMAX WIN32_LEAN_AND_MEAN UNICODE _UNICODE
  QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
  QT_DEPRECATED_WARNINGS QT_DISABLE_DEPRECATED_BEFORE=0x050F00)

# -fno-sanitize=vptr: the check reads memory through a pipe and reports every object when a test exhausts descriptors.
set(address_sanitizer_flags -fsanitize=address,undefined -fno-sanitize=vptr -fno-sanitize-recover=undefined)
set(thread_sanitizer_flags -fsanitize=thread)
if(ORVO_SANITIZE)
  if(NOT DEFINED ${ORVO_SANITIZE}_sanitizer_flags)
    message(FATAL_ERROR "ORVO_SANITIZE is address, thread or empty, not \"${ORVO_SANITIZE}\"")
  endif()
  add_compile_options(${${ORVO_SANITIZE}_sanitizer_flags} -fno-omit-frame-pointer)
  add_link_options(${${ORVO_SANITIZE}_sanitizer_flags})
endif()
if(ORVO_FUZZ)
  # In all code, so that the fuzzer sees which lines an input reaches.
  set(fuzz_flags -fsanitize=fuzzer-no-link,address,undefined)
  add_compile_options(${fuzz_flags} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(${fuzz_flags})
endif()
if(ORVO_COVERAGE)
  add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
  add_link_options(-fprofile-instr-generate)
endif()

# The Win32 API: Windows' own on Windows; elsewhere Wine's declarations over the emulator's functions.
add_library(win32_api INTERFACE)
if(WIN32)
  target_link_libraries(win32_api INTERFACE winspool advapi32)
else()
  find_path(WINE_WINDOWS_INCLUDE_DIR winspool.h
    PATHS /usr/include/wine/wine/windows /usr/include/wine/windows NO_DEFAULT_PATH REQUIRED)
  add_library(win32_declarations INTERFACE)
  target_include_directories(win32_declarations SYSTEM INTERFACE ${WINE_WINDOWS_INCLUDE_DIR})
  # Wine hides its functions inside one library each; here they are linked from another one.
  target_compile_definitions(win32_declarations INTERFACE DECLSPEC_HIDDEN=)
  target_link_libraries(win32_api INTERFACE win32_declarations win32emulator)
endif()

# orvo_library(NAME SOURCES ... USES ...): one folder of src/ as the target orvo_NAME. Only what it uses is linked, so an
# include against the order of the folders does not link.
function(orvo_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_library(orvo_${name} STATIC ${ARG_SOURCES})
  target_include_directories(orvo_${name} PUBLIC ${CMAKE_SOURCE_DIR}/src)
  target_link_libraries(orvo_${name} PUBLIC ${ARG_USES})
endfunction()
