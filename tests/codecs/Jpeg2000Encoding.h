// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

/// Makes JPEG 2000 images through OpenJPEG's encoder, and datasets that hold them.
namespace jpeg2000 {

enum class Order { Lrcp, Rlcp, Rpcl, Pcrl, Cprl };

struct Settings {
  unsigned int bits = 8;
  bool isSigned = false;
  bool hasColourTransform = false;
  float ratio = 0;  ///< 0: lossless (5/3 wavelet, RCT); else lossy (9/7, ICT) with this compression
  int tileSize = 0;
  int levels = 3;
  int layers = 1;
  int precinctExponent = 0;  ///< 0: none are given
  Order order = Order::Lrcp;
  bool isFile = false;      ///< in the boxes of a JP2 file
  bool hasMarkers = false;  ///< SOP and EPH round the packets
  unsigned int chroma = 1;  ///< distance of the samples of the second and third component
  E_TransferSyntax syntax = EXS_JPEG2000LosslessOnly;  ///< of a dataset with such frames
};

/// Encodes one frame.
///
/// @param samples rows x columns x components, pixel by pixel
[[nodiscard]] std::vector<Uint8> encode(const std::vector<int>& samples, unsigned int columns,
                                        unsigned int rows, unsigned int components,
                                        const Settings& settings);

/// How frames are spread over fragments.
struct Encapsulation {
  unsigned int fragmentsOfAFrame = 1;
  enum class Table { Empty, Right, Wrong } table = Table::Empty;
};

/// A copy of a native dataset with these frames instead of its samples, as DCMTK has it after
/// loading.
[[nodiscard]] std::unique_ptr<DcmDataset> encapsulate(
    const DcmDataset& native, const std::vector<std::vector<Uint8>>& frames,
    const Encapsulation& how = {}, E_TransferSyntax syntax = EXS_JPEG2000LosslessOnly);

/// The frames of a native image as numbers: sign and stored bits as its attributes say, pixel by
/// pixel.
[[nodiscard]] std::vector<std::vector<int>> framesOf(DcmDataset& native);

/// A native dataset's twin in JPEG 2000: each of its frames encoded.
[[nodiscard]] std::unique_ptr<DcmDataset> twinOf(
    const DcmDataset& native, const Settings& settings, const Encapsulation& how = {},
    const std::function<void(std::vector<Uint8>&)>& changeStream = {});

}  // namespace jpeg2000
