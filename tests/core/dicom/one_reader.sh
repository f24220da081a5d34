#!/bin/sh
# SPDX-License-Identifier: BSD-3-Clause
# one_reader.sh SOURCES: numbers in texts are read by ZrNumbers.h alone. The functions of the C library and
# the streams follow the locale of the host application.
set -eu
cd "$1"
# What reads keys ("G0008-0016"), whose hexadecimal digits no locale writes otherwise, and the reader itself.
# The descriptor of a table is read within the "C" locale.
allowed='^src/core/(dicom/Numbers|writing/ZrDcmData|samples/LutReading)\.cpp:|^src/imaging/zrimaging/export/ExportAttributes\.cpp:'
others=$(grep -rnE '\b(ato(f|i|l|ll)|strto(f|d|ld|l|ll|ul|ull)(_l)?|sto(f|d|ld|i|l|ll|ul|ull)|[fv]?s?scanf) *\(' \
  --include='*.cpp' --include='*.h' src | grep -vE "$allowed" | grep -vE ':[[:space:]]*//' || true)
if [ -n "$others" ]; then
  printf 'these read numbers as the locale says, see ZrNumbers.h:\n%s\n' "$others"
  exit 1
fi
