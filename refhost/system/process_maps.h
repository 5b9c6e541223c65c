// This process's own mappings, as Linux lists them in /proc/self/maps: what the Mac runner
// lends an emulated processor, and how it tells a guard page from unmapped memory in a fault.
#pragma once

#include <cstdint>

namespace refhost {

// Below this address no mapping is ever made (Linux's least mmap address): an access there
// follows a null pointer, and the emulated processor is lent nothing there.
constexpr uint64_t kNullPagesEnd = 0x10000;

struct Mapping {
  uint64_t begin = 0, end = 0;  // end: the first byte past it
  bool readable = false, writable = false;
};

// The mapping that holds `address`, or false when none does. Reads the list with system
// calls alone, so a fault handler may call it too.
bool MappingAt(uint64_t address, Mapping* mapping);

// Words for what a faulting access touched: "a null pointer", "an inaccessible page (a guard
// page)" or "unmapped memory".
const char* DescribeFaultAddress(uint64_t address);

}  // namespace refhost
