// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmdata/dcdatset.h"
#include "dcmtk/dcmdata/dcxfer.h"

#include <memory>
#include <string>
#include <vector>

namespace phantoms {

/// One drawn dataset and the syntaxes that it is written in besides Explicit VR Little Endian.
struct Phantom {
  std::string name;   ///< stem of its file names
  std::string shows;  ///< what it is there to show
  std::unique_ptr<DcmDataset> dataset;
  std::vector<E_TransferSyntax> compressed;
};

// Each function draws one; the number keeps its UIDs apart.
Phantom ctThorax(unsigned number);
Phantom ctAbdomenWithOverlays(unsigned number);
Phantom mrBrainWithLut(unsigned number);
Phantom petPalette(unsigned number);
Phantom ultrasoundRgb(unsigned number);
Phantom ultrasoundYbr(unsigned number);
Phantom radiographInverse(unsigned number);
Phantom doseVolume(unsigned number);
Phantom gatedHeart(unsigned number);
Phantom brainUptake(unsigned number);
Phantom doseFalling(unsigned number);
Phantom doseIrregular(unsigned number);
Phantom ultrasoundSweep(unsigned number);
Phantom headCt(unsigned number);
Phantom headEnhancedMr(unsigned number);

/// Draws a phantom; `number` is its place in the table below, counted from 1.
using Draw = Phantom (*)(unsigned number);

/// All phantoms. The place in this table is part of the UIDs: new ones go to its end.
inline constexpr Draw kPhantoms[] = {ctThorax,        ctAbdomenWithOverlays,
                                     mrBrainWithLut,  radiographInverse,
                                     petPalette,      ultrasoundRgb,
                                     ultrasoundYbr,   doseVolume,
                                     gatedHeart,      brainUptake,
                                     doseFalling,     doseIrregular,
                                     ultrasoundSweep, headCt,
                                     headEnhancedMr};

}  // namespace phantoms
