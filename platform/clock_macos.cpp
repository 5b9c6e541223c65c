// Yield clocks on macOS from libSystem alone: mach_absolute_time counts from system start in
// units that mach_timebase_info turns into nanoseconds (1/1 on Intel, 125/3 on Apple silicon).
#include <mach/mach_time.h>

#include "platform/clock.h"

namespace {
uint64_t MonotonicNanoseconds() {
  static const mach_timebase_info_data_t timebase = [] {
    mach_timebase_info_data_t answer{};
    if (mach_timebase_info(&answer) != KERN_SUCCESS || answer.denom == 0) answer = {1, 1};
    return answer;
  }();
  // Split so that the product stays within 64 bits for any uptime and ratio.
  const uint64_t units = mach_absolute_time();
  return units / timebase.denom * timebase.numer + units % timebase.denom * timebase.numer / timebase.denom;
}
}  // namespace

uint32_t PlatformTickCount() { return TicksFromNanoseconds(MonotonicNanoseconds()); }
int32_t PlatformMilliseconds() { return MillisecondsFromNanoseconds(MonotonicNanoseconds()); }
