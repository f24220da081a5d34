// SPDX-License-Identifier: BSD-3-Clause
// Decoding of one item into a slice: finds the pixel data, makes sure that DCMTK has its decoders,
// reads and stores the attributes, and leaves the samples to the monochrome or the colour path.
#include "ZrSliceImageDecoding.h"

#include <ktlib/KtLogFile.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcrledrg.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/dcmjpeg/djdecode.h"
#include "dcmtk/dcmjpls/djdecode.h"

#include <atomic>
#include <cstdlib>
#include <mutex>

namespace Zrg {

namespace Decoding {

namespace {

constexpr char kInvalidTargetSize[] = "Invalid target size: buffer %zu bytes, required %zu bytes";

constexpr char kNoDictionary[] =
    "DCMTK has no data dictionary: attributes of implicit VR are unknown, and images seem to "
    "have no pixel data. DCMDICTPATH names its files.";

/// Names the cause once, because every message that follows names something else.
void warnWithoutDictionary() {
  static std::atomic<bool> asked{false};
  if (!asked.exchange(true) && !dcmDataDict.isDictionaryLoaded()) {
    getTheLogInstance().warnf("%s", kNoDictionary);
  }
}

/// Makes DCMTK's decoders known to DCMTK. Where the host registered them first, its choices stay.
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
  slice.extent = KtVec3l(attributes.columns, attributes.rows, attributes.frames);
  slice.bytesPerSample = attributes.bytesPerSample;
  slice.sampleOffset = 0.0F;
  slice.rescale = readRescale(item);
  slice.voiWindow = readWindow(item);
  slice.pixelSpacing = readSpacing(item);
}

/// Drops what stands in an object as decompressed pixel data and was never finished.
void discardUnfinished(DcmObject& object) {
  DcmObject* child = nullptr;
  while ((child = object.nextInContainer(child)) != nullptr) {
    auto* const pixelData = dynamic_cast<DcmPixelData*>(child);
    if (pixelData == nullptr) {
      discardUnfinished(*child);
      continue;
    }
    E_TransferSyntax syntax = EXS_Unknown;
    const DcmRepresentationParameter* parameter = nullptr;
    pixelData->getCurrentRepresentationKey(syntax, parameter);
    if (DcmXfer(syntax).isEncapsulated()) {
      pixelData->removeAllButCurrentRepresentations();
    }
  }
}

/// Sees to it that decoding which ends early leaves no samples behind. DCMTK takes samples for
/// decompressed from the moment it has memory for them, whatever becomes of the decoder: the next
/// call would deliver that memory as it came from the heap.
class UnfinishedSamples {
public:
  explicit UnfinishedSamples(DcmItem& item) : item_(item) {}
  ~UnfinishedSamples() {
    if (!finished_) {
      discardUnfinished(item_);
    }
  }
  UnfinishedSamples(const UnfinishedSamples&) = delete;
  UnfinishedSamples& operator=(const UnfinishedSamples&) = delete;

  void finished() { finished_ = true; }

private:
  DcmItem& item_;
  bool finished_ = false;
};

}  // namespace

bool fitsTarget(const Task& task, std::size_t required, std::string& errorText) {
  if (required <= task.targetSize) {
    return true;
  }
  errorText =
      KtString::printf(kInvalidTargetSize, static_cast<std::size_t>(task.targetSize), required)
          .str();
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

  DcmPixelData* const pixelData = Decoding::findPixelData(item, errorText);
  if (pixelData == nullptr) {
    return false;
  }
  lossy = Decoding::isLossy(item);
  Decoding::registerDecoders();

  const std::optional<Decoding::ImageAttributes> attributes =
      Decoding::readImageAttributes(item, *pixelData, errorText);
  if (!attributes) {
    return false;
  }
  Decoding::storeAttributes(*this, item, *attributes);

  const Decoding::FrameRange frames =
      Decoding::clampFrames(firstFrame, lastFrame, attributes->frames);
  extent.z = frames.count;

  const Decoding::Task task{item, *pixelData, *attributes, frames, target, targetSize};
  Decoding::UnfinishedSamples samples(item);
  valid = attributes->monochrome ? Decoding::decodeMonochrome(*this, task, errorText)
                                 : Decoding::decodeColour(*this, task, errorText);
  if (valid) {
    samples.finished();
  }
  return valid;
}

}  // namespace Zrg
