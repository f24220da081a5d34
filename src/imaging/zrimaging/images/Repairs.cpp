// SPDX-License-Identifier: BSD-3-Clause
// Repairs of datasets before they are decoded, in the order of the table: each has a condition that
// leaves no doubt, and changes what the condition names. Nobody sees the repaired dataset but the
// decoders; the file stays as it is.
#include "zrimaging/images/Repairs.h"

#include "zrimaging/Error.h"
#include "zrimaging/File.h"
#include "zrimaging/images/AttributeRepairs.h"
#include "zrimaging/images/Explanation.h"
#include "zrimaging/pixels/SegmentedPalette.h"

#include <zrdcmexport/ZrFrames.h>
#include <zrdcmexport/ZrTransferSyntax.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcpixseq.h"
#include "dcmtk/dcmdata/dcpxitem.h"
#include "dcmtk/dcmdata/dctk.h"

#include <array>
#include <memory>
#include <optional>

namespace zr {

namespace {

/// What the repairs look at.
struct Subject {
  const File& file;
  DcmItem& item;

  std::optional<unsigned> number(const DcmTagKey& key) const {
    Uint16 value = 0;
    return item.findAndGetUint16(key, value).good() ? std::optional<unsigned>(value) : std::nullopt;
  }
  void set(const DcmTagKey& key, unsigned value) const {
    if (item.putAndInsertUint16(key, static_cast<Uint16>(value)).bad()) {
      throw Error(Reason::OutOfMemory, "out of memory");  // nothing else keeps it out
    }
  }
};

using Made = MadeRepair;

/// Decoders of JPEG 2000 deliver samples of one bit in bytes.
Made widenBitsOfJpeg2000(const Subject& subject) {
  const E_TransferSyntax syntax = subject.file.dataset().getOriginalXfer();
  const bool isJpeg2000 = syntax == EXS_JPEG2000LosslessOnly || syntax == EXS_JPEG2000;
  if (!isJpeg2000 || subject.number(DCM_BitsAllocated) != 1U) {
    return std::nullopt;
  }
  subject.set(DCM_BitsAllocated, 8);
  return "";
}

Made expandPalette(const Subject& subject) {
  // A damaged palette stays as it is: who needs its colours is told why there are none.
  return hasSegmentedPalette(subject.item) && writePaletteInFull(subject.item).empty()
             ? Made("")
             : std::nullopt;
}

DcmPixelData* pixelDataOf(const Subject& subject) {
  DcmElement* element = nullptr;
  return subject.item.findAndGetElement(DCM_PixelData, element).good()
             ? dynamic_cast<DcmPixelData*>(element)
             : nullptr;
}

/// Whether bytes begin as a stream of JPEG, JPEG-LS or JPEG 2000 does.
bool beginsAsStream(const Uint8* bytes, Uint32 size) {
  return size > 4 && bytes[0] == 0xFF &&
         ((bytes[1] == 0xD8 && bytes[2] == 0xFF) ||
          (bytes[1] == 0x4F && bytes[2] == 0xFF && bytes[3] == 0x51));
}

/// The pixel data of one fragment, with an empty offset table.
std::unique_ptr<DcmPixelSequence> sequenceOf(const Uint8* stream, Uint32 size) {
  auto sequence = std::make_unique<DcmPixelSequence>(DCM_PixelSequenceTag);
  for (const bool isTable : {true, false}) {
    auto fragment = std::make_unique<DcmPixelItem>(DCM_PixelItemTag);
    if ((!isTable && fragment->putUint8Array(stream, size).bad()) ||
        sequence->insert(fragment.get()).bad()) {
      throw Error(Reason::OutOfMemory, "out of memory");  // nothing else keeps it out
    }
    (void)fragment.release();  // the sequence has it
  }
  return sequence;
}

/// Compressed frames are in fragments. Some files have the stream of their only frame as it is, and
/// some state a compression that nothing went through.
Made putStreamIntoFragment(const Subject& subject) {
  const TransferSyntaxName stated = transferSyntaxOf(subject.file);
  const Zrg::TransferSyntax* const known = Zrg::findTransferSyntax(stated.uid);
  DcmPixelData* const pixelData = pixelDataOf(subject);
  if (known == nullptr || !known->encapsulated || pixelData == nullptr ||
      !pixelData->hasRepresentation(EXS_LittleEndianExplicit, nullptr)) {
    return std::nullopt;
  }
  const std::string states =
      "states transfer syntax " + stated.name + " (" + stated.uid + "), but ";
  const E_TransferSyntax syntax = DcmXfer(stated.uid.c_str()).getXfer();
  Uint8* bytes = nullptr;
  if (syntax == EXS_Unknown || Zrg::numberOfFrames(subject.item) != 1 ||
      pixelData->getUint8Array(bytes).bad() || bytes == nullptr ||
      !beginsAsStream(bytes, pixelData->getLength())) {
    return states + "its pixel data is not compressed: read as it is";
  }
  std::unique_ptr<DcmPixelSequence> sequence = sequenceOf(bytes, pixelData->getLength());
  pixelData->putOriginalRepresentation(syntax, nullptr, sequence.release());
  subject.file.dataset().updateOriginalXfer();
  return states + "its pixel data is not in fragments: read as one frame";
}

/// Of a dataset that is not written as it states, DCMTK takes the fragments for those of the way in
/// which it is written.
Made giveFragmentsTheirSyntax(const Subject& subject) {
  const E_TransferSyntax stated = DcmXfer(subject.file.statedTransferSyntax().c_str()).getXfer();
  DcmPixelData* const pixelData = pixelDataOf(subject);
  if (pixelData == nullptr || stated == EXS_Unknown || !DcmXfer(stated).isEncapsulated()) {
    return std::nullopt;
  }
  E_TransferSyntax taken = EXS_Unknown;
  const DcmRepresentationParameter* parameter = nullptr;
  DcmPixelSequence* sequence = nullptr;
  pixelData->getOriginalRepresentationKey(taken, parameter);
  if (DcmXfer(taken).isEncapsulated() ||
      pixelData->getEncapsulatedRepresentation(taken, parameter, sequence).bad() ||
      sequence == nullptr) {
    return std::nullopt;
  }
  auto copy = std::make_unique<DcmPixelSequence>(*sequence);
  pixelData->putOriginalRepresentation(stated, nullptr, copy.release());
  subject.file.dataset().updateOriginalXfer();
  return "";
}

constexpr std::array kRepairs = {
    giveFragmentsTheirSyntax,
    putStreamIntoFragment,
    widenBitsOfJpeg2000,
    expandPalette,
};

constexpr std::array kAttributeRepairs = {
    spellPhotometricInterpretation,
    addSamplesPerPixel,
    matchPhotometricInterpretation,
    addPlanarConfiguration,
};

}  // namespace

std::vector<std::string> repairForDecoding(const File& file) {
  const Subject subject{file, file.dataset()};
  std::vector<std::string> remarks = file.remarks();
  const auto note = [&remarks](const MadeRepair& made) {
    if (made && !made->empty()) {
      remarks.push_back(*made);
    }
  };
  for (const auto& repair : kRepairs) {
    note(repair(subject));
  }
  for (const auto& repair : kAttributeRepairs) {
    note(repair(file));
  }
  return remarks;
}

}  // namespace zr
