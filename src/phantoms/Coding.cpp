// SPDX-License-Identifier: BSD-3-Clause
// The transfer syntaxes of the phantoms: what their files are called, and how they are encoded.
#include "Coding.h"

#include "Builder.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcrleerg.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/dcmjpeg/djencode.h"
#include "dcmtk/dcmjpeg/djrplol.h"
#include "dcmtk/dcmjpeg/djrploss.h"
#include "dcmtk/dcmjpls/djencode.h"

#include <stdexcept>

namespace phantoms {

namespace {

struct NamedCoding {
  E_TransferSyntax syntax;
  const char* suffix;
  unsigned number;  // last part of the instance UID
};

constexpr NamedCoding kSyntaxes[] = {{EXS_LittleEndianExplicit, "", 1},
                                     {EXS_RLELossless, "-rle", 2},
                                     {EXS_JPEGProcess14SV1, "-jpeg-lossless", 3},
                                     {EXS_JPEGLSLossless, "-jpeg-ls", 4},
                                     {EXS_JPEGProcess1, "-jpeg-baseline", 5}};

const NamedCoding& namedCoding(E_TransferSyntax syntax) {
  for (const NamedCoding& named : kSyntaxes) {
    if (named.syntax == syntax) {
      return named;
    }
  }
  throw std::runtime_error("no such coding");
}

}  // namespace

void encode(DcmDataset& dataset, E_TransferSyntax syntax) {
  const DJ_RPLossless lossless;
  const DJ_RPLossy lossy(90);
  const DcmRepresentationParameter* parameter = nullptr;
  if (syntax == EXS_JPEGProcess14SV1) {
    parameter = &lossless;
  } else if (syntax == EXS_JPEGProcess1) {
    parameter = &lossy;
  }
  mustSucceed(dataset.chooseRepresentation(syntax, parameter), DcmXfer(syntax).getXferName());
}

std::vector<E_TransferSyntax> syntaxesOf(const Phantom& phantom) {
  std::vector<E_TransferSyntax> syntaxes = {EXS_LittleEndianExplicit};
  syntaxes.insert(syntaxes.end(), phantom.compressed.begin(), phantom.compressed.end());
  return syntaxes;
}

CodedPhantom codedAs(const Phantom& phantom, E_TransferSyntax syntax) {
  const NamedCoding& named = namedCoding(syntax);
  // A copy: encoding rewrites the dataset.
  auto file = std::make_unique<DcmFileFormat>(phantom.dataset.get());
  DcmDataset& dataset = *file->getDataset();
  if (syntax != EXS_LittleEndianExplicit) {
    encode(dataset, syntax);
  }
  OFString base;
  mustSucceed(dataset.findAndGetOFString(DCM_SOPInstanceUID, base), "an instance UID");
  const std::string instance = base + "." + std::to_string(named.number);
  mustSucceed(dataset.putAndInsertString(DCM_SOPInstanceUID, instance.c_str()), "an instance UID");
  return {phantom.name + named.suffix + ".dcm", std::move(file)};
}

// The encoders must not invent instance UIDs: ours are fixed.
Encoders::Encoders() {
  DcmRLEEncoderRegistration::registerCodecs(OFFalse);
  DJEncoderRegistration::registerCodecs(ECC_lossyYCbCr, EUC_never);
  // Raw encoding codes all bits allocated, so that overlays in the spare bits survive.
  const bool cooked = false;
  DJLSEncoderRegistration::registerCodecs(0, 0, 0, 0, cooked, 0, OFTrue, EJLSUC_never);
}

Encoders::~Encoders() {
  DJLSEncoderRegistration::cleanup();
  DJEncoderRegistration::cleanup();
  DcmRLEEncoderRegistration::cleanup();
}

}  // namespace phantoms
