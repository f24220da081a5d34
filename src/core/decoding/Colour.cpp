// SPDX-License-Identifier: BSD-3-Clause
// Colour, palettes included: always delivered as interleaved RGB with 8 bits a sample. Frames that
// the decoders deliver in that form are taken from them directly; everything else is rendered by
// DCMTK's image classes.
#include "decoding/Colour.h"

#include "decoding/ColourFrame.h"
#include "decoding/FrameExtractor.h"
#include "dicom/ItemValues.h"
#include "streams/CodecGuard.h"
#include "streams/TransferSyntaxes.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/dcmimgle/dcmimage.h"
#include "dcmtk/dcmimgle/didocu.h"

#include <optional>
#include <string>
#include <utility>

namespace Zrg::Decoding {

namespace {

constexpr char kNoDocumentMemory[] = "Unable to create valid DiDocument object (out of memory)";
constexpr char kNoDocument[] = "Unable to create valid DiDocument object";
constexpr char kNoPixelDataInDocument[] = "Unable to locate DcmPixelData in DiDocument object";
constexpr char kNoImageMemory[] = "Unable to create valid DicomImage object (out of memory)";
constexpr char kNoUncompressedData[] = "Uncompressed data has size 0";
constexpr char kTooLarge[] = "pixel data has an unsupported uncompressed size of more than 4GB";
constexpr char kNoOutputData[] = "DicomImage::getOutputData() failed";
constexpr char kNoUncompressedFrame[] = "DcmPixelData::getUncompressedFrame() failed";

constexpr unsigned long long kFourGiB = 1ULL << 32;

/// For DCMTK's image classes: a range of frames is read alone.
unsigned long flagsOf(const Task& task) {
  return task.frames.all ? 0 : CIF_UsePartialAccessToPixelData;
}

unsigned long firstFrameOf(const Task& task) {
  return static_cast<unsigned long>(task.frames.first);
}

unsigned long frameCountOf(const Task& task) {
  return static_cast<unsigned long>(task.frames.count);
}

Message frameNotDecompressed(const OFCondition& status) {
  const std::string reason = status.text();
  return Message(reason.empty() ? kNoUncompressedFrame : kNoUncompressedFrame + (": " + reason));
}

/// What DCMTK says of a frame that its decoders do not take.
Message frameRefused() {
  return frameNotDecompressed(EC_CannotChangeRepresentation);
}

// ---- frames from the decoder -------------------------------------------------------------------

/// Whether the decoder delivers frames of encapsulated data as interleaved RGB; in another form or
/// size they must be rendered.
bool isDirect(const Task& task, const DcmXfer& syntax, DcmItem& item, DcmPixelData& pixelData) {
  const bool isRgb = task.attributes.photometricInterpretation == "RGB";
  Uint32 frameBytes = 0;
  return syntax.isEncapsulated() && (syntax.isLossy() || isRgb) &&
         pixelData.getUncompressedFrameSize(&item, frameBytes).good() && frameBytes % 2 == 0 &&
         frameBytes == task.attributes.size.rgbBytes();
}

class DirectFrames : public ColourFrames {
public:
  DirectFrames(const Task& task, DcmItem& item, DcmPixelData& pixelData)
      : attributes_(readImageAttributes(item, &pixelData)),
        pixelData_(pixelData),
        decoder_(item, pixelData, attributes_),
        frameBytes_(static_cast<Uint32>(task.attributes.size.rgbBytes())),
        all_(task.frames.all) {}

  unsigned long frameBytes() const override { return frameBytes_; }

  /// All frames were to be decompressed, which has failed; the first alone is known in this way.
  bool hasFrame(int position) const override { return !all_ || position == 0; }

  bool mayHoldFrames(int count) override {
    return CodecGuard(attributes_, pixelData_).mayHoldFrames(0, static_cast<unsigned long>(count));
  }

  Message missingFrame(unsigned long long /*totalBytes*/) const override { return frameRefused(); }

  Result<void> makeFrame(int /*position*/, char* target,
                         unsigned long long /*totalBytes*/) override {
    // Deliberate: always the first frame of the dataset. This way is meant for single frames; with
    // a range of frames every one of them is the first. Zrg::decodeFrame takes them by number.
    // Test: SliceDecodingColour.RangeOfDirectlyDecodedFramesRepeatsTheFirstFrameOfTheDataset
    constexpr Uint32 kFirst = 0;
    const OFCondition status = decoder_.decode(kFirst, frameBytes_, target, frameBytes_);
    if (status.bad()) {
      return frameNotDecompressed(status);
    }
    return {};
  }

private:
  ImageAttributes attributes_;
  DcmPixelData& pixelData_;
  FrameExtractor decoder_;
  Uint32 frameBytes_;
  bool all_;
};

// ---- frames by number --------------------------------------------------------------------------

/// Each frame of a range decoded alone, and rendered as an image of its own.
class NumberedFrames : public ColourFrames {
public:
  explicit NumberedFrames(const Task& task)
      : task_(task), decoder_(task.item, task.pixelData, task.attributes) {}

  unsigned long frameBytes() const override {
    return static_cast<unsigned long>(task_.attributes.size.rgbBytes());
  }

  bool hasFrame(int /*position*/) const override { return true; }

  bool mayHoldFrames(int count) override {
    CodecGuard guard(task_.attributes, task_.pixelData);
    return guard.isCountable(1) &&
           guard.mayHoldFrames(firstFrameOf(task_), static_cast<unsigned long>(count));
  }

  Message missingFrame(unsigned long long /*totalBytes*/) const override { return frameRefused(); }

  Result<void> makeFrame(int position, char* target, unsigned long long totalBytes) override {
    if (!frame_) {
      if (!mayHoldFrames(task_.frames.count)) {
        return missingFrame(totalBytes);
      }
      frame_.emplace(task_.item, task_.attributes.size);
    }
    const OFCondition status =
        decoder_.decode(static_cast<Uint32>(task_.frames.first + position),
                        static_cast<Uint32>(task_.attributes.size.allocatedBytes()),
                        frame_->containers(), frame_->containersSize());
    return status.bad() ? frameNotDecompressed(status)
                        : frame_->render(decoder_.colourModel(), target);
  }

private:
  const Task& task_;
  FrameExtractor decoder_;
  std::optional<ColourFrame> frame_;
};

// ---- rendered frames ---------------------------------------------------------------------------

class RenderedFrames : public ColourFrames {
public:
  RenderedFrames(std::unique_ptr<DicomImage> image, unsigned long frameBytes)
      : image_(std::move(image)), frameBytes_(frameBytes) {}

  unsigned long frameBytes() const override { return frameBytes_; }

  bool hasFrame(int position) const override {
    return image_->getFrameCount() > static_cast<unsigned long>(position);
  }

  bool mayHoldFrames(int /*count*/) override { return true; }  // the image holds them already

  Message missingFrame(unsigned long long totalBytes) const override {
    return FailureText{totalBytes >= kFourGiB ? kTooLarge : kNoOutputData};
  }

  Result<void> makeFrame(int position, char* target, unsigned long long totalBytes) override {
    if (image_->getOutputData(target, frameBytes_, kRenderedBits,
                              static_cast<unsigned long>(position), kInterleaved) == 0) {
      return missingFrame(totalBytes);
    }
    return {};
  }

private:
  std::unique_ptr<DicomImage> image_;
  unsigned long frameBytes_;
};

/// Whether native samples of more than 16 bits are all there with all their bytes. DCMTK puts them
/// together from words, and does not find the end when the last one lacks some of its words.
bool hasWholeSamples(const Task& task) {
  const bool isNative = !DcmXfer(task.attributes.storedSyntax).isEncapsulated();
  return !isNative || task.pixelData.getLength() % task.attributes.size.bytesPerSample() == 0;
}

Result<void> mayOpenImage(const Task& task) {
  if (task.attributes.size.bytesPerSample() > 2 && !hasWholeSamples(task)) {
    return FailureText{kNoUncompressedData};
  }
  CodecGuard guard(task.item, task.pixelData);  // reads what a document may have rewritten
  const bool isCountable =
      task.frames.all ? guard.isCountable() : guard.isCountable(frameCountOf(task));
  if (!isCountable) {
    return FailureText{kTooLarge};
  }
  const bool isSafe = task.frames.all
                          ? allImagesAreSafe(task.item)
                          : guard.colourModelIsSafe() &&
                                guard.framesAreSafe(firstFrameOf(task), frameCountOf(task));
  if (!isSafe) {
    return FailureText{kNoUncompressedData};
  }
  return {};
}

/// Whether an image whose pixels share their colour two by two has them all in pairs. DCMTK leaves
/// a pixel without its partner as it comes from the heap. @see PS3.3 C.7.6.3.1.2 (YBR_FULL_422)
bool hasWholePairs(const Task& task, const DicomImage& image) {
  const EP_Interpretation interpretation = image.getPhotometricInterpretation();
  if (interpretation != EPI_YBR_Full_422 && interpretation != EPI_YBR_Partial_422) {
    return true;
  }
  constexpr unsigned long long kSamplesPerPixel = 2;  // two luminances and both differences a pair
  const FrameSize& size = task.attributes.size;
  const unsigned long long frameBytes = kSamplesPerPixel * size.bytesPerSample() * size.pixels();
  // Decoders fill the frames of a range; native samples must reach to the end of its last one.
  const bool hasLength = task.frames.all || !DcmXfer(task.attributes.storedSyntax).isEncapsulated();
  const auto frames =
      static_cast<unsigned long long>(task.frames.all ? task.frames.count : task.frames.last + 1);
  return size.pixels() % 2 == 0 &&
         (!hasLength || task.pixelData.getLength() >= frameBytes * frames);
}

std::unique_ptr<DicomImage> openImage(const Task& task) {
  try {
    // A document may have decompressed the pixel data in place; what was compressed is gone then.
    return std::make_unique<DicomImage>(&task.item, storedSyntaxOf(task.pixelData), flagsOf(task),
                                        firstFrameOf(task), frameCountOf(task));
  } catch (const std::bad_alloc&) {
    throw NoImageMemory(kNoImageMemory);
  }
}

}  // namespace

bool completePlanarConfiguration(DcmItem& item) {
  const std::optional<Uint16> configuration = readUint16(item, DCM_PlanarConfiguration);
  if (!configuration) {
    // Nothing depends on this at once; what cannot be decoded without it says so itself.
    (void)item.putAndInsertUint16(DCM_PlanarConfiguration, 0);
    return false;
  }
  return *configuration != 0;
}

Result<void> haveCountableSize(const Task& task) {
  const auto count = static_cast<unsigned long long>(task.frames.count);
  if (count > 1 && task.attributes.size.rgbBytes() * count >= kFourGiB) {  // one has no position
    return FailureText{kTooLarge};
  }
  return {};
}

// ---- the document ------------------------------------------------------------------------------

ColourDocument::ColourDocument(std::unique_ptr<DiDocument> document)
    : document_(std::move(document)) {}
ColourDocument::~ColourDocument() = default;
ColourDocument::ColourDocument(ColourDocument&& other) noexcept = default;
ColourDocument& ColourDocument::operator=(ColourDocument&& other) noexcept = default;

Result<void> ColourDocument::mayOpen(const Task& task) {
  CodecGuard guard(task.attributes, task.pixelData);
  if (task.frames.all && !guard.isCountable()) {
    return FailureText{kTooLarge};
  }
  if (task.frames.all ? allImagesAreSafe(task.item) : guard.colourModelIsSafe()) {
    return {};
  }
  const DcmXfer syntax(task.attributes.storedSyntax);
  if (isDirect(task, syntax, task.item, task.pixelData)) {
    return frameRefused();
  }
  return FailureText{kNoUncompressedData};
}

Result<ColourDocument> ColourDocument::open(const Task& task) {
  std::unique_ptr<DiDocument> document;
  try {
    document = std::make_unique<DiDocument>(&task.item, task.attributes.storedSyntax, flagsOf(task),
                                            firstFrameOf(task), frameCountOf(task));
  } catch (const std::bad_alloc&) {
    throw NoImageMemory(kNoDocumentMemory);
  }
  ColourDocument opened(std::move(document));
  opened.item_ = dynamic_cast<DcmItem*>(opened.document_->getDicomObject());
  if (opened.item_ == nullptr) {
    return FailureText{kNoDocument};
  }
  opened.pixelData_ = opened.document_->getPixelData();
  if (opened.pixelData_ == nullptr) {
    return FailureText{kNoPixelDataInDocument};
  }
  return opened;
}

std::unique_ptr<ColourFrames> ColourDocument::directFrames(const Task& task) {
  const DcmXfer syntax(document_->getTransferSyntax());
  if (!isDirect(task, syntax, *item_, *pixelData_)) {
    return nullptr;
  }
  return std::make_unique<DirectFrames>(task, *item_, *pixelData_);
}

std::unique_ptr<ColourFrames> numberedFrames(const Task& task) {
  const SyntaxRow* const row = findSyntaxRow(task.attributes.storedSyntax);
  const bool isDecodedByApplication =
      row != nullptr && row->decoder == DecodedBy::Codec && hasCodec(task.attributes.storedSyntax);
  if (task.frames.all || !isDecodedByApplication) {
    return nullptr;
  }
  return std::make_unique<NumberedFrames>(task);
}

Result<std::unique_ptr<ColourFrames>> renderedFrames(const Task& task) {
  if (const Result<void> allowed = mayOpenImage(task); !allowed) {
    return allowed.reason();
  }
  std::unique_ptr<DicomImage> image = openImage(task);
  (void)image->hideAllOverlays(0);  // 0 says that there are none
  const unsigned long frameBytes = image->getOutputDataSize(kRenderedBits);
  if (frameBytes == 0) {  // there is nothing to show
    return FailureText{kNoUncompressedData};
  }
  if (frameBytes != task.attributes.size.rgbBytes() ||  // grey after all
      !hasWholePairs(task, *image)) {
    return FailureText{kNoOutputData};
  }
  return std::unique_ptr<ColourFrames>(new RenderedFrames(std::move(image), frameBytes));
}

}  // namespace Zrg::Decoding
