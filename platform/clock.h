// Clocks for yield pacing: ticks of 1/60 s and milliseconds, both counted from system start.
#pragma once

#include <cstdint>

// Ticks of 1/60 second since the system started, modulo 2^32.
uint32_t PlatformTickCount();
// Milliseconds since the system started, reduced to 32 bits with wrapping.
int32_t PlatformMilliseconds();

// The two clocks from one reading of a monotonic nanosecond clock.
inline uint32_t TicksFromNanoseconds(uint64_t nanoseconds) {
  return static_cast<uint32_t>(nanoseconds / 1000000000u * 60u + nanoseconds % 1000000000u * 60u / 1000000000u);
}
inline int32_t MillisecondsFromNanoseconds(uint64_t nanoseconds) {
  return static_cast<int32_t>(static_cast<uint32_t>(nanoseconds / 1000000u));
}
