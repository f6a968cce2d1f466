# The house: every folder of sources is a room, which sees the rooms it names and no other, so that an
# include against the order of the house does not compile.

# Public headers include each other by "../FOLDER/HEADER". From the link that a view is, ninja takes this
# for a file in the view, which would never be up to date if it were not there.
function(kav_link_neighbours folder view)
  file(GLOB headers ${PROJECT_SOURCE_DIR}/${folder}/*.h)
  foreach(header IN LISTS headers)
    file(STRINGS ${header} neighbours REGEX "^#include \"[.][.]/")
    list(TRANSFORM neighbours REPLACE "^#include \"[.][.]/(.*)\"" "\\1")
    foreach(neighbour IN LISTS neighbours)
      cmake_path(GET neighbour PARENT_PATH parent)
      file(MAKE_DIRECTORY ${view}/${parent})
      file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${neighbour} ${view}/${neighbour} SYMBOLIC)
    endforeach()
  endforeach()
endfunction()

# A directory in which a folder of the sources can be included by its path, and nothing else can. Of a
# folder with rooms of its own inside, only its own headers are shown.
function(kav_view_of folder variable)
  string(MAKE_C_IDENTIFIER ${folder} name)
  set(view ${CMAKE_BINARY_DIR}/rooms/${name})
  set(${variable} ${view} PARENT_SCOPE)
  cmake_path(GET folder PARENT_PATH parent)
  file(REMOVE_RECURSE ${view})
  file(MAKE_DIRECTORY ${view}/${parent})
  file(GLOB inner ${PROJECT_SOURCE_DIR}/${folder}/*/CMakeLists.txt)
  if(NOT inner)
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${folder} ${view}/${folder} SYMBOLIC)
    kav_link_neighbours(${folder} ${view})
    return()
  endif()
  file(GLOB headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/${folder}/*.h)
  file(MAKE_DIRECTORY ${view}/${folder})
  foreach(header IN LISTS headers)
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${header} ${view}/${header} SYMBOLIC)
  endforeach()
endfunction()

# kav_room(FOLDER [SHARED_BY_NEED] SOURCES SOURCE... [USES ROOM-OR-LIBRARY...] [LINKS LIBRARY...]) makes
# the target room_FOLDER of a folder. What it uses, its users may use as well: calls go downwards. With
# SHARED_BY_NEED it is an archive of which a library takes what it needs, else all of it is taken by
# those who name it.
function(kav_room folder)
  cmake_parse_arguments(PARSE_ARGV 1 room "SHARED_BY_NEED" "" "SOURCES;USES;LINKS")
  string(MAKE_C_IDENTIFIER room_${folder} target)
  kav_view_of(${folder} view)
  if(room_SHARED_BY_NEED)
    add_library(${target} STATIC ${room_SOURCES})
  else()
    add_library(${target} OBJECT ${room_SOURCES})
  endif()
  target_include_directories(${target} PUBLIC ${view})
  target_link_libraries(${target} PUBLIC ${room_USES} ${room_LINKS} PRIVATE kav_build_rules)
  if(NOT folder MATCHES "^hosts/" AND NOT KAV_SANITIZE) # libraries keep to a small stack
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-Wframe-larger-than=8192>)
  endif()
  if(NOT folder MATCHES "^hosts/")
    target_compile_options(${target} PRIVATE ${kav_optimised})
  endif()
  if(room_SHARED_BY_NEED AND CMAKE_BUILD_TYPE STREQUAL Release) # of one object, all would be needed
    set_target_properties(${target} PROPERTIES UNITY_BUILD OFF)
  endif()
  kav_precompile(${target})
endfunction()

# kav_shared_library(NAME [ABI NUMBER] ROOMS ROOM... PUBLIC_HEADERS HEADER... [LINKS LIBRARY...]) makes
# lib/libNAME.so of the rooms; its exports are those of the linker map NAME.map beside the caller. Its own
# calls stay inside, whatever functions a host has by the same names. It is installed with its public
# headers, which are all that its users in this tree see, and finds its companions beside itself. With
# ABI it stands alone: programs look for NAME.so.NUMBER, and the caller installs it.
function(kav_shared_library name)
  cmake_parse_arguments(PARSE_ARGV 1 library "" "ABI" "ROOMS;PUBLIC_HEADERS;LINKS")
  set(view ${CMAKE_BINARY_DIR}/include/${name})
  file(REMOVE_RECURSE ${view})
  foreach(header IN LISTS library_PUBLIC_HEADERS)
    cmake_path(GET header PARENT_PATH folder)
    file(MAKE_DIRECTORY ${view}/${folder})
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${header} ${view}/${header} SYMBOLIC)
    if(NOT DEFINED library_ABI)
      install(FILES ${PROJECT_SOURCE_DIR}/${header}
              DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kav_epub/${folder} COMPONENT development)
    endif()
  endforeach()

  add_library(${name} SHARED)
  set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)
  target_include_directories(${name} INTERFACE $<BUILD_INTERFACE:${view}>)
  foreach(room IN LISTS library_ROOMS)
    string(MAKE_C_IDENTIFIER room_${room} target)
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:${target}>)
  endforeach()
  target_link_libraries(${name} PUBLIC ${library_LINKS} PRIVATE $<BUILD_INTERFACE:kav_build_rules>)
  set(map ${CMAKE_CURRENT_SOURCE_DIR}/${name}.map)
  target_link_options(${name} PRIVATE LINKER:--version-script=${map} LINKER:-Bsymbolic)
  set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS ${map})
  set_target_properties(${name} PROPERTIES INSTALL_RPATH $ORIGIN)
  if(DEFINED library_ABI)
    set_target_properties(${name} PROPERTIES PREFIX "" SOVERSION ${library_ABI})
    return()
  endif()
  target_include_directories(
    ${name} INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kav_epub>
                      $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kav_epub/service>)
  install(TARGETS ${name} EXPORT KavEpubTargets
          LIBRARY DESTINATION ${KAV_LIBRARY_DIR} COMPONENT runtime)
endfunction()
