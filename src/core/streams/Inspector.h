// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dicom/FrameSize.h"

#include <zrdcmexport/ZrTransferSyntax.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctypes.h"

#include <algorithm>
#include <optional>

namespace Zrg {

class FragmentStream;
class Fragments;

/// A frame among the fragments, as its decoder is asked for it.
struct FramePlace {
  unsigned long number;       ///< 0-based
  unsigned long start;        ///< index of its first fragment
  unsigned long long frames;  ///< of the image, as framesTogether() says
  bool alone;  ///< decoded by itself; otherwise together with all frames of the image
};

/// What decoding a frame gives.
struct FrameYield {
  unsigned long long bytes;  ///< of its samples
  unsigned long end;         ///< index of the fragment behind its last one
  bool isLong = false;  ///< samples of more than 12 bits, for which DCMTK has another JPEG decoder
};

/// Knows one kind of coding: what a decoder makes of a frame, without decoding it. A decoder may be
/// trusted with a frame for which `inspect` answers.
///
/// A transfer syntax names its inspector in the table of TransferSyntaxes.cpp. Inspectors hold no
/// state, and are shared by all threads.
class Inspector {
public:
  /// Reads a frame as far as it must.
  ///
  /// @param size what the attributes of the image say of its frames
  /// @return what decoding gives; nothing when the stream does not agree with the attributes, when
  ///         it is not there as a whole as far as that can be told, or when it leads the decoder
  ///         outside of its memory.
  [[nodiscard]] virtual std::optional<FrameYield> inspect(Fragments& fragments,
                                                          const FramePlace& place,
                                                          const FrameSize& size) const = 0;

  /// The fewest bits of a coded frame of which only the size is known. No whole stream has fewer.
  [[nodiscard]] virtual unsigned long long leastFrameBits(const FrameSize& size) const = 0;

  /// Whether there is enough coded data for `count` frames from `first` on to take memory for them.
  /// The first one is inspected; of the others no more than their least number of bits is asked
  /// for.
  [[nodiscard]] virtual bool mayHoldFrames(Fragments& fragments, const FramePlace& first,
                                           unsigned long count, const FrameSize& size) const;

  /// What the header of a frame says, of the stream that begins where `stream` is now. Nothing when
  /// there is no header, or when streams of this kind have none.
  [[nodiscard]] virtual std::optional<CodedFrame> readHeader(FragmentStream& stream) const;

  /// The first fragment of a frame of an image of `frames` frames, as the decoder finds it when it
  /// is asked for this frame alone; nothing when it does not.
  [[nodiscard]] virtual std::optional<unsigned long> startOfFrame(Fragments& fragments,
                                                                  unsigned long frame,
                                                                  unsigned long long frames) const;

  /// Whether a fragment that begins with these two bytes begins a frame for certain.
  [[nodiscard]] virtual bool beginsFrame(Uint8 first, Uint8 second) const;

  /// How many frames the decoder decodes when it decodes all of them, and finds one among when it
  /// is asked for one alone.
  ///
  /// @param stated    Number of Frames, at least 1
  /// @param fragments without the one of the offset table
  [[nodiscard]] virtual unsigned long long framesTogether(unsigned long long stated,
                                                          unsigned long long fragments) const {
    return std::max(1ULL, std::min(stated, fragments));
  }
  [[nodiscard]] virtual unsigned long long framesAlone(unsigned long long stated,
                                                       unsigned long long /*fragments*/) const {
    return stated;
  }

  /// Whether DCMTK decodes the first frame when it is asked for the colour model of an image.
  [[nodiscard]] virtual bool isDecodedForColourModel() const { return false; }

protected:
  Inspector() = default;
  ~Inspector() = default;  // never deleted through this class
  Inspector(const Inspector&) = default;
  Inspector& operator=(const Inspector&) = default;
};

/// For decoders of the application whose coding nobody here knows: they are trusted to stay within
/// a stream, but not with a frame that has no coded byte at all.
[[nodiscard]] const Inspector& inspectorOfUnknownCoding();

}  // namespace Zrg
