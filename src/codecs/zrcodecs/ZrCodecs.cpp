// SPDX-License-Identifier: BSD-3-Clause
// The codecs in DCMTK's list. What the list points to is made once and never freed: DCMTK may ask
// it until the process has ended, behind all destructors of this library.
#include "zrcodecs/CodecParameter.h"
#include "zrcodecs/Jpeg2000Codec.h"
#include "zrcodecs/Syntaxes.h"

#include <zrcodecs/ZrCodecs.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dccodec.h"

#include <array>
#include <mutex>
#include <new>
#include <openjpeg.h>
#include <string>

namespace zrcodecs {

namespace {

class Registry {
public:
  bool add(const CodecOptions& options) {
    const std::lock_guard lock(mutex_);
    if (parameter_ == nullptr) {
      parameter_ = new CodecParameter(options);
      for (const DcmCodec* codec : codecs_) {
        if (DcmCodecList::registerCodec(codec, nullptr, parameter_).bad()) {
          removeAll();
          return false;
        }
      }
    }
    return true;
  }

  void remove() {
    const std::lock_guard lock(mutex_);
    if (parameter_ != nullptr) {
      removeAll();
    }
  }

private:
  void removeAll() {
    for (const DcmCodec* codec : codecs_) {
      (void)DcmCodecList::deregisterCodec(
          codec);  // one that is not in the list is none to take out
    }
    delete parameter_;  // nobody decodes: DCMTK holds its list's lock as long as a codec works
    parameter_ = nullptr;
  }

  std::mutex mutex_;
  std::array<const DcmCodec*, kCodecSyntaxes.size()> codecs_ = {
      new Jpeg2000Codec(kCodecSyntaxes[0]), new Jpeg2000Codec(kCodecSyntaxes[1])};
  const CodecParameter* parameter_ = nullptr;
};

Registry& registry() {
  static auto* const theRegistry = new Registry;
  return *theRegistry;
}

}  // namespace

bool registerCodecs(const CodecOptions& options) noexcept {
  try {
    return registry().add(options);
  } catch (const std::exception&) {
    return false;
  }
}

void deregisterCodecs() noexcept {
  try {
    registry().remove();
  } catch (const std::exception&) {
    // There was no memory to make the registry, so nothing is registered.
  }
}

const char* codecLibraries() noexcept {
  try {
    static const std::string text = "JPEG 2000 and HTJ2K: OpenJPEG " + std::string(opj_version());
    return text.c_str();
  } catch (const std::bad_alloc&) {
    return "JPEG 2000 and HTJ2K: OpenJPEG";
  }
}

}  // namespace zrcodecs
