add_executable(input_latency InputLatency.cpp)
target_include_directories(input_latency PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_link_libraries(input_latency PRIVATE tessel_logic tessel_system)
