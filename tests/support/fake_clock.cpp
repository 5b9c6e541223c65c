// A clock the tests set, linked into the probe build in place of the system clock.
#include <cstdint>

#include "platform/clock.h"
#include "plugin/registration.h"

#define PROBE extern "C" PIXELBRIDGE_EXPORTED

namespace {
uint32_t gTicks = 0;
int32_t gMilliseconds = 0;
int gReads = 0;
}  // namespace

uint32_t PlatformTickCount() {
  ++gReads;
  return gTicks;
}

int32_t PlatformMilliseconds() {
  ++gReads;
  return gMilliseconds;
}

PROBE void PixelbridgeProbeSetClock(uint32_t ticks, int32_t milliseconds) {
  gTicks = ticks;
  gMilliseconds = milliseconds;
}

PROBE int PixelbridgeProbeClockReads() { return gReads; }

void ResetProbeClock() {
  PixelbridgeProbeSetClock(0, 0);
  gReads = 0;
}
