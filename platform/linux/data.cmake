# Files, property lists, settings, texts, XML and HTTP.
pkg_check_modules(CURL REQUIRED IMPORTED_TARGET libcurl)
pkg_check_modules(LIBXML REQUIRED IMPORTED_TARGET libxml-2.0)
pkg_check_modules(PLIST REQUIRED IMPORTED_TARGET libplist-2.0)

tessel_linux_service(data
  SOURCES
    BinaryPropertyList.cpp
    CurlTransfer.cpp
    CurlURLSessions.cpp
    HomeFolder.cpp
    LibxmlParser.cpp
    LinuxFiles.cpp
    LinuxLocalization.cpp
    LinuxUserDefaults.cpp
    TransferThread.cpp
    WholeFile.cpp
    XmlPropertyList.cpp
  LINK PkgConfig::CURL PkgConfig::LIBXML PkgConfig::PLIST)
set_source_files_properties(CurlTransfer.cpp PROPERTIES
  COMPILE_DEFINITIONS "TESSEL_VERSION=\"${TESSEL_VERSION}\"")

# The build tree holds the resources where an installation does.
foreach(resource VexCfg.plist Localizable.plist)
  configure_file(${PROJECT_SOURCE_DIR}/resources/${resource}
    ${PROJECT_BINARY_DIR}/share/tessel/${resource} COPYONLY)
endforeach()
