find_package(OpenSSL REQUIRED)

tessel_tests(core_tests
  SOURCES
    EventThreadTest.cpp
    HostSignalsTest.cpp
    LogTest.cpp
    LoopbackPeer.cpp
    MainQueueTest.cpp
    ProcessExitTest.cpp
    ReceivedTest.cpp
    SerialQueueTest.cpp
    SignalTest.cpp
    SocketConnectionTest.cpp
    SocketStressTest.cpp
    SocketTransferTest.cpp
    SystemClockTest.cpp
    TestCertificates.cpp
    TimerTest.cpp
    TlsConnectionTest.cpp
  LINK tessel_logic tessel_platform_linux OpenSSL::SSL OpenSSL::Crypto)
