// The row conversion of one call, in either direction: the kernel for the map's shape, its
// level and the way it stores, chosen from the kernel table, and what it reads.
#pragma once

#include "rows/kernel_choice.h"
#include "rows/row_kernels.h"

class RowConverter {
 public:
  // The converter of a call with this map, as the active kernel table chooses for it;
  // `pixels`: all the call converts, which decides whether it may store around the caches.
  // Making the patterns costs more than converting a small picture, and a program converts
  // many pictures in few layouts: each thread keeps what its last few calls made ready, found
  // again by everything that chose and made it (the map, the table row and level held, and
  // whether the call streams).
  RowConverter(const PixelMap& map, int64_t pixels);
  // The converter of a kernel picked for the map's shape: what the kernel reads, as `pick`
  // says, made ready from the map, and kept by no thread.
  RowConverter(const PixelMap& map, const KernelPick& pick);
  ~RowConverter();
  RowConverter(const RowConverter&) = delete;  // it holds a thread's entry, or its patterns point at its own words
  RowConverter& operator=(const RowConverter&) = delete;
  // `mask`: the mask's pixels, for maps that take alpha from a mask.
  void operator()(const uint8_t* src, const uint8_t* mask, uint8_t* dst, int32_t pixels) const {
    kernel_(src, mask, dst, pixels, *patterns_);
  }

 private:
  RowKernel kernel_ = nullptr;
  const RowPatterns* patterns_ = nullptr;
  int* users_ = nullptr;  // of the thread's entry it holds, which no other call changes meanwhile
  // Storage of its own for a converter that holds no entry, made only when it is used.
  alignas(RowPatterns) unsigned char own_[sizeof(RowPatterns)];
  uint32_t words_[256];
};

// How many calls on this thread found no conversion kept for them and made their own: what
// tells, from outside, that a call found the one kept for it.
int64_t ConversionsMadeReady();
