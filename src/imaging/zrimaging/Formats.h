// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>
#include <zrimaging/Samples.h>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

class ProtectedInputs;

/// What is known about an array besides its samples, for formats that can say it.
struct ArrayDescription {
  static constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

  /// Millimetres between columns, rows and frames, positive; NaN where unknown.
  std::array<double, 3> spacingMm{kUnknown, kUnknown, kUnknown};
  std::string content;                                          ///< one line about the image
  std::vector<std::pair<std::string, std::string>> attributes;  ///< further keys and values
  /// ICC profile of colour, as the dataset has it (PS3.3 C.11.15); empty when there is none. It
  /// goes into PNG, TIFF and JPEG.
  std::vector<unsigned char> iccProfile;
};

/// Yields one frame of an array; its samples are used before the next one is asked for.
using FrameAt = std::function<SampleArray(std::size_t index)>;

/// An array on its way into a file.
struct ArrayToWrite {
  SampleArray layout;  ///< of all frames; its bytes are not used
  FrameAt frameAt;     ///< frames 0 to `layout.frames` - 1 are asked for, each once and in order
  ArrayDescription description;
  bool compressed = false;  ///< without loss, where the format leaves the choice: kCompression
  /// Is told in a line what was left out of the file; may be empty.
  std::function<void(const std::string& text)> remark = {};
  int quality = 90;  ///< of formats with loss, from 1 (coarse) to 100 (fine): kLossy
};

/// An array whose samples are there. They have to stay until it is written.
[[nodiscard]] ZRIMAGING_API ArrayToWrite arrayOf(const SampleArray& samples,
                                                 ArrayDescription description = {});

/// What the files of a format can hold; a sum of these.
enum FormatContent : unsigned {
  kColour = 1,           ///< three channels
  kSixteenBits = 2,      ///< integers of two bytes; those of one byte go into every format
  kSigned = 4,           ///< samples with a sign
  kSeveralFrames = 8,    ///< of one size, in one file; else every frame is a file of its own
  kShape = 16,           ///< the file itself says type and size of the array: it can be read alone
  kDescription = 32,     ///< spacings, keys and values: ArrayDescription
  kForEyes = 64,         ///< a picture: samples go through a window first, unless they are kept
  kThirtyTwoBits = 128,  ///< integers of four bytes
  kFloatingPoint = 256,  ///< floating-point numbers of four and eight bytes
  kCompression = 512,    ///< samples as they are or compressed, as the caller wants it
  kLossy = 1024,         ///< samples come back a little different: ArrayToWrite::quality
};

/// A format that arrays are written in: a row of the table.
struct OutputFormat {
  const char* name;     ///< what a user chooses it by: "nrrd"
  const char* ending;   ///< of its files, in lower case: ".nrrd"
  unsigned contents;    ///< a sum of FormatContent
  const char* summary;  ///< for help texts: what is written. Lines are parted by a line feed.

  /// Writes a file that appears under its name when it is complete. The array is one that the
  /// format holds; writeArray() has looked.
  /// @throws Error CannotWrite
  void (*write)(const std::filesystem::path& target, const ProtectedInputs& inputs,
                const ArrayToWrite& array);

  /// Another ending that its files may have, in lower case; null when there is none.
  const char* otherEnding = nullptr;

  bool holds(FormatContent content) const { return (contents & content) != 0; }
};

/// All formats in the order in which help texts list them.
[[nodiscard]] ZRIMAGING_API std::vector<const OutputFormat*> formats();

/// Those that hold all of these contents.
/// @param contents a sum of FormatContent
[[nodiscard]] ZRIMAGING_API std::vector<const OutputFormat*> formatsWith(unsigned contents);

/// The format of that name; null when there is none.
[[nodiscard]] ZRIMAGING_API const OutputFormat* formatNamed(const std::string& name);

/// The format that the ending of a path means, in capitals or not; null when there is none.
[[nodiscard]] ZRIMAGING_API const OutputFormat* formatOf(const std::filesystem::path& path);

/// Adds a format of a program's own behind those that are there. The row has to stay; no other
/// thread may use the table meanwhile.
/// @throws Error Unsupported when a format of that name or ending is there
ZRIMAGING_API void addFormat(const OutputFormat& format);

/// Writes an array.
/// `inputs` are files that must not be replaced.
/// @throws Error Unsupported when the format does not hold such an array, with the names of those
///         that do; CannotWrite when the file cannot be written or is an input. What `frameAt`
///         throws passes through.
ZRIMAGING_API void writeArray(const OutputFormat& format, const std::filesystem::path& target,
                              const ProtectedInputs& inputs, const ArrayToWrite& array);

/// Writes samples as a picture: in the format for pictures that the ending of the target means, in
/// PNG when it means none.
/// `frame` is one frame, gray or RGB, 8 bits, or 16 in PNG, where signed samples keep their bits.
/// `remark` is told what was left out; may be empty.
/// @throws Error as writeArray()
ZRIMAGING_API void writePicture(const std::filesystem::path& target, const ProtectedInputs& inputs,
                                const SampleArray& frame, ArrayDescription description = {},
                                std::function<void(const std::string& text)> remark = {});

}  // namespace zr
