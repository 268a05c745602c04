# Debian wants manuals and change logs compressed. Runs between the installation into CPack's folder and the making of the package.
set(shareFolder ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr/share)
file(RENAME ${shareFolder}/doc/morvane/CHANGELOG.md ${shareFolder}/doc/morvane/changelog)
execute_process(COMMAND gzip -9 -n ${shareFolder}/man/man1/morvane.1 ${shareFolder}/doc/morvane/changelog COMMAND_ERROR_IS_FATAL ANY)
