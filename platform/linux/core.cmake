tessel_linux_service(core SOURCES LinuxServices.cpp)
