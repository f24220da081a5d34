// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/ofstd/ofcond.h"

class DcmFileFormat;
class DcmInputStream;

namespace zr {

struct HeaderScan;

/// What became of a file.
struct Reading {
  OFCondition status;
  bool leftOutTheRest = false;  ///< bytes behind the pixel data are no elements, and left out
};

/// Lets DCMTK read a file whose headers were looked at: in the way in which the dataset is written,
/// and as far as it is whole where what is not whole comes behind the pixel data.
/// @param format empty
/// @param stream of the whole file
Reading readAsScanned(DcmFileFormat& format, DcmInputStream& stream, const HeaderScan& headers);

}  // namespace zr
