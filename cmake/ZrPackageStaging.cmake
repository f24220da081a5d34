# SPDX-License-Identifier: BSD-3-Clause
# Run by cpack between installing the files of each package into a folder of its own and packing them:
# makes them what Debian expects below /usr, and adds copyright and changelog.

set(packages
  "runtime=${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME}"
  "development=${CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME}"
  "imaging=${CPACK_DEBIAN_IMAGING_PACKAGE_NAME}"
  "codecs=${CPACK_DEBIAN_CODECS_PACKAGE_NAME}"
  "codecs_development=${CPACK_DEBIAN_CODECS_DEVELOPMENT_PACKAGE_NAME}"
  "program=${CPACK_DEBIAN_PROGRAM_PACKAGE_NAME}")
set(debian "${CPACK_ZR_SOURCE_DIR}/packaging/debian")

function(zr_gzip file)
  execute_process(COMMAND gzip -9nf "${file}" COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# In /usr the dynamic linker finds libraries by itself.
function(zr_drop_run_paths root)
  file(GLOB binaries "${root}/usr/bin/*" "${root}/usr/lib/*.so.*" "${root}/usr/lib/*/*.so.*")
  foreach(binary IN LISTS binaries)
    if(NOT IS_SYMLINK "${binary}")
      file(RPATH_REMOVE FILE "${binary}")
    endif()
  endforeach()
endfunction()

# The installation wrote the folder that it installed to.
function(zr_settle_pkg_config root)
  file(GLOB_RECURSE files "${root}/usr/lib/*.pc")
  foreach(file IN LISTS files)
    file(READ "${file}" text)
    string(REGEX REPLACE "\nprefix=[^\n]*" "\nprefix=/usr" text "${text}")
    string(REPLACE " -Wl,-rpath,\${libdir}" "" text "${text}")
    file(WRITE "${file}" "${text}")
  endforeach()
endfunction()

# Debian's zsh looks into another folder than a zsh that was installed by hand.
function(zr_settle_completions root)
  if(EXISTS "${root}/usr/share/zsh/site-functions")
    file(RENAME "${root}/usr/share/zsh/site-functions" "${root}/usr/share/zsh/vendor-completions")
  endif()
endfunction()

function(zr_add_documents root package)
  set(folder "${root}/usr/share/doc/${package}")
  if(EXISTS "${root}/usr/share/doc/zrdcmexport")  # examples
    file(RENAME "${root}/usr/share/doc/zrdcmexport" "${folder}")
  endif()
  file(MAKE_DIRECTORY "${folder}")
  configure_file("${debian}/copyright" "${folder}/copyright" COPYONLY)
  configure_file("${debian}/changelog.in" "${folder}/changelog" @ONLY)
  zr_gzip("${folder}/changelog")
  if(EXISTS "${debian}/${package}.lintian-overrides")
    file(MAKE_DIRECTORY "${root}/usr/share/lintian/overrides")
    configure_file("${debian}/${package}.lintian-overrides"
                   "${root}/usr/share/lintian/overrides/${package}" COPYONLY)
  endif()
  file(GLOB pages "${root}/usr/share/man/man*/*.[1-9]")
  foreach(page IN LISTS pages)
    zr_gzip("${page}")
  endforeach()
endfunction()

foreach(pair IN LISTS packages)
  string(REGEX MATCH "^([^=]*)=(.*)$" pair "${pair}")
  set(root "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${CMAKE_MATCH_1}")
  set(package "${CMAKE_MATCH_2}")
  if(IS_DIRECTORY "${root}")
    zr_drop_run_paths("${root}")
    zr_settle_pkg_config("${root}")
    zr_settle_completions("${root}")
    zr_add_documents("${root}" "${package}")
  endif()
endforeach()
