# What comes from npm is not part of the sources: it is downloaded once for all builds, and taken only
# when it is what it was when it was looked at.
set(KAV_NPM_REGISTRY https://registry.npmjs.org CACHE STRING
    "Where packages of npm are downloaded from; nothing is when it is empty")
set(KAV_NPM_CACHE ${PROJECT_SOURCE_DIR}/build/npm CACHE PATH "Where they are kept")

# kav_npm(PACKAGE VERSION SHA512 VARIABLE) unpacks a package and sets the variable to its folder, or to
# nothing, with a message, when it cannot be had.
function(kav_npm package version hash variable)
  set(${variable} "" PARENT_SCOPE)
  set(name ${package}-${version})
  set(kept ${KAV_NPM_CACHE}/${name}.tgz)
  set(why "no registry is named")
  if(NOT EXISTS ${kept} AND KAV_NPM_REGISTRY)
    string(RANDOM LENGTH 8 part) # builds are configured at the same time
    file(DOWNLOAD ${KAV_NPM_REGISTRY}/${package}/-/${name}.tgz ${kept}.${part} INACTIVITY_TIMEOUT 10
         STATUS status)
    list(GET status 0 code)
    list(GET status 1 why)
    if(code EQUAL 0)
      file(RENAME ${kept}.${part} ${kept})
    endif()
    file(REMOVE ${kept}.${part})
  endif()
  if(NOT EXISTS ${kept})
    message(STATUS "${package} ${version} cannot be had from npm: ${why}")
    return()
  endif()
  file(SHA512 ${kept} found)
  if(NOT found STREQUAL hash)
    file(REMOVE ${kept})
    message(STATUS "${package} ${version} from npm is not what it was, so it is not used")
    return()
  endif()
  set(folder ${CMAKE_BINARY_DIR}/npm/${name})
  if(NOT EXISTS ${folder})
    file(ARCHIVE_EXTRACT INPUT ${kept} DESTINATION ${folder})
  endif()
  set(${variable} ${folder}/package PARENT_SCOPE)
endfunction()
