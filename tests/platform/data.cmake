tessel_tests(data_tests
  SOURCES
    BinaryPropertyListTest.cpp
    FilesTest.cpp
    SettingsTest.cpp
    XMLParserTest.cpp
  LINK tessel_platform tessel_platform_linux)
