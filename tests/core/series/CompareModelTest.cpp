// SPDX-License-Identifier: BSD-3-Clause
//
// The comparison against a model of it that knows nothing of datasets, and against a look-up per
// attribute in datasets whose files were out of order, held elements twice or in strange VRs.
#include <zrdcmexport/ExDCM.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcistrmb.h"
#include "dcmtk/dcmdata/dctk.h"
#include "dcmtk/oflog/oflog.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace {

using Text = std::optional<std::string>;

// What a comparison reads of one dataset; nothing where a value cannot be had.
struct Values {
  Text series;
  Text imageType;
  Text echoTime;
  Text index;
  Text subIndex;
  Text temporalPosition;
  Text rpeakDelay;
  Text thickness;
  Text phase;
  Text volume;
  Text number;
};

struct Switches {
  bool vendorIndices;
  bool temporalPosition;
  bool rpeakDelay;
  bool echoTime;
  bool volumeUID;
  bool cardiacPhase;
};

Switches switchesOf(unsigned bits) {
  return {(bits & 1U) != 0, (bits & 2U) != 0,  (bits & 4U) != 0,
          (bits & 8U) != 0, (bits & 16U) != 0, (bits & 32U) != 0};
}

int sign(std::int64_t value) {
  return value < 0 ? -1 : value > 0 ? 1 : 0;
}

// ---- the model ----

std::int64_t integerOf(const Text& text, std::int64_t whenMissing) {
  return text ? std::strtol(text->c_str(), nullptr, 10) : whenMissing;
}

double decimalOf(const Text& text, double whenMissing) {
  return text ? std::strtod(text->c_str(), nullptr) : whenMissing;
}

// A difference as 32 bits hold it.
int wrappedSign(std::int64_t difference) {
  const std::int64_t low = difference & 0xffffffff;
  return sign(low > 0x7fffffff ? low - 0x100000000 : low);
}

int modelOf(const Values& a, const Values& b, const Switches& on) {
  if (a.series.value_or("") == b.series.value_or("") && a.imageType && b.imageType &&
      *a.imageType != *b.imageType) {
    return *a.imageType < *b.imageType ? -1 : 1;
  }
  if (on.echoTime) {
    const double first = decimalOf(a.echoTime, -1);
    const double second = decimalOf(b.echoTime, -1);
    if (std::abs(first - second) > 0.01) {
      return first < second ? -1 : 1;
    }
  }
  if (on.vendorIndices) {
    if (integerOf(a.index, 0) != integerOf(b.index, 0)) {
      return wrappedSign(integerOf(a.index, 0) - integerOf(b.index, 0));
    }
    if (integerOf(a.subIndex, 0) != integerOf(b.subIndex, -1)) {
      return wrappedSign(integerOf(a.subIndex, 0) - integerOf(b.subIndex, -1));
    }
  }
  if (on.temporalPosition && integerOf(a.temporalPosition, 0) != integerOf(b.temporalPosition, 0)) {
    return wrappedSign(integerOf(a.temporalPosition, 0) - integerOf(b.temporalPosition, 0));
  }
  if (on.rpeakDelay) {
    const double first = decimalOf(a.rpeakDelay, 0);
    const double second = decimalOf(b.rpeakDelay, 0);
    if (first < second || first > second) {
      return first < second ? -1 : 1;
    }
  }
  if (a.thickness && b.thickness) {
    const double first = decimalOf(a.thickness, 0);
    const double second = decimalOf(b.thickness, 0);
    if (second > first + 0.0010000000474974513) {
      return -1;
    }
    if (first > second + 0.0010000000474974513) {
      return 1;
    }
  }
  if (on.cardiacPhase) {
    const double first = decimalOf(a.phase, -1);
    const double second = decimalOf(b.phase, -1);
    if (first < second || first > second) {
      return first < second ? -1 : 1;
    }
  }
  if (on.volumeUID && a.volume.value_or("") != b.volume.value_or("")) {
    return a.volume.value_or("") < b.volume.value_or("") ? -1 : 1;
  }
  return wrappedSign(integerOf(a.number, 0) - integerOf(b.number, 0));
}

int signOfComparison(DcmDataset& first, DcmDataset& second, const Switches& on) {
  return sign(ExDCM::compare(&first, &second, on.vendorIndices, on.temporalPosition, on.rpeakDelay,
                             on.echoTime, on.volumeUID, on.cardiacPhase));
}

// ---- random datasets ----

class Generator {
public:
  explicit Generator(unsigned seed) : random_(seed) {}

  // Few different values, so that early criteria agree often enough for late ones to be asked.
  Values values() {
    Values values;
    values.series = pick({"1.2", "1.2", "1.2", "1.3"});
    values.imageType = pick({"ORIGINAL", "ORIGINAL", "ORIGINAL", "ORIGINAL\\PRIMARY", "DERIVED"});
    values.echoTime = pick({"10", "10", "10.005", "10.02", "0", "-1", "", "nan", "1e1"});
    values.index = pick({"1", "1", "1", "2", "0", "-2147483648"});
    values.subIndex = pick({"0", "-1", "1", "1", "1", "2147483647"});
    values.temporalPosition = pick({"1", "1", "1", "2", "0", "", "2147483647", "-2147483648"});
    values.rpeakDelay = pick({"70", "70", "70.5", "0", "nan", "inf", ""});
    values.thickness = pick({"1", "1", "1.0005", "1.002", "2", "", "nan"});
    values.phase = pick({"40", "40", "75", "-1", "40%", ""});
    values.volume = pick({"1.5", "1.5", "1.10", ""});
    values.number = pick({"1", "2", "3", "-4", "2147483647", "-2147483648", "x", ""});
    return values;
  }

  bool chance(int outOf) { return std::uniform_int_distribution<int>(1, outOf)(random_) == 1; }

  Text pick(std::initializer_list<const char*> texts) {
    if (chance(5)) {
      return std::nullopt;
    }
    const auto index = std::uniform_int_distribution<std::size_t>(0, texts.size() - 1)(random_);
    return *(texts.begin() + index);
  }

private:
  std::mt19937 random_;
};

void put(DcmDataset& dataset, Uint16 group, Uint16 element, DcmEVR vr, const Text& text) {
  if (text) {
    const DcmTag tag(group, element, DcmVR(vr));
    ASSERT_TRUE(dataset.putAndInsertString(tag, text->c_str()).good()) << *text;
  }
}

std::unique_ptr<DcmDataset> datasetOf(const Values& values) {
  auto dataset = std::make_unique<DcmDataset>();
  put(*dataset, 0x0008, 0x0060, EVR_CS, "MR");  // neighbours that no criterion reads
  put(*dataset, 0x0020, 0x0012, EVR_IS, "77");
  put(*dataset, 0x7005, 0x1017, EVR_SH, "77");
  put(*dataset, 0x0020, 0x000e, EVR_UI, values.series);
  put(*dataset, 0x0008, 0x0008, EVR_CS, values.imageType);
  put(*dataset, 0x0018, 0x0081, EVR_DS, values.echoTime);
  put(*dataset, 0x2005, 0x1412, EVR_IS, values.index);
  put(*dataset, 0x2005, 0x1413, EVR_IS, values.subIndex);
  put(*dataset, 0x0020, 0x0100, EVR_IS, values.temporalPosition);
  put(*dataset, 0x0045, 0x1033, EVR_DS, values.rpeakDelay);
  put(*dataset, 0x0018, 0x0050, EVR_DS, values.thickness);
  put(*dataset, 0x7005, 0x1005, EVR_SH, values.phase);
  put(*dataset, 0x7005, 0x1016, EVR_UI, values.volume);
  put(*dataset, 0x0020, 0x0013, EVR_IS, values.number);
  return dataset;
}

class CompareModel : public testing::TestWithParam<unsigned> {};

TEST_P(CompareModel, AgreesOnRandomDatasets) {
  const Switches on = switchesOf(GetParam());
  Generator generator(GetParam() + 1);
  std::array<int, 3> answers{};

  for (int i = 0; i < 1500; ++i) {
    const Values first = generator.values();
    const Values second = i % 10 == 0 ? first : generator.values();
    const int expected = modelOf(first, second, on);
    ++answers.at(static_cast<std::size_t>(expected + 1));
    ASSERT_EQ(signOfComparison(*datasetOf(first), *datasetOf(second), on), expected)
        << "pair " << i;
  }

  // All three answers came up, so the pairs were of use.
  EXPECT_GT(answers[0], 100);
  EXPECT_GT(answers[1], 0);
  EXPECT_GT(answers[2], 100);
}

INSTANTIATE_TEST_SUITE_P(AllSwitches, CompareModel, testing::Range(0U, 64U));

// ---- look-ups in datasets as no builder makes them ----

Text lookUp(DcmDataset& dataset, Uint16 group, Uint16 element) {
  OFString text;
  const bool found = dataset.findAndGetOFString(DcmTagKey(group, element), text).good();
  return found ? Text(text) : std::nullopt;
}

Values lookUpAll(DcmDataset& dataset) {
  OFString imageType;
  const bool hasType = dataset.findAndGetOFStringArray(DCM_ImageType, imageType).good();
  return {lookUp(dataset, 0x0020, 0x000e), hasType ? Text(imageType) : std::nullopt,
          lookUp(dataset, 0x0018, 0x0081), lookUp(dataset, 0x2005, 0x1412),
          lookUp(dataset, 0x2005, 0x1413), lookUp(dataset, 0x0020, 0x0100),
          lookUp(dataset, 0x0045, 0x1033), lookUp(dataset, 0x0018, 0x0050),
          lookUp(dataset, 0x7005, 0x1005), lookUp(dataset, 0x7005, 0x1016),
          lookUp(dataset, 0x0020, 0x0013)};
}

// Explicit VR little endian, element by element in whatever order.
class Stream {
public:
  Stream& add(Uint16 group, Uint16 element, const char* vr, const std::string& value) {
    const std::string even = value.size() % 2 == 0 ? value : value + ' ';
    addWord(group);
    addWord(element);
    bytes_ += vr;
    if (std::string(vr) == "UN") {
      addWord(0);
      addWord(static_cast<Uint16>(even.size()));
      addWord(0);
    } else {
      addWord(static_cast<Uint16>(even.size()));
    }
    bytes_ += even;
    return *this;
  }

  std::unique_ptr<DcmDataset> read() const {
    DcmInputBufferStream input;
    input.setBuffer(bytes_.data(), static_cast<offile_off_t>(bytes_.size()));
    input.setEos();
    auto dataset = std::make_unique<DcmDataset>();
    dataset->transferInit();
    const OFCondition status = dataset->read(input, EXS_LittleEndianExplicit);
    dataset->transferEnd();
    EXPECT_TRUE(status.good()) << status.text();
    return dataset;
  }

private:
  void addWord(Uint16 word) {
    bytes_ += static_cast<char>(word & 0xffU);
    bytes_ += static_cast<char>(word >> 8U);
  }

  std::string bytes_;
};

// DCMTK warns of every oddity; thousands of them say nothing new.
class CompareOddDatasets : public testing::Test {
protected:
  void SetUp() override { OFLog::configure(OFLogger::OFF_LOG_LEVEL); }
  void TearDown() override { OFLog::configure(OFLogger::WARN_LOG_LEVEL); }
};

TEST_F(CompareOddDatasets, FindsElementsThatAreOutOfOrder) {
  const auto first = Stream()
                         .add(0x0020, 0x0013, "IS", "5")
                         .add(0x0018, 0x0050, "DS", "2")
                         .add(0x0008, 0x0008, "CS", "A")
                         .read();
  const auto second = Stream().add(0x0018, 0x0050, "DS", "1").add(0x0020, 0x0013, "IS", "9").read();

  EXPECT_EQ(ExDCM::compare(first.get(), second.get(), false, false, false, false, false, false), 1);
}

// What blanks count for depends on the VR: a code string loses those in front, a short text keeps
// them.
TEST_F(CompareOddDatasets, TellsEqualBytesOfDifferentVRsApart) {
  const auto code = Stream().add(0x0008, 0x0008, "CS", " A").add(0x0020, 0x0013, "IS", "1").read();
  const auto text = Stream().add(0x0008, 0x0008, "ST", " A").add(0x0020, 0x0013, "IS", "2").read();

  EXPECT_GT(ExDCM::compare(code.get(), text.get(), false, false, false, false, false, false), 0);
  EXPECT_LT(ExDCM::compare(text.get(), code.get(), false, false, false, false, false, false), 0);
}

TEST_F(CompareOddDatasets, TellsSeriesOfDifferentVRsApart) {
  const auto dataset = [](const char* vr, const char* imageType, const char* number) {
    return Stream()
        .add(0x0008, 0x0008, "CS", imageType)
        .add(0x0020, 0x000e, vr, " 1.2")
        .add(0x0020, 0x0013, "IS", number)
        .read();
  };
  const auto first = dataset("LO", "B", "1");
  const auto second = dataset("ST", "A", "2");

  // Two series, so that the image types do not decide.
  EXPECT_EQ(ExDCM::compare(first.get(), second.get(), false, false, false, false, false, false),
            -1);
}

TEST_F(CompareOddDatasets, AgreesWithALookUpPerAttribute) {
  struct Element {
    Uint16 group;
    Uint16 element;
    std::vector<const char*> vrs;
  };
  const std::vector<Element> elements = {{0x0008, 0x0008, {"CS", "UN", "ST", "LO"}},
                                         {0x0018, 0x0050, {"DS", "UN"}},
                                         {0x0018, 0x0081, {"DS", "US"}},
                                         {0x0020, 0x000e, {"UI", "UN", "LO", "ST"}},
                                         {0x0020, 0x0013, {"IS", "US", "UN"}},
                                         {0x0020, 0x0100, {"IS", "SS"}},
                                         {0x0045, 0x1033, {"DS", "CS"}},
                                         {0x2005, 0x1412, {"IS", "SL", "UN"}},
                                         {0x2005, 0x1413, {"IS", "SL"}},
                                         {0x7005, 0x1005, {"SH", "UN"}},
                                         {0x7005, 0x1016, {"UI", "UN"}},
                                         {0x0008, 0x0060, {"CS"}}};
  std::mt19937 random(4711);
  const auto below = [&random](std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
  };
  const auto randomDataset = [&] {
    Stream stream;
    for (std::size_t count = below(20); count > 0; --count) {
      const Element& element = elements.at(below(elements.size()));
      const std::string vr = element.vrs.at(below(element.vrs.size()));
      const bool fourBytes = vr == "SL";
      const bool binary = fourBytes || vr == "US" || vr == "SS";
      const std::string text = std::string(below(2), ' ') + std::to_string(below(3));
      stream.add(element.group, element.element, vr.c_str(),
                 binary ? std::string(fourBytes ? 4 : 2, static_cast<char>(below(3))) : text);
    }
    return stream.read();
  };

  for (int i = 0; i < 6000; ++i) {
    const auto first = randomDataset();
    const auto second = randomDataset();
    const Switches on = switchesOf(static_cast<unsigned>(i) % 64U);

    const int expected = modelOf(lookUpAll(*first), lookUpAll(*second), on);

    ASSERT_EQ(signOfComparison(*first, *second, on), expected) << "pair " << i;
  }
}

}  // namespace
