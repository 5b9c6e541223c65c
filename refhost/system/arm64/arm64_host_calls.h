// The calls that cross between the reference host and the emulated arm64 slice beyond its
// imports: native functions the host calls that run guest code (the entry point, registered
// methods, probe entries), and stubs for the host functions the guest asks the resolver for.
#pragma once

#include <cstdint>
#include <vector>

#include "refhost/system/arm64/arm64_machine.h"

namespace refhost::arm64 {

// A native function whose call runs the guest's `function` with the caller's integer
// arguments, `sizes[i]` bytes each (at most ten). `resolverFirst`: the first argument is
// the host's native resolver, which the guest gets as a stub (REALPluginMain).
void* NativeThunk(Arm64Machine& machine, uint64_t function, const std::vector<uint8_t>& sizes,
                  bool resolverFirst = false);

}  // namespace refhost::arm64
