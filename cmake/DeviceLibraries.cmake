# Imports a device's implementation of the device contract: if QUIRE_DEVICE_LIBRARIES is set, the targets
# tabulet, saltmoor_utilities and saltmoor_opds are the libraries in that directory.
set(QUIRE_DEVICE_LIBRARIES "" CACHE PATH
    "Directory of a device's libtabulet.so, libsaltmoor_utilities.so and libsaltmoor_opds.so; empty for Linux")
if(QUIRE_DEVICE_LIBRARIES)
  foreach(library tabulet saltmoor_utilities saltmoor_opds)
    set(file ${QUIRE_DEVICE_LIBRARIES}/lib${library}.so)
    if(NOT EXISTS ${file})
      message(FATAL_ERROR "There is no ${file}; set QUIRE_DEVICE_LIBRARIES to the directory that contains it")
    endif()
    add_library(${library} SHARED IMPORTED GLOBAL)
    # Linked by -l, since the linker would record the path of a library without a soname.
    set_target_properties(${library} PROPERTIES IMPORTED_LOCATION ${file} IMPORTED_NO_SONAME TRUE)
  endforeach()
endif()
