// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <ktlib/KtApi.h>

#include <cstddef>
#include <string>

/// Cuts a text into the pieces between delimiter characters; empty pieces are skipped.
class KTLIB_API KtStdStringTokenizer {
public:
  /// @param text        the text to cut; copied
  /// @param delimiters  characters that each end a token; without any the whole text is one token
  KtStdStringTokenizer(std::string text, std::string delimiters);

  /// Whether `nextToken` has a token to give.
  [[nodiscard]] bool hasMoreTokens() const noexcept;
  /// The next token, which is never empty; empty text when none is left.
  [[nodiscard]] std::string nextToken();

private:
  std::string text_;
  std::string delimiters_;
  std::size_t tokenBegin_;  // first character of the next token; npos when none is left
};
