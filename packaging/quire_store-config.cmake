# quire_store: the store library as the imported target quire_store::quire_store_lib; with the PC device installed,
# also its libraries, for programs that call the device themselves.
include(CMakeFindDependencyMacro)
find_dependency(jsoncpp 1.9)
find_dependency(Boost 1.74)

include(${CMAKE_CURRENT_LIST_DIR}/quire_store-targets.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/quire_store-platform.cmake OPTIONAL)
