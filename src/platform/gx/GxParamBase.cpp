// SPDX-License-Identifier: BSD-3-Clause

#include <gx/GxParamBase.h>

GxParamBase::GxParamBase(const KtString& name) : name_(name) {}

GxParamBase::~GxParamBase() = default;

bool GxParamBase::isBundle() const {
  return false;
}
