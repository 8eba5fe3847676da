# Screens, capture and encoding.
pkg_check_modules(XCB REQUIRED IMPORTED_TARGET xcb xcb-damage xcb-randr xcb-shm xcb-xfixes)
pkg_check_modules(LIBAV REQUIRED IMPORTED_TARGET libavcodec libavutil)
# libyuv comes without a pkg-config file.
find_library(YUV_LIBRARY yuv REQUIRED)
find_path(YUV_INCLUDE libyuv.h REQUIRED)

tessel_linux_service(video
  SOURCES
    EncoderCandidates.cpp
    LibavCompressionSession.cpp
    LibavEncoder.cpp
    LibavSilence.cpp
    LibavVideoEncoding.cpp
    LinuxScreenCapture.cpp
    LinuxScreens.cpp
    NalUnits.cpp
    ScreenChoice.cpp
    VideoFindings.cpp
    VideoServices.cpp
    XCaptureSession.cpp
    XConnect.cpp
    XConnection.cpp
    XDamage.cpp
    XFrameSource.cpp
    XGrabber.cpp
    XPixelFormat.cpp
    XWatch.cpp
  LINK PkgConfig::XCB PkgConfig::LIBAV ${YUV_LIBRARY} Threads::Threads)
target_include_directories(tessel_linux_video SYSTEM PRIVATE ${YUV_INCLUDE})
