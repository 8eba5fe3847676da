# `cmake --install`: the library for hosts (find_package(Tessel), pkg-config tessel), its resources,
# and the two programs.
include(CMakePackageConfigHelpers)

install(TARGETS tessel EXPORT TesselTargets)
install(TARGETS tessel_program tessel-hub)
install(DIRECTORY include/tessel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY resources/ DESTINATION ${CMAKE_INSTALL_DATADIR}/tessel)
install(EXPORT TesselTargets NAMESPACE Tessel:: FILE TesselConfig.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tessel)
write_basic_package_version_file(TesselConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TesselConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Tessel)

configure_file(cmake/tessel.pc.in tessel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/tessel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
