// Yield clocks from Windows: ticks from GetTickCount64, milliseconds from the performance
// counter, both counted from system start.
#include <windows.h>

#include "platform/clock.h"

uint32_t PlatformTickCount() {
  const uint64_t milliseconds = GetTickCount64();
  return TicksFromNanoseconds(milliseconds * 1000000u);
}

int32_t PlatformMilliseconds() {
  LARGE_INTEGER count, frequency;
  QueryPerformanceCounter(&count);
  QueryPerformanceFrequency(&frequency);
  const uint64_t ticks = static_cast<uint64_t>(count.QuadPart), perSecond = static_cast<uint64_t>(frequency.QuadPart);
  return MillisecondsFromNanoseconds(ticks / perSecond * 1000000000u + ticks % perSecond * 1000000000u / perSecond);
}
