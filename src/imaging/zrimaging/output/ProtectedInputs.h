// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "zrimaging/output/FileIdentity.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace zr {

/// The files that the user has named to be read. No output may take the place of one of them,
/// whether or not it could be read, and whatever name it is reached by.
///
/// Everything that writes a file asks for them, so that no verb can forget to say what it reads.
class ProtectedInputs {
public:
  /// For verbs that read no file.
  ProtectedInputs() = default;

  /// Empty names (options that were not given) and files that are not there protect nothing.
  explicit ProtectedInputs(const std::vector<std::string>& files);

  /// @throws Error when the target is one of the inputs
  void refuseToReplace(const std::filesystem::path& target) const;

private:
  std::map<FileIdentity, std::string> names_;
};

}  // namespace zr
