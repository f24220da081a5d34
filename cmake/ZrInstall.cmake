# SPDX-License-Identifier: BSD-3-Clause
# CMake packages and the pkg-config file of the install tree.

include(CMakePackageConfigHelpers)

# zr_install_package(NAME NAMESPACE [COMPONENT])
function(zr_install_package name)
  set(component development)
  if(ARGC GREATER 2)
    set(component ${ARGV2})
  endif()
  set(destination "${CMAKE_INSTALL_LIBDIR}/cmake/${name}")
  configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/${name}Config.cmake.in"
    "${PROJECT_BINARY_DIR}/${name}Config.cmake" INSTALL_DESTINATION "${destination}")
  write_basic_package_version_file("${PROJECT_BINARY_DIR}/${name}ConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
  install(FILES "${PROJECT_BINARY_DIR}/${name}Config.cmake"
                "${PROJECT_BINARY_DIR}/${name}ConfigVersion.cmake"
          DESTINATION "${destination}" COMPONENT ${component})
  install(EXPORT ${name}Targets NAMESPACE ${ARGV1} DESTINATION "${destination}"
          COMPONENT ${component})
endfunction()

if(ZRDCMEXPORT_PLATFORM STREQUAL "bundled")
  zr_install_package(zrplatform zrplatform::)
endif()
if(ZRDCMEXPORT_BUILD_CODECS)
  zr_install_package(zrcodecs zrdcmexport:: codecs_development)
endif()
zr_install_package(zrdcmexport zrdcmexport::)

# `cmake --install --prefix` may name another prefix than the configuration, so pkg-config learns it
# when it is known: at installation.
set(ZR_INSTALL_PREFIX "@CMAKE_INSTALL_PREFIX@")
function(zr_install_pkg_config name)
  configure_file("${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in" "${PROJECT_BINARY_DIR}/${name}.pc.in" @ONLY)
  install(CODE "configure_file(\"${PROJECT_BINARY_DIR}/${name}.pc.in\"
                               \"${PROJECT_BINARY_DIR}/${name}.pc\" @ONLY)"
          COMPONENT development)
  install(FILES "${PROJECT_BINARY_DIR}/${name}.pc"
          DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endfunction()

zr_install_pkg_config(zrdcmexport)
if(TARGET zrimaging)
  zr_install_pkg_config(zrimaging)
endif()
