add_executable(discovery_bench Discovery.cpp)
target_include_directories(discovery_bench PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_link_libraries(discovery_bench PRIVATE tessel_logic tessel_system)
