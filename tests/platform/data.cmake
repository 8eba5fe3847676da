tessel_tests(data_tests
  SOURCES
    BinaryPropertyListTest.cpp
    FilesTest.cpp
    SettingsTest.cpp
    TransferLineTest.cpp
    URLAnswerTest.cpp
    URLSessionsTest.cpp
    XMLParserTest.cpp
  LINK tessel_logic tessel_platform_linux tessel_test_http)
