// SPDX-License-Identifier: BSD-3-Clause
// The look at headers that `zrdcm` takes before it lets DCMTK read, held against what DCMTK makes
// of the same bytes: it must see sequences at least as deep as DCMTK gets, and as deep and not
// deeper where DCMTK reads to the end. On one of the roads every header is counted: DCMTK marks the
// stream before each, and the guard must have read as many.
#include "ElementStream.h"
#include "Input.h"
#include "zrimaging/files/HeaderWalk.h"
#include "zrimaging/files/NestingGuard.h"
#include "zrimaging/files/ScannedReading.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdeftag.h"
#include "dcmtk/dcmdata/dcistrmb.h"
#include "dcmtk/dcmdata/dcostrmb.h"
#include "dcmtk/dcmdata/dctk.h"

#include <algorithm>
#include <array>
#include <span>
#include <string>

namespace {

using fuzz::ElementStream;
using fuzz::Input;
using fuzz::require;
using zr::Encoding;
using zr::HeaderScan;

/// Small enough for DCMTK's recursion, and well above what the guard takes.
constexpr std::size_t kMostBytes = 4096;
/// Deeper files are not handed to DCMTK.
constexpr std::size_t kDeepestForDcmtk = 400;

std::size_t depthOf(DcmItem& item);

std::size_t depthOf(DcmSequenceOfItems& sequence) {
  std::size_t deepest = 0;
  for (DcmObject* item = nullptr; (item = sequence.nextInContainer(item)) != nullptr;) {
    deepest = std::max(deepest, depthOf(dynamic_cast<DcmItem&>(*item)));
  }
  return 1 + deepest;
}

std::size_t depthOf(DcmItem& item) {
  std::size_t deepest = 0;
  for (DcmObject* element = nullptr; (element = item.nextInContainer(element)) != nullptr;) {
    if (auto* const sequence = dynamic_cast<DcmSequenceOfItems*>(element)) {
      deepest = std::max(deepest, depthOf(*sequence));
    }
  }
  return deepest;
}

/// Counts the headers that are read from it.
class CountingStream : public DcmInputBufferStream {
public:
  explicit CountingStream(const std::string& bytes) {
    setBuffer(bytes.data(), static_cast<offile_off_t>(bytes.size()));
    setEos();
  }
  void mark() override {
    ++marks_;
    DcmInputBufferStream::mark();
  }
  [[nodiscard]] std::size_t marks() const { return marks_; }

private:
  std::size_t marks_ = 0;
};

void compareDataset(const std::string& bytes, E_TransferSyntax syntax) {
  HeaderScan scan;
  CountingStream ours(bytes);
  zr::HeaderBytes source(ours);
  const std::optional<Encoding> encoding = Encoding::of(syntax);
  require(encoding.has_value());
  zr::HeaderWalk(source, kDeepestForDcmtk, scan).walkDataset(*encoding);
  if (scan.tooDeep) {
    return;
  }
  CountingStream theirs(bytes);
  DcmDataset dataset;
  dataset.transferInit();
  const OFCondition read = dataset.read(theirs, syntax);
  dataset.transferEnd();
  const std::size_t depth = depthOf(dataset);
  require(scan.deepest >= depth);
  // A header that the stream cuts short is marked and not read.
  require(theirs.marks() == scan.headers || theirs.marks() == scan.headers + 1);
  if (read.good()) {
    require(source.position() == static_cast<std::uint64_t>(theirs.tell()));
  }
}

void compareFile(const std::string& bytes) {
  const std::span span(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
  const HeaderScan scan = zr::scanHeaders(span, {kDeepestForDcmtk});
  const HeaderScan asUsed = zr::scanHeaders(span);
  require(asUsed.tooDeep.has_value() == (scan.deepest > zr::kDeepestNesting));
  if (scan.tooDeep || scan.isDamagedMeta) {
    return;
  }
  CountingStream stream(bytes);
  DcmFileFormat file;
  (void)zr::readAsScanned(file, stream, scan);  // what it has read is looked at in any case
  require(scan.deepest >= std::max(depthOf(*file.getMetaInfo()), depthOf(*file.getDataset())));
}

std::string metaInformation(Input& input, const char* syntax) {
  std::string uid = syntax;
  uid.resize((uid.size() + 1) / 2 * 2, '\0');
  std::string named = std::string("\x02\0\x10\0UI", 6);
  named += static_cast<char>(uid.size());
  named += '\0';
  named += uid;
  std::string bytes = input.flag() ? std::string() : std::string(128, '\0') + "DICM";
  const unsigned kind = input.below(8);
  if (kind < 5) {
    bytes += std::string("\x02\0\0\0UL\4\0", 8);
    bytes += static_cast<char>(kind < 4 ? named.size() : input.byte());
    bytes += std::string(3, '\0');
  }
  if (kind < 7) {
    bytes += named;
  }
  return bytes;
}

std::string deflated(const std::string& bytes) {
  std::array<Uint8, 2 * kMostBytes> buffer{};
  DcmOutputBufferStream output(buffer.data(), static_cast<offile_off_t>(buffer.size()));
  require(output.installCompressionFilter(ESC_zlib).good());
  (void)output.write(bytes.data(), static_cast<offile_off_t>(bytes.size()));  // all of it fits
  output.flush();
  void* written = nullptr;
  offile_off_t size = 0;
  output.flushBuffer(written, size);
  return {static_cast<const char*>(written), static_cast<std::size_t>(size)};
}

std::string elements(Input& input, std::size_t size, Encoding encoding) {
  ElementStream stream(encoding.explicitVR, encoding.bigEndian);
  stream.fill(input, size, kMostBytes / 4);
  return stream.bytes().substr(0, kMostBytes);
}

void writeAndCompareFile(Input& input, std::size_t size) {
  struct Choice {
    const char* uid;
    Encoding encoding;
  };
  constexpr std::array<Choice, 9> kChoices = {
      {{UID_LittleEndianImplicitTransferSyntax, {false, false}},
       {UID_LittleEndianExplicitTransferSyntax, {true, false}},
       {UID_BigEndianExplicitTransferSyntax, {true, true}},
       {UID_DeflatedExplicitVRLittleEndianTransferSyntax, {true, false}},
       {UID_JPEGProcess14SV1TransferSyntax, {true, false}},
       {UID_LittleEndianImplicitTransferSyntax, {true, false}},
       {UID_LittleEndianExplicitTransferSyntax, {false, false}},
       {UID_BigEndianExplicitTransferSyntax, {false, false}},
       {"1.2.3", {true, true}}}};
  const Choice& choice = kChoices.at(input.below(kChoices.size()));
  const std::string meta = metaInformation(input, choice.uid);
  const std::string body = elements(input, size, choice.encoding);
  const bool isDeflated =
      std::string(choice.uid) == UID_DeflatedExplicitVRLittleEndianTransferSyntax;
  compareFile(meta + (isDeflated ? deflated(body) : body));
}

/// Elements in the place of the meta information.
void writeAndCompareMeta(Input& input, std::size_t size) {
  std::string bytes = input.flag() ? std::string() : std::string(128, '\0') + "DICM";
  const Encoding encoding{input.flag(), input.flag()};
  const unsigned length = input.byte();
  if (length > 0) {
    bytes += std::string("\x02\0\0\0UL\4\0", 8) + static_cast<char>(length) + std::string(3, '\0');
  }
  bytes += elements(input, size, encoding);
  // Most tags of the stream are of other groups, which a meta information of unknown length ends
  // at.
  for (std::size_t at = 0; at + 4 < bytes.size() && input.flag(); ++at) {
    if (bytes.compare(at, 2, std::string("\x40\0", 2)) == 0) {
      bytes[at] = '\x02';
    }
  }
  compareFile(bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  switch (input.below(8)) {
    case 0: {
      const std::vector<Uint8> bytes = input.rest();
      compareFile({bytes.begin(), bytes.end()});
      break;
    }
    case 1:
    case 2:
    case 3:
      writeAndCompareFile(input, size);
      break;
    case 4:
      writeAndCompareMeta(input, size);
      break;
    default: {
      constexpr std::array<E_TransferSyntax, 4> kSyntaxes = {
          EXS_LittleEndianImplicit, EXS_LittleEndianExplicit, EXS_BigEndianExplicit,
          EXS_BigEndianImplicit};
      const E_TransferSyntax syntax = kSyntaxes.at(input.below(kSyntaxes.size()));
      const std::optional<Encoding> encoding = Encoding::of(syntax);
      require(encoding.has_value());
      compareDataset(elements(input, size, *encoding), syntax);
    }
  }
  return 0;
}
