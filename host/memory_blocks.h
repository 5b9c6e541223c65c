// What the host tells of a memory block's extent.
#pragma once

#include <cstdint>

#include "host/host_types.h"

// True when the host reports a size for `block` and `extent` bytes from its start don't
// fit, or when no block could hold them (a negative extent). Hosts that don't report sizes
// get the bytes as asked: the caller vouches for them.
bool BlockTooSmall(REALmemoryBlockStruct* block, int64_t extent);
