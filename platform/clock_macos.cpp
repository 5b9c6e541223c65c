// Yield clocks on macOS: the system tick count and CoreAudio's host time.
#include <CoreAudio/HostTime.h>
#include <CoreServices/CoreServices.h>

#include "platform/clock.h"

uint32_t PlatformTickCount() { return static_cast<uint32_t>(TickCount()); }
int32_t PlatformMilliseconds() {
  return MillisecondsFromNanoseconds(AudioConvertHostTimeToNanos(AudioGetCurrentHostTime()));
}
