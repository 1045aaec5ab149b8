# What the tests run with when they are built with a sanitizer (ORVO_SANITIZE): sanitizer_environment, sanitizer_launcher
# and sanitizer_fixture, for orvo_test(); tsan_qt, which lets the thread sanitizer see what Qt does, to link executables
# with; and two tests around all others that collect the reports.

# A process that is killed, or whose output and exit code nobody looks at, still leaves its report here.
set(sanitizer_reports ${CMAKE_BINARY_DIR}/sanitizer-reports)
set(tsan_qt "")
set(report_options "log_path=${sanitizer_reports}/report:log_exe_name=1")

if(ORVO_SANITIZE STREQUAL "address")
  set(sanitizer_environment
    "ASAN_OPTIONS=detect_leaks=1:${report_options}"
    "LSAN_OPTIONS=suppressions=${CMAKE_CURRENT_LIST_DIR}/leaks.supp:print_suppressions=0"
    "UBSAN_OPTIONS=print_stacktrace=1"
    # Qt loads Mesa's driver with a window although nothing draws by OpenGL; unloaded again, it leaves a leak without a name.
    "QT_XCB_GL_INTEGRATION=none")
elseif(ORVO_SANITIZE STREQUAL "thread")
  add_library(tsan_qt OBJECT support/tsanqt.cpp)
  target_link_libraries(tsan_qt PRIVATE Qt5::Core)
  set(tsan_qt $<TARGET_OBJECTS:tsan_qt>)
  # Qt is built without this sanitizer, which sees its calls of intercepted functions (memcpy, free) but
  # hardly what orders them, and would report every object that an event hands over to another thread. Its containers
  # look with a relaxed load whether they still share their content. With these options no report needs suppressing.
  set(sanitizer_environment
    "TSAN_OPTIONS=ignore_interceptors_accesses=1:force_seq_cst_atomics=1:${report_options}")
endif()

# The sanitizers of GCC 12 need their part of the address space free: with more than 28 random bits in an address the
# system now and then maps something into it.
set(sanitizer_launcher "")
execute_process(COMMAND setarch -R true RESULT_VARIABLE setarch_status ERROR_QUIET)
if(ORVO_SANITIZE AND setarch_status EQUAL 0)
  set(sanitizer_launcher setarch -R)
endif()

set(sanitizer_fixture "")
if(ORVO_SANITIZE)
  set(sanitizer_fixture sanitizer_reports)
  add_test(NAME no_old_reports COMMAND sh -c "rm -rf '${sanitizer_reports}' && mkdir '${sanitizer_reports}'")
  add_test(NAME no_reports COMMAND sh -c "! cat '${sanitizer_reports}'/*")
  set_tests_properties(no_old_reports PROPERTIES FIXTURES_SETUP sanitizer_reports)
  set_tests_properties(no_reports PROPERTIES FIXTURES_CLEANUP sanitizer_reports)
endif()
