find_package(OpenSSL REQUIRED)

tessel_tests(core_tests
  SOURCES
    LoopbackPeer.cpp
    SerialQueueTest.cpp
    SocketConnectionTest.cpp
    SocketTransferTest.cpp
    TestCertificates.cpp
    TlsConnectionTest.cpp
  LINK tessel_platform tessel_platform_linux OpenSSL::SSL OpenSSL::Crypto)
