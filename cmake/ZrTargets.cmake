# SPDX-License-Identifier: BSD-3-Clause
# How our targets are made: warnings, language, visibility and versions stand here once.

# Warnings for our own code. DCMTK's imported targets are system headers and stay silent.
add_library(zr_developer_flags INTERFACE)
if(PROJECT_IS_TOP_LEVEL)
  target_compile_options(zr_developer_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wold-style-cast -Wnon-virtual-dtor
    # GCC 12 sees overlapping copies in std::string's own operator+ (its bug 105651).
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>)
endif()

# Sources are C++20, public headers C++17; symbols are hidden unless a header exports them.
function(zr_configure_target target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON
    # Installed programs and libraries find their neighbours wherever the prefix is.
    INSTALL_RPATH "$ORIGIN;$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:zr_developer_flags>)
endfunction()

# zr_install_library(NAME EXPORT [COMPONENT DEVELOPMENT_COMPONENT]): the library itself for those who run
# programs; its headers and the link without a version for those who build them.
function(zr_install_library name export)
  set(runtime runtime)
  set(development development)
  if(ARGC GREATER 3)
    set(runtime ${ARGV2})
    set(development ${ARGV3})
  endif()
  install(TARGETS ${name} EXPORT ${export}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
      COMPONENT ${runtime} NAMELINK_COMPONENT ${development}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT ${development})
endfunction()

# zr_platform_library(NAME HEADERS ... SOURCES ...): a shared platform library, zrplatform::NAME.
function(zr_platform_library name)
  cmake_parse_arguments(ARG "" "" "HEADERS;SOURCES" ${ARGN})
  add_library(${name} SHARED ${ARG_SOURCES})
  add_library(zrplatform::${name} ALIAS ${name})
  zr_configure_target(${name})
  target_compile_features(${name} INTERFACE cxx_std_17)
  set_target_properties(${name} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    VERIFY_INTERFACE_HEADER_SETS ON)
  target_sources(${name} PUBLIC FILE_SET HEADERS
    BASE_DIRS "${PROJECT_SOURCE_DIR}/src/platform" FILES ${ARG_HEADERS})
  zr_install_library(${name} zrplatformTargets)
endfunction()
