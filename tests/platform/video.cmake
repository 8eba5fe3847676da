pkg_check_modules(LIBAV_TEST REQUIRED IMPORTED_TARGET libavcodec libavutil)

tessel_tests(video_tests
  SOURCES
    Decoder.cpp
    EncoderCandidatesTest.cpp
    EncoderRateTest.cpp
    LibavSilenceTest.cpp
    NalUnitsTest.cpp
    RateGovernorTest.cpp
    ScreensTest.cpp
    SilentXServerTest.cpp
    TestPatternTest.cpp
    UnreportedChangeTest.cpp
    VideoEncoderTest.cpp
    XCaptureTest.cpp
  LINK tessel_logic tessel_platform_linux tessel_test_xserver PkgConfig::LIBAV_TEST
  LABELS platform)
