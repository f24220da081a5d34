// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/Error.h"

namespace zr {

// Here alone, so that programs and the library agree on what an Error is when they catch one.
Error::~Error() = default;

const char* nameOf(Reason reason) noexcept {
  switch (reason) {
    case Reason::NotDicom:
      return "NotDicom";
    case Reason::Damaged:
      return "Damaged";
    case Reason::TooLarge:
      return "TooLarge";
    case Reason::NoPixelData:
      return "NoPixelData";
    case Reason::MissingAttribute:
      return "MissingAttribute";
    case Reason::NoDecoder:
      return "NoDecoder";
    case Reason::Undecodable:
      return "Undecodable";
    case Reason::Unsupported:
      return "Unsupported";
    case Reason::NoSuchFrame:
      return "NoSuchFrame";
    case Reason::NotAVolume:
      return "NotAVolume";
    case Reason::CannotWrite:
      return "CannotWrite";
    case Reason::OutOfMemory:
      return "OutOfMemory";
  }
  return "Unknown";  // of a number that is no reason
}

}  // namespace zr
