// The row conversion of one call, in either direction: the kernel for the map's shape, its
// level and the way it stores, chosen once from the kernel table, and what it reads.
#pragma once

#include "rows/kernel_choice.h"
#include "rows/row_kernels.h"

class RowConverter {
 public:
  // `pixels`: all the call converts, which decides whether it may store around the caches.
  RowConverter(const PixelMap& map, const KernelTable& table, int64_t pixels);
  // The converter of a kernel picked for the map's shape: what the kernel reads, as `pick`
  // says, made ready from the map.
  RowConverter(const PixelMap& map, const KernelPick& pick);
  RowConverter(const RowConverter&) = delete;  // its patterns point at its own words
  RowConverter& operator=(const RowConverter&) = delete;
  // `mask`: the mask's pixels, for maps that take alpha from a mask.
  void operator()(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels) const {
    kernel_(src, mask, dst, pixels, patterns_);
  }

 private:
  RowKernel kernel_;
  RowPatterns patterns_;
  uint32_t words_[256];  // made for kernels that read words
};
