// The plug-in's one allocation (the arrays of the oldest hosts' class record), behind a
// function of its own: the shipped plug-in links platform/allocation.cpp, the test probe its
// own in its place, which fails on demand. A seam both GNU ld and the Mac linker can build.
#pragma once

#include <cstddef>

// Zeroed memory for `count` records of `size` bytes, freed with free(); null when refused.
void* PlatformCalloc(size_t count, size_t size);
