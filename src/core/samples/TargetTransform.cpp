// SPDX-License-Identifier: BSD-3-Clause
// The sample transform from memory into memory. Samples of 8 and 16 bits go through the loops of
// samples/Kernels.h, those of 32 bits through a plain loop here. Samples or results that are not
// aligned pass through two small buffers, a few hundred at a time.
#include "dicom/ItemValues.h"
#include "samples/Domain.h"
#include "samples/Kernels.h"

#include <zrdcmexport/ZrSamples.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdeftag.h"
#include "dcmtk/dcmdata/dcitem.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

namespace Zrg {

namespace {

using ExDicomUtilities::LUT;
using ExDicomUtilities::detail::DomainTable;
using ExDicomUtilities::detail::LookupTable;
using ExDicomUtilities::detail::SampleConversion;
using ExDicomUtilities::detail::StoredBits;

constexpr std::uint64_t kStagedSamples = 512;
constexpr unsigned int kWideBits = 32;

KtPrimType typeOf(unsigned int bytes, bool isSigned) {
  switch (bytes) {
    case 1:
      return isSigned ? KtPrimType::S8 : KtPrimType::U8;
    case 2:
      return isSigned ? KtPrimType::S16 : KtPrimType::U16;
    default:
      return isSigned ? KtPrimType::S32 : KtPrimType::U32;
  }
}

bool isKnownWidth(unsigned int bytes) {
  return bytes == 1 || bytes == 2 || bytes == 4;
}

bool isAligned(const void* memory, std::size_t bytes) {
  return reinterpret_cast<std::uintptr_t>(memory) % bytes == 0;
}

/// The entries of a table, side by side, as wide as the loops ask for.
class Entries {
public:
  Entries(const LUT& table, unsigned int bytesPerSample) : copy_(table) {
    if (!isUsable()) {
      return;
    }
    const ZrDataAccess& entries = *copy_.entries;
    table_.values = entries.dataPtr(0);
    table_.entries =
        static_cast<int>(std::min<long long>(entries.dims().x, std::numeric_limits<int>::max()));
    table_.valuesPerEntry = entries.nDataVar();
    table_.firstMapped = copy_.firstMapped;
    bytesPerValue_ = static_cast<unsigned int>(entries.primType().primTypeSize());
    if (bytesPerValue_ == 1 && bytesPerSample == 2) {  // no loop makes words to bytes
      widen();
    }
  }
  ~Entries() = default;
  Entries(const Entries&) = delete;
  Entries& operator=(const Entries&) = delete;

  [[nodiscard]] bool areThere() const { return table_.valuesPerEntry != 0; }
  [[nodiscard]] const LookupTable& table() const { return table_; }
  [[nodiscard]] unsigned int bytesPerValue() const { return bytesPerValue_; }

private:
  [[nodiscard]] bool isUsable() const {
    if (copy_.entries.isNull() || !copy_.entries->hasData() || copy_.entries->dims().x < 1) {
      return false;
    }
    const KtPrimType type = copy_.entries->primType();
    const unsigned int values = copy_.entries->nDataVar();
    return type.isInteger() && type.primTypeSize() <= 2 && (values == 1 || values == 3);
  }

  void widen() {
    const auto* const bytes = static_cast<const unsigned char*>(table_.values);
    const auto count = static_cast<std::size_t>(table_.entries) * table_.valuesPerEntry;
    wide_.assign(bytes, bytes + count);
    table_.values = wide_.data();
    bytesPerValue_ = 2;
  }

  LUT copy_;
  std::vector<std::uint16_t> wide_;
  LookupTable table_;
  unsigned int bytesPerValue_ = 0;
};

template <class Value>
void putEntryFor(const LookupTable& table, std::int64_t value, void* target, std::uint64_t sample) {
  const std::int64_t entry =
      std::clamp<std::int64_t>(value - table.firstMapped, 0, table.entries - 1);
  const auto* const from = static_cast<const Value*>(table.values) +
                           static_cast<std::size_t>(entry) * table.valuesPerEntry;
  std::memcpy(static_cast<Value*>(target) + sample * table.valuesPerEntry, from,
              table.valuesPerEntry * sizeof(Value));
}

}  // namespace

class SampleTransform::State {
public:
  State(const StoredSamples& stored, const LUT& table, bool keepsSign)
      : stored_(stored),
        entries_(table, stored.bytesPerSample),
        conversion_(conversionOf(stored, entries_, keepsSign)),
        // Made for any number of samples: a transform serves all frames of an image.
        domain_(conversion_, isWide() ? 0 : std::numeric_limits<long long>::max()) {}

  [[nodiscard]] unsigned int bytesPerValue() const {
    return entries_.areThere() ? entries_.bytesPerValue() : stored_.bytesPerSample;
  }
  [[nodiscard]] unsigned int valuesPerSample() const {
    return entries_.areThere() ? entries_.table().valuesPerEntry : 1;
  }
  [[nodiscard]] bool valuesAreSigned() const { return conversion_.keepsSign && stored_.isSigned; }
  [[nodiscard]] std::int64_t offset() const {
    const bool shifts = stored_.isSigned && !conversion_.keepsSign && !entries_.areThere();
    return shifts ? std::int64_t{1} << (8 * stored_.bytesPerSample - 1) : 0;
  }

  void apply(const unsigned char* samples, std::uint64_t count, unsigned char* target) const {
    const std::size_t bytesOut = std::size_t{bytesPerValue()} * valuesPerSample();
    if (isAligned(samples, stored_.bytesPerSample) && isAligned(target, bytesPerValue())) {
      convert(samples, count, target);
      return;
    }
    alignas(std::uint64_t) std::array<unsigned char, kStagedSamples * 4> gathered;
    alignas(std::uint64_t) std::array<unsigned char, kStagedSamples * 6> converted;  // 3 words most
    for (std::uint64_t done = 0; done < count; done += kStagedSamples) {
      const std::uint64_t block = std::min(kStagedSamples, count - done);
      std::memcpy(gathered.data(), samples + done * stored_.bytesPerSample,
                  block * stored_.bytesPerSample);
      convert(gathered.data(), block, converted.data());
      std::memcpy(target + done * bytesOut, converted.data(), block * bytesOut);
    }
  }

private:
  static SampleConversion conversionOf(const StoredSamples& stored, const Entries& entries,
                                       bool keepsSign) {
    SampleConversion conversion;
    conversion.source = typeOf(stored.bytesPerSample, stored.isSigned);
    conversion.target =
        typeOf(entries.areThere() ? entries.bytesPerValue() : stored.bytesPerSample, false);
    conversion.bits = StoredBits::of(conversion.source, stored.bitsStored, stored.highBit);
    conversion.table = entries.table();
    conversion.keepsSign = keepsSign;
    return conversion;
  }

  [[nodiscard]] bool isWide() const { return stored_.bytesPerSample == 4; }

  /// Converts samples that are aligned.
  void convert(const void* samples, std::uint64_t count, void* target) const {
    if (isWide()) {
      convertWide(static_cast<const std::uint32_t*>(samples), count, target);
    } else if (domain_.isEmpty()) {
      ExDicomUtilities::detail::convertRun(conversion_, samples, target,
                                           static_cast<long long>(count));
    } else {
      domain_.convertRun(samples, target, static_cast<long long>(count));
    }
  }

  void convertWide(const std::uint32_t* samples, std::uint64_t count, void* target) const {
    const auto added = static_cast<std::uint32_t>(offset());
    for (std::uint64_t i = 0; i < count; ++i) {
      const std::int64_t value = isolated(samples[i]);
      if (!entries_.areThere()) {
        static_cast<std::uint32_t*>(target)[i] = static_cast<std::uint32_t>(value) + added;
      } else if (bytesPerValue() == 1) {
        putEntryFor<std::uint8_t>(entries_.table(), value, target, i);
      } else {
        putEntryFor<std::uint16_t>(entries_.table(), value, target, i);
      }
    }
  }

  /// The stored bits of a sample of 32 bits, with their sign.
  [[nodiscard]] std::int64_t isolated(std::uint32_t sample) const {
    const StoredBits& bits = conversion_.bits;
    if (bits.leftShift == kWideBits) {  // no bit is stored
      return 0;
    }
    const std::uint32_t field = sample << bits.leftShift;
    return stored_.isSigned ? std::int64_t{static_cast<std::int32_t>(field) >> bits.rightShift}
                            : std::int64_t{field >> bits.rightShift};
  }

  StoredSamples stored_;
  Entries entries_;
  SampleConversion conversion_;  ///< points at the entries
  DomainTable domain_;
};

SampleTransform::SampleTransform(std::shared_ptr<const State> state) : state_(std::move(state)) {}

std::optional<SampleTransform> SampleTransform::isolating(const StoredSamples& stored) {
  if (!isKnownWidth(stored.bytesPerSample)) {
    return std::nullopt;
  }
  return SampleTransform(std::make_shared<const State>(stored, LUT(), true));
}

std::optional<SampleTransform> SampleTransform::makingUnsigned(const StoredSamples& stored,
                                                               const LUT& table) {
  if (!isKnownWidth(stored.bytesPerSample)) {
    return std::nullopt;
  }
  return SampleTransform(std::make_shared<const State>(stored, table, false));
}

unsigned int SampleTransform::bytesPerValue() const noexcept {
  return state_->bytesPerValue();
}

unsigned int SampleTransform::valuesPerSample() const noexcept {
  return state_->valuesPerSample();
}

bool SampleTransform::valuesAreSigned() const noexcept {
  return state_->valuesAreSigned();
}

std::int64_t SampleTransform::offset() const noexcept {
  return state_->offset();
}

void SampleTransform::apply(const void* samples, std::uint64_t count, void* target) const noexcept {
  state_->apply(static_cast<const unsigned char*>(samples), count,
                static_cast<unsigned char*>(target));
}

StoredSamples readStoredSamples(DcmItem& item, unsigned int bytesPerSample) {
  const int bits = static_cast<int>(8 * bytesPerSample);
  const int stored = readInt(item, DCM_BitsStored).value_or(0);
  const int highBit = readInt(item, DCM_HighBit).value_or(bits - 1);
  StoredSamples samples;
  samples.bytesPerSample = bytesPerSample;
  samples.bitsStored = static_cast<unsigned int>(std::clamp(stored, 0, bits));
  samples.highBit = static_cast<unsigned int>(std::clamp(highBit, 0, std::max(bits - 1, 0)));
  samples.isSigned = readInt(item, DCM_PixelRepresentation) == 1;
  return samples;
}

}  // namespace Zrg
