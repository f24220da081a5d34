// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gx/GxApi.h>
#include <gx/GxParamBase.h>
#include <ktlib/KtString.h>

#include <optional>

/// One named value, held as text.
class GX_API GxParameter : public GxParamBase {
public:
  /// @param name what the parameter is called
  /// @param text copied; null makes a parameter without a value
  GxParameter(const KtString& name, const char* text);
  ~GxParameter() override;

  /// The text, or null when there is none. Valid while the parameter lives.
  [[nodiscard]] const char* getString() const;

private:
  std::optional<KtString> text_;
};
