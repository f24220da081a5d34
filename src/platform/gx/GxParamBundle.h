// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gx/GxApi.h>
#include <gx/GxParamBase.h>
#include <gx/GxParameter.h>
#include <ktlib/KtString.h>

#include <memory>
#include <vector>

/// A named, ordered collection of parameters and further bundles, which it owns.
///
/// Names need not differ.
class GX_API GxParamBundle : public GxParamBase {
public:
  explicit GxParamBundle(const KtString& name);
  ~GxParamBundle() override;

  [[nodiscard]] bool isBundle() const override;
  /// Number of parameters and bundles directly in this one.
  [[nodiscard]] int count() const;
  /// The i-th of them in order of adding; null below 0 and from count() on.
  [[nodiscard]] const GxParamBase* param(int i) const;
  /// The first bundle of that name directly in this one; null when there is none or `name` is null.
  [[nodiscard]] const GxParamBundle* childBundle(const char* name) const;

  /// Appends a value.
  /// @param name need not differ from other names
  /// @param text copied; null makes a parameter without a value
  /// @return the new parameter, valid while this bundle lives
  GxParameter& addParameter(const KtString& name, const char* text);
  /// Appends an empty bundle.
  /// @return the new bundle, valid while this bundle lives
  GxParamBundle& addBundle(const KtString& name);
  /// Appends what the caller made; null is ignored.
  void add(std::unique_ptr<GxParamBase> param);

private:
  std::vector<std::unique_ptr<GxParamBase>> params_;
};
