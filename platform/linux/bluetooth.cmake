# BlueZ on the system bus. A library by itself: the receiver program uses it as well.
add_library(tessel_bluez STATIC BlueZAdapters.cpp BlueZClient.cpp BlueZProperties.cpp EventThread.cpp)
target_include_directories(tessel_bluez PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_link_libraries(tessel_bluez PUBLIC PkgConfig::SYSTEMD Threads::Threads)

tessel_linux_service(bluetooth
  SOURCES
    BlueZBluetooth.cpp
    BlueZCentral.cpp
    BlueZRadio.cpp
    BluetoothAdvice.cpp
    ManagementSocket.cpp
  LINK tessel_bluez)
