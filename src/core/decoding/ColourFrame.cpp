// SPDX-License-Identifier: BSD-3-Clause
// A frame that was decoded alone is shown as an image of its own: the decoders say whether they
// succeeded, which DCMTK's image classes do not when they decode.
#include "decoding/ColourFrame.h"

#include "dicom/ItemValues.h"
#include "streams/TransferSyntaxes.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/dcmimgle/dcmimage.h"

#include <cstring>
#include <new>

namespace Zrg::Decoding {

namespace {

constexpr char kNotRenderable[] = "DCMTK cannot render such a colour image: ";
constexpr char kOddPair[] =
    "pixels share their colour two by two, and the frame has an odd number of them";

constexpr Uint16 kImageGroup = 0x0028;

/// The attributes of an image, palettes among them, as those of an image of one frame.
std::unique_ptr<DcmItem> imageModule(DcmItem& item) {
  auto image = std::make_unique<DcmItem>();
  for (unsigned long i = 0; i < item.card(); ++i) {
    const DcmElement& element = *item.getElement(i);
    if (element.getTag().getGroup() == kImageGroup && element.getTag() != DCM_NumberOfFrames) {
      std::unique_ptr<DcmElement> copy(dynamic_cast<DcmElement*>(element.clone()));
      if (copy != nullptr && image->insert(copy.get(), true).good()) {
        (void)copy.release();  // the item owns it now
      }
    }
  }
  return image;
}

}  // namespace

ColourFrame::ColourFrame(DcmItem& item, const FrameSize& size)
    : item_(imageModule(item)),
      size_(size),
      containersSize_(static_cast<Uint32>(size.allocatedBytes() + size.allocatedBytes() % 2)) {
  const unsigned int bytesPerSample = size.bytesPerSample();
  auto element =
      std::make_unique<DcmPixelData>(DcmTag(DCM_PixelData, bytesPerSample == 1 ? EVR_OB : EVR_OW));
  OFCondition status;
  if (bytesPerSample == 1) {
    Uint8* bytes = nullptr;
    status = element->createUint8Array(containersSize_, bytes);
    containers_ = bytes;
  } else {
    Uint16* words = nullptr;
    status = element->createUint16Array(containersSize_ / 2, words);
    containers_ = words;
  }
  if (status.bad() || item_->insert(element.get(), true).bad()) {
    throw std::bad_alloc();  // nothing else can be wrong with a new element
  }
  (void)element.release();  // the item owns it now
}

ColourFrame::~ColourFrame() = default;

bool ColourFrame::isInterleavedRgb(const std::string& colourModel) const {
  return colourModel == "RGB" && size_.samplesPerPixel == 3 &&
         size_.bitsAllocated == kRenderedBits && size_.bitsStored == kRenderedBits &&
         readUint16(*item_, DCM_PlanarConfiguration).value_or(kInterleaved) == kInterleaved;
}

Result<void> ColourFrame::render(const std::string& colourModel, char* target) {
  if (isInterleavedRgb(colourModel)) {
    std::memcpy(target, containers_, size_.rgbBytes());
    return {};
  }
  // DCMTK leaves a pixel without its partner as it comes from the heap.
  if (colourModel.find("_422") != std::string::npos && size_.pixels() % 2 != 0) {
    return Message(std::string(kNotRenderable) + kOddPair);
  }
  if (item_->putAndInsertString(DCM_PhotometricInterpretation, colourModel.c_str()).bad()) {
    throw std::bad_alloc();  // a text that DCMTK gave itself
  }
  return renderImage(target);
}

Result<void> ColourFrame::renderImage(char* target) {
  DicomImage image(item_.get(), kExplicitLittleEndian);
  (void)image.hideAllOverlays(0);  // 0 says that there are none
  const unsigned long size = image.getOutputDataSize(kRenderedBits);
  if (image.getStatus() != EIS_Normal || size != size_.rgbBytes() ||
      image.getOutputData(target, size, kRenderedBits, 0, kInterleaved) == 0) {
    return Message(kNotRenderable + std::string(DicomImage::getString(image.getStatus())));
  }
  return {};
}

}  // namespace Zrg::Decoding
