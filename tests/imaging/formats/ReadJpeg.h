// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// A JPEG as libjpeg reads it.
struct Jpeg {
  std::size_t columns = 0;
  std::size_t rows = 0;
  int channels = 0;
  int densityUnit = 0;
  int densityAcross = 0;
  int densityDown = 0;
  int firstQuantizer = 0;            ///< of the luminance, in the first table
  std::vector<int> samplingFactors;  ///< across and down of each component
  std::vector<unsigned char> samples;
  std::string iccProfile;
};

/// Ends the program when libjpeg does not read it.
Jpeg readJpeg(const std::string& bytes);
