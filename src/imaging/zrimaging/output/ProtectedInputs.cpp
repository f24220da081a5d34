// SPDX-License-Identifier: BSD-3-Clause
// Inputs are told by device and inode: a name says little where links and folders lead to it.
#include "zrimaging/Boundary.h"
#include "zrimaging/Output.h"
#include "zrimaging/output/FileIdentity.h"

#include <map>
#include <optional>

namespace zr {

/// The inputs by what they are, with the names that they were given.
class ProtectedInputsPrivate {
public:
  explicit ProtectedInputsPrivate(const std::vector<std::string>& files) {
    for (const std::string& file : files) {
      if (const std::optional<FileIdentity> identity = identityOf(file)) {
        names_.emplace(*identity, file);
      }
    }
  }

  void refuseToReplace(const std::filesystem::path& target) const {
    const std::optional<FileIdentity> identity = identityOf(target);
    const auto input = identity ? names_.find(*identity) : names_.end();
    if (input != names_.end()) {
      throw Error(Reason::CannotWrite, "cannot write " + target.string() +
                                           ": that would replace the input " + input->second);
    }
  }

private:
  std::map<FileIdentity, std::string> names_;
};

ProtectedInputs::ProtectedInputs() = default;
ProtectedInputs::~ProtectedInputs() = default;
ProtectedInputs::ProtectedInputs(const ProtectedInputs& other) = default;
ProtectedInputs& ProtectedInputs::operator=(const ProtectedInputs& other) = default;

ProtectedInputs::ProtectedInputs(const std::vector<std::string>& files)
    : private_(atBoundary([&] { return std::make_shared<ProtectedInputsPrivate>(files); })) {}

void ProtectedInputs::refuseToReplace(const std::filesystem::path& target) const {
  if (private_ != nullptr) {
    atBoundary([&] { private_->refuseToReplace(target); });
  }
}

}  // namespace zr
