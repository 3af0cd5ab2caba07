# SPDX-License-Identifier: GPL-3.0-or-later
# Where `cmake --install` puts Quillbrook (FHS places under the prefix), and
# the .deb that CPack builds from the same rules.
include(GNUInstallDirs)

set(QB_APP_ID "org.quillbrook.Quillbrook")
# The web site named in the .deb and the metainfo is the one the Help menu
# opens (QB_PRODUCT_WEBSITE_URL, set with the application's other addresses).
set(QB_HOMEPAGE_URL "${QB_PRODUCT_WEBSITE_URL}")
set(QB_RAW_FILES_URL "https://quillbrook.org/raw/main" CACHE STRING
    "Base URL under which the repository's files are served; the metainfo's screenshots are docs/screenshots/ below it")
set(QB_PACKAGE_MAINTAINER "Quillbrook developers <packages@quillbrook.org>" CACHE STRING
    "Maintainer of the .deb")
# The date of the release named by the project's VERSION: change them together.
set(QB_RELEASE_DATE "2026-11-23")

# The programs look for the Capture One scripts in ../share/quillbrook from
# their own folder (resourceBundleSearchFolders()), so the two folders must
# keep that relation.
if(NOT CMAKE_INSTALL_BINDIR STREQUAL "bin" OR NOT CMAKE_INSTALL_DATADIR STREQUAL "share")
    message(WARNING "CMAKE_INSTALL_BINDIR/DATADIR are not bin/share: installed programs "
                    "will not find the Capture One scripts")
endif()

install(TARGETS quillbrook quillbrook-cli RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/src/captureone/resources/CaptureOneScripting_CaptureOne.bundle"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/quillbrook")

configure_file("${PROJECT_SOURCE_DIR}/data/${QB_APP_ID}.metainfo.xml.in"
               "${PROJECT_BINARY_DIR}/data/${QB_APP_ID}.metainfo.xml" @ONLY)
install(FILES "${PROJECT_SOURCE_DIR}/data/${QB_APP_ID}.desktop"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
install(FILES "${PROJECT_SOURCE_DIR}/data/${QB_APP_ID}.svg"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps")
install(FILES "${PROJECT_BINARY_DIR}/data/${QB_APP_ID}.metainfo.xml"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo")
install(FILES "${PROJECT_SOURCE_DIR}/data/copyright"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/quillbrook")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quillbrook)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_CONTACT "${QB_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "assign metadata to photos from CSV data")
# One string, wrapped as a Debian description is: a list would leave ";" in it.
string(CONCAT CPACK_PACKAGE_DESCRIPTION
    "Quillbrook writes metadata into sets of image files from tabular data:\n"
    "a CSV file, or the metadata of other images. Rows are tied to the images\n"
    "by file name, and rule rows say which column goes through which value\n"
    "mappers into which metadata tag. The values are written through exiftool,\n"
    "into the files or into XMP sidecars.\n"
    "\n"
    "This package holds the desktop application and quillbrook-cli, its\n"
    "command-line front end.")
# A release package: Debian ships debugging symbols separately.
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${QB_HOMEPAGE_URL}")
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
# exiftool is run as a program, and the platform plugin and the TIFF and
# WebP readers of the thumbnails and the cards are loaded at run time, so no
# library scan finds them. QuaZip reads spreadsheets and zxing-cpp reads
# barcode cards; they are named here so the package needs them whatever the
# scan finds linked.
set(qb_depends libimage-exiftool-perl qt6-qpa-plugins qt6-image-formats-plugins libquazip1-qt6-1 libzxing2)
find_program(QB_DPKG_SHLIBDEPS dpkg-shlibdeps)
if(QB_DPKG_SHLIBDEPS)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
else()
    list(APPEND qb_depends libqt6core6 libqt6gui6 libqt6widgets6 libqt6network6
                           libqt6concurrent6 libicu72)
endif()
list(JOIN qb_depends ", " CPACK_DEBIAN_PACKAGE_DEPENDS)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS qt6-wayland)
# `make package_source` would otherwise pack build trees and the compiler cache.
set(CPACK_SOURCE_IGNORE_FILES "/\\\\.git/" "^${PROJECT_SOURCE_DIR}/build/")
include(CPack)
