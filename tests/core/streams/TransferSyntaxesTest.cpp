// SPDX-License-Identifier: BSD-3-Clause
// The table of transfer syntaxes, against what DCMTK says of those that it knows.
#include "streams/Inspector.h"
#include "streams/Jpeg.h"
#include "streams/JpegLs.h"
#include "streams/Rle.h"
#include "streams/TransferSyntaxes.h"
#include "support/RowName.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcuid.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

constexpr int kLastInDcmtk = EXS_PrivateGE_LEI_WithBigEndianPixelData;

/// Lossless by their processes (ITU-T T.81 tables J.1, K.1), which DCMTK calls lossy.
const std::set<E_TransferSyntax> kLosslessAfterAll = {EXS_JPEGProcess15, EXS_JPEGProcess28,
                                                      EXS_JPEGProcess29};

TEST(TransferSyntaxes, AreThoseOfDcmtk) {
  for (int number = 0; number <= kLastInDcmtk; ++number) {
    const auto syntax = static_cast<E_TransferSyntax>(number);
    const DcmXfer known(syntax);
    const Zrg::SyntaxRow* const row = Zrg::findSyntaxRow(syntax);

    ASSERT_NE(row, nullptr) << number;
    EXPECT_STREQ(row->syntax.uid, known.getXferID());
    EXPECT_STREQ(row->syntax.name, known.getXferName());
    EXPECT_EQ(row->syntax.encapsulated, known.isEncapsulated()) << row->syntax.name;
    EXPECT_EQ(row->syntax.lossless, !known.isLossy() || kLosslessAfterAll.count(syntax) > 0)
        << row->syntax.name;
  }
}

TEST(TransferSyntaxes, AreFoundByUidUnlessDcmtkKeepsThemToItself) {
  for (int number = 0; number <= kLastInDcmtk; ++number) {
    const auto syntax = static_cast<E_TransferSyntax>(number);
    const auto* const expected =
        syntax == EXS_BigEndianImplicit ? nullptr : Zrg::findSyntaxRow(syntax);

    EXPECT_EQ(Zrg::findSyntaxRow(DcmXfer(syntax).getXferID()), expected) << number;
  }
}

TEST(TransferSyntaxes, DoNotIncludeOnesThatNobodyKnows) {
  EXPECT_EQ(Zrg::findSyntaxRow(EXS_Unknown), nullptr);
  EXPECT_EQ(Zrg::findSyntaxRow(static_cast<E_TransferSyntax>(kLastInDcmtk + 1)), nullptr);
  EXPECT_EQ(Zrg::findSyntaxRow(""), nullptr);
  EXPECT_EQ(Zrg::findSyntaxRow("1.2.840.10008.1.2.4"), nullptr);
  EXPECT_EQ(Zrg::findSyntaxRow("1.2.840.10008.1.2.5 "), nullptr);
}

// --- Those that came after DCMTK 3.6.7

struct Later {
  const char* name;
  const char* uid;
  const char* text;
  bool encapsulated;
  bool lossless;
};

class LaterTransferSyntax : public testing::TestWithParam<Later> {};

TEST_P(LaterTransferSyntax, HasItsNameAndNoDecoder) {
  const Zrg::TransferSyntax* const syntax = Zrg::findTransferSyntax(GetParam().uid);

  ASSERT_NE(syntax, nullptr);
  EXPECT_STREQ(syntax->name, GetParam().text);
  EXPECT_EQ(syntax->encapsulated, GetParam().encapsulated);
  EXPECT_EQ(syntax->lossless, GetParam().lossless);
  EXPECT_FALSE(Zrg::isDecodable(GetParam().uid));
  EXPECT_EQ(DcmXfer(GetParam().uid).getXfer(), EXS_Unknown);
}

INSTANTIATE_TEST_SUITE_P(
    Syntaxes, LaterTransferSyntax,
    testing::Values(
        Later{"Htj2kLossless", "1.2.840.10008.1.2.4.201",
              "High-Throughput JPEG 2000 (Lossless Only)", true, true},
        Later{"Htj2kRpcl", "1.2.840.10008.1.2.4.202",
              "High-Throughput JPEG 2000 with RPCL Options (Lossless Only)", true, true},
        Later{"Htj2k", "1.2.840.10008.1.2.4.203", "High-Throughput JPEG 2000", true, false},
        Later{"JpipHtj2k", "1.2.840.10008.1.2.4.204", "JPIP HTJ2K Referenced", false, false},
        Later{"JpegXlLossless", "1.2.840.10008.1.2.4.110", "JPEG XL Lossless", true, true},
        Later{"JpegXlOfJpeg", "1.2.840.10008.1.2.4.111", "JPEG XL JPEG Recompression", true, false},
        Later{"JpegXl", "1.2.840.10008.1.2.4.112", "JPEG XL", true, false},
        Later{"DeflatedFrames", "1.2.840.10008.1.2.8.1", "Deflated Image Frame Compression", true,
              true},
        Later{"FragmentableVideo", "1.2.840.10008.1.2.4.100.1",
              "Fragmentable MPEG2 Main Profile / Main Level", true, false},
        Later{"VideoOverANetwork", "1.2.840.10008.1.2.7.1",
              "SMPTE ST 2110-20 Uncompressed Progressive Active Video", false, true}),
    support::nameOf<Later>);

// --- Who decodes, and who looks before

TEST(TransferSyntaxes, AreDecodableWithoutACodecOfTheApplication) {
  for (const char* const uid :
       {UID_LittleEndianImplicitTransferSyntax, UID_LittleEndianExplicitTransferSyntax,
        UID_BigEndianExplicitTransferSyntax, UID_DeflatedExplicitVRLittleEndianTransferSyntax,
        UID_JPEGProcess1TransferSyntax, UID_JPEGProcess2_4TransferSyntax,
        UID_JPEGProcess14TransferSyntax, UID_JPEGProcess14SV1TransferSyntax,
        UID_JPEGLSLosslessTransferSyntax, UID_JPEGLSLossyTransferSyntax,
        UID_RLELosslessTransferSyntax}) {
    EXPECT_TRUE(Zrg::isDecodable(uid)) << uid;
  }
}

TEST(TransferSyntaxes, AreNotDecodableWithoutADecoder) {
  for (const char* const uid :
       {UID_JPEG2000TransferSyntax, UID_JPEG2000LosslessOnlyTransferSyntax,
        UID_MPEG2MainProfileAtMainLevelTransferSyntax, "1.2.840.10008.1.2.4.52", "1.2.3", ""}) {
    EXPECT_FALSE(Zrg::isDecodable(uid)) << uid;
  }
}

TEST(TransferSyntaxes, OfJpegAreAllInspected) {
  EXPECT_EQ(Zrg::inspectorOf(EXS_JPEGProcess1), &Zrg::baselineJpegInspector());
  for (int number = EXS_JPEGProcess2_4; number <= EXS_JPEGProcess14SV1; ++number) {
    EXPECT_EQ(Zrg::inspectorOf(static_cast<E_TransferSyntax>(number)), &Zrg::jpegInspector());
  }
}

TEST(TransferSyntaxes, OfOtherCodingsHaveInspectorsOfTheirOwn) {
  EXPECT_EQ(Zrg::inspectorOf(EXS_RLELossless), &Zrg::rleInspector());
  EXPECT_EQ(Zrg::inspectorOf(EXS_JPEGLSLossless), &Zrg::jpegLsInspector());
  EXPECT_EQ(Zrg::inspectorOf(EXS_JPEGLSLossy), &Zrg::jpegLsInspector());
}

TEST(TransferSyntaxes, ThatNobodyDecodesAreNotInspected) {
  EXPECT_EQ(Zrg::inspectorOf(EXS_JPEG2000), nullptr);
  EXPECT_EQ(Zrg::inspectorOf(EXS_MPEG2MainProfileAtMainLevel), nullptr);
  EXPECT_EQ(Zrg::inspectorOf(EXS_LittleEndianExplicit), nullptr);
  EXPECT_EQ(Zrg::inspectorOf(EXS_Unknown), nullptr);
}

}  // namespace
