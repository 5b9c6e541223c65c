// Yield clocks from the POSIX monotonic clock.
#include <ctime>

#include "platform/clock.h"

namespace {
uint64_t MonotonicNanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1000000000u + static_cast<uint64_t>(now.tv_nsec);
}
}  // namespace

uint32_t PlatformTickCount() { return TicksFromNanoseconds(MonotonicNanoseconds()); }
int32_t PlatformMilliseconds() { return MillisecondsFromNanoseconds(MonotonicNanoseconds()); }
