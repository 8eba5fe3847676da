# Asio's own code is compiled once; every user of Asio in this tree must link this.
add_library(tessel_asio OBJECT AsioImplementation.cpp)
target_compile_definitions(tessel_asio PUBLIC
  ASIO_STANDALONE ASIO_SEPARATE_COMPILATION ASIO_NO_DEPRECATED)
# A host may have an Asio of its own: neither may end up in the other's.
target_compile_definitions(tessel_asio PUBLIC ASIO_DISABLE_VISIBILITY)
if(TESSEL_SANITIZE MATCHES thread)
  # Asio's fences are on top of its locks. The sanitizer does not understand fences, but locks.
  target_compile_definitions(tessel_asio PUBLIC ASIO_DISABLE_FENCED_BLOCK)
endif()
target_link_libraries(tessel_asio PUBLIC Threads::Threads)
target_link_libraries(tessel_platform_linux INTERFACE tessel_asio)
target_sources(tessel_platform_linux INTERFACE $<TARGET_OBJECTS:tessel_asio>)
# Else it hangs on what a source includes before Asio, and memory that one source allocates in one
# way is freed by another in the other way.
target_compile_definitions(tessel_asio PUBLIC ASIO_HAS_STD_ALIGNED_ALLOC)

pkg_check_modules(SYSTEMD REQUIRED IMPORTED_TARGET libsystemd)
find_package(OpenSSL REQUIRED)

tessel_linux_service(core
  SOURCES
    AsioQueue.cpp
    AsioTimer.cpp
    Connector.cpp
    JournalLog.cpp
    LinuxInspection.cpp
    LinuxMainQueue.cpp
    LinuxNetwork.cpp
    LinuxQueues.cpp
    LinuxServices.cpp
    NetworkError.cpp
    PlainStream.cpp
    RunningLoops.cpp
    SendQueue.cpp
    SocketChannel.cpp
    SocketConnection.cpp
    SystemClock.cpp
    TlsStream.cpp
  LINK tessel_asio PkgConfig::SYSTEMD OpenSSL::SSL OpenSSL::Crypto)
