// SPDX-License-Identifier: BSD-3-Clause
// NumPy's .npy, version 1.0, in C order:
//
//   0   magic: 0x93 "NUMPY"
//   6   version: 1, 0
//   8   length of the header text, little endian, 2 bytes
//   10  header: a Python dictionary, blanks, line feed; the samples begin at a multiple of 64
//
// Shape: (frames, rows, columns), for colour (frames, rows, columns, 3); the frame axis is there
// for a single frame too, so that a script need not tell the cases apart. See
// https://numpy.org/doc/stable/reference/generated/numpy.lib.format.html
#include "zrimaging/Output.h"
#include "zrimaging/formats/FrameBytes.h"
#include "zrimaging/formats/Writers.h"

#include <cstddef>
#include <string>

namespace zr {

namespace {

const char* npyType(SampleType type) {
  switch (type) {
    case SampleType::kU8:
      return "|u1";
    case SampleType::kS8:
      return "|i1";
    case SampleType::kU16:
      return "<u2";
    case SampleType::kS16:
      return "<i2";
    case SampleType::kU32:
      return "<u4";
    case SampleType::kS32:
      return "<i4";
    case SampleType::kF32:
      return "<f4";
    case SampleType::kF64:
      break;
  }
  return "<f8";
}

std::string npyHeader(const SampleArray& array) {
  std::string shape = std::to_string(array.frames) + ", " + std::to_string(array.rows) + ", " +
                      std::to_string(array.columns);
  if (array.channels != 1) {
    shape += ", " + std::to_string(array.channels);
  }
  std::string text = std::string("{'descr': '") + npyType(array.type) +
                     "', 'fortran_order': False, 'shape': (" + shape + "), }";

  // magic (6), version (2), header length (2), header; together a multiple of 64, newline last.
  constexpr std::size_t kPreludeBytes = 10;
  while ((kPreludeBytes + text.size() + 1) % 64 != 0) {
    text += ' ';
  }
  text += '\n';
  std::string header("\x93NUMPY\x01\x00", 8);
  header += static_cast<char>(text.size() & 0xFFU);
  header += static_cast<char>(text.size() >> 8U);
  return header + text;
}

}  // namespace

void writeNpy(const std::filesystem::path& target, const ProtectedInputs& inputs,
              const ArrayToWrite& array) {
  OutputFile file(target, inputs);
  file.write(npyHeader(array.layout));
  writeFrames(sinkInto(file), array);
  file.commit();
}

}  // namespace zr
