// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdict.h"
#include "dcmtk/dcmdata/dctagkey.h"
#include "dcmtk/dcmdata/dcvr.h"

#include <optional>
#include <string>

namespace dict {

/// What a dictionary says about an element.
struct Found {
  DcmEVR vr = EVR_UNKNOWN;
  int vmMin = 0;
  int vmMax = 0;
  std::string name;
  std::optional<std::string> creator;
  std::optional<std::string> standardVersion;
};

/// Looks an element up under the dictionary's read lock; `creator` may be null.
std::optional<Found> find(GlobalDcmDataDictionary& dictionary, const DcmTagKey& key,
                          const char* creator);

int countEntries(GlobalDcmDataDictionary& dictionary);

/// A dictionary with DCMTK's own entries, and one without any. Both live until the program ends:
/// dictionaries are told apart by their addresses, which must not be used twice.
GlobalDcmDataDictionary& freshDictionary();
GlobalDcmDataDictionary& emptyDictionary();

}  // namespace dict
