// The choice of kernels per shape of map and processor family: the level each shape runs at,
// whether its calls may store around the caches, and whether its widest kernels align their
// stores. Made once per processor from the table in kernel_choice.cpp, the one place to
// change it.
#pragma once

#include "pixels/pixel_map.h"
#include "platform/cpu.h"

struct ShapeChoice {
  SimdLevel level;  // in the table: the widest level the shape may run at
  bool streams;     // calls that move more than the last-level cache holds store around it
  bool aligns;      // the row's head is peeled until the destination is aligned to the vector
};

struct KernelTable {
  ShapeChoice shapes[kShapeCount];
  const ShapeChoice& operator[](Shape shape) const { return shapes[static_cast<int>(shape)]; }
};

struct FamilyChoices {
  const char* family;  // for people: "AMD family 25 (Zen 3, Zen 4)"
  KernelTable table;
};

// The table's row for a processor.
const FamilyChoices& ChoicesFor(const Processor& processor);
// That row for a processor of `level`: each shape at most at that level, or with `held`
// every shape at it.
KernelTable KernelTableFor(const FamilyChoices& choices, SimdLevel level, bool held);
// What calls on this processor run: its row at its level, or every shape at the held level.
KernelTable ActiveKernelTable();
