// SPDX-License-Identifier: BSD-3-Clause
// Texts of files as UTF-8, set by set. The bytes are the examples of PS3.5 annexes H to K and bytes
// looked up in the code tables of the sets; the letters expected were written down by hand.
#include "support/DatasetBuilder.h"
#include "support/RowName.h"
#include "zrimaging/texts/CharacterSet.h"
#include "zrimaging/texts/Utf8.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dctk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>
#include <random>
#include <string>
#include <zrimaging/File.h>

namespace {

using support::DatasetBuilder;
using support::nameOf;
using testing::ElementsAre;
using zr::CharacterSet;
using zr::Utf8Text;

struct Text {
  const char* name;
  std::string terms;
  std::string bytes;
  std::string utf8;
  bool escaped = false;
  DcmEVR vr = EVR_PN;
};

class Texts : public testing::TestWithParam<Text> {};

TEST_P(Texts, BecomeUtf8) {
  const Utf8Text text = CharacterSet(GetParam().terms).decode(GetParam().bytes, GetParam().vr);

  EXPECT_EQ(text.joined(), GetParam().utf8);
  EXPECT_EQ(text.escaped, GetParam().escaped);
}

INSTANTIATE_TEST_SUITE_P(
    OneByteALetter, Texts,
    testing::Values(
        Text{"Ascii", "", "Doe^Jane ~", "Doe^Jane ~"},
        Text{"Latin1", "ISO_IR 100", "Buc^J\xe9r\xf4me", "Buc^Jérôme"},
        Text{"Latin1FirstAndLast", "ISO_IR 100", "\xa0\xff", "\u00a0ÿ"},
        Text{"Latin2", "ISO_IR 101", "Wa\xb3\xeasa", "Wałęsa"},
        Text{"Latin3", "ISO_IR 109", "\xe6", "ĉ"}, Text{"Latin4", "ISO_IR 110", "\xe0", "ā"},
        Text{"Latin5", "ISO_IR 148", "\xde", "Ş"}, Text{"Latin9", "ISO_IR 203", "\xa4", "€"},
        Text{"Cyrillic", "ISO_IR 144", "\xbb\xee\xda\x63\xd5\xdc\xd1\xe3\xe0\xd3", "Люкcембург"},
        Text{"Arabic", "ISO_IR 127", "\xe2\xc8\xc7\xe6\xea^\xe4\xe6\xd2\xc7\xd1", "قباني^لنزار"},
        Text{"Greek", "ISO_IR 126", "\xc4\xe9\xef\xed\xf5\xf3\xe9\xef\xf2", "Διονυσιος"},
        Text{"Hebrew", "ISO_IR 138", "\xf9\xf8\xe5\xef^\xe3\xe1\xe5\xf8\xe4", "שרון^דבורה"},
        Text{"Thai", "ISO_IR 166", "\xca\xc1\xaa\xd2\xc2", "สมชาย"},
        Text{"Katakana", "ISO_IR 13", "\xd4\xcf\xc0\xde^\xc0\xdb\xb3", "ﾔﾏﾀﾞ^ﾀﾛｳ"},
        Text{"JapaneseLettersDifferInTwoSigns", "ISO_IR 13", "\\~", "¥‾", false, EVR_LT},
        Text{"ABackslashBetweenValuesStays", "ISO_IR 13", "\xd4\\~", "ﾔ\\‾", false, EVR_LO},
        Text{"PaddingOfTheTerm", " ISO_IR 100 ", "\xe9", "é"}),
    nameOf<Text>);

INSTANTIATE_TEST_SUITE_P(
    SeveralBytesACharacter, Texts,
    testing::Values(
        Text{"Utf8", "ISO_IR 192", "Wang^XiaoDong=\xe7\x8e\x8b^\xe5\xb0\x8f\xe6\x9d\xb1",
             "Wang^XiaoDong=王^小東"},
        Text{"Gb18030", "GB18030", "Wang^XiaoDong=\xcd\xf5^\xd0\xa1\xb6\xab",
             "Wang^XiaoDong=王^小东"},
        Text{"Gb18030OfFourBytes", "GB18030", "\x81\x30\x89\x38\x90\x30\x81\x30", "ß\U00010000"},
        Text{"Gb18030WithTheByteOfABackslash", "GB18030", "\x8f\x5c\x5c\x8f", "廫\\\\x8F", true},
        Text{"Gbk", "GBK", "Wang^XiaoDong=\xcd\xf5^\xd0\xa1\xb6\xab", "Wang^XiaoDong=王^小东"},
        Text{"GbkHasNoFourBytes", "GBK", "\x81\x30\x89\x38", "\\x810\\x898", true}),
    nameOf<Text>);

INSTANTIATE_TEST_SUITE_P(
    EscapeSequences, Texts,
    testing::Values(
        Text{"Kanji", "\\ISO 2022 IR 87",
             "Yamada^Tarou=\x1b$B;3ED\x1b(B^\x1b$BB@O:\x1b(B=\x1b$B$d$^$@\x1b(B",
             "Yamada^Tarou=山田^太郎=やまだ"},
        Text{"KanjiBesideKatakana", "ISO 2022 IR 13\\ISO 2022 IR 87",
             "\xd4\xcf\xc0\xde=\x1b$B;3ED\x1b(J=~", "ﾔﾏﾀﾞ=山田=‾"},
        // 5C, 5E and 3D are halves of characters here, not what parts values and names.
        Text{"KanjiWithBytesOfDelimiters", "\\ISO 2022 IR 87", "\x1b$B\\^=\\\x1b(B^x", "權旬^x"},
        Text{"FullWidthBackslash", "\\ISO 2022 IR 87", "\x1b$B!@\x1b(B\\b", "＼\\b", false, EVR_LO},
        Text{"SupplementaryKanji", "\\ISO 2022 IR 159", "\x1b$(D\x30\x21\x1b(B", "丂"},
        Text{"Korean", "\\ISO 2022 IR 149",
             "Hong^Gildong=\x1b$)C\xfb\xf3^\x1b$)C\xd1\xce\xd4\xd7=\x1b$)C\xc8\xab^\x1b$)C\xb1\xe6"
             "\xb5\xbf",
             "Hong^Gildong=洪^吉洞=홍^길동"},
        Text{"KoreanFromTheBeginning", "ISO 2022 IR 149", "\xc8\xab", "홍"},
        Text{"Chinese", "\\ISO 2022 IR 58", "Wang=\x1b$)A\xcd\xf5^\x1b$)A\xd0\xa1\xb6\xab",
             "Wang=王^小东"},
        Text{"GreekWithinLatin", "ISO 2022 IR 100\\ISO 2022 IR 126",
             "\xe9 \x1b-F\xc4\xe9 \x1b-A\xe9", "é Δι é"},
        Text{"AreOverAtTheEndOfALine", "\\ISO 2022 IR 58", "\x1b$)A\xcd\xf5\r\n\xcd\xf5",
             "王\r\n\\xCD\\xF5", true, EVR_LT},
        Text{"AreOverAtTheEndOfAValue", "ISO 2022 IR 100\\ISO 2022 IR 126", "\x1b-F\xc4\\\xc4",
             "Δ\\Ä", false, EVR_LO},
        Text{"AreOverBetweenPartsOfANameAlone", "ISO 2022 IR 100\\ISO 2022 IR 126",
             "\x1b-F\xc4^\xc4", "Δ^Δ", false, EVR_LO},
        Text{"AreOverAtThePartsOfAName", "ISO 2022 IR 100\\ISO 2022 IR 126", "\x1b-F\xc4^\xc4=\xc4",
             "Δ^Ä=Ä"},
        Text{"OfASetThatIsNotDeclared", "ISO 2022 IR 100", "\x1b$B;3ED\x1b(B", "山田"}),
    nameOf<Text>);

INSTANTIATE_TEST_SUITE_P(
    BytesWithoutACharacter, Texts,
    testing::Values(
        Text{"BeyondAscii", "", "J\xe9r", "J\\xE9r", true},
        Text{"UnknownTerm", "ISO_IR 999", "J\xe9r", "J\\xE9r", true},
        Text{"TermOfEscapeSequencesAlone", "ISO_IR 149", "\xc8\xab", "\\xC8\\xAB", true},
        Text{"MisspeltTerm", "ISO-8859-1", "J\xe9r", "J\\xE9r", true},
        Text{"ControlOfTheSecondSet", "ISO_IR 100", "\x80\x92\x9f", "\\x80\\x92\\x9F", true},
        Text{"GapInTheTable", "ISO_IR 109", "\xe9\xa5\xe9", "é\\xA5é", true},
        Text{"BehindKatakana", "ISO_IR 13", "\xd4\xe0", "ﾔ\\xE0", true},
        Text{"EscapeWhereNothingSwitches", "ISO_IR 100", "\x1b$B;3", "\\x1B$B;3", true},
        Text{"EscapeInUtf8", "ISO_IR 192", "\x1b[31m", "\\x1B[31m", true},
        Text{"EscapeInGb18030", "GB18030", "\x1b[31m", "\\x1B[31m", true},
        Text{"UnknownEscapeSequence", "\\ISO 2022 IR 87", "\x1b$Z;3", "\\x1B$Z;3", true},
        Text{"EscapeAtTheEnd", "\\ISO 2022 IR 87", "a\x1b", "a\\x1B", true},
        Text{"CutEscapeSequence", "\\ISO 2022 IR 87", "a\x1b$", "a\\x1B$", true},
        Text{"HalfAKanji", "\\ISO 2022 IR 87", "\x1b$B;3E", "山\\x45", true},
        Text{"KanjiThatThereIsNot", "\\ISO 2022 IR 87", "\x1b$B;3\x7e\x7e;3\x1b(B",
             "山\\x7E\\x7E山", true},
        Text{"HalfAKoreanCharacter", "ISO 2022 IR 149", "\xc8\xab\xc8", "홍\\xC8", true},
        Text{"KoreanThatALetterCuts", "ISO 2022 IR 149", "\xc8z", "\\xC8z", true},
        Text{"DamagedUtf8", "ISO_IR 192", "\xe7\x8e^\xff", "\\xE7\\x8E^\\xFF", true},
        Text{"CutGb18030", "GB18030", "\xcd\xf5\xcd", "王\\xCD", true},
        Text{"BlankAtTheEndOfFourBytes", "GB18030", "\x81\x30\x81 ", "\\x810\\x81 ", true},
        Text{"NoLeadInGb18030", "GB18030", "\x80\xff", "\\x80\\xFF", true},
        Text{"Code", "ISO_IR 100", "\xe9", "\\xE9", true, EVR_CS},
        Text{"Number", "ISO_IR 192", "\xe7\x8e\x8b", "\\xE7\\x8E\\x8B", true, EVR_DS}),
    nameOf<Text>);

TEST(CharacterSet, ConvertsLongTextsInOneGo) {
  std::string bytes;
  std::string letters;
  for (int i = 0; i < 100000; ++i) {
    bytes += i == 50000 ? "\xa5" : "\xe9";
    letters += i == 50000 ? "\\xA5" : "é";
  }

  EXPECT_EQ(CharacterSet("ISO_IR 109").decode(bytes, EVR_UT).joined(), letters);
}

TEST(CharacterSet, PartsValuesAtBackslashesOfItsOwn) {
  for (const char* const terms : {"", "ISO_IR 192", "GB18030", "GBK", "\\ISO 2022 IR 87"}) {
    EXPECT_THAT(CharacterSet(terms).decode("a\\\\b", EVR_LO).values, ElementsAre("a", "", "b"))
        << terms;
    EXPECT_THAT(CharacterSet(terms).decode("a\\b", EVR_UT).values, ElementsAre("a\\b")) << terms;
  }
  EXPECT_THAT(CharacterSet("GBK")
                  .decode("\x8f\x5c\x5c"
                          "b",
                          EVR_LO)
                  .values,
              ElementsAre("廫", "b"));
}

TEST(CharacterSet, MakesUtf8OfWhateverBytesThereAre) {
  const char* const terms[] = {"",    "ISO_IR 100", "ISO_IR 13",        "ISO_IR 192",     "GB18030",
                               "GBK", "\\",         "\\ISO 2022 IR 87", "ISO 2022 IR 149"};
  const char* const parts[] = {"\x1b$B",  "\x1b(B", "\x1b(J", "\x1b$(D", "\x1b$)C",
                               "\x1b$)A", "\x1b-F", "\x1b)I", "\\",      "^"};
  std::mt19937 random(20);
  for (int i = 0; i < 20000; ++i) {
    std::string bytes;
    for (std::size_t count = random() % 24; count > 0; --count) {
      bytes += random() % 4 == 0 ? parts[random() % std::size(parts)]
                                 : std::string(1, static_cast<char>(random() % 256));
    }
    const char* const set = terms[random() % std::size(terms)];

    const Utf8Text text = CharacterSet(set).decode(bytes, i % 2 == 0 ? EVR_PN : EVR_LT);

    ASSERT_EQ(zr::withEscapedBytes(text.joined()), text.joined()) << set;
    ASSERT_EQ(text.joined().find('\x1b'), std::string::npos) << set;
  }
}

// ---- of which item ----

TEST(CharacterSet, IsThatOfTheItemOrOfWhatItStandsIn) {
  const auto name = [](const DatasetBuilder& item) {
    return DatasetBuilder(item).with(DCM_PatientName, "\xe6");
  };
  const auto dataset =
      name(DatasetBuilder().with(DCM_SpecificCharacterSet, "ISO_IR 100"))
          .withItem(DCM_SourceImageSequence, name(DatasetBuilder()))
          .withItem(DCM_SourceImageSequence,
                    name(DatasetBuilder().with(DCM_SpecificCharacterSet, "ISO_IR 101"))
                        .withItem(DCM_PurposeOfReferenceCodeSequence, name(DatasetBuilder())))
          .withItem(DCM_SourceImageSequence,
                    name(DatasetBuilder().withEmpty(DCM_SpecificCharacterSet)))
          .build();
  const auto item = [&dataset](long index) {
    DcmItem* found = nullptr;
    EXPECT_TRUE(dataset->findAndGetSequenceItem(DCM_SourceImageSequence, found, index).good());
    return found;
  };
  DcmItem* inner = nullptr;
  ASSERT_TRUE(item(1)->findAndGetSequenceItem(DCM_PurposeOfReferenceCodeSequence, inner).good());

  EXPECT_EQ(zr::textOf(*dataset, DCM_PatientName), "æ");
  EXPECT_EQ(zr::textOf(*item(0), DCM_PatientName), "æ");
  EXPECT_EQ(zr::textOf(*item(1), DCM_PatientName), "ć");
  EXPECT_EQ(zr::textOf(*inner, DCM_PatientName), "ć");
  EXPECT_EQ(zr::textOf(*item(2), DCM_PatientName), "\\xE6");
}

// ---- elements ----

TEST(CharacterSet, TellsTheTwoSignsOfJapaneseLetters) {
  const auto dataset = DatasetBuilder()
                           .with(DCM_SpecificCharacterSet, "ISO_IR 13")
                           .with(DCM_PatientID, "~")
                           .with(DCM_PatientComments, "\\")
                           .build();

  EXPECT_EQ(zr::textOf(*dataset, DCM_PatientID), "‾");
  EXPECT_EQ(zr::textOf(*dataset, DCM_PatientComments), "¥");
}

struct Value {
  const char* name;
  DcmTagKey key;
  std::string stored;
  std::string all;
  std::string first;
};

class Values : public testing::TestWithParam<Value> {};

TEST_P(Values, AreGivenWithoutTheirPadding) {
  const auto dataset = DatasetBuilder()
                           .with(DCM_SpecificCharacterSet, "ISO 2022 IR 100\\ISO 2022 IR 87")
                           .with(GetParam().key, GetParam().stored)
                           .build();
  DcmElement* element = nullptr;
  ASSERT_TRUE(dataset->findAndGetElement(GetParam().key, element).good());

  EXPECT_EQ(zr::utf8Of(*dataset, *element)->joined(), GetParam().all);
  EXPECT_EQ(zr::textOf(*dataset, GetParam().key), GetParam().first);
}

INSTANTIATE_TEST_SUITE_P(
    Elements, Values,
    testing::Values(Value{"Name", DCM_PatientName, " \xe9^a \\b ", " é^a\\b", " é^a"},
                    Value{"LongString", DCM_PatientID, " \xe9 \\ b ", "é\\b", "é"},
                    Value{"EmptyValues", DCM_PatientID, "\\\xe9\\ ", "\\é\\", ""},
                    Value{"Text", DCM_PatientComments, " \xe9\\a ", " é\\a", " é\\a"},
                    Value{"KanjiWithTheByteOfABackslash", DCM_PatientID, "\x1b$B\\^=\\\x1b(B\\b",
                          "權旬\\b", "權旬"},
                    Value{"EscapedBytes", DCM_PatientID, "a \x92\\b", "a \\x92\\b", "a \\x92"},
                    Value{"Code", DCM_ImageType, "A\\ B", "A\\B", "A"},
                    Value{"Number", DCM_Rows, "512", "512", "512"}),
    nameOf<Value>);

}  // namespace
