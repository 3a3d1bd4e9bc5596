# cpack -G DEB and cpack -G ZIP: a package for Debian, and a ZIP for Windows.
set(CPACK_PACKAGE_NAME plate-mend)
set(CPACK_PACKAGE_VENDOR "plate_mend maintainers")
set(CPACK_PACKAGE_CONTACT "plate_mend maintainers <maintainers@plate-mend.invalid>")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION "Joins the structure of an intact photograph to the image data of a
damaged one from the same camera: Sony ARW and SR2, Fujifilm RAF,
Olympus ORF, DNG, Canon CR2 and CR3, Nikon NEF. Salvages JPEGs where
there is no sample. With the libraries, their headers and the program
plate-mend.")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_SOURCE_DIR}/build/packages")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/cmake/debian/triggers")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
