# SPDX-License-Identifier: BSD-3-Clause
# Cuts the C++ blocks out of Markdown pages, so that what they show is compiled and run.

# zr_cpp_blocks(PAGE VARIABLE): all blocks of a page, one after the other.
function(zr_cpp_blocks page variable)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${page}")
  file(READ "${page}" rest)
  set(blocks "")
  string(FIND "${rest}" "\n```cpp\n" begin)
  while(NOT begin EQUAL -1)
    math(EXPR begin "${begin} + 8")
    string(SUBSTRING "${rest}" ${begin} -1 rest)
    string(FIND "${rest}" "\n```" length)
    if(length EQUAL -1)
      message(FATAL_ERROR "${page} has a C++ block without an end")
    endif()
    string(SUBSTRING "${rest}" 0 ${length} block)
    string(APPEND blocks "${block}\n\n")
    string(SUBSTRING "${rest}" ${length} -1 rest)
    string(SUBSTRING "${rest}" 4 -1 rest)  # behind the fence that ended this block
    string(FIND "${rest}" "\n```cpp\n" begin)
  endwhile()
  if(blocks STREQUAL "")
    message(FATAL_ERROR "${page} has no C++ block")
  endif()
  set(${variable} "${blocks}" PARENT_SCOPE)
endfunction()

# zr_guide_header(PAGE NAMESPACE OUTPUT): a header with the functions of a guide. The blocks of a page
# belong together: includes go to the top, everything else into a namespace without external linkage,
# where the compiler complains about a function that no test calls.
function(zr_guide_header page namespace output)
  zr_cpp_blocks("${page}" blocks)
  string(REGEX MATCHALL "#include [<\"][^>\"]*[>\"]\n" includes "${blocks}")
  string(REGEX REPLACE "#include [<\"][^>\"]*[>\"]\n" "" blocks "${blocks}")
  string(REPLACE ";" "" includes "${includes}")
  file(CONFIGURE OUTPUT "${output}" @ONLY CONTENT
"// Made from the C++ blocks of a guide.
#pragma once

@includes@
namespace {
namespace @namespace@ {
@blocks@}
}
")
endfunction()
