# SPDX-License-Identifier: BSD-3-Clause
# What is built. Everything but the library itself is off in a sub-project.

option(ZRDCMEXPORT_BUILD_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(ZRDCMEXPORT_BUILD_TOOLS "Build the command line zrdcm and the examples" ${PROJECT_IS_TOP_LEVEL})
option(ZRDCMEXPORT_BUILD_CODECS "Build the codecs for JPEG 2000 and HTJ2K (OpenJPEG)" ${PROJECT_IS_TOP_LEVEL})
option(ZRDCMEXPORT_BUILD_BENCH "Build the benchmarks" OFF)
option(ZRDCMEXPORT_BUILD_FUZZ "Build the fuzzers (clang only)" OFF)
option(ZRDCMEXPORT_BUILD_PYTHON "Build the Python module" OFF)
option(ZRDCMEXPORT_BUILD_DOCS "Build the reference documentation" OFF)

set(ZRDCMEXPORT_PLATFORM "bundled" CACHE STRING
    "bundled: build src/platform; external: find a package that provides the zrplatform:: targets")
set_property(CACHE ZRDCMEXPORT_PLATFORM PROPERTY STRINGS bundled external)
if(NOT ZRDCMEXPORT_PLATFORM MATCHES "^(bundled|external)$")
  message(FATAL_ERROR "ZRDCMEXPORT_PLATFORM is '${ZRDCMEXPORT_PLATFORM}'; say bundled or external")
endif()
