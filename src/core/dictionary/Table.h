// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcvr.h"

#include <span>

/// The private data elements that the library adds to a dictionary, in order of registration.
///
/// The tables are constant-initialised: they can be read at any time, also while other static
/// objects are being initialised.
namespace ExDCM::Dictionary {

/// Element of another vendor. `element` is the number within the block (0x00bb), which DCMTK
/// resolves in whatever block a file gave the creator.
struct VendorEntry {
  Uint16 group;
  Uint16 element;
  DcmEVR vr;
  int vm;
  const char* name;
  const char* creator;
};

/// Own element, one of PrivateTag, with its full number (0x10xx) in PrivateTag::CreatorGroupZorlan.
struct OwnEntry {
  Uint16 element;
  DcmEVR vr;
  int vm;
  const char* name;
};

/// Element without a private creator that carries file and loading state through a dataset in
/// memory.
struct InternalEntry {
  Uint16 element;
  DcmEVR vr;
  const char* name;
};

/// Group of the internal elements, which the standard leaves unused.
inline constexpr Uint16 kInternalGroup = 0x0006;

extern const std::span<const VendorEntry> kVendorEntries;
extern const std::span<const OwnEntry> kOwnEntries;
extern const std::span<const InternalEntry> kInternalEntries;

}  // namespace ExDCM::Dictionary
