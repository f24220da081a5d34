# SPDX-License-Identifier: BSD-3-Clause
# Debian packages by `cpack`: the libraries, what is needed to compile against them, the command line.
# The platform libraries travel with the library: they have its version, and nothing else uses them.
# scripts/check-packages.sh builds and tries the packages.

set(ZRDCMEXPORT_PACKAGE_MAINTAINER "The libzrdcmexport authors <authors@libzrdcmexport.invalid>"
    CACHE STRING "Who answers for the Debian packages, as 'Name <mail address>'")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zrdcmexport)
set(CPACK_PACKAGE_VENDOR "The libzrdcmexport authors")
set(CPACK_PACKAGE_CONTACT "${ZRDCMEXPORT_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/ZrPackageStaging.cmake")
set(CPACK_ZR_SOURCE_DIR "${PROJECT_SOURCE_DIR}")  # for that script

set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${ZRDCMEXPORT_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

# What the programs link is looked up in the packages of the machine; our own libraries are in none.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  "${PROJECT_BINARY_DIR}/src/core" "${PROJECT_BINARY_DIR}/src/imaging"
  "${PROJECT_BINARY_DIR}/src/codecs")
if(ZRDCMEXPORT_PLATFORM STREQUAL "bundled")
  foreach(library ktlib zrvolren wexlib gx)
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
         "${PROJECT_BINARY_DIR}/src/platform/${library}")
  endforeach()
endif()

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "libzrdcmexport${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# The linker's cache is brought up to date by a trigger. CPack would add scripts for it, unless it is
# told of others; those that do not exist are left out.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  "${PROJECT_SOURCE_DIR}/packaging/debian/triggers"
  "${PROJECT_SOURCE_DIR}/packaging/debian/none/postinst"
  "${PROJECT_SOURCE_DIR}/packaging/debian/none/postrm")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
"turns DICOM items into display-ready slices (shared library)
Decodes one frame, a range or all frames of a DICOM item to unsigned samples
with rescale, window, spacing and overlays, splits multi-frame datasets into
volumes, orders series, knows private elements and writes new files.

This package holds the library and the platform libraries beneath it.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzrdcmexport-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libdcmtk-dev (>= 3.6.7)")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
"turns DICOM items into display-ready slices (development files)
Decodes one frame, a range or all frames of a DICOM item to unsigned samples
with rescale, window, spacing and overlays, splits multi-frame datasets into
volumes, orders series, knows private elements and writes new files.

This package holds headers, CMake packages, pkg-config files and examples,
those of the imaging library too.")

list(APPEND CPACK_COMPONENTS_ALL imaging)
set(CPACK_DEBIAN_IMAGING_PACKAGE_NAME "libzrimaging${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_IMAGING_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_IMAGING_PACKAGE_CONTROL_EXTRA "${CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA}")
set(CPACK_COMPONENT_IMAGING_DEPENDS runtime)
list(APPEND CPACK_COMPONENT_DEVELOPMENT_DEPENDS imaging)
set(CPACK_COMPONENT_IMAGING_DESCRIPTION
"DICOM files, series and output files for programs (shared library)
Reads DICOM files from disk or memory and refuses those that were made to do
harm, gives texts as UTF-8 and elements by path, orders series, writes images
in several formats and new DICOM files, each whole or not at all.

This package holds the library that the command line is built on.")

if(ZRDCMEXPORT_BUILD_CODECS)
  list(APPEND CPACK_COMPONENTS_ALL codecs codecs_development)
  set(CPACK_DEBIAN_CODECS_PACKAGE_NAME "libzrcodecs${PROJECT_VERSION_MAJOR}")
  set(CPACK_DEBIAN_CODECS_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_CODECS_PACKAGE_CONTROL_EXTRA "${CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA}")
  set(CPACK_COMPONENT_CODECS_DESCRIPTION
"JPEG 2000 and HTJ2K for programs on DCMTK (shared library)
Codecs that a program registers with DCMTK, after which everything that
decodes through DCMTK decodes JPEG 2000 and HTJ2K too. Hostile streams are
recognised by their headers, before OpenJPEG sees them.")
  set(CPACK_DEBIAN_CODECS_DEVELOPMENT_PACKAGE_NAME libzrcodecs-dev)
  set(CPACK_DEBIAN_CODECS_DEVELOPMENT_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_CODECS_DEVELOPMENT_PACKAGE_DEPENDS "libdcmtk-dev (>= 3.6.7)")
  set(CPACK_DEBIAN_CODECS_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
  set(CPACK_COMPONENT_CODECS_DEVELOPMENT_DEPENDS codecs)
  set(CPACK_COMPONENT_CODECS_DEVELOPMENT_DESCRIPTION
"JPEG 2000 and HTJ2K for programs on DCMTK (development files)
Codecs that a program registers with DCMTK, after which everything that
decodes through DCMTK decodes JPEG 2000 and HTJ2K too.

This package holds the header and the CMake package.")
  list(APPEND CPACK_COMPONENT_IMAGING_DEPENDS codecs)
  list(APPEND CPACK_COMPONENT_DEVELOPMENT_DEPENDS codecs_development)
endif()

if(ZRDCMEXPORT_BUILD_TOOLS)
  list(APPEND CPACK_COMPONENTS_ALL program)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME zrdcm)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION science)
  set(CPACK_COMPONENT_PROGRAM_DEPENDS imaging)
  set(CPACK_COMPONENT_PROGRAM_DESCRIPTION
"looks into DICOM images, decodes and writes them (command line)
Prints what DICOM files hold, decodes their samples into NumPy, NRRD,
TIFF, raw, PNG and JPEG files, splits multi-frame datasets into
volumes, shows lookup tables, orders series and writes new DICOM
files.")
endif()

include(CPack)
