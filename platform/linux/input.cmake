# services: input
pkg_check_modules(XTEST REQUIRED IMPORTED_TARGET xcb xcb-xtest)

tessel_linux_service(input
  SOURCES InputFindings.cpp VirtualKeyCodes.cpp XTestDisplay.cpp XTestPoster.cpp
  LINK PkgConfig::XTEST)
