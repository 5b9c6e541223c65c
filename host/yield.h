// Pacing of cooperative yields to the host while a long copy runs.
#pragma once

#include <cstdint>

struct YieldData {
  // Above 0: ticks of 1/60 s between yields; below 0: minus the milliseconds; 0: never.
  int32_t interval = 0;
  // Clock reading, in the unit of `interval`, taken right after the last yield; 0 before the
  // first, as if one had come when the clock started, so a copy's first row yields at once.
  int32_t last = 0;

  explicit YieldData(int32_t yieldArgument) : interval(yieldArgument) {}

  // Yields through "REALYieldToRB" when at least one interval has passed since the last
  // yield. Called after each row, only when `interval` is not 0. The clock is read again
  // after the yield, so time spent inside the host doesn't count towards the next interval.
  void DoYield();
};
