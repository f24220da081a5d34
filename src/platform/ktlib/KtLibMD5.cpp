// SPDX-License-Identifier: BSD-3-Clause
// MD5 through libmd. Bytes and words are converted by shifts, so that digests are the same numbers
// on machines of either byte order.
#include <ktlib/KtLibMD5.h>

#include <md5.h>

#include <array>

namespace KtLib {
namespace {
using DigestBytes = std::array<std::uint8_t, MD5_DIGEST_LENGTH>;

DigestBytes digestBytes(const MD5& digest) {
  DigestBytes bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<std::uint8_t>(digest.words[i / 8] >> (i % 8 * 8) & 0xFFU);
  }
  return bytes;
}

MD5 digestOf(const DigestBytes& bytes) {
  MD5 digest;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    digest.words[i / 8] |= std::uint64_t{bytes[i]} << (i % 8 * 8);
  }
  return digest;
}
}  // namespace

std::string MD5::hex() const {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(MD5_DIGEST_STRING_LENGTH);
  for (const std::uint8_t byte : digestBytes(*this)) {
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 0xFU];
  }
  return text;
}

MD5 MD5::hashOfEmptyMessage() noexcept {
  MD5 digest;
  digest.words[0] = 0x04B2008FD98C1DD4;
  digest.words[1] = 0x7E42F8EC980980E9;
  return digest;
}

class MD5Coder::State {
public:
  MD5_CTX context{};
  MD5 digest;
  bool isFinal = false;
};

MD5Coder::MD5Coder() : state_(std::make_unique<State>()) {
  crcMD5Init();
}

MD5Coder::~MD5Coder() = default;

void MD5Coder::crcMD5Init() {
  *state_ = State();
  MD5Init(&state_->context);
}

void MD5Coder::crcMD5Update(const void* data, std::size_t bytes) {
  // After the end this reaches only the spent context: the digest is safe until crcMD5Init.
  if (bytes != 0) {
    MD5Update(&state_->context, static_cast<const std::uint8_t*>(data), bytes);
  }
}

void MD5Coder::crcMD5Update(int number) {
  const auto bits = static_cast<std::uint32_t>(number);
  std::array<std::uint8_t, 4> bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<std::uint8_t>(bits >> (8 * i) & 0xFFU);
  }
  crcMD5Update(bytes.data(), bytes.size());
}

void MD5Coder::crcMD5Update(const MD5& digest) {
  const DigestBytes bytes = digestBytes(digest);
  crcMD5Update(bytes.data(), bytes.size());
}

void MD5Coder::crcMD5Final() {
  if (!state_->isFinal) {
    DigestBytes bytes{};
    MD5Final(bytes.data(), &state_->context);
    state_->digest = digestOf(bytes);
    state_->isFinal = true;
  }
}

void MD5Coder::crcMD5Query(MD5& digest) const {
  digest = state_->digest;
}

}  // namespace KtLib
