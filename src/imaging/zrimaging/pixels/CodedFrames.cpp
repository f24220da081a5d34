// SPDX-License-Identifier: BSD-3-Clause
#include "zrimaging/pixels/CodedFrames.h"

#include "zrimaging/Error.h"
#include "zrimaging/File.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcpxitem.h"
#include "dcmtk/dcmdata/dctk.h"

#include <string>

namespace zr {

namespace {

DcmPixelSequence* sequenceOf(DcmItem& item) {
  DcmElement* element = nullptr;
  if (item.findAndGetElement(DCM_PixelData, element).bad()) {
    return nullptr;
  }
  auto* const pixelData = dynamic_cast<DcmPixelData*>(element);
  E_TransferSyntax syntax = EXS_Unknown;
  const DcmRepresentationParameter* parameter = nullptr;
  DcmPixelSequence* sequence = nullptr;
  if (pixelData == nullptr) {
    return nullptr;
  }
  pixelData->getOriginalRepresentationKey(syntax, parameter);
  return pixelData->getEncapsulatedRepresentation(syntax, parameter, sequence).good() ? sequence
                                                                                      : nullptr;
}

}  // namespace

CodedFrames::CodedFrames(const File& file)
    : sequence_(sequenceOf(file.dataset())), index_(file.dataset()) {
  if (sequence_ == nullptr) {
    throw Error(Reason::NoPixelData, "has no compressed frames");
  }
  // Asked for by their numbers, fragments are counted from the nearer end each time.
  items_.reserve(sequence_->card());
  DcmObject* object = nullptr;
  while ((object = sequence_->nextInContainer(object)) != nullptr) {
    items_.push_back(dynamic_cast<DcmPixelItem*>(object));
  }
}

Zrg::FragmentRange CodedFrames::fragmentsOf(std::uint64_t frame) {
  const auto fragments = index_.fragmentsOf(frame);
  if (!fragments || fragments->last >= items_.size()) {
    throw Error(Reason::Damaged, "has compressed data in which nothing tells where frame " +
                                     std::to_string(frame) + " is");
  }
  return *fragments;
}

std::uint64_t CodedFrames::sizeOf(std::uint64_t frame) {
  const Zrg::FragmentRange fragments = fragmentsOf(frame);
  std::uint64_t size = 0;
  for (unsigned long i = fragments.first; i <= fragments.last; ++i) {
    size += items_[i] != nullptr ? items_[i]->getLength() : 0;
  }
  return size;
}

const std::vector<std::uint8_t>& CodedFrames::bytesOf(std::uint64_t frame) {
  const Zrg::FragmentRange fragments = fragmentsOf(frame);
  bytes_.clear();
  bytes_.reserve(static_cast<std::size_t>(sizeOf(frame)));
  for (unsigned long i = fragments.first; i <= fragments.last; ++i) {
    DcmPixelItem* const item = items_[i];
    const std::size_t size = item != nullptr ? item->getLength() : 0;
    if (size == 0) {
      continue;
    }
    bytes_.resize(bytes_.size() + size);
    if (item->getPartialValue(bytes_.data() + bytes_.size() - size, 0, static_cast<Uint32>(size))
            .bad()) {
      throw Error(Reason::Damaged,
                  "has a compressed frame that cannot be read: number " + std::to_string(frame));
    }
  }
  return bytes_;
}

}  // namespace zr
