// SPDX-License-Identifier: BSD-3-Clause
// Reformats a multi-frame CT: reads its axial slices and writes a series of coronal images.
//
//   reformat_coronal CT.dcm DIR
//
// It decodes and orders the frames with Zrg::MultiFrameImage, cuts the volume along its rows, and
// writes every cut with ZrDcmExport as a CT image of its own. Pixels become square: between two
// slices values are interpolated. Patient, study and frame of reference stay, so viewers can show
// both series in one space.
#include <gx/GxParamBundle.h>
#include <zrdcmexport/ZrDcmExport.h>
#include <zrdcmexport/ZrSliceImage.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/ofstd/ofuuid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

/// Millimetres in the patient: x to the left hand, y to the back, z to the head.
using Vector = std::array<double, 3>;

/// Axial slices from the lowest to the highest, and where they lie. The samples belong to the
/// dataset that was decoded.
struct Volume {
  std::vector<const Uint16*> slices;
  int columns = 0;
  int rows = 0;
  double columnSpacing = 0;
  double rowSpacing = 0;
  double sliceSpacing = 0;
  Vector origin{};       ///< centre of the first pixel of the lowest slice
  Vector alongRow{};     ///< unit vector from column to column
  Vector alongColumn{};  ///< unit vector from row to row
  Vector upwards{};      ///< unit vector from slice to slice
  KtVec2f rescale;       ///< (slope, intercept): sample -> Hounsfield units
  KtVec2f window;        ///< (centre, width) in Hounsfield units; NaN without one
  bool lossy = false;
};

Vector moved(const Vector& from, const Vector& direction, double distance) {
  return {from[0] + distance * direction[0], from[1] + distance * direction[1],
          from[2] + distance * direction[2]};
}

Vector crossProduct(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double numberOf(DcmItem& item, const DcmTagKey& key, unsigned long position = 0) {
  Float64 number = 0;
  if (item.findAndGetFloat64(key, number, position).bad()) {
    throw std::runtime_error(std::string(DcmTag(key).getTagName()) + " is missing");
  }
  return number;
}

Vector vectorOf(DcmItem& item, const DcmTagKey& key, unsigned long position = 0) {
  return {numberOf(item, key, position), numberOf(item, key, position + 1),
          numberOf(item, key, position + 2)};
}

std::string textOf(DcmItem& item, const DcmTagKey& key) {
  OFString text;
  return item.findAndGetOFStringArray(key, text).good() ? text : "";
}

// ---- reading ----

/// What one frame tells of all: size, spacing, rescale line, window.
void describe(DcmDataset& dataset, Volume& volume) {
  Zrg::SliceImage frame;
  std::string error;
  if (!frame.process(dataset, error, 0, 0, nullptr, 0)) {
    throw std::runtime_error(error);
  }
  if (frame.samplesPerPixel != 1 || frame.bytesPerSample != 2) {
    throw std::runtime_error("wants gray samples of 16 bits");
  }
  if (!(frame.pixelSpacing.x > 0 && frame.pixelSpacing.y > 0)) {  // NaN when there is none
    throw std::runtime_error("the pixels have no spacing");
  }
  volume.columns = static_cast<int>(frame.extent.x);
  volume.rows = static_cast<int>(frame.extent.y);
  volume.columnSpacing = frame.pixelSpacing.x;
  volume.rowSpacing = frame.pixelSpacing.y;
  volume.rescale = frame.result_MOD_LUT();
  volume.window = frame.voiWindow;
  volume.lossy = frame.lossy;
}

/// Decodes all frames in the dataset's own memory and files them from the lowest to the highest.
void decodeSlices(DcmDataset& dataset, Volume& volume) {
  Zrg::MultiFrameImage frames(true);
  std::string error;
  if (!frames.process(dataset, error, true)) {
    throw std::runtime_error(error.empty() ? "the frames do not make up a volume" : error);
  }
  if (frames.numVolumes() != 1 || frames.numSlices(0) < 2) {
    throw std::runtime_error("wants the slices of one volume");
  }
  // The position in the dataset is that of the first frame: the highest slice when the frames run
  // downwards, which the sign of the spacing tells.
  const double spacing = numberOf(dataset, DCM_SpacingBetweenSlices);
  const double depth = (frames.numSlices(0) - 1) * spacing;
  volume.sliceSpacing = std::abs(spacing);
  volume.origin = vectorOf(dataset, DCM_ImagePositionPatient);
  if (frames.isReversed()) {
    frames.reverseOrder(0);
    volume.origin = moved(volume.origin, volume.upwards, depth);
  }
  for (unsigned int i = 0; i < frames.numSlices(0); ++i) {
    Zrg::SliceImage slice;
    (void)frames.getImage(0, i, slice);  // there is one at every i
    volume.slices.push_back(reinterpret_cast<const Uint16*>(Zrg::firstSample(slice)));
  }
}

/// Where the dataset has no window, the range of the values shows everything.
void chooseWindow(Volume& volume) {
  if (std::isfinite(volume.window.x) && volume.window.y > 0) {
    return;
  }
  const std::size_t pixels =
      static_cast<std::size_t>(volume.columns) * static_cast<std::size_t>(volume.rows);
  Uint16 low = 0xFFFF;
  Uint16 high = 0;
  for (const Uint16* const slice : volume.slices) {
    const auto [least, most] = std::minmax_element(slice, slice + pixels);
    low = std::min(low, *least);
    high = std::max(high, *most);
  }
  const float slope = volume.rescale.x;
  volume.window = {
      slope * (static_cast<float>(low) + static_cast<float>(high)) / 2 + volume.rescale.y,
      std::max(1.0F, std::fabs(slope) * static_cast<float>(high - low))};
}

Volume readVolume(DcmDataset& dataset) {
  Volume volume;
  volume.alongRow = vectorOf(dataset, DCM_ImageOrientationPatient, 0);
  volume.alongColumn = vectorOf(dataset, DCM_ImageOrientationPatient, 3);
  volume.upwards = crossProduct(volume.alongRow, volume.alongColumn);
  // In this order: decoding all frames converts the samples that the dataset holds.
  describe(dataset, volume);
  decodeSlices(dataset, volume);
  chooseWindow(volume);
  return volume;
}

// ---- reformatting ----

/// Rows of a coronal image whose pixels are square.
int coronalRows(const Volume& volume) {
  const double height = static_cast<double>(volume.slices.size() - 1) * volume.sliceSpacing;
  return 1 + static_cast<int>(height / volume.columnSpacing + 1e-6);
}

/// Cuts the volume along one of its rows; the head comes first.
std::vector<Uint16> cutAlongRow(const Volume& volume, int row) {
  const int highest = static_cast<int>(volume.slices.size()) - 1;
  const int height = coronalRows(volume);
  std::vector<Uint16> image;
  image.reserve(static_cast<std::size_t>(height) * static_cast<std::size_t>(volume.columns));
  for (int y = 0; y < height; ++y) {
    const double place = std::max(0.0, highest - y * volume.columnSpacing / volume.sliceSpacing);
    const int below = std::min(static_cast<int>(place), highest - 1);
    const double fraction = place - below;
    const auto first = static_cast<std::ptrdiff_t>(row) * volume.columns;
    const Uint16* lower = volume.slices[static_cast<std::size_t>(below)] + first;
    const Uint16* upper = volume.slices[static_cast<std::size_t>(below) + 1] + first;
    for (int x = 0; x < volume.columns; ++x) {
      const double value = lower[x] + fraction * (upper[x] - lower[x]);
      image.push_back(static_cast<Uint16>(std::lround(value)));
    }
  }
  return image;
}

// ---- writing ----

/// Attributes as DICOM writes them: several values stand with a backslash between them.
std::string text(double number) {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%.10g", number);  // DS takes 16 characters
  return digits;
}

std::string text(const Vector& vector) {
  return text(vector[0]) + "\\" + text(vector[1]) + "\\" + text(vector[2]);
}

std::string freshUid() {
  OFString uid;
  OFUUID().toString(uid, OFUUID::ER_RepresentationOID);  // "2.25." and a UUID as a number
  return uid;
}

void set(ZrDcmExport& writer, const DcmTagKey& key, const std::string& value) {
  if (!writer.setDicomTag(key.getGroup(), key.getElement(), value.c_str())) {
    throw std::runtime_error(writer.lastError());
  }
}

/// What the new series has in common with the old one.
void keepAttributes(DcmDataset& dataset, ZrDcmExport& writer) {
  // These a CT image must have, be they empty.
  for (const DcmTagKey& key :
       {DCM_StudyDate, DCM_StudyTime, DCM_AccessionNumber, DCM_Modality, DCM_Manufacturer,
        DCM_ReferringPhysicianName, DCM_PatientName, DCM_PatientID, DCM_PatientBirthDate,
        DCM_PatientSex, DCM_KVP, DCM_PatientPosition, DCM_StudyInstanceUID, DCM_StudyID,
        DCM_AcquisitionNumber, DCM_FrameOfReferenceUID, DCM_PositionReferenceIndicator}) {
    set(writer, key, textOf(dataset, key));
  }
  for (const DcmTagKey& key :
       {DCM_SpecificCharacterSet, DCM_StudyDescription, DCM_ManufacturerModelName,
        DCM_BodyPartExamined, DCM_Laterality, DCM_RescaleType}) {
    if (dataset.tagExists(key)) {
      set(writer, key, textOf(dataset, key));
    }
  }
  // The side of the body must be there, be it empty, where no body part tells that it has none.
  if (!dataset.tagExists(DCM_BodyPartExamined) && !dataset.tagExists(DCM_Laterality)) {
    set(writer, DCM_Laterality, "");
  }
}

/// Says which image the new ones were made of. Sequences come as bundles of parameters; one that
/// has no "Item_0" stands for its only item.
void nameSource(DcmDataset& dataset, ZrDcmExport& writer) {
  GxParamBundle attributes("attributes");
  GxParamBundle& sourceImage = attributes.addBundle("G0008-2112");
  sourceImage.addParameter("G0008-1150", ("UI: " + textOf(dataset, DCM_SOPClassUID)).c_str());
  sourceImage.addParameter("G0008-1155", ("UI: " + textOf(dataset, DCM_SOPInstanceUID)).c_str());
  if (!writer.addParameters(&attributes)) {
    throw std::runtime_error(writer.lastError());
  }
}

/// What all images of the series say alike.
void describeSeries(const Volume& volume, ZrDcmExport& writer) {
  set(writer, DCM_SOPClassUID, UID_CTImageStorage);
  set(writer, DCM_ImageType, "DERIVED\\SECONDARY\\REFORMATTED");
  set(writer, DCM_SeriesInstanceUID, freshUid());
  set(writer, DCM_SeriesNumber, "");
  set(writer, DCM_SeriesDescription, "Coronal");
  set(writer, DCM_SamplesPerPixel, "1");
  set(writer, DCM_PhotometricInterpretation, "MONOCHROME2");
  set(writer, DCM_Rows, std::to_string(coronalRows(volume)));
  set(writer, DCM_Columns, std::to_string(volume.columns));
  set(writer, DCM_BitsAllocated, "16");
  set(writer, DCM_BitsStored, "16");
  set(writer, DCM_HighBit, "15");
  set(writer, DCM_PixelRepresentation, "0");  // decoding made the samples unsigned ...
  set(writer, DCM_RescaleSlope, text(volume.rescale.x));
  set(writer, DCM_RescaleIntercept, text(volume.rescale.y));  // ... and this takes it back
  set(writer, DCM_WindowCenter, text(volume.window.x));
  set(writer, DCM_WindowWidth, text(volume.window.y));
  set(writer, DCM_PixelSpacing, text(volume.columnSpacing) + "\\" + text(volume.columnSpacing));
  set(writer, DCM_SliceThickness, text(volume.rowSpacing));
  set(writer, DCM_SpacingBetweenSlices, text(volume.rowSpacing));
  const Vector downwards = moved({}, volume.upwards, -1);
  set(writer, DCM_ImageOrientationPatient, text(volume.alongRow) + "\\" + text(downwards));
  if (volume.lossy) {
    set(writer, DCM_LossyImageCompression, "01");
  }
}

void writeImage(const Volume& volume, int row, ZrDcmExport& writer) {
  const double height = static_cast<double>(volume.slices.size() - 1) * volume.sliceSpacing;
  const Vector top = moved(volume.origin, volume.upwards, height);
  set(writer, DCM_SOPInstanceUID, freshUid());
  set(writer, DCM_InstanceNumber, std::to_string(row + 1));
  set(writer, DCM_ImagePositionPatient,
      text(moved(top, volume.alongColumn, row * volume.rowSpacing)));

  char name[32];
  std::snprintf(name, sizeof name, "coronal-%04d.dcm", row + 1);
  std::vector<Uint16> samples = cutAlongRow(volume, row);
  if (!writer.setFilename(name) ||
      !writer.writeImageAsIs(volume.columns, coronalRows(volume), samples.data())) {
    throw std::runtime_error(std::string(name) + ": " + writer.lastError());
  }
}

void reformat(const char* file, const char* folder) {
  DcmFileFormat source;
  const OFCondition loaded = source.loadFile(file);
  if (loaded.bad()) {
    throw std::runtime_error(loaded.text());
  }
  DcmDataset& dataset = *source.getDataset();
  if (textOf(dataset, DCM_Modality) != "CT") {
    throw std::runtime_error("not a CT");
  }
  const Volume volume = readVolume(dataset);

  ZrDcmExport writer;
  if (!writer.setOutputBaseDirectory(folder)) {
    throw std::runtime_error(std::string("cannot write to ") + folder);
  }
  keepAttributes(dataset, writer);
  nameSource(dataset, writer);
  describeSeries(volume, writer);
  for (int row = 0; row < volume.rows; ++row) {
    writeImage(volume, row, writer);
  }
  std::cout << volume.slices.size() << " axial slices -> " << volume.rows << " coronal images of "
            << volume.columns << " x " << coronalRows(volume) << " pixels in " << folder << '\n';
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: reformat_coronal CT.dcm DIR\n";
    return 2;
  }
  try {
    reformat(argv[1], argv[2]);
  } catch (const std::exception& error) {
    std::cerr << "reformat_coronal: " << argv[1] << ": " << error.what() << '\n';
    return 1;
  }
  return 0;
}
