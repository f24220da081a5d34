#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# docs-elements.sh HEADER: the header with a declaration for each row of the table of private elements
# that it includes. Doxygen reads included files for their macros only.
set -eu
table=$(dirname "$0")/../src/core/zrdcmexport/PrivateElements.def
sed -n -E 's|^ZRDCMEXPORT_PRIVATE_ELEMENT\((\w+), 0x(\w+), (\w+), (\w+)\)(  ///<( .*))?$|extern const DcmTagKey \1;  ///< (0071,\2) \3, VM \4.\6|p' "$table" |
  sed -e '/^#include <zrdcmexport\/PrivateElements.def>/r /dev/stdin' \
      -e '/^#include <zrdcmexport\/PrivateElements.def>/d' \
      -e '/^#define ZRDCMEXPORT_PRIVATE_ELEMENT/,/;$/d' "$1"
