// SPDX-License-Identifier: BSD-3-Clause
#include "support/Compression.h"

#include "dcmtk/dcmdata/dcistrmb.h"
#include "dcmtk/dcmdata/dcostrmb.h"
#include "dcmtk/dcmdata/dcrleerg.h"
#include "dcmtk/dcmdata/dcrlerp.h"
#include "dcmtk/dcmjpeg/djencode.h"
#include "dcmtk/dcmjpeg/djrplol.h"
#include "dcmtk/dcmjpeg/djrploss.h"
#include "dcmtk/dcmjpls/djencode.h"
#include "dcmtk/dcmjpls/djrparam.h"
#include "dcmtk/oflog/oflog.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace support {

namespace {

void require(const OFCondition& status, const char* what) {
  if (status.bad()) {
    throw std::logic_error(std::string(what) + ": " + status.text());
  }
}

void registerEncoders() {
  DcmRLEEncoderRegistration::registerCodecs();
  DJEncoderRegistration::registerCodecs();
  // Raw, not "cooked": the spare bits of the samples (overlays) must survive.
  DJLSEncoderRegistration::registerCodecs(0, 0, 0, 0, OFFalse);
}

std::unique_ptr<DcmRepresentationParameter> encoderParameter(E_TransferSyntax syntax) {
  switch (syntax) {
    case EXS_JPEGProcess1:
    case EXS_JPEGProcess2_4:
    case EXS_JPEGProcess6_8:
    case EXS_JPEGProcess10_12:
      return std::make_unique<DJ_RPLossy>(90);
    case EXS_JPEGProcess14:
    case EXS_JPEGProcess14SV1:
      return std::make_unique<DJ_RPLossless>();
    case EXS_JPEGLSLossless:
      return std::make_unique<DJLSRepresentationParameter>(Uint16{0}, OFTrue);
    case EXS_JPEGLSLossy:
      return std::make_unique<DJLSRepresentationParameter>(Uint16{2}, OFFalse);
    default:
      return std::make_unique<DcmRLERepresentationParameter>();
  }
}

std::vector<char> bytesOf(DcmDataset& dataset, E_TransferSyntax syntax) {
  // A deflated stream is never longer than this either, give or take its headers.
  std::vector<char> bytes(std::size_t{dataset.calcElementLength(syntax, EET_ExplicitLength)} +
                          65536);
  DcmOutputBufferStream stream(bytes.data(), static_cast<offile_off_t>(bytes.size()));
  dataset.transferInit();
  require(dataset.write(stream, syntax, EET_ExplicitLength, nullptr), "write to memory");
  dataset.transferEnd();
  stream.flush();
  void* written = nullptr;
  offile_off_t length = 0;
  stream.flushBuffer(written, length);
  bytes.resize(static_cast<std::size_t>(length));
  return bytes;
}

std::unique_ptr<DcmDataset> compressAs(const DcmDataset& dataset, E_TransferSyntax syntax,
                                       const DcmRepresentationParameter& parameter) {
  registerEncoders();
  DcmDataset copy(dataset);
  require(copy.chooseRepresentation(syntax, &parameter), "compress");
  return support::readBack(copy, syntax);
}

}  // namespace

std::unique_ptr<DcmDataset> readBack(DcmDataset& dataset, E_TransferSyntax syntax) {
  const std::vector<char> bytes = bytesOf(dataset, syntax);
  DcmInputBufferStream stream;
  stream.setBuffer(bytes.data(), static_cast<offile_off_t>(bytes.size()));
  stream.setEos();
  auto result = std::make_unique<DcmDataset>();
  result->transferInit();
  require(result->read(stream, syntax), "read from memory");
  result->transferEnd();
  require(result->loadAllDataIntoMemory(), "load");
  return result;
}

std::unique_ptr<DcmDataset> compress(const DcmDataset& dataset, E_TransferSyntax syntax) {
  return compressAs(dataset, syntax, *encoderParameter(syntax));
}

std::unique_ptr<DcmDataset> compressWithPredictor(const DcmDataset& dataset, int predictor) {
  return compressAs(dataset, EXS_JPEGProcess14, DJ_RPLossless(predictor, 0));
}

void saveFile(const DcmDataset& dataset, const std::filesystem::path& path,
              E_TransferSyntax syntax) {
  DcmDataset copy(dataset);
  DcmFileFormat file(&copy);
  require(file.saveFile(path.c_str(), syntax), "save");
}

bool silenceDcmtk() {
  OFLog::configure(OFLogger::OFF_LOG_LEVEL);
  return true;
}

}  // namespace support
