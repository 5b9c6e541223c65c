// Yield pacing by the tick or millisecond clock.
#include "host/yield.h"

#include "host/host_functions.h"
#include "platform/clock.h"

namespace {
// |now − last| with 32-bit wrapping, widened so that the most negative difference has an
// absolute value too.
int64_t Elapsed(int32_t now, int32_t last) {
  int32_t difference = static_cast<int32_t>(static_cast<uint32_t>(now) - static_cast<uint32_t>(last));
  return difference < 0 ? -static_cast<int64_t>(difference) : difference;
}
}  // namespace

void YieldData::DoYield() {
  const bool inTicks = interval > 0;
  auto read = [inTicks] { return inTicks ? static_cast<int32_t>(PlatformTickCount()) : PlatformMilliseconds(); };
  const int64_t wanted = inTicks ? interval : -static_cast<int64_t>(interval);
  if (Elapsed(read(), last) < wanted) return;
  REALYieldToRB();
  last = read();
}
