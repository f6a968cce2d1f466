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
  if(CMAKE_CXX_COMPILER_ID STREQUAL Clang) # the compiler cache knows them by what they say
    target_compile_options(${target} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
  endif()
endforeach()

# The parts that the watched tests run most are worth being optimised, which takes longer than to
# compile them; the hosts are not.
if(KAV_SANITIZE MATCHES address AND CMAKE_BUILD_TYPE STREQUAL Debug)
  set(kav_optimised -O1)
endif()
target_compile_options(kav_precompiled_library PRIVATE ${kav_optimised})

function(kav_precompile)
  foreach(target IN LISTS ARGN)
    get_target_property(type ${target} TYPE)
    get_target_property(sources ${target} SOURCES)
    get_target_property(visibility ${target} CXX_VISIBILITY_PRESET)
    if(NOT KAV_PRECOMPILE OR NOT sources MATCHES "[.]cpp" OR visibility STREQUAL default)
      continue()
    elseif(type STREQUAL EXECUTABLE)
      target_precompile_headers(${target} REUSE_FROM kav_precompiled_program)
    elseif(target MATCHES "^room_" AND NOT target MATCHES "^room_hosts")
      target_precompile_headers(${target} REUSE_FROM kav_precompiled_library)
    endif()
  endforeach()
endfunction()
