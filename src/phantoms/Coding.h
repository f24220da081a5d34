// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "Phantoms.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcfilefo.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <memory>
#include <string>
#include <vector>

namespace phantoms {

/// Registers the encoders of DCMTK as long as it lives.
class Encoders {
public:
  Encoders();
  ~Encoders();
  Encoders(const Encoders&) = delete;
  Encoders& operator=(const Encoders&) = delete;
  Encoders(Encoders&&) = delete;
  Encoders& operator=(Encoders&&) = delete;
};

/// Compresses a dataset in place, JPEG baseline at quality 90; needs `Encoders`.
/// @throws std::runtime_error when it cannot be encoded
void encode(DcmDataset& dataset, E_TransferSyntax syntax);

/// A phantom in one of its syntaxes, with an instance UID of its own.
struct CodedPhantom {
  std::string fileName;  ///< "ct-thorax-signed-rle.dcm"
  std::unique_ptr<DcmFileFormat> file;
};

/// The syntaxes that a phantom is written in: Explicit VR Little Endian, then those it names.
std::vector<E_TransferSyntax> syntaxesOf(const Phantom& phantom);

/// @param syntax Explicit VR Little Endian or one of RLE, JPEG lossless, JPEG-LS, JPEG baseline
/// @throws std::runtime_error when there is no name for the syntax, or the dataset cannot be
///         encoded
CodedPhantom codedAs(const Phantom& phantom, E_TransferSyntax syntax);

}  // namespace phantoms
