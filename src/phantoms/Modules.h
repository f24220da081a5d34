// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "Builder.h"

#include <cstddef>

namespace phantoms {

/// Axial slices, one behind the other, in one file.
struct SliceStack {
  std::size_t size = 0;  ///< columns and rows
  std::size_t slices = 0;
  double pixelMm = 0;
  double spacingMm = 0;
  double firstMm = 0;  ///< place of the first slice along the body
};

/// What every nuclear-medicine image says of its source, its detectors and its patient.
/// @see PS3.3 C.8.4
void describeEmission(Builder& builder, const char* imageType);
/// How the slices of a reconstructed nuclear-medicine image lie. @see PS3.3 C.8.4.15
void describeReconstruction(Builder& builder, const SliceStack& stack);
/// All of an enhanced MR image but its pixels: the acquisition, the dimensions, the functional
/// groups that all frames share and those that each has. @see PS3.3 C.7.6.16, C.8.13
void describeEnhancedMr(Builder& builder, const SliceStack& stack);

}  // namespace phantoms
