// SPDX-License-Identifier: BSD-3-Clause
// Inputs are told by device and inode: a name says little where links and folders lead to it.
#include "zrimaging/output/ProtectedInputs.h"

#include "zrimaging/Error.h"

#include <optional>

namespace zr {

ProtectedInputs::ProtectedInputs(const std::vector<std::string>& files) {
  for (const std::string& file : files) {
    if (const std::optional<FileIdentity> identity = identityOf(file)) {
      names_.emplace(*identity, file);
    }
  }
}

void ProtectedInputs::refuseToReplace(const std::filesystem::path& target) const {
  const std::optional<FileIdentity> identity = identityOf(target);
  const auto input = identity ? names_.find(*identity) : names_.end();
  if (input != names_.end()) {
    throw Error(Reason::CannotWrite, "cannot write " + target.string() +
                                         ": that would replace the input " + input->second);
  }
}

}  // namespace zr
