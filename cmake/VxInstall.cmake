# Installation: the shared library, the public headers under include/vx
# (keeping their subsystem folders), a pkg-config file and a CMake package.
install(TARGETS vx LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
# Internal headers (named *_internal.h, and mdsint.h) stay out of the install.
foreach(header IN LISTS VX_HEADERS)
  get_filename_component(name ${header} NAME)
  if(name MATCHES "_internal\\.h$" OR name STREQUAL "mdsint.h")
    continue()
  endif()
  file(RELATIVE_PATH rel ${PROJECT_SOURCE_DIR} ${header})
  get_filename_component(dir ${rel} DIRECTORY)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vx/${dir})
endforeach()
install(TARGETS vxtool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# The message catalogs, where the library looks under its installation
# directory.
install(FILES ${VX_CATALOGS} DESTINATION locale/en_US/LC_MESSAGES)

configure_file(cmake/vx.pc.in ${PROJECT_BINARY_DIR}/vx.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vx.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

include(CMakePackageConfigHelpers)
configure_package_config_file(cmake/vxConfig.cmake.in
  ${PROJECT_BINARY_DIR}/vxConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vx
  PATH_VARS CMAKE_INSTALL_INCLUDEDIR CMAKE_INSTALL_LIBDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vxConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vxConfig.cmake ${PROJECT_BINARY_DIR}/vxConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vx)
