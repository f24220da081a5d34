// SPDX-License-Identifier: BSD-3-Clause
// The position is always that of the first character of the next token, so that asking for more is
// one comparison.
#include <ktlib/KtStdStringTokenizer.h>

#include <utility>

KtStdStringTokenizer::KtStdStringTokenizer(std::string text, std::string delimiters)
    : text_(std::move(text)),
      delimiters_(std::move(delimiters)),
      tokenBegin_(text_.find_first_not_of(delimiters_)) {}

bool KtStdStringTokenizer::hasMoreTokens() const noexcept {
  return tokenBegin_ != std::string::npos;
}

std::string KtStdStringTokenizer::nextToken() {
  if (!hasMoreTokens()) {
    return {};
  }
  const std::size_t tokenEnd = text_.find_first_of(delimiters_, tokenBegin_);
  std::string token = text_.substr(tokenBegin_, tokenEnd - tokenBegin_);
  tokenBegin_ = text_.find_first_not_of(delimiters_, tokenEnd);
  return token;
}
