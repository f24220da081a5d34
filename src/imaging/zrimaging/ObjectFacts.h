// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>
#include <zrimaging/FrameAttributes.h>
#include <zrimaging/ZrimagingApi.h>

namespace zr {

class File;

// What an object is, by its attributes, subject by subject. What the file does not say is empty or
// not set: nothing here is a default. Texts are in UTF-8; codes and UIDs are as they are written.

/// A UID with the name that it has in PS3.6.
struct NamedUid {
  std::string uid;   ///< empty when it is missing
  std::string name;  ///< empty when it is not known here
};

/// How pixels are stored, as the attributes say (PS3.3 C.7.6.3); what is missing is not set.
struct PixelFormat {
  std::string photometricInterpretation;  ///< with its spelling repaired; empty when it is missing
  std::optional<unsigned> bitsAllocated;
  std::optional<unsigned> bitsStored;
  std::optional<unsigned> highBit;
  std::optional<bool> isSigned;  ///< Pixel Representation is 1
};

/// A lookup table: `entries` times `values` numbers.
struct TableFacts {
  std::size_t entries = 0;
  int firstMapped = 0;     ///< the stored value that the first entry maps
  std::size_t values = 1;  ///< of an entry: 1, or 3 of a palette
  std::size_t bits = 0;    ///< of a number: 8 or 16
  ValueText explanation;   ///< LUT Explanation of a VOI table
};

/// Whom the object is of (PS3.3 C.7.1.1).
struct PatientFacts {
  ValueText name;
  ValueText id;
  std::string birthDate;  ///< YYYYMMDD
  std::string sex;        ///< M, F or O
};

/// The study (PS3.3 C.7.2.1).
struct StudyFacts {
  std::string uid;
  std::string date;  ///< YYYYMMDD
  std::string time;  ///< HHMMSS.FFFFFF, as many of them as are known
  ValueText description;
  ValueText accessionNumber;
};

/// The series (PS3.3 C.7.3.1) and the part of the body that it shows.
struct SeriesFacts {
  std::string uid;
  std::optional<int> number;
  ValueText description;
  ValueText bodyPart;      ///< Body Part Examined, else the meaning of the Anatomic Region
  std::string laterality;  ///< R, L, U or B: of the series, the image or the frames
};

/// The object among those of its series (PS3.3 C.12.1).
struct InstanceFacts {
  std::string uid;
  std::optional<int> number;
};

/// What made the object (PS3.3 C.7.5.1).
struct DeviceFacts {
  ValueText manufacturer;
  ValueText model;
  ValueText serialNumber;
  ValueText station;
  std::vector<ValueText> softwareVersions;
};

/// What frames are numbered by: a dimension of an enhanced object (PS3.3 C.7.6.17), or an attribute
/// that the Frame Increment Pointer names (PS3.3 C.7.6.6).
struct FrameDimension {
  std::string tag;   ///< "(0020,9057)"
  std::string name;  ///< in words: "In-Stack Position Number"; empty when nobody knows the element
  ValueText label;   ///< Dimension Description Label
  std::optional<std::size_t> values;  ///< how many different ones the frames have
};

/// How the frames of an object are arranged.
struct FrameFacts {
  std::optional<std::size_t> count;  ///< Number of Frames
  std::string organization;          ///< Dimension Organization Type: "3D", "TILED_FULL"
  std::vector<FrameDimension> dimensions;
  /// Columns and rows of the image that tiles make up (PS3.3 C.8.12.4).
  std::optional<std::array<std::size_t, 2>> totalPixelMatrix;
};

/// A distance between pixels, with what it means.
struct SpacingFacts {
  std::string name;           ///< of the attribute: "Imager Pixel Spacing"
  double betweenColumns = 0;  ///< millimetres
  double betweenRows = 0;     ///< millimetres
  std::string meaning;        ///< in English, where the distance is measured
};

/// Where and how large things are. @see PS3.3 10.7 (Basic Pixel Spacing Calibration)
struct GeometryFacts {
  std::vector<SpacingFacts> spacings;
  std::string calibration;  ///< Pixel Spacing Calibration Type: GEOMETRY or FIDUCIAL
  ValueText calibrationDescription;
  std::optional<std::array<double, 2>> pixelAspectRatio;  ///< height to width of a pixel
  std::optional<double> magnification;  ///< Estimated Radiographic Magnification Factor
  std::optional<double> sliceThicknessMm;
  std::optional<double> spacingBetweenSlicesMm;
  std::string frameOfReference;    ///< its UID
  std::string patientPosition;     ///< "HFS"
  std::string patientOrientation;  ///< Patient Orientation: "L\\F"
  /// Where rows, columns and slices run to, see directionLetters(); empty unless all frames agree.
  std::string directions;
};

/// A region of an ultrasound image with a scale of its own (PS3.3 C.8.5.5). A pixel (x, y) of it is
/// at reference value + (pixel - reference pixel) x delta, in units, along each axis.
struct UltrasoundRegion {
  std::optional<std::array<long, 4>> bounds;   ///< first column, first row, last column, last row
  std::string spatialFormat;                   ///< in words: "2D", "M-mode"; empty when not said
  std::string dataType;                        ///< in words: "tissue", "colour flow"
  std::array<std::string, 2> units;            ///< of x and y: "cm", "seconds"
  std::array<std::optional<double>, 2> delta;  ///< units a pixel
  std::array<std::optional<double>, 2> referencePixel;  ///< from the first pixel of the region
  std::array<std::optional<double>, 2> referenceValue;  ///< in units
  /// Between columns and between rows in millimetres, where both units are lengths.
  std::optional<std::array<double, 2>> spacingMm;
};

/// A plane of overlays in group 60xx (PS3.3 C.9.2), as its attributes say.
struct OverlayPlaneFacts {
  unsigned group = 0;
  std::optional<unsigned> columns;
  std::optional<unsigned> rows;
  std::optional<std::array<int, 2>> origin;  ///< column and row in the image, 0-based
  std::optional<std::size_t> frames;         ///< Number of Frames in Overlay
  bool embedded = false;                     ///< in bits of the samples, without data of its own
  std::string type;                          ///< G graphics or R region of interest
  ValueText label;
  ValueText description;
};

/// Who has reserved a block of private elements.
struct PrivateCreator {
  ValueText name;
  bool known = false;  ///< the dictionary has elements of this creator
};

/// How many things of a kind an object without pixels holds.
struct PartCount {
  std::string what;  ///< in the plural: "structures"
  std::size_t count = 0;
};

/// What an object is that has no pixels and needs none; empty for others.
struct ContentFacts {
  std::string kind;  ///< "a radiotherapy plan"
  ValueText title;   ///< of a document or report, label of a plan
  std::string mimeType;
  std::vector<PartCount> parts;
};

/// What an object is, by its attributes.
struct ObjectFacts {
  NamedUid sopClass;
  std::string sopClassTitle;  ///< the name in words: "CT Image Storage"; see uidTitle()
  std::string modality;       ///< empty when it is missing
  PatientFacts patient;
  StudyFacts study;
  SeriesFacts series;
  InstanceFacts instance;
  DeviceFacts device;
  NamedUid transferSyntax;
  bool transferSyntaxDecodes = false;  ///< a decoder for it is there, or none is needed
  PixelFormat pixelFormat;
  bool multiFrame = false;        ///< Zrg::isMultiFrame
  bool multiFrameVolume = false;  ///< Zrg::isMultiFrameVolume
  bool enhanced = false;          ///< Zrg::isEnhancedDicom
  FrameFacts frames;
  GeometryFacts geometry;
  std::vector<UltrasoundRegion> ultrasoundRegions;
  std::optional<TableFacts> modalityTable;
  std::vector<TableFacts> voiTables;
  std::optional<TableFacts> palette;
  /// A palette in segments (PS3.3 C.7.9.2), as its descriptor says.
  std::optional<TableFacts> segmentedPalette;
  std::vector<OverlayPlaneFacts> overlayPlanes;
  std::vector<PrivateCreator> privateCreators;  ///< of the dataset itself, each once
  ContentFacts content;
};

/// Reads what an object is. Nothing is decoded.
/// @throws Error OutOfMemory
[[nodiscard]] ZRIMAGING_API ObjectFacts describeObject(const File& file);

/// The name of a SOP class in words, as PS3.6 writes it: "CT Image Storage". Empty for a UID that
/// is not known here.
/// @throws Error OutOfMemory
[[nodiscard]] ZRIMAGING_API std::string uidTitle(const std::string& uid);

/// Where rows, columns and slices mostly run to: "L-P-H" is to the left, to the back, to the head
/// (PS3.3 C.7.6.1.1.1). Slices run along row direction x column direction.
/// @param orientation of Image Orientation: direction of the rows, of the columns
/// @throws Error OutOfMemory
[[nodiscard]] ZRIMAGING_API std::string directionLetters(const std::array<double, 6>& orientation);

}  // namespace zr
