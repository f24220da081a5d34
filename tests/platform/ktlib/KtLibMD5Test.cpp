// SPDX-License-Identifier: BSD-3-Clause
#include "support/RowName.h"

#include <ktlib/KtLibMD5.h>

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace {
KtLib::MD5 digestOf(KtLib::MD5Coder& coder) {
  KtLib::MD5 digest;
  coder.crcMD5Final();
  coder.crcMD5Query(digest);
  return digest;
}

KtLib::MD5 digestOf(const std::string& message) {
  KtLib::MD5Coder coder;
  coder.crcMD5Update(message.data(), message.size());
  return digestOf(coder);
}
}  // namespace

// RFC 1321, A.5 Test suite.
struct Rfc1321 {
  const char* name;
  const char* message;
  const char* digest;
};
class MD5OfRfc1321 : public testing::TestWithParam<Rfc1321> {};

TEST_P(MD5OfRfc1321, IsTheDigestOfTheStandard) {
  EXPECT_EQ(digestOf(GetParam().message).hex(), GetParam().digest);
}
INSTANTIATE_TEST_SUITE_P(
    TestSuite, MD5OfRfc1321,
    testing::Values(Rfc1321{"Empty", "", "d41d8cd98f00b204e9800998ecf8427e"},
                    Rfc1321{"OneLetter", "a", "0cc175b9c0f1b6a831c399e269772661"},
                    Rfc1321{"ThreeLetters", "abc", "900150983cd24fb0d6963f7d28e17f72"},
                    Rfc1321{"Words", "message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
                    Rfc1321{"Alphabet", "abcdefghijklmnopqrstuvwxyz",
                            "c3fcd3d76192e4007dfb496cca67e13b"},
                    Rfc1321{"LettersAndDigits",
                            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
                            "d174ab98d277d9f5a5611c2c9f419d9f"},
                    Rfc1321{"EightyDigits",
                            "1234567890123456789012345678901234567890"
                            "1234567890123456789012345678901234567890",
                            "57edf4a22be3c955ac49da2e2107b67a"}),
    support::nameOf<Rfc1321>);

TEST(MD5, BeginsZero) {
  const KtLib::MD5 digest;

  EXPECT_TRUE(digest.isZero());
  EXPECT_EQ(digest.hex(), "00000000000000000000000000000000");
}

TEST(MD5, TakesSixteenBytes) {
  EXPECT_EQ(sizeof(KtLib::MD5), 16U);
}

TEST(MD5, IsNotZeroWithOneBit) {
  KtLib::MD5 first;
  KtLib::MD5 second;
  first.words[0] = 1;
  second.words[1] = 1;

  EXPECT_FALSE(first.isZero());
  EXPECT_FALSE(second.isZero());
}

TEST(MD5, ComparesBothWords) {
  KtLib::MD5 digest;
  KtLib::MD5 other;
  EXPECT_TRUE(digest == other);

  other.words[1] = 1;
  EXPECT_TRUE(digest != other);
  EXPECT_FALSE(digest == other);

  digest.words[0] = 1;
  digest.words[1] = 1;
  EXPECT_TRUE(digest != other);
}

TEST(MD5, WritesTheLeastSignificantByteFirst) {
  KtLib::MD5 digest;
  digest.words[0] = 0x0807060504030201;
  digest.words[1] = 0xFFEEDDCCBBAA0F09;

  EXPECT_EQ(digest.hex(), "0102030405060708090faabbccddeeff");
}

TEST(MD5, KnowsTheDigestOfNoBytes) {
  EXPECT_EQ(KtLib::MD5::hashOfEmptyMessage().hex(), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(KtLib::MD5::hashOfEmptyMessage(), digestOf(""));
}

TEST(MD5Coder, TakesAMessageInPieces) {
  KtLib::MD5Coder coder;

  coder.crcMD5Init();
  coder.crcMD5Update("message", 7);
  coder.crcMD5Update("", 0);
  coder.crcMD5Update(" digest", 7);

  EXPECT_EQ(digestOf(coder).hex(), "f96b697d7cb7938d525a2f31aaf161d0");
}

TEST(MD5Coder, TakesNothingFromANullPointer) {
  KtLib::MD5Coder coder;

  coder.crcMD5Update(nullptr, 0);

  EXPECT_EQ(digestOf(coder), KtLib::MD5::hashOfEmptyMessage());
}

TEST(MD5Coder, TakesANumberAsFourBytes) {
  KtLib::MD5Coder coder;

  coder.crcMD5Update(0x64636261);

  EXPECT_EQ(digestOf(coder), digestOf("abcd"));
}

TEST(MD5Coder, TakesANegativeNumber) {
  KtLib::MD5Coder coder;

  coder.crcMD5Update(-2);

  EXPECT_EQ(digestOf(coder), digestOf("\xFE\xFF\xFF\xFF"));
}

TEST(MD5Coder, TakesADigestAsItsSixteenBytes) {
  KtLib::MD5Coder coder;
  constexpr std::array<unsigned char, 16> kEmptyDigest = {0xD4, 0x1D, 0x8C, 0xD9, 0x8F, 0x00,
                                                          0xB2, 0x04, 0xE9, 0x80, 0x09, 0x98,
                                                          0xEC, 0xF8, 0x42, 0x7E};

  coder.crcMD5Update(KtLib::MD5::hashOfEmptyMessage());

  EXPECT_EQ(digestOf(coder), digestOf(std::string(kEmptyDigest.begin(), kEmptyDigest.end())));
}

TEST(MD5Coder, HasNoDigestBeforeTheEnd) {
  KtLib::MD5Coder coder;
  KtLib::MD5 digest = KtLib::MD5::hashOfEmptyMessage();
  coder.crcMD5Update("a", 1);

  coder.crcMD5Query(digest);

  EXPECT_TRUE(digest.isZero());
}

TEST(MD5Coder, KeepsItsDigestAfterTheEnd) {
  KtLib::MD5Coder coder;
  coder.crcMD5Update("a", 1);
  const KtLib::MD5 digest = digestOf(coder);

  coder.crcMD5Update("b", 1);
  coder.crcMD5Update(7);

  EXPECT_EQ(digestOf(coder), digest);
}

TEST(MD5Coder, BeginsAgain) {
  KtLib::MD5Coder coder;
  coder.crcMD5Update("a", 1);
  (void)digestOf(coder);

  coder.crcMD5Init();
  coder.crcMD5Update("abc", 3);

  EXPECT_EQ(digestOf(coder).hex(), "900150983cd24fb0d6963f7d28e17f72");
}

TEST(MD5Coder, ForgetsAnUnfinishedMessage) {
  KtLib::MD5Coder coder;
  coder.crcMD5Update("xyz", 3);

  coder.crcMD5Init();

  EXPECT_EQ(digestOf(coder), KtLib::MD5::hashOfEmptyMessage());
}
