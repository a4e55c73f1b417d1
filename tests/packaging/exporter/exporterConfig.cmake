include(CMakeFindDependencyMacro)
find_dependency(OrvaClassLoader)
include(${CMAKE_CURRENT_LIST_DIR}/engine_names.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/engines.cmake)
