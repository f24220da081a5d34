// SPDX-License-Identifier: BSD-3-Clause
// A tree of texts is written and read back by DCMTK: every attribute that the tree holds must be
// there with its text, in the item where it stands. Files live in memory; they take time, so that
// three inputs of four write the dataset alone.
#include "Input.h"
#include "writing/ZrDcmExportPrivate.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcistrmb.h"
#include "dcmtk/dcmdata/dcostrmb.h"
#include "dcmtk/dcmdata/dctk.h"

#include <array>
#include <cstdio>
#include <map>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using fuzz::Input;
using fuzz::require;

constexpr unsigned kDeepest = 4;

/// Attributes whose text reads back as it was, but for padding.
constexpr std::array<const char*, 14> kTextKeys = {
    "G0008-0008", "G0008-0016", "G0008-0018", "G0008-0060", "G0008-1030",
    "G0010-0010", "G0010-0020", "G0010-0030", "G0018-0050", "G0020-0013",
    "G0020-4000", "G0028-0004", "G0028-0008", "G0028-0030"};
/// Numbers, tags and attributes whose VR depends on the samples.
constexpr std::array<const char*, 8> kNumberKeys = {"G0028-0002", "G0028-0010", "G0028-0103",
                                                    "G0028-0106", "G0028-0120", "G0018-9073",
                                                    "G0028-0009", "G0054-0080"};
constexpr std::array<const char*, 4> kSequenceKeys = {"G0008-1140", "G0040-0275", "G0028-3000",
                                                      "G5200-9229"};
/// What hosts may hand over by mistake: file meta, group lengths, private and unknown attributes.
constexpr std::array<const char*, 8> kOddKeys = {"G0002-0010", "G0008-0000", "G0009-0010",
                                                 "G0009-1001", "G7fe0-0010", "Gffff-ffff",
                                                 "odd",        "G0028-9999"};

class Tree {
public:
  explicit Tree(Input& input) : input_(input) {}

  void fill(ZrDcmData& node, unsigned depth) {
    for (unsigned left = input_.below(6); left > 0; --left) {
      const unsigned kind = input_.below(16);
      if (kind < 9) {
        setTag(node, kTextKeys.at(input_.below(kTextKeys.size())), input_.text(40));
      } else if (kind < 12) {
        setTag(node, kNumberKeys.at(input_.below(kNumberKeys.size())),
               std::to_string(input_.word()));
      } else if (kind < 15) {
        addSequence(node, depth);
      } else if (input_.below(4) == 0) {
        setTag(node, kOddKeys.at(input_.below(kOddKeys.size())), input_.text(20));
      } else {
        setTag(node, kNumberKeys.at(input_.below(kNumberKeys.size())), input_.text(12));
      }
    }
  }

private:
  void setTag(ZrDcmData& node, const char* key, const std::string& value) {
    // A value is a C string: it ends at the first null.
    require(node.setDicomTag(KtString(key), KtString(value.c_str()), true));
    require(std::string(value.c_str()) == node.dicomTag(KtString(key), nullptr));
  }

  void addSequence(ZrDcmData& node, unsigned depth) {
    if (depth >= kDeepest) {
      return;
    }
    const KtString key(kSequenceKeys.at(input_.below(kSequenceKeys.size())));
    const std::size_t before = node.sequences.size();
    ZrDcmSequence* const sequence = node.startSequence(key, true);
    require(sequence != nullptr && sequence->items.empty() && node.sequences.size() <= before + 1);
    for (unsigned items = input_.below(4); items > 0; --items) {
      ZrDcmData item;
      fill(item, depth + 1);
      sequence->items.append(std::move(item));
    }
  }

  Input& input_;
};

/// A text without what pads it in a file.
std::string unpadded(std::string text) {
  while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) {
    text.pop_back();
  }
  return text;
}

bool isTextKey(const KtString& key) {
  return std::any_of(kTextKeys.begin(), kTextKeys.end(),
                     [&key](const char* known) { return key == KtString(known); });
}

/// DCMTK cleans identifiers when it reads them: what is none comes back shorter.
bool mayBeCleaned(const DcmElement& element, const std::string& text) {
  return element.ident() == EVR_UI && text.find_first_not_of("0123456789.") != std::string::npos;
}

/// Holds what was read against the tree. Keys are compared as whole texts and each of ours has one
/// spelling, so that an attribute stands in a node once.
void compare(DcmItem& item, const ZrDcmData& node) {
  for (const ZrDcmTag& tag : node.tags) {
    if (!isTextKey(tag.key)) {
      continue;
    }
    DcmElement* element = nullptr;
    const DcmTagKey key(static_cast<Uint16>(tag.group), static_cast<Uint16>(tag.element));
    require(item.findAndGetElement(key, element).good() && element != nullptr);
    char* text = nullptr;
    Uint32 length = 0;
    auto* const characters = dynamic_cast<DcmByteString*>(element);
    require(characters != nullptr && characters->getString(text, length).good());
    const std::string read = text == nullptr ? std::string() : std::string(text, length);
    require(mayBeCleaned(*element, tag.value.str()) || unpadded(read) == unpadded(tag.value.str()));
  }
  for (const ZrDcmSequence& sequence : node.sequences) {
    const DcmTagKey key(static_cast<Uint16>(sequence.group), static_cast<Uint16>(sequence.element));
    DcmSequenceOfItems* found = nullptr;
    const bool isThere = item.findAndGetSequence(key, found).good() && found != nullptr;
    require(isThere == !sequence.items.empty());
    require(!isThere || found->card() == sequence.items.size());
    for (std::size_t i = 0; isThere && i < sequence.items.size(); ++i) {
      compare(*found->getItem(i), sequence.items[i]);
    }
  }
}

/// A file that lives in memory and is written by its name.
class MemoryFile {
public:
  MemoryFile() : descriptor_(memfd_create("fuzz", 0)) { require(descriptor_ >= 0); }

  [[nodiscard]] std::string name() const { return std::to_string(descriptor_); }
  [[nodiscard]] std::vector<Uint8> contents() const {
    struct stat status {};
    require(fstat(descriptor_, &status) == 0);
    std::vector<Uint8> bytes(static_cast<std::size_t>(status.st_size));
    require(pread(descriptor_, bytes.data(), bytes.size(), 0) == status.st_size);
    return bytes;
  }

private:
  int descriptor_;  // kept for the life of the process
};

DcmInputBufferStream& feed(DcmInputBufferStream& stream, const std::vector<Uint8>& bytes) {
  stream.setBuffer(bytes.data(), static_cast<offile_off_t>(bytes.size()));
  stream.setEos();
  return stream;
}

void writeFile(ZrDcmExportPrivate& writer, Input& input) {
  static const MemoryFile kFile;
  const std::size_t columns = 1 + input.below(4);
  std::vector<Uint16> samples(2 * columns);
  for (Uint16& sample : samples) {
    sample = input.word();
  }
  writer.outputBaseDirectory = KtString("/proc/self/fd");
  require(writer.setFilename(kFile.name().c_str()));
  const bool written =
      writer.writeImageAsIs(static_cast<int>(columns), 2, samples.data(), KtPrimType::U16, 1);
  require(written == writer.lastError().empty());
  if (!written) {
    return;
  }
  const std::vector<Uint8> bytes = kFile.contents();
  DcmInputBufferStream stream;
  DcmFileFormat file;
  file.transferInit();
  require(file.read(feed(stream, bytes), EXS_Unknown, EGL_noChange).good());
  file.transferEnd();
  DcmDataset& dataset = *file.getDataset();
  require(dataset.getOriginalXfer() == EXS_LittleEndianExplicit);
  compare(dataset, writer);
  const Uint16* words = nullptr;
  unsigned long count = 0;
  require(dataset.findAndGetUint16Array(DCM_PixelData, words, &count).good());
  require(std::equal(samples.begin(), samples.end(), words, words + count));
}

void writeDataset(ZrDcmExportPrivate& writer) {
  DcmDataset dataset;
  if (!writer.writeDicomTags(&dataset, &writer, KtPrimType::S16, true)) {
    return;
  }
  static std::array<Uint8, 1 << 16> buffer;
  DcmOutputBufferStream output(buffer.data(), static_cast<offile_off_t>(buffer.size()));
  dataset.transferInit();
  require(dataset.write(output, EXS_LittleEndianExplicit, EET_ExplicitLength, nullptr).good());
  dataset.transferEnd();
  void* written = nullptr;
  offile_off_t size = 0;
  output.flushBuffer(written, size);
  const std::vector<Uint8> bytes(buffer.begin(), buffer.begin() + size);
  DcmInputBufferStream stream;
  DcmDataset back;
  back.transferInit();
  require(back.read(feed(stream, bytes), EXS_LittleEndianExplicit, EGL_noChange).good());
  back.transferEnd();
  compare(back, writer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const unsigned road = input.below(4);
  ZrDcmExportPrivate writer;
  Tree(input).fill(writer, 0);
  if (road == 0) {
    writeFile(writer, input);
  } else {
    writeDataset(writer);
  }
  return 0;
}
