# `cmake --install`: the library for hosts (find_package(Tessel), pkg-config tessel), its resources,
# and the two programs.
include(CMakePackageConfigHelpers)

install(TARGETS tessel EXPORT TesselTargets)
if(TESSEL_BUILD_PROGRAMS)
  install(TARGETS tessel_program tessel-hub)
endif()
install(DIRECTORY include/tessel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY resources/ DESTINATION ${CMAKE_INSTALL_DATADIR}/tessel)
install(EXPORT TesselTargets NAMESPACE Tessel:: FILE TesselConfig.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tessel)
write_basic_package_version_file(TesselConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TesselConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tessel)

# From where tessel.pc lies back to the prefix, so that an installation may be moved: a library
# folder is one deep, or two where it is named after the machine's architecture.
set(TESSEL_PREFIX_FROM_PC /)
cmake_path(RELATIVE_PATH TESSEL_PREFIX_FROM_PC BASE_DIRECTORY /${CMAKE_INSTALL_LIBDIR}/pkgconfig)
configure_file(cmake/tessel.pc.in tessel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tessel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
