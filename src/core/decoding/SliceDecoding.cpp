// SPDX-License-Identifier: BSD-3-Clause
// Decoding of one item into a slice: finds the pixel data, makes sure that DCMTK has its decoders,
// reads and stores the attributes, and leaves the samples to the monochrome or the colour path.
#include "decoding/SliceDecoding.h"

#include "streams/NestedImages.h"
#include "streams/TransferSyntaxes.h"

#include <ktlib/KtLogFile.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcrledrg.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/dcmjpeg/djdecode.h"
#include "dcmtk/dcmjpls/djdecode.h"

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <new>
#include <vector>

namespace Zrg {

namespace Decoding {

namespace {

constexpr char kInvalidTargetSize[] = "Invalid target size: buffer %zu bytes, required %zu bytes";

constexpr char kNoDictionary[] =
    "DCMTK has no data dictionary: attributes of implicit VR are unknown, and images seem to "
    "have no pixel data. DCMDICTPATH names its files.";

/// Sees to it that decoding which ends early leaves no samples behind. DCMTK takes samples for
/// decompressed from the moment it has memory for them, and does not take that back when a decoder
/// runs out of memory: the next call would deliver them as they came from the heap. Samples that were
/// there before stay: slices may point at them.
class UnfinishedSamples {
public:
  explicit UnfinishedSamples(const Task& task) {
    const auto remember = [this](DcmItem&, DcmPixelData& pixelData) {
      if (!pixelData.hasRepresentation(kExplicitLittleEndian, nullptr)) {
        compressed_.push_back(&pixelData);
      }
      return true;
    };
    if (task.frames.all && !task.attributes.monochrome) {
      visitImages(task.item, remember);  // DCMTK's image objects decompress all of them
    } else {
      remember(task.item, task.pixelData);
    }
  }
  ~UnfinishedSamples() {
    for (DcmPixelData* const pixelData : compressed_) {
      E_TransferSyntax syntax = EXS_Unknown;
      const DcmRepresentationParameter* parameter = nullptr;
      pixelData->getCurrentRepresentationKey(syntax, parameter);
      if (DcmXfer(syntax).isEncapsulated()) {
        pixelData->removeAllButCurrentRepresentations();
      }
    }
  }
  UnfinishedSamples(const UnfinishedSamples&) = delete;
  UnfinishedSamples& operator=(const UnfinishedSamples&) = delete;

  void finished() { compressed_.clear(); }

private:
  std::vector<DcmPixelData*> compressed_;  ///< without samples when decoding began
};

bool decode(SliceImage& slice, const Task& task, std::string& errorText) {
  std::optional<UnfinishedSamples> samples;
  try {
    samples.emplace(task);
  } catch (const std::bad_alloc&) {
    errorText = kOutOfMemory;
    return false;
  }
  const bool done = task.attributes.monochrome ? decodeMonochrome(slice, task, errorText)
                                               : decodeColour(slice, task, errorText);
  if (done) {
    samples->finished();
  }
  return done;
}

}  // namespace

void warnWithoutDictionary() {
  static std::atomic<bool> asked{false};
  if (!asked.exchange(true) && !dcmDataDict.isDictionaryLoaded()) {
    getTheLogInstance().warnf("%s", kNoDictionary);
  }
}

void registerDecoders() {
  // DCMTK remembers a registration in plain flags; two first calls at once would be a data race.
  static std::mutex registration;
  const std::scoped_lock lock(registration);
  DcmRLEDecoderRegistration::registerCodecs(OFFalse, OFFalse);
  DJDecoderRegistration::registerCodecs(EDC_guessLossyOnly, EUC_default, EPC_default, OFFalse,
                                        OFFalse, OFFalse);
  DJLSDecoderRegistration::registerCodecs(EJLSUC_default, EJLSPC_restore, OFFalse, OFFalse);
}

void storeAttributes(SliceImage& slice, DcmItem& item, const ImageAttributes& attributes) {
  slice.extent = KtVec3l(attributes.size.columns, attributes.size.rows, attributes.frames.in16Bits);
  slice.bytesPerSample = attributes.size.bytesPerSample();
  slice.sampleOffset = 0.0F;
  slice.rescale = readRescale(item);
  slice.voiWindow = readWindow(item);
  slice.pixelSpacing = readSpacing(item);
}

bool fitsTarget(std::size_t targetSize, std::size_t required, std::string& errorText) {
  if (required <= targetSize) {
    return true;
  }
  errorText = KtString::printf(kInvalidTargetSize, targetSize, required).str();
  return false;
}

std::shared_ptr<char> allocateSamples(std::size_t size, std::string& errorText) {
  // An image without pixels still gets an address: calloc may answer null for no bytes.
  auto* const memory = static_cast<char*>(std::calloc(size > 0 ? size : 1, 1));
  if (memory == nullptr) {
    errorText = kOutOfMemory;
    return nullptr;
  }
  return {memory, [](char* samples) { std::free(samples); }};
}

}  // namespace Decoding

bool SliceImage::process(DcmItem& item, std::string& errorText, int firstFrame, int lastFrame,
                         void* target, unsigned long targetSize) {
  errorText.clear();
  valid = false;
  Decoding::warnWithoutDictionary();

  const Result<DcmPixelData*> pixelData = findPixelData(item);
  if (!pixelData) {
    errorText = pixelData.reason().text;
    return false;
  }
  lossy = Decoding::isLossy(item);
  Decoding::registerDecoders();

  const ImageAttributes attributes = readImageAttributes(item, *pixelData);
  if (attributes.missing) {
    errorText = attributes.missing->text;
    return false;
  }
  Decoding::storeAttributes(*this, item, attributes);

  const Decoding::FrameRange frames =
      Decoding::clampFrames(firstFrame, lastFrame, attributes.frames.in16Bits);
  extent.z = frames.count;

  const Decoding::Task task{item, **pixelData, attributes, frames, target, targetSize};
  valid = Decoding::decode(*this, task, errorText);
  return valid;
}

}  // namespace Zrg
