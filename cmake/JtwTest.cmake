# jtw_test(NAME SOURCES ... LINK ...)
# A GoogleTest program whose cases are ctest's tests, named NAME.Suite.Case, with the label NAME. It is
# given GoogleTest's main, and the folder of the test data as the macro JTW_TEST_DATA. Cases have the
# labels of tests/Goals.cmake as well.

find_package(GTest REQUIRED)
include(GoogleTest)

# Seconds for one test. The long forms take up to hours; the build has to be configured with the same
# JTW_LONG_TESTS in the environment as the tests are run with.
set(JTW_TEST_TIMEOUT 300)
if(DEFINED ENV{JTW_LONG_TESTS})
  set(JTW_TEST_TIMEOUT 36000)
endif()

function(jtw_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LINK} GTest::gtest GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  target_compile_definitions(${name} PRIVATE JTW_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data")
  jtw_warnings(${name})
  # Tests are compiled three times by ./test: without the optimisation that only what they test needs, and
  # without reading the largest header anew for each source.
  target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-O1>)
  # g++ 12 raises false alarms of these kinds at -O1 where strings are made of long runs.
  target_compile_options(
    ${name} PRIVATE "$<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds;-Wno-stringop-overflow>")
  target_precompile_headers(${name} PRIVATE <gtest/gtest.h>)
  # The tests of the layers; the program's look at folders and at what a failing program does.
  set(environment "")
  if(JTW_COVERAGE AND name MATCHES "^jt")
    set(environment ENVIRONMENT "LLVM_PROFILE_FILE=${PROJECT_BINARY_DIR}/coverage/${name}-%2m.profraw")
  endif()
  gtest_discover_tests(
    ${name}
    TEST_PREFIX "${name}."
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 120
    PROPERTIES TIMEOUT ${JTW_TEST_TIMEOUT} LABELS ${name} ${environment})
  # ctest knows the names of the cases, CMake does not.
  set(labels ${CMAKE_CURRENT_BINARY_DIR}/${name}_labels.cmake)
  file(GENERATE OUTPUT ${labels} CONTENT "\
include(\"${PROJECT_SOURCE_DIR}/tests/Goals.cmake\")
foreach(test IN LISTS ${name}_TESTS)
  jtw_label_test(\"\${test}\" ${name})
endforeach()
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${labels})
endfunction()
