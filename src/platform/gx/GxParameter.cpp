// SPDX-License-Identifier: BSD-3-Clause

#include <gx/GxParameter.h>

GxParameter::GxParameter(const KtString& name, const char* text) : GxParamBase(name) {
  if (text != nullptr) {
    text_ = KtString(text);
  }
}

GxParameter::~GxParameter() = default;

const char* GxParameter::getString() const {
  return text_ ? text_->c_str() : nullptr;
}
