// SPDX-License-Identifier: BSD-3-Clause
// The file from its beginning: preamble, meta information, dataset. The meta information is walked
// over first and then, being safe, read by DCMTK itself: it alone knows where the dataset begins
// and which transfer syntax it takes from there, whatever stands in group 0002.
#include "zrimaging/files/NestingGuard.h"

#include "zrimaging/files/HeaderBytes.h"
#include "zrimaging/files/HeaderWalk.h"
#include "zrimaging/files/WrittenEncoding.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcistrmb.h"
#include "dcmtk/dcmdata/dcistrmf.h"
#include "dcmtk/dcmdata/dctk.h"

#include <cstring>
#include <functional>
#include <memory>

namespace zr {

namespace {

/// Opens the file at its beginning.
using Opener = std::function<std::unique_ptr<DcmInputStream>()>;

void scanMetaInformation(DcmInputStream& stream, const ScanLimits& limits, HeaderScan& scan) {
  constexpr std::size_t kPreamble = 128;
  constexpr std::size_t kPrefix = 4;
  HeaderBytes bytes(stream);
  const unsigned char* const start = bytes.peek(kPreamble + kPrefix);
  if (start != nullptr && std::memcmp(start + kPreamble, "DICM", kPrefix) == 0) {
    (void)bytes.skip(kPreamble + kPrefix);  // they were looked at
  }
  if (const std::optional<Encoding> encoding = Encoding::guess(bytes)) {
    HeaderWalk(bytes, limits.deepest, scan).walkMetaInformation(*encoding);
  }
}

/// The transfer syntax that the meta information names, as DcmFileFormat looks it up.
E_TransferSyntax namedSyntax(DcmMetaInfo& meta) {
  DcmStack found;
  if (meta.search(DCM_TransferSyntaxUID, found).bad() || found.top()->ident() != EVR_UI) {
    return EXS_Unknown;
  }
  char* uid = nullptr;
  auto* const element = static_cast<DcmUniqueIdentifier*>(found.top());
  return element->getString(uid).good() && uid != nullptr ? DcmXfer(uid).getXfer() : EXS_Unknown;
}

void scanDataset(DcmInputStream& stream, E_TransferSyntax syntax, const ScanLimits& limits,
                 HeaderScan& scan) {
  const E_StreamCompression compression = DcmXfer(syntax).getStreamCompression();
  if (compression != ESC_none && stream.installCompressionFilter(compression).bad()) {
    return;
  }
  HeaderBytes bytes(stream, compression != ESC_none ? limits.mostInflated : HeaderBytes::kNoLimit);
  scan.actualSyntax = otherWayOfWriting(bytes, syntax);
  const E_TransferSyntax actual = scan.actualSyntax.value_or(syntax);
  const std::optional<Encoding> encoding =
      actual == EXS_Unknown ? Encoding::guess(bytes) : Encoding::of(actual);
  if (!encoding) {
    return;
  }
  HeaderWalk(bytes, limits.deepest, scan).walkDataset(*encoding);
  scan.inflatesBeyondLimit = bytes.isBeyondLimit();
  if (!scan.actualSyntax && scan.hasNativePixelData && DcmXfer(syntax).isEncapsulated()) {
    scan.actualSyntax = EXS_LittleEndianExplicit;  // so are all that have fragments
  }
}

HeaderScan scanFile(const Opener& openFile, const ScanLimits& limits) {
  HeaderScan scan;
  scanMetaInformation(*openFile(), limits, scan);
  if (scan.tooDeep || scan.isDamagedMeta) {
    return scan;
  }
  const std::unique_ptr<DcmInputStream> stream = openFile();
  DcmMetaInfo meta;
  meta.transferInit();
  (void)meta.read(*stream, EXS_Unknown);  // its state tells whether DCMTK would go on
  if (meta.transferState() == ERW_ready) {
    scanDataset(*stream, namedSyntax(meta), limits, scan);
  }
  return scan;
}

}  // namespace

HeaderScan scanHeaders(const std::filesystem::path& file, const ScanLimits& limits) {
  return scanFile(
      [&file] { return std::make_unique<DcmInputFileStream>(OFFilename(file.c_str())); }, limits);
}

HeaderScan scanHeaders(std::span<const unsigned char> file, const ScanLimits& limits) {
  return scanFile(
      [file] {
        auto stream = std::make_unique<DcmInputBufferStream>();
        stream->setBuffer(file.data(), static_cast<offile_off_t>(file.size()));
        stream->setEos();
        return stream;
      },
      limits);
}

}  // namespace zr
