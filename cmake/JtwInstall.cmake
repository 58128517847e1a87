# Package files: find_package(Jtw) and pkg-config.

include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Jtw)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/JtwConfig.cmake.in
                              ${CMAKE_CURRENT_BINARY_DIR}/JtwConfig.cmake
                              INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/JtwConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(EXPORT JtwTargets NAMESPACE Jtw:: DESTINATION ${package_dir})
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/JtwConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/JtwConfigVersion.cmake
        DESTINATION ${package_dir})

configure_file(${CMAKE_CURRENT_LIST_DIR}/jtw.pc.in ${CMAKE_CURRENT_BINARY_DIR}/jtw.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/jtw.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
