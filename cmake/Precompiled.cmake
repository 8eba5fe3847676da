# What most sources include, parsed once a build instead of once a source: that halves a build. The
# presets choose. The release build uses none of it, and the debug build none for what is shipped:
# there each source is held to including what it uses.
option(TESSEL_PRECOMPILE "Precompile headers for the library and the programs" OFF)
option(TESSEL_PRECOMPILE_TESTS "Precompile headers for the tests" OFF)

set(tessel_common_headers
  <algorithm> <array> <atomic> <chrono> <cstdint> <functional> <map> <memory> <mutex> <optional>
  <span> <string> <string_view> <thread> <utility> <variant> <vector>)

# tessel_precompiled(NAME HEADERS ... [LINK ...]): headers for tessel_use_precompiled().
function(tessel_precompiled name)
  cmake_parse_arguments(PARSE_ARGV 1 PCH "" "" "HEADERS;LINK")
  file(GENERATE OUTPUT ${name}.cpp CONTENT "")
  add_library(${name} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
  target_link_libraries(${name} PRIVATE ${PCH_LINK})
  target_precompile_headers(${name} PRIVATE ${PCH_HEADERS})
endfunction()

function(tessel_use_precompiled target name)
  if(TARGET ${name})
    target_precompile_headers(${target} REUSE_FROM ${name})
  endif()
endfunction()

if(TESSEL_PRECOMPILE)
  tessel_precompiled(tessel_headers HEADERS ${tessel_common_headers})
endif()
