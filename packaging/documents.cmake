# Installs the documentation, with links that lead to what is installed.

file(GLOB_RECURSE pages RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/*.md)
list(APPEND pages README.md CHANGELOG.md)
file(RELATIVE_PATH to_headers ${CMAKE_INSTALL_FULL_DOCDIR} ${CMAKE_INSTALL_FULL_INCLUDEDIR}/rib)
file(RELATIVE_PATH to_share ${CMAKE_INSTALL_FULL_DOCDIR} ${CMAKE_INSTALL_FULL_DATADIR}/rib)
set(relinked)
foreach(page IN LISTS pages)
  set(copy ${CMAKE_CURRENT_BINARY_DIR}/documents/${page})
  add_custom_command(OUTPUT ${copy}
    COMMAND ${CMAKE_COMMAND} -DROOT=${PROJECT_SOURCE_DIR} -DPAGE=${page} -DOUTPUT=${copy} -DHEADERS=${to_headers} -DSHARE=${to_share}
            -P ${CMAKE_CURRENT_SOURCE_DIR}/relink.cmake
    DEPENDS ${PROJECT_SOURCE_DIR}/${page} relink.cmake
    COMMENT "Copying ${page}" VERBATIM)
  list(APPEND relinked ${copy})
endforeach()
add_custom_target(rib_documents ALL DEPENDS ${relinked})
rib_check_built(documentation FILES ${relinked} BY rib_documents)

install(DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/documents/ DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation
        FILES_MATCHING PATTERN "*.svg" PATTERN messages EXCLUDE)
