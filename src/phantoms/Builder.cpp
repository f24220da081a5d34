// SPDX-License-Identifier: BSD-3-Clause
// The modules that every image needs, with fixed UIDs and dates: the same call gives the same bytes
// on every day.
#include "Builder.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <charconv>
#include <stdexcept>

namespace phantoms {

namespace {

// The root of our own UIDs: a random UUID as an integer (PS3.5 B.2).
constexpr const char* kUidRoot = "2.25.81828835914791341300994661302326573983";

}  // namespace

void mustSucceed(const OFCondition& condition, const std::string& what) {
  if (condition.bad()) {
    throw std::runtime_error("cannot make " + what + ": " + condition.text());
  }
}

DcmItem& itemOf(DcmItem& parent, const DcmTagKey& sequence, std::size_t index) {
  DcmItem* item = nullptr;
  mustSucceed(parent.findOrCreateSequenceItem(sequence, item, static_cast<long>(index)),
              "a sequence");
  return *item;
}

void put(DcmItem& item, const DcmTagKey& tag, const std::string& value) {
  mustSucceed(item.putAndInsertString(DcmTag(tag), value.c_str()), DcmTag(tag).getTagName());
}

std::string decimal(double value) {
  constexpr int kDigits = 10;
  char text[32];
  const auto [end, error] =
      std::to_chars(text, text + sizeof text, value, std::chars_format::general, kDigits);
  (void)error;  // always fits
  return {text, end};
}

std::string uidOf(const std::string& branch) {
  return std::string(kUidRoot) + "." + branch;
}

Builder::Builder(const char* sopClassUid, const char* modality, const char* description,
                 unsigned number)
    : dataset_(new DcmDataset) {
  const std::string branch = std::to_string(number);
  with(DCM_SOPClassUID, sopClassUid).with(DCM_SOPInstanceUID, uidOf("3." + branch));
  with(DCM_StudyDate, "20240229").with(DCM_ContentDate, "20240229");
  with(DCM_StudyTime, "120000").with(DCM_ContentTime, "120000");
  with(DCM_AccessionNumber, "").with(DCM_Modality, modality);
  with(DCM_Manufacturer, "libzrdcmexport").with(DCM_ManufacturerModelName, "zrdcm samples");
  with(DCM_ReferringPhysicianName, "").with(DCM_SeriesDescription, description);
  with(DCM_PatientName, "Phantom^Drawn").with(DCM_PatientID, "PHANTOM");
  with(DCM_PatientBirthDate, "").with(DCM_PatientSex, "O");
  with(DCM_StudyInstanceUID, uidOf("1")).with(DCM_SeriesInstanceUID, uidOf("2." + branch));
  with(DCM_StudyID, "1").with(DCM_SeriesNumber, branch).with(DCM_InstanceNumber, "1");
  with(DCM_PatientOrientation, "");
}

Builder& Builder::with(const DcmTag& tag, const std::string& value) {
  DcmTag copy(tag);
  mustSucceed(dataset_->putAndInsertString(copy, value.c_str()), copy.getTagName());
  return *this;
}

Builder& Builder::withEmpty(const DcmTag& tag) {
  DcmTag copy(tag);
  mustSucceed(dataset_->insertEmptyElement(copy), copy.getTagName());
  return *this;
}

Builder& Builder::withWords(const DcmTag& tag, const std::vector<std::uint16_t>& words) {
  DcmTag copy(tag);
  mustSucceed(dataset_->putAndInsertUint16Array(copy, words.data(), words.size()),
              copy.getTagName());
  return *this;
}

Builder& Builder::withWindow(double centre, double width) {
  return with(DCM_WindowCenter, decimal(centre)).with(DCM_WindowWidth, decimal(width));
}

Builder& Builder::withRescale(double slope, double intercept, const char* type) {
  return with(DCM_RescaleIntercept, decimal(intercept))
      .with(DCM_RescaleSlope, decimal(slope))
      .with(DCM_RescaleType, type);
}

DcmItem& Builder::item(const DcmTagKey& sequence, std::size_t index) {
  DcmItem* item = nullptr;
  mustSucceed(dataset_->findOrCreateSequenceItem(sequence, item, static_cast<long>(index)),
              "a sequence");
  return *item;
}

Builder& Builder::withAxialPlane(double spacingMm, double thicknessMm, std::size_t size) {
  const double corner = -spacingMm * (static_cast<double>(size) - 1) / 2;
  with(DCM_PatientPosition, "HFS").with(DCM_FrameOfReferenceUID, uidOf("4"));
  withEmpty(DCM_PositionReferenceIndicator);
  with(DCM_ImagePositionPatient, decimal(corner) + "\\" + decimal(corner) + "\\0");
  with(DCM_ImageOrientationPatient, "1\\0\\0\\0\\1\\0");
  with(DCM_PixelSpacing, decimal(spacingMm) + "\\" + decimal(spacingMm));
  return with(DCM_SliceThickness, decimal(thicknessMm));
}

void Builder::describePixels(const StoredPixels& format) {
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

Builder& Builder::withPixels(const StoredPixels& format,
                             const std::vector<std::uint16_t>& samples) {
  describePixels(format);
  mustSucceed(dataset_->putAndInsertUint16Array(DCM_PixelData, samples.data(), samples.size()),
              "pixel data");
  return *this;
}

Builder& Builder::withPixels(const StoredPixels& format, const std::vector<std::uint8_t>& samples) {
  describePixels(format);
  mustSucceed(dataset_->putAndInsertUint8Array(DCM_PixelData, samples.data(), samples.size()),
              "pixel data");
  return *this;
}

}  // namespace phantoms
