# Everything that is installed belongs to one of three components, and each has its Debian package:
#   library       libquire-store      the library
#   development   libquire-store-dev  its headers, the CMake package, the pkg-config file
#   pc-device     quire-pc-device     all the rest: the device for Linux, the shop, the application
set(PACKAGING ${PROJECT_SOURCE_DIR}/packaging)

include(CMakePackageConfigHelpers)
set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/quire_store)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/quire_store-config-version.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PACKAGING}/quire_store-config.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/quire_store-config-version.cmake
        DESTINATION ${config_dir} COMPONENT development)
install(EXPORT quire_store NAMESPACE quire_store:: FILE quire_store-targets.cmake
        DESTINATION ${config_dir} COMPONENT development)
if(NOT QUIRE_DEVICE_LIBRARIES)
  install(EXPORT quire_platform NAMESPACE quire_store:: FILE quire_store-platform.cmake
          DESTINATION ${config_dir})
endif()

# Relative to the file itself, so that the installed directory may be moved.
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH FROM_PKGCONFIG /${pkgconfig_dir} /)
string(REGEX REPLACE "/$" "" FROM_PKGCONFIG ${FROM_PKGCONFIG})
configure_file(${PACKAGING}/quire_store.pc.in quire_store.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/quire_store.pc
        DESTINATION ${pkgconfig_dir} COMPONENT development)

if(NOT PROJECT_IS_TOP_LEVEL OR NOT QUIRE_BUILD_PC)
  return()
endif()

file(STRINGS ${PACKAGING}/changelog newest_package LIMIT_COUNT 1)
file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md newest LIMIT_COUNT 1 REGEX "^## ")
if(NOT newest_package MATCHES "^quire \\(${PROJECT_VERSION}\\) " OR NOT newest STREQUAL "## ${PROJECT_VERSION}")
  message(FATAL_ERROR "The version is ${PROJECT_VERSION}, but packaging/changelog begins with "
                      "\"${newest_package}\" and CHANGELOG.md with \"${newest}\"")
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL library development pc-device)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGE_CONTACT "Quire maintainers <maintainers@quire.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PACKAGING}/debian-files.cmake)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE quire)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(same_version "(= ${PROJECT_VERSION})")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libquire-store)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
# A device has its own platform; one that is not packaged needs an equivs package of that name.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "quire-pc-device ${same_version} | saltmoor-platform")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PACKAGING}/triggers)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "store library of an e-reader
An application logs a reader in with it, fills a cart, checks out and pays,
lists the bought books and downloads them to the device.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libquire-store-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "libquire-store ${same_version}, libboost-dev, libjsoncpp-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "store library of an e-reader (development files)
The headers of the library and of the device contract that it uses, a CMake
package and a pkg-config file, all named quire_store.")

set(CPACK_DEBIAN_PC-DEVICE_PACKAGE_NAME quire-pc-device)
set(CPACK_DEBIAN_PC-DEVICE_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PC-DEVICE_PACKAGE_DEPENDS "libquire-store ${same_version}, bubblewrap | proot, jq, procps")
set(CPACK_DEBIAN_PC-DEVICE_PACKAGE_RECOMMENDS "ca-certificates, poppler-utils")
set(CPACK_DEBIAN_PC-DEVICE_PACKAGE_SUGGESTS "chafa, chromium, libnotify-bin, libnss3-tools")
set(CPACK_DEBIAN_PC-DEVICE_PACKAGE_PROVIDES saltmoor-platform)
set(CPACK_DEBIAN_PC-DEVICE_PACKAGE_CONTROL_EXTRA ${PACKAGING}/triggers)
set(CPACK_COMPONENT_PC-DEVICE_DESCRIPTION "e-reader on a PC, with a book shop for development
The device's libraries on Linux, its browser and scanner programs, a launcher
that runs a program on the device's file system, a shop on loopback, and quire,
the shop application for the terminal.")
include(CPack)
