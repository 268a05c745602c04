# Debian wants manuals and change logs compressed, and a log of its own beside ours. Runs between the installation into CPack's folder
# and the making of the package.
set(shareFolder ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share)
set(docFolder ${shareFolder}/doc/morvane)
file(RENAME ${docFolder}/CHANGELOG.md ${docFolder}/changelog)
file(COPY ${CMAKE_CURRENT_LIST_DIR}/../packaging/changelog.Debian DESTINATION ${docFolder}
  FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
execute_process(COMMAND gzip -9 -n ${shareFolder}/man/man1/morvane.1 ${docFolder}/changelog ${docFolder}/changelog.Debian
  COMMAND_ERROR_IS_FATAL ANY)
