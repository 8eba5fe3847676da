tessel_tests(video_tests
  SOURCES TestPatternTest.cpp
  LINK tessel_logic tessel_platform_linux
  LABELS platform)
