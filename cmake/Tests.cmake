# talmo_add_test(NAME [LIBRARY ...]): the test program NAME.cpp of this folder, linked with a main
# that every test shares, as one CTest entry. A program that links the preferences opens the user's
# settings, and prints that it did, before main: each entry has a home of its own, and nothing runs
# a test program while building.
find_package(GTest REQUIRED)

set(talmo_test_options -O0) # the compiler takes longer than the tests do

# These take longest, most of it waiting. In a new build they start first, so that no processor waits for them.
set(talmo_long_tests BlessProgramsTest DiffBadInputTest DiskFileTest FlawPropertiesTest HostileProgramsTest
  ListAsDriverTest NewTest PrefsTest RunInterruptionTest RunTimeoutTest)

function(talmo_add_test name)
  add_executable(${name} ${name}.cpp)
  target_link_libraries(${name} PRIVATE ${ARGN} tests_main talmo_compilation)
  target_compile_options(${name} PRIVATE ${talmo_test_options})
  target_precompile_headers(${name} REUSE_FROM tests_main)
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  add_test(NAME ${name} COMMAND ${name})
  talmo_test_home(${name})
  if(name IN_LIST talmo_long_tests)
    set_tests_properties(${name} PROPERTIES COST 50)
  endif()
endfunction()

# talmo_test_home(NAME): the CTest entry NAME runs in a home of its own. Under the sanitizers a request
# for too much memory fails, as it does without them.
function(talmo_test_home name)
  set(home ${CMAKE_BINARY_DIR}/tests/home/${name})
  file(MAKE_DIRECTORY ${home})
  set_tests_properties(${name} PROPERTIES WORKING_DIRECTORY ${home} ENVIRONMENT
    "HOME=${home};XDG_CONFIG_HOME=${home}/config;XDG_CONFIG_DIRS=${home}/none;LC_ALL=C.UTF-8;LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/lsan.supp:print_suppressions=0;ASAN_OPTIONS=allocator_may_return_null=1")
endfunction()

# talmo_test_starts(NAME DEFINITION TARGET): the test program NAME starts the executable TARGET, whose
# path it knows as DEFINITION.
function(talmo_test_starts name definition target)
  target_compile_definitions(${name} PRIVATE ${definition}="$<TARGET_FILE:${target}>")
  add_dependencies(${name} ${target})
endfunction()
