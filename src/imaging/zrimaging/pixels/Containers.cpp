// SPDX-License-Identifier: BSD-3-Clause
// Who reads the frames of an image: by how they are stored, with the codecs of DCMTK's list for
// what nobody else takes.
#include "zrimaging/pixels/Containers.h"

#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/pixels/OwnReaders.h"
#include "zrimaging/pixels/PixelDescription.h"

#include <zrdcmexport/ZrFrames.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

namespace zr {

namespace {

class DecodedContainers final : public Containers {
public:
  DecodedContainers(const File& file, const PixelDescription& pixels) {
    std::string error;
    if (!reader_.open(file.dataset(), error)) {
      throw Error(Reason::Undecodable, error);
    }
    // Decoders deliver containers of Bits Allocated, or fail.
    if (reader_.containerBytes() != pixels.containerBytes()) {
      throw Error(Reason::Unsupported, "has samples of an unusual size");
    }
  }

  void check(std::uint64_t frame) override {
    std::string error;
    if (!reader_.check(frame, error)) {
      throw refusal(frame, error);
    }
  }

  std::string read(std::uint64_t frame, unsigned char* target) override {
    std::string error;
    std::string interpretation;
    if (!reader_.decodeContainers(frame, target, reader_.containerBytes(), interpretation, error)) {
      throw refusal(frame, error);
    }
    return interpretation;
  }

private:
  static Error refusal(std::uint64_t frame, const std::string& error) {
    return {Reason::Undecodable, "frame " + std::to_string(frame) + ": " + error};
  }

  Zrg::FrameReader reader_;
};

}  // namespace

std::unique_ptr<Containers> decodedContainers(const File& file, const PixelDescription& pixels) {
  return std::make_unique<DecodedContainers>(file, pixels);
}

std::unique_ptr<Containers> containersOf(const File& file, const PixelDescription& pixels) {
  if (!pixels.encapsulated) {
    return nativeContainers(file, pixels);
  }
  const OwnReader* const reader = findOwnReader(pixels);
  return reader != nullptr ? reader->containers(file, pixels) : decodedContainers(file, pixels);
}

}  // namespace zr
