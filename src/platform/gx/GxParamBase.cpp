// SPDX-License-Identifier: BSD-3-Clause

#include <gx/GxParamBase.h>

#include <utility>

GxParamBase::GxParamBase(KtString name) : name_(std::move(name)) {}

GxParamBase::~GxParamBase() = default;

bool GxParamBase::isBundle() const {
  return false;
}
