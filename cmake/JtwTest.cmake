# jtw_test(NAME SOURCES ... LINK ...)
# A GoogleTest program whose cases are ctest's tests, named NAME.Suite.Case, with the label NAME. It is
# given GoogleTest's main, and the folder of the test data as the macro JTW_TEST_DATA.

find_package(GTest REQUIRED)
include(GoogleTest)

function(jtw_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LINK} GTest::gtest GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  target_compile_definitions(${name} PRIVATE JTW_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data")
  jtw_warnings(${name})
  gtest_discover_tests(
    ${name}
    TEST_PREFIX "${name}."
    DISCOVERY_MODE PRE_TEST
    DISCOVERY_TIMEOUT 120
    PROPERTIES TIMEOUT 300 LABELS ${name})
endfunction()
