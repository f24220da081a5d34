// SPDX-License-Identifier: BSD-3-Clause
// From samples to files: the modules every image needs, fixed UIDs and dates, the encoders. The
// same call gives the same bytes on every day.
#include "Modules.h"
#include "Phantoms.h"
#include "zrimaging/Error.h"
#include "zrimaging/files/Condition.h"
#include "zrimaging/output/DicomWriter.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcrleerg.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/dcmjpeg/djencode.h"
#include "dcmtk/dcmjpeg/djrplol.h"
#include "dcmtk/dcmjpeg/djrploss.h"
#include "dcmtk/dcmjpls/djencode.h"

namespace phantoms {

namespace {

// The root of our own UIDs: a random UUID as an integer (PS3.5 B.2).
constexpr const char* kUidRoot = "2.25.81828835914791341300994661302326573983";

std::string uid(const std::string& branch) {
  return std::string(kUidRoot) + "." + branch;
}

struct Coding {
  E_TransferSyntax syntax;
  const char* suffix;
  unsigned number;  // last part of the instance UID
};

constexpr Coding kCodings[] = {{EXS_LittleEndianExplicit, "", 1},
                               {EXS_RLELossless, "-rle", 2},
                               {EXS_JPEGProcess14SV1, "-jpeg-lossless", 3},
                               {EXS_JPEGLSLossless, "-jpeg-ls", 4},
                               {EXS_JPEGProcess1, "-jpeg-baseline", 5}};

const Coding& codingOf(E_TransferSyntax syntax) {
  for (const Coding& coding : kCodings) {
    if (coding.syntax == syntax) {
      return coding;
    }
  }
  throw zr::Error(zr::Reason::Unsupported, "no such coding");
}

void encode(DcmDataset& dataset, E_TransferSyntax syntax) {
  const DJ_RPLossless lossless;
  const DJ_RPLossy lossy(90);
  const DcmRepresentationParameter* parameter = nullptr;
  if (syntax == EXS_JPEGProcess14SV1) {
    parameter = &lossless;
  } else if (syntax == EXS_JPEGProcess1) {
    parameter = &lossy;
  }
  require(dataset.chooseRepresentation(syntax, parameter), DcmXfer(syntax).getXferName());
}

std::filesystem::path writeCoded(const Phantom& phantom, E_TransferSyntax syntax,
                                 const std::filesystem::path& folder) {
  const Coding& coding = codingOf(syntax);
  DcmFileFormat file(phantom.dataset.get());  // a copy: encoding rewrites the dataset
  DcmDataset& dataset = *file.getDataset();
  if (syntax != EXS_LittleEndianExplicit) {
    encode(dataset, syntax);
  }
  OFString base;
  require(dataset.findAndGetOFString(DCM_SOPInstanceUID, base), "an instance UID");
  const std::string instance = base + "." + std::to_string(coding.number);
  require(dataset.putAndInsertString(DCM_SOPInstanceUID, instance.c_str()), "an instance UID");

  const std::filesystem::path target = folder / (phantom.name + coding.suffix + ".dcm");
  zr::writeDicomFile(file, syntax, target, zr::ProtectedInputs());
  return target;
}

}  // namespace

void require(const OFCondition& condition, const char* what) {
  zr::require(condition, std::string("make ") + what);
}

PhantomBuilder::PhantomBuilder(const char* sopClassUid, const char* modality,
                               const char* description, unsigned number)
    : dataset_(new DcmDataset) {
  const std::string branch = std::to_string(number);
  with(DCM_SOPClassUID, sopClassUid).with(DCM_SOPInstanceUID, uid("3." + branch));
  with(DCM_StudyDate, "20240229").with(DCM_ContentDate, "20240229");
  with(DCM_StudyTime, "120000").with(DCM_ContentTime, "120000");
  with(DCM_AccessionNumber, "").with(DCM_Modality, modality);
  with(DCM_Manufacturer, "libzrdcmexport").with(DCM_ManufacturerModelName, "zrdcm samples");
  with(DCM_ReferringPhysicianName, "").with(DCM_SeriesDescription, description);
  with(DCM_PatientName, "Phantom^Drawn").with(DCM_PatientID, "PHANTOM");
  with(DCM_PatientBirthDate, "").with(DCM_PatientSex, "O");
  with(DCM_StudyInstanceUID, uid("1")).with(DCM_SeriesInstanceUID, uid("2." + branch));
  with(DCM_StudyID, "1").with(DCM_SeriesNumber, branch).with(DCM_InstanceNumber, "1");
  with(DCM_PatientOrientation, "");
}

PhantomBuilder& PhantomBuilder::with(const DcmTag& tag, const std::string& value) {
  DcmTag copy(tag);
  require(dataset_->putAndInsertString(copy, value.c_str()), copy.getTagName());
  return *this;
}

PhantomBuilder& PhantomBuilder::withEmpty(const DcmTag& tag) {
  DcmTag copy(tag);
  require(dataset_->insertEmptyElement(copy), copy.getTagName());
  return *this;
}

PhantomBuilder& PhantomBuilder::withWords(const DcmTag& tag,
                                          const std::vector<std::uint16_t>& words) {
  DcmTag copy(tag);
  require(dataset_->putAndInsertUint16Array(copy, words.data(), words.size()), copy.getTagName());
  return *this;
}

PhantomBuilder& PhantomBuilder::withWindow(double centre, double width) {
  return with(DCM_WindowCenter, decimal(centre)).with(DCM_WindowWidth, decimal(width));
}

PhantomBuilder& PhantomBuilder::withRescale(double slope, double intercept, const char* type) {
  return with(DCM_RescaleIntercept, decimal(intercept))
      .with(DCM_RescaleSlope, decimal(slope))
      .with(DCM_RescaleType, type);
}

DcmItem& PhantomBuilder::item(const DcmTagKey& sequence, std::size_t index) {
  DcmItem* item = nullptr;
  require(dataset_->findOrCreateSequenceItem(sequence, item, static_cast<long>(index)),
          "a sequence");
  return *item;
}

std::string PhantomBuilder::uidOfOwn(const std::string& branch) {
  return uid(branch);
}

PhantomBuilder& PhantomBuilder::withAxialPlane(double spacingMm, double thicknessMm,
                                               std::size_t size) {
  const double corner = -spacingMm * (static_cast<double>(size) - 1) / 2;
  with(DCM_PatientPosition, "HFS").with(DCM_FrameOfReferenceUID, uid("4"));
  withEmpty(DCM_PositionReferenceIndicator);
  with(DCM_ImagePositionPatient, decimal(corner) + "\\" + decimal(corner) + "\\0");
  with(DCM_ImageOrientationPatient, "1\\0\\0\\0\\1\\0");
  with(DCM_PixelSpacing, decimal(spacingMm) + "\\" + decimal(spacingMm));
  return with(DCM_SliceThickness, decimal(thicknessMm));
}

void PhantomBuilder::describePixels(const PixelFormat& format) {
  const auto number = [](std::size_t value) { return std::to_string(value); };
  with(DCM_SamplesPerPixel, number(format.samplesPerPixel));
  with(DCM_PhotometricInterpretation, format.photometricInterpretation);
  if (format.samplesPerPixel > 1) {
    with(DCM_PlanarConfiguration, "0");
  }
  if (format.frames > 1) {
    with(DCM_NumberOfFrames, number(format.frames));
  }
  with(DCM_Rows, number(format.rows)).with(DCM_Columns, number(format.columns));
  with(DCM_BitsAllocated, number(format.bitsAllocated));
  with(DCM_BitsStored, number(format.bitsStored)).with(DCM_HighBit, number(format.bitsStored - 1));
  with(DCM_PixelRepresentation, format.isSigned ? "1" : "0");
}

PhantomBuilder& PhantomBuilder::withPixels(const PixelFormat& format,
                                           const std::vector<std::uint16_t>& samples) {
  describePixels(format);
  require(dataset_->putAndInsertUint16Array(DCM_PixelData, samples.data(), samples.size()),
          "pixel data");
  return *this;
}

PhantomBuilder& PhantomBuilder::withPixels(const PixelFormat& format,
                                           const std::vector<std::uint8_t>& samples) {
  describePixels(format);
  require(dataset_->putAndInsertUint8Array(DCM_PixelData, samples.data(), samples.size()),
          "pixel data");
  return *this;
}

std::vector<std::filesystem::path> writePhantom(const Phantom& phantom,
                                                const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> files;
  files.push_back(writeCoded(phantom, EXS_LittleEndianExplicit, folder));
  for (const E_TransferSyntax syntax : phantom.compressed) {
    files.push_back(writeCoded(phantom, syntax, folder));
  }
  return files;
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
