// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/pixels/Containers.h"

#include <memory>
#include <string>

namespace zr {

inline constexpr const char* kDeflatedImageFrameCompression = "1.2.840.10008.1.2.8.1";

/// Compressed frames that neither DCMTK nor a codec of its list decodes: they are read here.
struct OwnReader {
  const char* transferSyntax;
  /// Whether it reads what the syntax allows, or only images that others fail with.
  bool readsAll;
  bool (*isNeeded)(const PixelDescription& pixels);
  std::unique_ptr<Containers> (*containers)(const File& file, const PixelDescription& pixels);
};

/// Who reads the frames of an image here.
/// @return null where that is left to DCMTK
const OwnReader* findOwnReader(const PixelDescription& pixels);

/// Whether all images of a transfer syntax are read here.
bool isReadHere(const std::string& transferSyntax);

}  // namespace zr
