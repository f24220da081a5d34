// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <zrcodecs/ZrCodecs.h>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dccodec.h"

namespace zrcodecs {

/// The options of registerCodecs() as DCMTK hands them to a codec with each call.
class CodecParameter : public DcmCodecParameter {
public:
  explicit CodecParameter(const CodecOptions& options) : options_(options) {}

  [[nodiscard]] const CodecOptions& options() const { return options_; }

  [[nodiscard]] DcmCodecParameter* clone() const override { return new CodecParameter(*this); }
  [[nodiscard]] const char* className() const override { return "zrcodecs::CodecParameter"; }

private:
  CodecOptions options_;
};

}  // namespace zrcodecs
