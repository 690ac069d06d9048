# Lets other CMake projects use the library with find_package(TrivoCore).
include(CMakeFindDependencyMacro)
find_dependency(nlohmann_json)
find_dependency(fmt)
include("${CMAKE_CURRENT_LIST_DIR}/TrivoCoreTargets.cmake")
