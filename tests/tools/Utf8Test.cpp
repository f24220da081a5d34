// SPDX-License-Identifier: BSD-3-Clause
// What is UTF-8 and what is not, and what of it a terminal is never shown.
#include "Messages.h"
#include "support/RowName.h"
#include "zrimaging/texts/Utf8.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Shown {
  const char* name;
  std::string text;
  std::string shown;
};

class Printable : public testing::TestWithParam<Shown> {};

TEST_P(Printable, ReplacesWhatATerminalActsOn) {
  EXPECT_EQ(zrdcm::printable(GetParam().text), GetParam().shown);
}

INSTANTIATE_TEST_SUITE_P(
    Characters, Printable,
    testing::Values(
        Shown{"Ascii", " ~AZ09", " ~AZ09"},
        Shown{"ControlsOfTheFirstSet", std::string("\0\t\n\x1b\x1f", 5), "     "},
        Shown{"Delete", "a\x7f", "a "}, Shown{"FirstControlOfTheSecondSet", "\xc2\x80", " "},
        Shown{"LastControlOfTheSecondSet", "\xc2\x9f", " "},
        Shown{"NoBreakSpaceBehindThem", "\xc2\xa0", "\xc2\xa0"},
        Shown{"ArabicLetterMark", "\xd8\x9c", " "}, Shown{"ArabicLetter", "\xd8\xb9", "\xd8\xb9"},
        Shown{"DirectionMarks", "\xe2\x80\x8e\xe2\x80\x8f", "  "},
        Shown{"HyphenBehindThem", "\xe2\x80\x90", "\xe2\x80\x90"},
        Shown{"Separators", "\xe2\x80\xa8\xe2\x80\xa9", "  "},
        Shown{"FirstEmbedding", "\xe2\x80\xaa", " "}, Shown{"Override", "\xe2\x80\xae", " "},
        Shown{"NarrowSpaceBehindThem", "\xe2\x80\xaf", "\xe2\x80\xaf"},
        Shown{"InvisiblePlusBeforeIsolates", "\xe2\x81\xa4", "\xe2\x81\xa4"},
        Shown{"FirstIsolate", "\xe2\x81\xa6", " "}, Shown{"LastIsolate", "\xe2\x81\xa9", " "},
        Shown{"FourBytes", "\xf0\x9f\xa9\xbb", "\xf0\x9f\xa9\xbb"},
        Shown{"LastCharacter", "\xf4\x8f\xbf\xbf", "\xf4\x8f\xbf\xbf"}),
    support::nameOf<Shown>);

INSTANTIATE_TEST_SUITE_P(
    BytesThatAreNoUtf8, Printable,
    testing::Values(Shown{"ContinuationAlone",
                          "a\x80"
                          "b",
                          "a\\x80b"},
                    Shown{"LetterOfLatin1", "caf\xe9", "caf\\xE9"},
                    Shown{"LatinBetweenLetters", "\xe9t\xe9", "\\xE9t\\xE9"},
                    Shown{"CutSequence", "\xe2\x80", "\\xE2\\x80"},
                    Shown{"SequenceThatALetterCuts", "\xe2\x80z", "\\xE2\\x80z"},
                    Shown{"OverlongSlash", "\xc0\xaf", "\\xC0\\xAF"},
                    Shown{"OverlongOfThree", "\xe0\x9f\xbf", "\\xE0\\x9F\\xBF"},
                    Shown{"OverlongOfFour", "\xf0\x8f\xbf\xbf", "\\xF0\\x8F\\xBF\\xBF"},
                    Shown{"Surrogate", "\xed\xa0\x80", "\\xED\\xA0\\x80"},
                    Shown{"BehindTheSurrogates", "\xee\x80\x80", "\xee\x80\x80"},
                    Shown{"BehindTheLastCharacter", "\xf4\x90\x80\x80", "\\xF4\\x90\\x80\\x80"},
                    Shown{"NoLead", "\xff\xf8", "\\xFF\\xF8"}),
    support::nameOf<Shown>);

TEST(Printable, ChangesNothingTheSecondTime) {
  const std::string once = zrdcm::printable("\xe9\x1b\xc2\x9b\xc3\xa9");

  EXPECT_EQ(zrdcm::printable(once), once);
}

}  // namespace
