pkg_check_modules(XCB_BENCH REQUIRED IMPORTED_TARGET xcb)

add_library(tessel_bench_page STATIC ScrollingPage.cpp)
target_include_directories(tessel_bench_page PUBLIC ${PROJECT_SOURCE_DIR})
target_link_libraries(tessel_bench_page PUBLIC PkgConfig::XCB_BENCH Threads::Threads)

# Something to look at for pipelines that are compared with this one.
add_executable(scrolling_page scrolling_page.cpp)
target_link_libraries(scrolling_page PRIVATE tessel_bench_page)

# The library's private parts, one by one; its X server is the tests' own.
if(TESSEL_BUILD_TESTS)
  add_executable(frame_pipeline frame_pipeline.cpp)
  target_link_libraries(frame_pipeline PRIVATE
    tessel_logic tessel_system tessel_test_xserver tessel_bench_page)
endif()
