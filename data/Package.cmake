# The Debian package: `cpack -G DEB` in a build configured with the prefix /usr (scripts/run
# package does both).
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tramix)
set(CPACK_PACKAGE_VENDOR "The Tramix developers")
set(CPACK_PACKAGE_CONTACT
    "Seed cd169270 maintainers <maintainers@users.noreply.c-seed-cd169270.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "offline file converter with a drag wheel for the tray")
# Lines of at most 80 characters, as Debian's tools show them.
string(JOIN "\n" CPACK_PACKAGE_DESCRIPTION
    "Tramix lives in the tray. Drag files and hold a key: a wheel opens around"
    "the pointer with every conversion, tool and action that fits them. Images,"
    "documents, tables, audio and video are converted between their common"
    "formats, PDFs merged, split and recognised, subjects cut out of photos and"
    "archives packed, all on this computer. The same operations are on the"
    "command line.")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# The libraries the binary links are found by dpkg-shlibdeps; the programs it runs are not, so
# they are named: the converters, the archivers, the OCR data and the completion sound.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The app's own libraries, which the binary finds through its run path, are in the package.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_DEPENDS "ffmpeg, zip, unzip, libreoffice-writer-nogui, \
tesseract-ocr-eng, tesseract-ocr-deu, sound-theme-freedesktop")
# Debian wants the licences of everything in the package, and the changes of a version, where
# its users look for them.
install(FILES copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tramix)
set(changelog ${CMAKE_CURRENT_BINARY_DIR}/changelog)
execute_process(COMMAND date -u -R -d "${TRAMIX_RELEASE_DATE} 12:00"
    OUTPUT_VARIABLE changelog_date OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
configure_file(changelog.in ${changelog} @ONLY)
add_custom_command(OUTPUT ${changelog}.gz
    COMMAND gzip -9nkf ${changelog}
    DEPENDS ${changelog} VERBATIM)
add_custom_target(tramix-changelog ALL DEPENDS ${changelog}.gz)
install(FILES ${changelog}.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tramix)
include(CPack)
