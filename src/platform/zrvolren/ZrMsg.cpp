// SPDX-License-Identifier: BSD-3-Clause
// Message streams. A stream is a row of messages; each begins with one byte that tells its kind.
// All numbers are little endian.
//
//   int            1  'i'
//                  4  value, two's complement
//   null           1  '0'
//   container      1  'D'
//                  4  type code (KtPrimType::Code)
//                  4  values of one pixel, unsigned
//                  8  columns, two's complement
//                  8  rows
//                  8  frames
//                  1  1 when samples follow, 0 when the container has none
//                  n  samples without gaps, n = columns x rows x frames x values x bytes of the
//                  type
//
// n is not written: it follows from the fields before it. A reader compares it with what the stream
// still holds before it allocates anything.

#include <ktlib/KtAllocator.h>
#include <ktlib/KtPrimType.h>
#include <ktlib/KtVec3l.h>
#include <zrvolren/ZrDataAccess.h>
#include <zrvolren/ZrMsg.h>
#include <zrvolren/ZrSampleRuns.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

namespace {

static_assert(std::endian::native == std::endian::little,
              "samples are copied as they stand in memory, so they are little endian only there");

constexpr std::uint8_t kInt = 'i';
constexpr std::uint8_t kNull = '0';
constexpr std::uint8_t kContainer = 'D';

constexpr std::uint8_t kWithoutSamples = 0;
constexpr std::uint8_t kWithSamples = 1;

// Appends messages to the end of a stream.
class Writer {
public:
  explicit Writer(std::vector<unsigned char>& bytes) : bytes_(bytes) {}

  template <class Unsigned>
  void put(Unsigned value) {
    for (unsigned shift = 0; shift < 8 * sizeof value; shift += 8) {
      bytes_.push_back(static_cast<unsigned char>((value >> shift) & 0xFF));
    }
  }

  void putSamples(const ZrDataAccess& container) {
    visitSampleRuns(container, [this](const unsigned char* samples, std::size_t count) {
      bytes_.insert(bytes_.end(), samples, samples + count);
    });
  }

private:
  std::vector<unsigned char>& bytes_;
};

// Takes numbers off the unread end of a stream; once one is not there, it and all others are 0.
class Reader {
public:
  Reader(const std::vector<unsigned char>& bytes, std::size_t position)
      : bytes_(bytes), position_(position) {}

  template <class Unsigned>
  Unsigned take() {
    good_ = good_ && remaining() >= sizeof(Unsigned);
    if (!good_) {
      return 0;
    }
    Unsigned value = 0;
    for (unsigned shift = 0; shift < 8 * sizeof value; shift += 8) {
      value = static_cast<Unsigned>(value | static_cast<Unsigned>(bytes_[position_]) << shift);
      ++position_;
    }
    return value;
  }

  // The caller has asked remaining() before.
  void takeSamples(void* target, std::size_t count) {
    std::memcpy(target, bytes_.data() + position_, count);
    position_ += count;
  }

  [[nodiscard]] bool isGood() const { return good_; }
  [[nodiscard]] std::size_t remaining() const { return bytes_.size() - position_; }
  [[nodiscard]] std::size_t position() const { return position_; }

private:
  const std::vector<unsigned char>& bytes_;
  std::size_t position_;
  bool good_ = true;
};

// What follows the kind of a container; null when it is malformed or finds no memory.
std::unique_ptr<ZrDataAccess> takeContainer(Reader& reader) {
  const KtPrimType type(static_cast<KtPrimType::Code>(reader.take<std::uint32_t>()));
  const auto nDataVar = reader.take<std::uint32_t>();
  KtVec3l dims;
  dims.x = static_cast<long long>(reader.take<std::uint64_t>());
  dims.y = static_cast<long long>(reader.take<std::uint64_t>());
  dims.z = static_cast<long long>(reader.take<std::uint64_t>());
  const auto samplesFollow = reader.take<std::uint8_t>();
  if (!reader.isGood() || samplesFollow > kWithSamples) {
    return nullptr;
  }

  auto empty = std::make_unique<ZrDataAccess>(dims, KtVec3l(), nullptr, type, nDataVar,
                                              KtAllocator(KtAllocator::kWrapping));
  if (samplesFollow == kWithoutSamples) {
    return empty;
  }
  const unsigned long long count = empty->size();
  if (count == 0 || count > reader.remaining()) {
    return nullptr;
  }
  auto filled =
      std::make_unique<ZrDataAccess>(dims, type, nDataVar, KtAllocator(KtAllocator::kOwning));
  if (!filled->hasData()) {
    return nullptr;
  }
  reader.takeSamples(filled->dataPtr(0), count);
  return filled;
}

}  // namespace

ZrMsg::ZrMsg() = default;

ZrMsg::ZrMsg(std::vector<unsigned char> bytes) : bytes_(std::move(bytes)) {}

ZrMsg& ZrMsg::operator<<(int value) {
  if (good_) {
    Writer writer(bytes_);
    writer.put(kInt);
    writer.put(static_cast<std::uint32_t>(value));
  }
  return *this;
}

ZrMsg& ZrMsg::operator<<(const ZrDataAccess* container) {
  if (!good_) {
    return *this;
  }
  Writer writer(bytes_);
  if (container == nullptr) {
    writer.put(kNull);
    return *this;
  }
  writer.put(kContainer);
  writer.put(static_cast<std::uint32_t>(container->primType().code()));
  writer.put(static_cast<std::uint32_t>(container->nDataVar()));
  writer.put(static_cast<std::uint64_t>(container->dims().x));
  writer.put(static_cast<std::uint64_t>(container->dims().y));
  writer.put(static_cast<std::uint64_t>(container->dims().z));
  writer.put(container->hasData() ? kWithSamples : kWithoutSamples);
  writer.putSamples(*container);
  return *this;
}

ZrMsg& ZrMsg::operator>>(int& value) {
  Reader reader(bytes_, position_);
  const bool isInt = good_ && reader.take<std::uint8_t>() == kInt;
  value = isInt ? static_cast<int>(reader.take<std::uint32_t>()) : 0;
  good_ = isInt && reader.isGood();
  position_ = reader.position();
  return *this;
}

ZrMsg& ZrMsg::operator>>(ZrDataAccess*& container) {
  container = nullptr;
  if (!good_) {
    return *this;
  }
  Reader reader(bytes_, position_);
  const auto kind = reader.take<std::uint8_t>();
  if (kind == kContainer) {
    container = takeContainer(reader).release();
  }
  good_ = container != nullptr || kind == kNull;
  position_ = reader.position();
  return *this;
}
