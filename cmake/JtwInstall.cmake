# Package files: find_package(Jtw) and pkg-config. Both find their prefix from where they lie.

include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Jtw)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/JtwConfig.cmake.in
                              ${CMAKE_CURRENT_BINARY_DIR}/JtwConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/JtwConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(EXPORT JtwTargets NAMESPACE Jtw:: DESTINATION ${package_dir})
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/JtwConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/JtwConfigVersion.cmake
        DESTINATION ${package_dir})

# Static libraries pass their own dependencies on to whoever links them; shared ones keep them.
if(BUILD_SHARED_LIBS)
  set(pc_requires Requires.private)
  set(pc_threads "")
else()
  set(pc_requires Requires)
  set(pc_threads " -pthread")
endif()
# An installation with relative folders can be moved; where they were given as absolute, it stays.
set(pc_prefix ${CMAKE_INSTALL_PREFIX})
foreach(dir LIBDIR INCLUDEDIR)
  set(pc_${dir} "${CMAKE_INSTALL_${dir}}")
  if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
    set(pc_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
  endif()
endforeach()
if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  file(RELATIVE_PATH pc_up /${pkgconfig_dir} /)
  set(pc_prefix "\${pcfiledir}/${pc_up}")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/jtw.pc.in ${CMAKE_CURRENT_BINARY_DIR}/jtw.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/jtw.pc DESTINATION ${pkgconfig_dir})

install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/README.md
              ${PROJECT_SOURCE_DIR}/CHANGELOG.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples
        DESTINATION ${CMAKE_INSTALL_DOCDIR})

# Formats that the program reads.
if(JTW_BUILD_TOOL)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/schemas/ DESTINATION ${CMAKE_INSTALL_DATADIR}/jtw/schemas)
endif()
