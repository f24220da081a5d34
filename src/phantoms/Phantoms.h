// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace phantoms {

/// One drawn dataset and the syntaxes that it is written in besides plain little endian.
struct Phantom {
  std::string name;   ///< stem of its file names
  std::string shows;  ///< what it is there to show
  std::unique_ptr<DcmDataset> dataset;
  std::vector<E_TransferSyntax> compressed;
};

/// The samples of a phantom and how they are stored.
struct PixelFormat {
  std::size_t columns = 0;
  std::size_t rows = 0;
  std::size_t frames = 1;
  unsigned samplesPerPixel = 1;
  unsigned bitsAllocated = 16;
  unsigned bitsStored = 16;
  bool isSigned = false;
  const char* photometricInterpretation = "MONOCHROME2";
};

/// Goes on only when the condition is good.
/// @throws Error "cannot make WHAT: reason"
void require(const OFCondition& condition, const char* what);

/// Puts a dataset together, with the attributes that every image must have.
class PhantomBuilder {
public:
  /// @param number sets the series and the instance apart from those of other phantoms
  PhantomBuilder(const char* sopClassUid, const char* modality, const char* description,
                 unsigned number);

  /// Sets an attribute of any VR that has a text form.
  PhantomBuilder& with(const DcmTag& tag, const std::string& value);
  PhantomBuilder& withEmpty(const DcmTag& tag);
  PhantomBuilder& withWords(const DcmTag& tag, const std::vector<std::uint16_t>& words);
  /// Window Center, Window Width and, when the slope is not 0, the rescale line.
  PhantomBuilder& withWindow(double centre, double width);
  PhantomBuilder& withRescale(double slope, double intercept, const char* type);
  /// Item `index` of a sequence; the items are made in order, each when it is first asked for.
  DcmItem& item(const DcmTagKey& sequence, std::size_t index = 0);
  /// A UID that stands in all phantoms of this kind, told apart by its branch.
  static std::string uidOfOwn(const std::string& branch);

  PhantomBuilder& withPixels(const PixelFormat& format, const std::vector<std::uint16_t>& samples);
  PhantomBuilder& withPixels(const PixelFormat& format, const std::vector<std::uint8_t>& samples);

  /// Position, orientation and spacing of an axial slice.
  PhantomBuilder& withAxialPlane(double spacingMm, double thicknessMm, std::size_t size);

  std::unique_ptr<DcmDataset> take() { return std::move(dataset_); }

private:
  void describePixels(const PixelFormat& format);

  std::unique_ptr<DcmDataset> dataset_;
};

// The phantoms. Each function draws one; the number keeps its UIDs apart.
Phantom ctThorax(unsigned number);
Phantom ctAbdomenWithOverlays(unsigned number);
Phantom mrBrainWithLut(unsigned number);
Phantom petPalette(unsigned number);
Phantom ultrasoundRgb(unsigned number);
Phantom ultrasoundYbr(unsigned number);
Phantom radiographInverse(unsigned number);
Phantom doseVolume(unsigned number);
Phantom gatedHeart(unsigned number);
Phantom brainUptake(unsigned number);
Phantom doseFalling(unsigned number);
Phantom doseIrregular(unsigned number);
Phantom ultrasoundSweep(unsigned number);
Phantom headCt(unsigned number);
Phantom headEnhancedMr(unsigned number);

/// Writes the phantom in plain little endian and in every further syntax it names.
/// @return the files in the order of writing
/// @throws Error when a file cannot be encoded or written
std::vector<std::filesystem::path> writePhantom(const Phantom& phantom,
                                                const std::filesystem::path& folder);

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

}  // namespace phantoms
