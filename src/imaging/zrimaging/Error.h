// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <stdexcept>
#include <string>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

/// Of what kind an error is: for callers that go on in different ways. The text tells people more.
enum class Reason {
  NotDicom,          ///< no DICOM file: missing, not to be opened, empty, or something else
  Damaged,           ///< a DICOM file that cannot be read, or whose parts contradict each other
  TooLarge,          ///< more than a limit allows: memory, nesting, samples of one image
  NoPixelData,       ///< an object without pixels, or an image whose pixels are not in the file
  MissingAttribute,  ///< what was asked for needs an attribute that is not there
  NoDecoder,         ///< compressed in a transfer syntax that nothing decodes here
  Undecodable,       ///< a decoder for the pixel data is there, and it failed
  Unsupported,       ///< well formed, but not handled here; or a name that is not known here
  NoSuchFrame,       ///< fewer frames than the number that was asked for
  NotAVolume,        ///< the frames do not make up volumes
  CannotWrite,       ///< a place that cannot be written, or content that does not make a file
  OutOfMemory,       ///< the system gave no more memory
};

/// The name of a reason as it is written in C++: "NotDicom".
[[nodiscard]] ZRIMAGING_API const char* nameOf(Reason reason) noexcept;

/// What public functions of this library throw when something cannot be done, and nothing else.
/// `what()` is one line in English: what is wrong, with which file, attribute or transfer syntax,
/// and what would help where that is known.
class ZRIMAGING_API Error : public std::runtime_error {
public:
  Error(Reason reason, const std::string& text) : std::runtime_error(text), reason_(reason) {}
  Error(const Error&) = default;
  Error& operator=(const Error&) = default;
  ~Error() override;

  [[nodiscard]] Reason reason() const noexcept { return reason_; }

private:
  Reason reason_;
};

}  // namespace zr
