# Compile options that every target of the project shares. Warnings are errors in all presets.
add_library(nimbara_options INTERFACE)
target_compile_options(nimbara_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor
  -Woverloaded-virtual -Werror)
target_compile_definitions(nimbara_options INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_KEYWORDS
  QT_NO_FOREACH QT_STRICT_ITERATORS)
if(NIMBARA_SANITIZE)
  # GCC 12 takes a variant that the sanitizers instrument for uninitialised; the other builds look
  # for what is.
  target_compile_options(nimbara_options INTERFACE
    -fsanitize=${NIMBARA_SANITIZE} -fno-omit-frame-pointer -Wno-maybe-uninitialized)
  if(NIMBARA_SANITIZE MATCHES "undefined")
    target_compile_options(nimbara_options INTERFACE -fno-sanitize-recover=undefined)
  endif()
  target_link_options(nimbara_options INTERFACE -fsanitize=${NIMBARA_SANITIZE})
endif()

# What the sanitizers look for is in the product. The tests call it; a compiler that makes them fast
# takes twice as long.
set(nimbara_test_options)
if(NIMBARA_SANITIZE)
  set(nimbara_test_options -O0)
endif()

# Qt, GLib and GStreamer are not instrumented: what they read and write is theirs, what they order is told
# by tests/support/thread_bridge.cpp. GLib shall use no memory again behind the sanitizer's back.
set(nimbara_test_launcher)
set(nimbara_race_environment)
if(NIMBARA_SANITIZE MATCHES "thread")
  set(nimbara_test_launcher ${PROJECT_SOURCE_DIR}/tests/support/fixed_addresses.sh)
  set(nimbara_race_environment
    "TSAN_OPTIONS=ignore_noninstrumented_modules=1:second_deadlock_stack=1;G_SLICE=always-malloc")
endif()

# nimbara_room(<name> SOURCES <file>... LINKS <target>... [HEADERS core|widgets])
#
# One static library per folder under src/: target nimbara_<name>. LINKS names the floors below that
# the room may use; scripts/check holds the includes against the same order.
function(nimbara_room name)
  cmake_parse_arguments(ROOM "" "HEADERS" "SOURCES;LINKS" ${ARGN})
  add_library(nimbara_${name} STATIC ${ROOM_SOURCES})
  target_include_directories(nimbara_${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(nimbara_${name} PUBLIC ${ROOM_LINKS} PRIVATE nimbara_options)
  if(ROOM_HEADERS)
    nimbara_use_headers(nimbara_${name} ${ROOM_HEADERS})
  else()
    nimbara_use_headers(nimbara_${name} core)
  endif()
endfunction()

# nimbara_pixel_work(<file>...)
#
# Loops over all pixels of pictures that their caller alone has, in the room of this folder. The thread
# sanitizer, which takes a hundred times as long for each, does not look at them.
function(nimbara_pixel_work)
  if(NIMBARA_SANITIZE MATCHES "thread")
    set_source_files_properties(${ARGN} PROPERTIES
      COMPILE_OPTIONS -fno-sanitize=thread SKIP_PRECOMPILE_HEADERS ON)
  endif()
endfunction()

# nimbara_test(<name> [APP core|gui|widgets] SOURCES <file>... LINKS <target>... [TIMEOUT <s>]
#   [LAUNCHER <command>...] [ENVIRONMENT <NAME=value>...] [NO_LEAK_CHECK] [PURE])
#
# One test executable per room. It runs with the offscreen platform, in a private home and with the
# settings, data and cache folders below it, so that no test touches the developer's own files.
# PURE: no device, no server and no deadline is in it, so that another one may run beside it.
# LAUNCHER runs the executable given as its last argument; ENVIRONMENT adds to the variables.
function(nimbara_test name)
  cmake_parse_arguments(TEST "NO_LEAK_CHECK;PURE" "APP;TIMEOUT" "SOURCES;LINKS;LABELS;LAUNCHER;ENVIRONMENT" ${ARGN})
  if(NOT TEST_APP)
    set(TEST_APP core)
  endif()
  if(NOT TEST_TIMEOUT)
    set(TEST_TIMEOUT 900)
  endif()
  set(target test_${name})
  add_executable(${target} ${PROJECT_SOURCE_DIR}/tests/support/test_main.cpp ${TEST_SOURCES})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${target} PRIVATE nimbara_options nimbara_test_support Qt6::Test ${TEST_LINKS})
  target_compile_options(${target} PRIVATE ${nimbara_test_options})
  if(TARGET nimbara_thread_bridge)
    target_link_libraries(${target} PRIVATE nimbara_thread_bridge)
  endif()
  if(TEST_APP STREQUAL "widgets")
    nimbara_use_headers(${target} test_widgets)
  else()
    nimbara_use_headers(${target} test)
  endif()
  if(TEST_APP STREQUAL "widgets")
    target_compile_definitions(${target} PRIVATE NIMBARA_TEST_WIDGETS)
    target_link_libraries(${target} PRIVATE Qt6::Widgets)
  elseif(TEST_APP STREQUAL "gui")
    target_compile_definitions(${target} PRIVATE NIMBARA_TEST_GUI)
    target_link_libraries(${target} PRIVATE Qt6::Gui)
  endif()
  # A leak ends the process at once: an abort would go round in the test library's own handler.
  # Whole stacks, so that a suppression names one foreign leak and no other. They take time that a
  # test of live streams has not.
  set(leaks "detect_leaks=1:fast_unwind_on_malloc=0:malloc_context_size=12")
  if(TEST_NO_LEAK_CHECK)
    set(leaks "detect_leaks=0")
  endif()
  set(home ${CMAKE_BINARY_DIR}/test-home/${name})
  file(MAKE_DIRECTORY ${home})
  add_test(NAME ${name} COMMAND ${nimbara_test_launcher} ${TEST_LAUNCHER} $<TARGET_FILE:${target}>)
  if(NOT TEST_PURE)
    set_tests_properties(${name} PROPERTIES RUN_SERIAL ON)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${TEST_TIMEOUT} LABELS "${TEST_LABELS}" ENVIRONMENT
    "QT_QPA_PLATFORM=offscreen;HOME=${home};XDG_CONFIG_HOME=${home}/config;XDG_DATA_HOME=${home}/data;XDG_CACHE_HOME=${home}/cache;LANG=C.UTF-8;QTEST_DISABLE_STACK_DUMP=1;ASAN_OPTIONS=${leaks}:abort_on_error=0;LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/leaks.supp:print_suppressions=0;UBSAN_OPTIONS=print_stacktrace=1;${nimbara_race_environment};${TEST_ENVIRONMENT}")
endfunction()
