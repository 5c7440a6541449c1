# CPack runs this on the directories that it packs, one per component: adds what Debian requires in a package
# beyond the installed files.
set(HEADERS_COMPILED_IN_pc-device libcli11-dev nlohmann-json3-dev)

function(gzip file)
  execute_process(COMMAND gzip -9n ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component library development pc-device)
  string(TOUPPER ${component} COMPONENT)
  set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr)
  set(package ${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME})
  set(doc ${root}/share/doc/${package})

  file(COPY ${CMAKE_CURRENT_LIST_DIR}/changelog DESTINATION ${doc})
  gzip(${doc}/changelog)

  file(READ ${CMAKE_CURRENT_LIST_DIR}/copyright copyright)
  foreach(library IN LISTS HEADERS_COMPILED_IN_${component})
    file(READ /usr/share/doc/${library}/copyright notice)
    string(APPEND copyright "\n\nParts of Debian's ${library} are compiled in:\n\n${notice}")
  endforeach()
  file(WRITE ${doc}/copyright "${copyright}")

  # What lintian reports and is intended.
  file(COPY ${CMAKE_CURRENT_LIST_DIR}/lintian/${package} DESTINATION ${root}/share/lintian/overrides)

  file(GLOB pages ${root}/share/man/man*/*.[1-9])
  foreach(page IN LISTS pages)
    gzip(${page})
  endforeach()
endforeach()
