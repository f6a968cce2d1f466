# The CMake package KavEpub: the engine as KavEpub::KavEpub, its companion libraries as
# KavEpub::Kav_Tool and so on.
include(CMakeFindDependencyMacro)
find_dependency(LibXml2)
include(${CMAKE_CURRENT_LIST_DIR}/KavEpubTargets.cmake)
