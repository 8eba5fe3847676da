# The logic: one object library a folder, each seeing the standard library, include/ and platform/.
# They call one another across folders (a session makes its channels, a channel asks its session to
# end), so they are linked as one.
add_library(tessel_logic INTERFACE)

function(tessel_logic_folder name)
  if(NOT ARGN)
    return()
  endif()
  add_library(tessel_${name} OBJECT ${ARGN})
  tessel_use_precompiled(tessel_${name} tessel_headers)
  target_include_directories(tessel_${name} PUBLIC ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(tessel_logic INTERFACE tessel_${name})
  target_sources(tessel_logic INTERFACE $<TARGET_OBJECTS:tessel_${name}>)
endfunction()
