# quire_store: the store library as the imported target quire_store::quire_store_lib.
include(CMakeFindDependencyMacro)
find_dependency(jsoncpp 1.9)
find_dependency(Boost 1.74)

include(${CMAKE_CURRENT_LIST_DIR}/quire_store-contract.cmake)

# The library calls its device's libraries, and a program that is linked to it must find them: the PC device's,
# where it is installed, or a device's own.
include(${CMAKE_CURRENT_LIST_DIR}/quire_store-platform.cmake OPTIONAL)
foreach(name tabulet saltmoor_utilities saltmoor_opds)
  if(NOT TARGET quire_store::${name})
    find_library(quire_store_${name} ${name})
    mark_as_advanced(quire_store_${name})
    if(NOT quire_store_${name})
      set(quire_store_FOUND FALSE)
      string(CONCAT quire_store_NOT_FOUND_MESSAGE
        "The device's library lib${name}.so was not found. Install the PC device, or add the directory of "
        "your device's libraries to CMAKE_LIBRARY_PATH.")
      return()
    endif()
    add_library(quire_store::${name} SHARED IMPORTED)
    set_target_properties(quire_store::${name} PROPERTIES
      IMPORTED_LOCATION ${quire_store_${name}} IMPORTED_NO_SONAME TRUE)
  endif()
endforeach()

include(${CMAKE_CURRENT_LIST_DIR}/quire_store-library.cmake)
