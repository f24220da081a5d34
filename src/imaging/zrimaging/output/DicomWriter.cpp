// SPDX-License-Identifier: BSD-3-Clause
// A DICOM file by DCMTK, through an OutputFile.
#include "zrimaging/DicomWriter.h"

#include "zrimaging/Boundary.h"
#include "zrimaging/Output.h"

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcerror.h"
#include "dcmtk/dcmdata/dcfilefo.h"
#include "dcmtk/dcmdata/dcostrma.h"
#include "dcmtk/dcmdata/dcwcache.h"

#include <exception>

namespace zr {

namespace {

/// Takes DCMTK's bytes. DCMTK's own way to a file forgets why a write failed, and takes what waits
/// in a buffer for written.
class FileConsumer : public DcmConsumer {
public:
  explicit FileConsumer(OutputFile& file) : file_(file) {}

  OFBool good() const override { return failure_ == nullptr; }
  OFCondition status() const override { return good() ? EC_Normal : EC_InvalidStream; }
  OFBool isFlushed() const override { return true; }
  offile_off_t avail() const override { return kEnough; }
  void flush() override {}

  offile_off_t write(const void* bytes, offile_off_t count) override {
    try {
      file_.write(bytes, static_cast<std::size_t>(count));
      return count;
    } catch (...) {
      failure_ = std::current_exception();  // told when DCMTK has come to an end
      return 0;
    }
  }

  /// Goes on with what stopped the writing.
  void rethrow() const {
    if (failure_ != nullptr) {
      std::rethrow_exception(failure_);
    }
  }

private:
  static constexpr offile_off_t kEnough = offile_off_t{1} << 25;  // a write takes all it is given

  OutputFile& file_;
  std::exception_ptr failure_;
};

class ConsumerStream : public DcmOutputStream {
public:
  explicit ConsumerStream(FileConsumer& consumer) : DcmOutputStream(&consumer) {}
};

OFCondition save(DcmFileFormat& file, E_TransferSyntax syntax, FileConsumer& consumer) {
  ConsumerStream stream(consumer);
  DcmWriteCache cache;
  file.transferInit();
  const OFCondition written =
      file.write(stream, syntax, EET_ExplicitLength, &cache, EGL_recalcGL, EPD_noChange);
  file.transferEnd();
  stream.flush();  // the end of a deflated dataset, which the stream holds back
  return written.good() && !stream.isFlushed() ? OFCondition(EC_InvalidStream) : written;
}

void writeThrough(DcmFileFormat& file, E_TransferSyntax syntax, const std::filesystem::path& target,
                  const ProtectedInputs& inputs) {
  OutputFile output(target, inputs);
  FileConsumer consumer(output);
  const OFCondition written = save(file, syntax, consumer);
  consumer.rethrow();
  if (written.bad()) {
    throw Error(Reason::CannotWrite, "cannot write " + target.string() + ": " + written.text());
  }
  output.commit();
}

}  // namespace

void writeDicomFile(DcmFileFormat& file, E_TransferSyntax syntax,
                    const std::filesystem::path& target, const ProtectedInputs& inputs) {
  atBoundary([&] { writeThrough(file, syntax, target, inputs); });
}

}  // namespace zr
