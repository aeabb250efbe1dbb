# What ctest does when it starts, for a suite of talmo_discover_tests(). It asks talmo which runs there are and adds a
# test for each. If that is not possible, it adds one that fails and tells why: without it, there would be no test that
# is not passed.
#
# The file that talmo_discover_tests() has written defines two commands of which the programs and the properties are a
# part: _talmo_list(), which sets status, json and reason, and _talmo_add_run().
cmake_policy(VERSION 3.25)

# _talmo_add_failure(SUITE PREFIX SUFFIX LABELS REASON): a test that fails and prints the reason.
function(_talmo_add_failure suite prefix suffix labels reason)
  set(test "${prefix}talmo: discovery failed: ${suite}${suffix}")
  string(STRIP "${reason}" reason)
  string(SUBSTRING "${reason}" 0 100000 reason) # the longest argument that Linux takes has 131071 bytes
  add_test("${test}" sh -c [[printf '%s\n' "$1" >&2; exit 1]] sh "${reason}")
  set_tests_properties("${test}" PROPERTIES LABELS "${labels}")
endfunction()

# _talmo_add_configuration(SUITE PREFIX SUFFIX LABELS START): the suite of the configuration that ctest was started
# for. START and the configuration are the name of its file.
function(_talmo_add_configuration suite prefix suffix labels start)
  set(file "${start}${CTEST_CONFIGURATION_TYPE}.cmake")
  if(EXISTS "${file}")
    include("${file}")
  else()
    _talmo_add_failure("${suite}" "${prefix}" "${suffix}" "${labels}"
      "'${CTEST_CONFIGURATION_TYPE}' is no configuration of this project; start ctest with -C CONFIGURATION")
  endif()
endfunction()

# _talmo_append_members(VARIABLE JSON MEMBER): appends the texts of an array to a list. A list cannot hold some
# characters, so they become "_".
function(_talmo_append_members variable json member)
  string(JSON count LENGTH "${json}" ${member})
  set(index 0)
  while(index LESS count)
    string(JSON word GET "${json}" ${member} ${index})
    string(REGEX REPLACE "[][;\\\\]" "_" word "${word}")
    list(APPEND ${variable} "${word}")
    math(EXPR index "${index} + 1")
  endwhile()
  set(${variable} "${${variable}}" PARENT_SCOPE)
endfunction()

# _talmo_set_needs(TEST JSON LABELS TIMEOUT): the properties of a test, from what the comments of its script say, and
# from the labels and the time-out of the suite.
function(_talmo_set_needs test json labels timeout)
  set_tests_properties("${test}" PROPERTIES SKIP_RETURN_CODE 77)
  string(JSON processors GET "${json}" processors)
  if(processors GREATER 1)
    set_tests_properties("${test}" PROPERTIES PROCESSORS ${processors})
  endif()
  _talmo_append_members(labels "${json}" labels)
  if(NOT labels STREQUAL "")
    set_tests_properties("${test}" PROPERTIES LABELS "${labels}")
  endif()
  set(locks "")
  _talmo_append_members(locks "${json}" locks)
  if(NOT locks STREQUAL "")
    set_tests_properties("${test}" PROPERTIES RESOURCE_LOCK "${locks}")
  endif()
  string(JSON isSerial GET "${json}" serial)
  if(isSerial)
    set_tests_properties("${test}" PROPERTIES RUN_SERIAL TRUE)
  endif()
  # talmo ends each attempt itself, and can then tell what happened. So ctest waits half a minute longer.
  string(JSON own GET "${json}" timeout)
  if(NOT own STREQUAL "")
    string(REGEX MATCH "^[0-9]+" timeout "${own}")
  endif()
  if(NOT timeout STREQUAL "")
    string(JSON retries GET "${json}" retries)
    math(EXPR timeout "${timeout} * (1 + ${retries}) + 30")
    set_tests_properties("${test}" PROPERTIES TIMEOUT ${timeout})
  endif()
endfunction()

# _talmo_add_test(JSON PREFIX SUFFIX LABELS TIMEOUT): the test of one run. If there is one of the same name already, of
# another suite, both would get the properties of both, so this one is not added; reason then says so.
function(_talmo_add_test json prefix suffix labels timeout)
  string(JSON run GET "${json}" name)
  string(JSON filter GET "${json}" filter)
  set(test "${prefix}${run}${suffix}")
  get_property(isThere GLOBAL PROPERTY "TALMO_TEST_${test}" SET)
  if(isThere)
    set(reason "${reason}another suite has a test '${test}'; give TEST_PREFIX or TEST_SUFFIX\n" PARENT_SCOPE)
    return()
  endif()
  set_property(GLOBAL PROPERTY "TALMO_TEST_${test}" "")
  _talmo_add_run("${test}" "${run}" "${filter}")
  _talmo_set_needs("${test}" "${json}" "${labels}" "${timeout}")
endfunction()

# _talmo_add_tests(JSON PREFIX SUFFIX LABELS TIMEOUT): the tests of all runs in a document of talmo, but if SCRIPTS were
# given, only of these. What is wrong is added to reason.
function(_talmo_add_tests json prefix suffix labels timeout)
  string(JSON format ERROR_VARIABLE problem GET "${json}" format)
  if(NOT format STREQUAL "1")
    set(reason "talmo list printed no document of the format 1: ${problem}" PARENT_SCOPE)
    return()
  endif()
  # To look up each run in the whole document would take a time that grows with its square. So it is split, where "},"
  # ends a line: CMake lays it out like that, and no text in JSON has a newline. Some characters are replaced by control
  # characters meanwhile, which no JSON has, because a list cannot hold them.
  string(ASCII 1 opening)
  string(ASCII 2 closing)
  string(ASCII 3 semicolon)
  string(JSON count LENGTH "${json}" runs)
  string(JSON runs GET "${json}" runs)
  string(REGEX MATCH "{.*}" runs "${runs}")
  string(REPLACE "[" "${opening}" runs "${runs}")
  string(REPLACE "]" "${closing}" runs "${runs}")
  string(REPLACE ";" "${semicolon}" runs "${runs}")
  string(REGEX REPLACE "},\n[ \t]*{" "};{" runs "${runs}")
  list(LENGTH runs found)
  if(NOT found EQUAL count)
    set(reason "this version of CMake lays out JSON in another way: ${found} runs instead of ${count}" PARENT_SCOPE)
    return()
  endif()
  foreach(run IN LISTS runs)
    string(REPLACE "${opening}" "[" run "${run}")
    string(REPLACE "${closing}" "]" run "${run}")
    string(REPLACE "${semicolon}" ";" run "${run}")
    string(JSON script GET "${run}" script)
    if(areAllChosen OR DEFINED "chosen_${script}")
      _talmo_add_test("${run}" "${prefix}" "${suffix}" "${labels}" "${timeout}")
    endif()
  endforeach()
  set(reason "${reason}" PARENT_SCOPE)
endfunction()

# _talmo_add_suite(SUITE PREFIX SUFFIX LABELS FOLDER WORK TIMEOUT [SCRIPT...]): all tests of a suite, or one that fails.
function(_talmo_add_suite suite prefix suffix labels folder work timeout)
  set(areAllChosen TRUE)
  set(index 7)
  while(index LESS ARGC)
    set(areAllChosen FALSE)
    set("chosen_${ARGV${index}}" TRUE)
    math(EXPR index "${index} + 1")
  endwhile()

  execute_process(COMMAND sh "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/linkSuite" "${folder}" "${work}"
    RESULT_VARIABLE status ERROR_VARIABLE reason)
  if(status EQUAL 0)
    _talmo_list()
  endif()
  if(status EQUAL 0)
    set(reason "")
    _talmo_add_tests("${json}" "${prefix}" "${suffix}" "${labels}" "${timeout}")
  elseif(reason STREQUAL "")
    set(reason "talmo list: ${status}")
  endif()
  if(NOT reason STREQUAL "")
    _talmo_add_failure("${suite}" "${prefix}" "${suffix}" "${labels}" "${reason}")
  endif()
endfunction()
