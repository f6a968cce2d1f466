# Half of the time of compiling goes into the headers of the standard library: for builds that are made
# to be tested, those that most files include are parsed once, for libraries and for programs.
set(headers
    <algorithm> <array> <filesystem> <fstream> <functional> <map> <memory> <optional> <set> <string>
    <string_view> <unordered_map> <utility> <vector>)
add_library(kav_precompiled_library OBJECT EXCLUDE_FROM_ALL cmake/precompiled.cpp)
add_executable(kav_precompiled_program EXCLUDE_FROM_ALL cmake/precompiled.cpp)
foreach(target IN ITEMS kav_precompiled_library kav_precompiled_program)
  target_link_libraries(${target} PRIVATE kav_build_rules)
  target_precompile_headers(${target} PRIVATE ${headers})
endforeach()

function(kav_precompile)
  foreach(target IN LISTS ARGN)
    get_target_property(type ${target} TYPE)
    get_target_property(sources ${target} SOURCES)
    if(NOT KAV_PRECOMPILE OR NOT sources MATCHES "[.]cpp")
      continue()
    elseif(type STREQUAL EXECUTABLE)
      target_precompile_headers(${target} REUSE_FROM kav_precompiled_program)
    else()
      target_precompile_headers(${target} REUSE_FROM kav_precompiled_library)
    endif()
  endforeach()
endfunction()
