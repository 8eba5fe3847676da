# services: input
pkg_check_modules(XTEST REQUIRED IMPORTED_TARGET xcb xcb-xtest xcb-randr)

tessel_linux_service(input
  SOURCES VirtualKeyCodes.cpp XTestDisplay.cpp XTestPoster.cpp
  LINK PkgConfig::XTEST)
