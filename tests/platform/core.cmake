tessel_tests(core_tests
  SOURCES
    LoopbackPeer.cpp
    SerialQueueTest.cpp
    SocketConnectionTest.cpp
  LINK tessel_platform tessel_platform_linux)
