# The library is made of object libraries, one a folder, in two groups: tessel_logic is what stands on
# the standard library alone, tessel_system what stands on this operating system and its libraries.
# The logic's folders call one another (a session makes its channels, a channel asks its session to
# end), so a group is linked as one.
add_library(tessel_logic INTERFACE)
add_library(tessel_system INTERFACE)

# tessel_folder(GROUP SOURCES ... [LINK ...]): this folder as one of a group, with what it alone
# includes. The target is named after the folder: tessel_platform_posix_net.
function(tessel_folder group)
  cmake_parse_arguments(PARSE_ARGV 1 FOLDER "" "" "SOURCES;LINK")
  cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY ${PROJECT_SOURCE_DIR}
    OUTPUT_VARIABLE path)
  string(REPLACE / _ name tessel_${path})
  add_library(${name} OBJECT ${FOLDER_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(${name} PUBLIC ${FOLDER_LINK})
  tessel_use_precompiled(${name} tessel_headers)
  target_link_libraries(${group} INTERFACE ${name})
  target_sources(${group} INTERFACE $<TARGET_OBJECTS:${name}>)
endfunction()
