// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gx/GxApi.h>
#include <ktlib/KtString.h>

/// What parameters and bundles of parameters have in common: a name.
class GX_API GxParamBase {
public:
  explicit GxParamBase(KtString name);
  virtual ~GxParamBase();
  GxParamBase(const GxParamBase&) = delete;
  GxParamBase& operator=(const GxParamBase&) = delete;

  [[nodiscard]] const KtString& name() const { return name_; }
  /// True for a bundle of further parameters, false for a single value.
  [[nodiscard]] virtual bool isBundle() const;

private:
  KtString name_;
};
