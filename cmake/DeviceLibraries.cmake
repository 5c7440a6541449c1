# The device contract as a device implements it: where QUIRE_DEVICE_LIBRARIES is set, the targets tabulet,
# saltmoor_utilities and saltmoor_opds are the libraries in that directory.
set(QUIRE_DEVICE_LIBRARIES "" CACHE PATH
    "Directory of a device's libtabulet.so, libsaltmoor_utilities.so and libsaltmoor_opds.so; empty for Linux")
if(QUIRE_DEVICE_LIBRARIES)
  foreach(library tabulet saltmoor_utilities saltmoor_opds)
    set(file ${QUIRE_DEVICE_LIBRARIES}/lib${library}.so)
    if(NOT EXISTS ${file})
      message(FATAL_ERROR "There is no ${file}; QUIRE_DEVICE_LIBRARIES names its directory")
    endif()
    # The name that an installed project gives them, too.
    add_library(quire_store::${library} SHARED IMPORTED GLOBAL)
    add_library(${library} ALIAS quire_store::${library})
    # Linked by -l: of a library without a soname the linker would note the path on this machine.
    set_target_properties(quire_store::${library} PROPERTIES IMPORTED_LOCATION ${file} IMPORTED_NO_SONAME TRUE)
  endforeach()
endif()
