# What every layer has in common: language level, warnings, hidden symbols, sanitizers, install names.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
include(GNUInstallDirs)

if(PROJECT_IS_TOP_LEVEL)
  # One folder for the libraries of all layers: an uninstalled build is laid out like an installed one.
  set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
  set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
  if(BUILD_SHARED_LIBS)
    set(CMAKE_INSTALL_RPATH "$ORIGIN;$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  endif()
  # The presets compile much the same several times; a compiler cache pays where there is one.
  find_program(JTW_CCACHE ccache)
  if(JTW_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    # Without this it leaves sources with precompiled headers alone.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${JTW_CCACHE})
  endif()
endif()

# A program that is linked statically takes the functions that it uses, and in the order that it wants
# (tools/jtw/start.ld).
add_compile_options($<$<CONFIG:Release>:-ffunction-sections>)

if(JTW_SANITIZE)
  add_compile_options(-fsanitize=${JTW_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${JTW_SANITIZE})
  # clang does not define g++'s macros.
  if(CMAKE_CXX_COMPILER_ID MATCHES Clang AND JTW_SANITIZE MATCHES "address|thread")
    string(TOUPPER ${CMAKE_MATCH_0} sanitizer)
    add_compile_definitions(__SANITIZE_${sanitizer}__)
  endif()
endif()

# Warnings for our own targets only.
function(jtw_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion)
  # g++ 12 raises false alarms of this kind where strings are put together.
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
  if(JTW_SANITIZE)
    # The code that sanitizers add hides from g++ what initializes an optional value, and that no bytes are copied
    # to an empty vector.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>
                           $<$<CXX_COMPILER_ID:GNU>:-Wno-nonnull>)
  endif()
  if(JTW_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# Debug builds compile programs and tests without optimisation, in half the time; not so the libraries, which is
# where tests and fuzz targets spend theirs.
function(jtw_optimise target)
  target_compile_options(${target} PRIVATE $<$<CONFIG:Debug>:-O1>)
endfunction()

# jtw_library(NAME SOURCES ... LINK ... PRIVATE_LINK ...)
# A layer: target Jtw::NAME, library libJtwNAME (the top layer: libJtw), public headers in include/.
function(jtw_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINK;PRIVATE_LINK" ${ARGN})
  add_library(${name} ${ARG_SOURCES})
  add_library(Jtw::${name} ALIAS ${name})
  if(name STREQUAL "Jtw")
    set(output Jtw)
  else()
    set(output Jtw${name})
  endif()
  # No NAME_EXPORTS macro: static and shared builds compile alike.
  set_target_properties(${name} PROPERTIES OUTPUT_NAME ${output} VERSION ${PROJECT_VERSION}
                                           SOVERSION ${PROJECT_VERSION_MAJOR} DEFINE_SYMBOL "")
  target_include_directories(
    ${name}
    PUBLIC $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>
           $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/jtw>
    PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/src)
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_link_libraries(${name} PUBLIC ${ARG_LINK} PRIVATE ${ARG_PRIVATE_LINK})
  jtw_warnings(${name})
  jtw_optimise(${name})
  install(TARGETS ${name} EXPORT JtwTargets)
  install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/jtw)
endfunction()
