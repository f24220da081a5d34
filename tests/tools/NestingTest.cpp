// SPDX-License-Identifier: BSD-3-Clause
// Files whose sequences nest some ten thousand deep cost 180 KB and, read by recursion, the
// process. Each row hides them in another way from whoever reads headers with less care than DCMTK
// does.
#include "support/HeaderWriter.h"
#include "support/RowName.h"
#include "support/TempDir.h"
#include "tools/ZrdcmRunner.h"
#include "zrimaging/files/NestingGuard.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcostrmb.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <span>
#include <string>
#include <vector>

namespace {

using support::characterSet;
using support::HeaderWriter;
using support::kBig;
using support::kExplicit;
using support::kImplicit;
using support::kUndefined;
using support::metaInformation;
using tools::Outcome;
using tools::runZrdcm;

std::string undefined(std::size_t depth) {
  return metaInformation(UID_LittleEndianExplicitTransferSyntax) + characterSet(kExplicit) +
         kExplicit.nested(depth);
}

std::string implicitUndefined(std::size_t depth) {
  return metaInformation(UID_LittleEndianImplicitTransferSyntax) + characterSet(kImplicit) +
         kImplicit.nested(depth);
}

/// A length that is used up by the header of the item, which goes on all the same.
std::string definedRoundUndefined(const HeaderWriter& writer, std::size_t depth) {
  return characterSet(writer) + HeaderWriter::times(writer.sequence(8) + writer.item(), depth) +
         HeaderWriter::times(writer.itemEnd(), depth);
}

std::string shortSequences(std::size_t depth) {
  return metaInformation(UID_LittleEndianExplicitTransferSyntax) +
         definedRoundUndefined(kExplicit, depth);
}

std::string shortImplicitSequences(std::size_t depth) {
  return metaInformation(UID_LittleEndianImplicitTransferSyntax) +
         definedRoundUndefined(kImplicit, depth);
}

std::string shortBigEndianSequences(std::size_t depth) {
  return metaInformation(UID_BigEndianExplicitTransferSyntax) + definedRoundUndefined(kBig, depth);
}

/// An element whose length is four bytes long, and which is skipped with the openings behind it by
/// a reader that takes two of them for the length.
std::string behind(const std::string& tag, const std::string& vr, std::size_t depth) {
  constexpr std::size_t kMostOpenings = 3200;
  const std::string opening = kExplicit.sequence() + kExplicit.item();
  std::string bytes =
      metaInformation(UID_LittleEndianExplicitTransferSyntax) + characterSet(kExplicit);
  for (std::size_t left = depth; left > 0;) {
    const std::size_t count = std::min(left, kMostOpenings);
    const std::size_t taken = 4 + opening.size() * count;
    bytes += tag + vr + kExplicit.number(taken, 2) + kExplicit.number(0, 4);
    bytes += HeaderWriter::times(opening, count);
    left -= count;
  }
  return bytes + tag + vr + kExplicit.number(4, 2) + kExplicit.number(0, 4) +
         HeaderWriter::times(kExplicit.itemEnd() + kExplicit.sequenceEnd(), depth);
}

std::string unknownVR(std::size_t depth) {
  return behind(kExplicit.tag(0x0009, 0x1001), "ZZ", depth);
}

/// Items and delimiters have a length behind the tag; what else there is in their group has a VR.
std::string elementOfTheGroupOfItems(std::size_t depth) {
  return metaInformation(UID_LittleEndianExplicitTransferSyntax) + characterSet(kExplicit) +
         kExplicit.nested(kExplicit.longHeader(kExplicit.tag(0xFFFE, 0x1234), "OB", 0) +
                              kExplicit.sequence() + kExplicit.item(),
                          depth);
}

/// The first element of an implicit dataset whose length looks like the VR AA.
std::string implicitThatLooksExplicit(std::size_t depth) {
  constexpr std::size_t kLength = 0x4141;
  return metaInformation(UID_LittleEndianImplicitTransferSyntax) +
         kImplicit.text(kImplicit.tag(0x0008, 0x0005), "", std::string(kLength, ' ')) +
         kImplicit.nested(depth);
}

/// The first element of an explicit dataset whose VR is none.
std::string explicitThatLooksImplicit(std::size_t depth) {
  return metaInformation(UID_LittleEndianExplicitTransferSyntax) +
         kExplicit.text(kExplicit.tag(0x0008, 0x0005), std::string(2, '\1'), "") +
         kExplicit.nested(depth);
}

std::string bigEndianUndefined(std::size_t depth) {
  return metaInformation(UID_BigEndianExplicitTransferSyntax) + characterSet(kBig) +
         kBig.nested(depth);
}

std::string deflate(const std::string& bytes) {
  std::vector<unsigned char> buffer(bytes.size() + 4096);
  DcmOutputBufferStream stream(buffer.data(), static_cast<offile_off_t>(buffer.size()));
  EXPECT_TRUE(stream.installCompressionFilter(ESC_zlib).good());
  EXPECT_EQ(stream.write(bytes.data(), static_cast<offile_off_t>(bytes.size())),
            static_cast<offile_off_t>(bytes.size()));
  stream.flush();
  void* written = nullptr;
  offile_off_t size = 0;
  stream.flushBuffer(written, size);
  return {static_cast<const char*>(written), static_cast<std::size_t>(size)};
}

std::string deflatedUndefined(std::size_t depth) {
  return metaInformation(UID_DeflatedExplicitVRLittleEndianTransferSyntax) +
         deflate(characterSet(kExplicit) + kExplicit.nested(depth));
}

std::string deflatedShort(std::size_t depth) {
  return metaInformation(UID_DeflatedExplicitVRLittleEndianTransferSyntax) +
         deflate(definedRoundUndefined(kExplicit, depth));
}

std::string explicitWithoutMeta(std::size_t depth) {
  return definedRoundUndefined(kExplicit, depth);
}

std::string implicitWithoutMeta(std::size_t depth) {
  return characterSet(kImplicit) + kImplicit.nested(depth);
}

std::string bigEndianWithoutMeta(std::size_t depth) {
  return characterSet(kBig) + kBig.nested(depth);
}

std::string metaWithoutPreamble(std::size_t depth) {
  return implicitUndefined(depth).substr(132);
}

std::string syntaxThatNobodyKnows(std::size_t depth) {
  return metaInformation("1.2.3") + characterSet(kImplicit) + kImplicit.nested(depth);
}

std::string noSyntax(std::size_t depth) {
  return std::string(128, '\0') + "DICM" + kExplicit.text(kExplicit.tag(2, 2), "UI", "1.2 ") +
         characterSet(kExplicit) + kExplicit.nested(depth);
}

/// Content of an element of the VR UN is in implicit VR little endian, whatever the file is in.
std::string inUnknown(const HeaderWriter& writer, const std::string& vr, std::size_t depth) {
  return characterSet(writer) + writer.longHeader(writer.tag(0x0009, 0x1001), vr, kUndefined) +
         kImplicit.item() + kImplicit.nested(depth - 1) + kImplicit.itemEnd() +
         kImplicit.sequenceEnd();
}

std::string inUN(std::size_t depth) {
  return metaInformation(UID_LittleEndianExplicitTransferSyntax) +
         inUnknown(kExplicit, "UN", depth);
}

std::string inUnknownOfCapitals(std::size_t depth) {
  return metaInformation(UID_LittleEndianExplicitTransferSyntax) +
         inUnknown(kExplicit, "ZZ", depth);
}

std::string inUNOfBigEndian(std::size_t depth) {
  return metaInformation(UID_BigEndianExplicitTransferSyntax) + inUnknown(kBig, "UN", depth);
}

std::string pixelData() {
  return kExplicit.longHeader(kExplicit.tag(0x7FE0, 0x0010), "OB", kUndefined) + kExplicit.item(0) +
         kExplicit.item(4) + "abcd" + kExplicit.sequenceEnd();
}

std::string behindPixelData(std::size_t depth) {
  const std::string opening =
      kExplicit.longHeader(kExplicit.tag(0xFFFA, 0xFFFA), "SQ", kUndefined) + kExplicit.item();
  return metaInformation(UID_JPEGProcess14SV1TransferSyntax) + characterSet(kExplicit) +
         pixelData() + kExplicit.nested(opening, depth);
}

std::string iconInIcon(std::size_t depth) {
  const std::string opening =
      kExplicit.longHeader(kExplicit.tag(0x0088, 0x0200), "SQ", kUndefined) + kExplicit.item() +
      pixelData();
  return metaInformation(UID_JPEGProcess14SV1TransferSyntax) + characterSet(kExplicit) +
         kExplicit.nested(opening, depth);
}

/// Only its creator makes the element a sequence, and it stands in every item anew.
std::string privateSequences(std::size_t depth) {
  const std::string opening =
      kImplicit.text(kImplicit.tag(0x0009, 0x0010), "", "CARDIO-D.R. 1.0 ") +
      kImplicit.longHeader(kImplicit.tag(0x0009, 0x1040), "", 8) + kImplicit.item();
  return metaInformation(UID_LittleEndianImplicitTransferSyntax) + characterSet(kImplicit) +
         HeaderWriter::times(opening, depth) + HeaderWriter::times(kImplicit.itemEnd(), depth);
}

/// Directory records may hold more than they claim, other items may not.
std::string directoryRecords(std::size_t depth) {
  constexpr std::size_t kMany = 0x00FFFFFF;
  const std::string opening =
      kExplicit.longHeader(kExplicit.tag(0x0004, 0x1220), "SQ", kMany) + kExplicit.item(20);
  return metaInformation(UID_LittleEndianExplicitTransferSyntax) + characterSet(kExplicit) +
         HeaderWriter::times(opening, depth);
}

std::string inMetaInformation(std::size_t depth) {
  const std::string opening =
      kExplicit.longHeader(kExplicit.tag(0x0002, 0x0001), "SQ", kUndefined) + kExplicit.item();
  return metaInformation(UID_LittleEndianExplicitTransferSyntax, kExplicit.nested(opening, depth)) +
         characterSet(kExplicit);
}

/// Without a group length DCMTK looks at the bytes of the group, in either byte order.
std::string inMetaInformationOfGroup0200(std::size_t depth) {
  const std::string opening =
      kExplicit.longHeader(kExplicit.tag(0x0200, 0x1000), "SQ", kUndefined) + kExplicit.item();
  return std::string(128, '\0') + "DICM" + kExplicit.text(kExplicit.tag(2, 0x10), "UI", "1.2 ") +
         kExplicit.nested(opening, depth);
}

std::string inGroupLength(std::size_t depth) {
  const std::string opening =
      kExplicit.longHeader(kExplicit.tag(0x0002, 0x0000), "SQ", kUndefined) + kExplicit.item();
  return std::string(128, '\0') + "DICM" + kExplicit.nested(opening, depth);
}

struct Nesting {
  const char* name;
  std::string (*write)(std::size_t depth);
};

void PrintTo(const Nesting& nesting, std::ostream* stream) {
  *stream << nesting.name;
}

class NestedSequences : public testing::TestWithParam<Nesting> {
protected:
  static zr::HeaderScan scan(std::size_t depth) {
    const std::string bytes = GetParam().write(depth);
    return zr::scanHeaders(
        std::span(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()));
  }
};

TEST_P(NestedSequences, AreRefusedInOneLineByEveryVerb) {
  constexpr std::size_t kDeep = 20000;
  const support::TempDir folder;
  const std::string file = folder.file("deep.dcm").string();
  const std::string raw = folder.file("samples.raw").string();
  const std::string out = folder.file("out").string();
  tools::writeFile(file, GetParam().write(kDeep));
  tools::writeFile(raw, "ab");
  const std::vector<std::vector<std::string>> commands = {
      {"info", "--json", file},
      {"decode", file, "-o", out + ".npy"},
      {"split", file, "-o", out},
      {"sheet", file, "-o", out + ".png"},
      {"overlays", file, "-o", out},
      {"lut", file},
      {"sort", file},
      {"text", file, "0010,0010"},
      {"export", "--from", file, "--pixels", raw, "--columns", "1", "--rows", "1", "-o",
       out + ".dcm"}};

  for (const std::vector<std::string>& command : commands) {
    const Outcome outcome = runZrdcm(command);

    EXPECT_EQ(outcome.status, 1) << command.front();
    EXPECT_EQ(outcome.errors, "zrdcm: " + file + ": nests sequences too deeply to be read safely\n")
        << command.front();
  }
  EXPECT_THAT(tools::namesIn(folder.path()), testing::ElementsAre("deep.dcm", "samples.raw"));
}

TEST_P(NestedSequences, OfSixtyFourLevelsAreTaken) {
  const zr::HeaderScan taken = scan(64);

  EXPECT_FALSE(taken.tooDeep);
  EXPECT_FALSE(taken.isDamagedMeta);
  EXPECT_EQ(taken.deepest, 64U);
}

TEST_P(NestedSequences, OfOneMoreAreNot) {
  const zr::HeaderScan refused = scan(65);

  ASSERT_TRUE(refused.tooDeep);
  EXPECT_EQ(refused.tooDeep->level, 65U);
  EXPECT_NE(refused.tooDeep->tag, DcmTagKey(0xFFFF, 0xFFFF));
}

TEST_P(NestedSequences, AreFoundInAFileAsInMemory) {
  const support::TempDir folder;
  for (const std::size_t depth : {3U, 64U, 65U, 2000U}) {
    tools::writeFile(folder.file("file"), GetParam().write(depth));

    const zr::HeaderScan ofFile = zr::scanHeaders(folder.file("file"));

    EXPECT_EQ(ofFile.deepest, scan(depth).deepest);
    EXPECT_EQ(ofFile.headers, scan(depth).headers);
    EXPECT_EQ(ofFile.tooDeep.has_value(), depth > 64);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Ways, NestedSequences,
    testing::Values(Nesting{"OfUndefinedLength", undefined},
                    Nesting{"OfUndefinedLengthInImplicitVR", implicitUndefined},
                    Nesting{"OfUndefinedLengthInBigEndian", bigEndianUndefined},
                    Nesting{"OfUndefinedLengthDeflated", deflatedUndefined},
                    Nesting{"OfDefinedLengthRoundOpenItems", shortSequences},
                    Nesting{"OfDefinedLengthRoundOpenItemsInImplicitVR", shortImplicitSequences},
                    Nesting{"OfDefinedLengthRoundOpenItemsInBigEndian", shortBigEndianSequences},
                    Nesting{"OfDefinedLengthRoundOpenItemsDeflated", deflatedShort},
                    Nesting{"BehindAnUnknownVR", unknownVR},
                    Nesting{"BehindAnElementOfTheGroupOfItems", elementOfTheGroupOfItems},
                    Nesting{"InImplicitVRThatLooksExplicit", implicitThatLooksExplicit},
                    Nesting{"InExplicitVRThatLooksImplicit", explicitThatLooksImplicit},
                    Nesting{"WithoutMetaInformation", explicitWithoutMeta},
                    Nesting{"WithoutMetaInformationInImplicitVR", implicitWithoutMeta},
                    Nesting{"WithoutMetaInformationInBigEndian", bigEndianWithoutMeta},
                    Nesting{"WithoutPreamble", metaWithoutPreamble},
                    Nesting{"InASyntaxThatNobodyKnows", syntaxThatNobodyKnows},
                    Nesting{"InNoNamedSyntax", noSyntax}, Nesting{"InUN", inUN},
                    Nesting{"InAnUnknownVR", inUnknownOfCapitals},
                    Nesting{"InUNOfABigEndianFile", inUNOfBigEndian},
                    Nesting{"BehindPixelData", behindPixelData},
                    Nesting{"OfIconsInIcons", iconInIcon},
                    Nesting{"OfAPrivateCreator", privateSequences},
                    Nesting{"OfDirectoryRecords", directoryRecords},
                    Nesting{"InTheMetaInformation", inMetaInformation},
                    Nesting{"InTheMetaInformationOfGroup0200", inMetaInformationOfGroup0200},
                    Nesting{"InTheGroupLength", inGroupLength}),
    support::nameOf<Nesting>);

}  // namespace
