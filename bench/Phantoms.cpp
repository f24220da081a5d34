// SPDX-License-Identifier: BSD-3-Clause
#include "Phantoms.h"

#include "dcmtk/dcmdata/dcrleerg.h"
#include "dcmtk/dcmjpeg/djencode.h"
#include "dcmtk/dcmjpeg/djrplol.h"
#include "dcmtk/dcmjpeg/djrploss.h"
#include "dcmtk/dcmjpls/djencode.h"
#include "dcmtk/dcmjpls/djrparam.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>
#include <unistd.h>
#include <vector>

namespace bench {

namespace {

constexpr int kDifferentFrames = 8;  // the rest repeats them: frames are coded one by one

class Noise {
public:
  /// Roughly normal, with a deviation of about 7 grey levels.
  int next() {
    auto bits = static_cast<unsigned>(random_());
    int sum = -30;
    for (int i = 0; i < 4; ++i, bits >>= 4U) {
      sum += static_cast<int>(bits & 15U);
    }
    return sum * 3 / 4;
  }

private:
  std::mt19937 random_{20070901};
};

/// Hounsfield units of a head: air, a ring of bone, tissue with a ventricle.
int headAt(double x, double y) {
  const double radius = std::sqrt(x * x * 1.4 + y * y);
  if (radius > 0.9) {
    return -1000;
  }
  if (radius > 0.8) {
    return 900;
  }
  return x * x + 4 * (y - 0.1) * (y - 0.1) < 0.02 ? 5 : 40;
}

std::vector<Uint16> samplesOf(const PhantomForm& form) {
  const std::size_t frameSize =
      static_cast<std::size_t>(form.columns) * static_cast<std::size_t>(form.rows);
  const auto frames = static_cast<std::size_t>(form.frames);
  std::vector<Uint16> samples(frameSize * frames);
  const std::size_t different = frameSize * std::min<std::size_t>(frames, kDifferentFrames);
  Noise noise;
  for (std::size_t i = 0; i < different; ++i) {
    const auto column = static_cast<int>(i % frameSize) % form.columns;
    const auto row = static_cast<int>(i % frameSize) / form.columns;
    const int value =
        headAt(2.0 * column / form.columns - 1, 2.0 * row / form.rows - 1) + noise.next();
    samples[i] =
        static_cast<Uint16>(form.eightBit ? std::clamp(value / 4 + 100, 0, 255) : value & 0x0FFF);
  }
  for (std::size_t i = different; i < samples.size(); ++i) {
    samples[i] = samples[i - different];
  }
  return samples;
}

void putAttributes(DcmDataset& dataset, const PhantomForm& form, int number) {
  const auto text = [&dataset](const DcmTagKey& key, const std::string& value) {
    check(dataset.putAndInsertString(DcmTag(key), value.c_str()));
  };
  const auto word = [&dataset](const DcmTagKey& key, int value) {
    check(dataset.putAndInsertUint16(DcmTag(key), static_cast<Uint16>(value)));
  };
  text(DCM_SOPClassUID, UID_CTImageStorage);
  text(DCM_SOPInstanceUID, "2.25.1." + std::to_string(number));
  text(DCM_ImageType, "ORIGINAL\\PRIMARY\\AXIAL");
  text(DCM_StudyDate, "20200102");
  text(DCM_Modality, "CT");
  text(DCM_Manufacturer, "Phantoms");
  text(DCM_StudyDescription, "Head");
  text(DCM_PatientName, "Phantom^Head");
  text(DCM_PatientID, "1");
  text(DCM_PatientBirthDate, "19700101");
  text(DCM_SliceThickness, "1.25");
  text(DCM_KVP, "120");
  text(DCM_SpacingBetweenSlices, "1.25");
  text(DCM_StudyInstanceUID, "2.25.2");
  text(DCM_SeriesInstanceUID, "2.25.3");
  text(DCM_InstanceNumber, std::to_string(number));
  text(DCM_ImagePositionPatient, "-120\\-120\\" + std::to_string(number));
  text(DCM_FrameOfReferenceUID, "2.25.4");
  word(DCM_SamplesPerPixel, 1);
  text(DCM_PhotometricInterpretation, "MONOCHROME2");
  if (form.frames > 1) {
    text(DCM_NumberOfFrames, std::to_string(form.frames));
    text(DCM_FrameIncrementPointer, "(0018,0088)");
  }
  word(DCM_Rows, form.rows);
  word(DCM_Columns, form.columns);
  text(DCM_PixelSpacing, "0.5\\0.5");
  word(DCM_BitsAllocated, form.eightBit ? 8 : 16);
  word(DCM_BitsStored, form.eightBit ? 8 : 12);
  word(DCM_HighBit, form.eightBit ? 7 : 11);
  word(DCM_PixelRepresentation, form.eightBit ? 0 : 1);
  text(DCM_WindowCenter, "40");
  text(DCM_WindowWidth, "80");
  text(DCM_RescaleIntercept, "0");
  text(DCM_RescaleSlope, "1");
}

void registerEncoders() {
  DcmRLEEncoderRegistration::registerCodecs();
  DJEncoderRegistration::registerCodecs();
  // Raw: the other way, samples of fewer bits than their cells come out signed and beyond their range.
  DJLSEncoderRegistration::registerCodecs(0, 0, 0, 0, OFFalse);
}

OFCondition compress(DcmDataset& dataset, E_TransferSyntax syntax) {
  registerEncoders();
  const DJ_RPLossless lossless;
  const DJ_RPLossy lossy(90);
  const DJLSRepresentationParameter nearLossless(0, OFTrue);
  const DcmRepresentationParameter* parameter = nullptr;
  if (syntax == EXS_JPEGProcess14SV1) {
    parameter = &lossless;
  } else if (syntax == EXS_JPEGProcess1) {
    parameter = &lossy;
  } else if (syntax == EXS_JPEGLSLossless) {
    parameter = &nearLossless;
  }
  return dataset.chooseRepresentation(syntax, parameter);
}

}  // namespace

void check(const OFCondition& condition) {
  if (condition.bad()) {
    throw std::runtime_error(condition.text());
  }
}

std::unique_ptr<DcmFileFormat> makePhantom(const PhantomForm& form, int number) {
  auto file = std::make_unique<DcmFileFormat>();
  DcmDataset& dataset = *file->getDataset();
  putAttributes(dataset, form, number);
  const std::vector<Uint16> samples = samplesOf(form);
  if (form.eightBit) {
    const std::vector<Uint8> bytes(samples.begin(), samples.end());
    check(dataset.putAndInsertUint8Array(DCM_PixelData, bytes.data(), bytes.size()));
  } else {
    check(dataset.putAndInsertUint16Array(DCM_PixelData, samples.data(), samples.size()));
  }
  return file;
}

void savePhantom(DcmFileFormat& file, const std::filesystem::path& path, E_TransferSyntax syntax) {
  check(compress(*file.getDataset(), syntax));
  check(file.saveFile(path.c_str(), syntax));
}

PhantomFile::PhantomFile(const PhantomForm& form, E_TransferSyntax syntax) {
  static int count = 0;
  path_ =
      std::filesystem::temp_directory_path() /
      ("zrdcmexport_bench_" + std::to_string(getpid()) + "_" + std::to_string(++count) + ".dcm");
  savePhantom(*makePhantom(form), path_, syntax);
}

PhantomFile::~PhantomFile() {
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

}  // namespace bench
