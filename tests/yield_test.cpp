// Yield pacing by ticks and milliseconds and the clocks behind it. Copies that yield while
// the host runs other calls, their locks checked at every yield, are the fuzzer's; how often
// copies yield, the case table's.
#include <chrono>
#include <thread>

#include "platform/clock.h"
#include "tests/support/host_fixture.h"

using pixeltest::InHost;
using pixeltest::Probe;
using refhost::Host;

namespace {

// Drives one pacing record through clock readings; gives after which readings it yielded.
// The host's own work inside each yield takes `insideHost` units of the clock.
std::vector<bool> Pace(Host& host, int32_t interval, const std::vector<int32_t>& readings, int32_t insideHost) {
  auto setClock = Probe<void (*)(uint32_t, int32_t)>(host, "PixelbridgeProbeSetClock");
  auto yield = Probe<void (*)(void*)>(host, "PixelbridgeProbeDoYield");
  int32_t now = 0;
  auto set = [&](int32_t value) {
    now = value;
    setClock(static_cast<uint32_t>(value), value);
  };
  host.on_yield = [&] { set(now + insideHost); };
  void* data = Probe<void* (*)(int32_t)>(host, "PixelbridgeProbeNewYield")(interval);
  std::vector<bool> yielded;
  for (int32_t reading : readings) {
    set(reading);
    const int before = host.CallCount("REALYieldToRB");
    yield(data);
    yielded.push_back(host.CallCount("REALYieldToRB") > before);
  }
  Probe<void (*)(void*)>(host, "PixelbridgeProbeFreeYield")(data);
  host.on_yield = nullptr;
  return yielded;
}

TEST(Yield, TicksAndMillisecondsPaceTheYields) {
  struct Case {
    int32_t interval;
    std::vector<int32_t> readings;
    int32_t insideHost;
    std::vector<bool> yielded;
  };
  const Case cases[] = {
      // First call yields at once: the last yield is taken to be at 0. The clock is read again
      // after each yield: the host's time in it doesn't count.
      {60, {1000, 1030, 1062, 1065, 1120, 1129, 1130}, 5, {true, false, false, true, false, false, true}},
      {1, {5, 5, 6, 6, 8}, 0, {true, false, true, false, true}},
      {10, {10, 19, 20}, 0, {true, false, true}},  // exactly one interval after 0
      {-250, {10000, 10200, 10249, 10250, 10400, 10499}, 0, {true, false, false, true, false, false}},
      // Readings far below the last count by their distance too.
      {10, {100, 50, 55}, 0, {true, true, false}},
      // The millisecond clock wraps at 2^32 ms; distances run across the wrap.
      {-100, {INT32_MAX - 10, INT32_MIN + 20, INT32_MIN + 88, INT32_MIN + 200}, 0, {true, false, false, true}},
  };
  InHost(pixeltest::ProbeConfig(), [&](Host& host) {
    for (const Case& c : cases) EXPECT_EQ(Pace(host, c.interval, c.readings, c.insideHost), c.yielded) << c.interval;
  });
}

TEST(Clock, TicksAreSixtiethsAndMillisecondsWrapAt32Bits) {
  EXPECT_EQ(TicksFromNanoseconds(0), 0u);
  EXPECT_EQ(TicksFromNanoseconds(1000000000ull), 60u);
  EXPECT_EQ(TicksFromNanoseconds(16666666ull), 0u);
  EXPECT_EQ(TicksFromNanoseconds(16666667ull), 1u);
  EXPECT_EQ(TicksFromNanoseconds(3600ull * 1000000000ull), 216000u);
  EXPECT_EQ(MillisecondsFromNanoseconds(1999999ull), 1);
  EXPECT_EQ(MillisecondsFromNanoseconds(2147483647ull * 1000000ull), INT32_MAX);
  EXPECT_EQ(MillisecondsFromNanoseconds(2147483648ull * 1000000ull), INT32_MIN);
  EXPECT_EQ(MillisecondsFromNanoseconds(4294967296ull * 1000000ull + 5000000ull), 5);
}

TEST(Clock, SystemClocksAgreeAndAdvance) {
  const int32_t ms = PlatformMilliseconds();
  const uint32_t ticks = PlatformTickCount();
  const int64_t ticksAsMs = static_cast<int64_t>(ticks) * 1000 / 60;
  // Both count from the same start; allow a tick and a little scheduling.
  EXPECT_NEAR(static_cast<double>(static_cast<uint32_t>(ms)), static_cast<double>(ticksAsMs % (1ll << 32)), 100.0);
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  const int32_t elapsed = PlatformMilliseconds() - ms;
  EXPECT_GE(elapsed, 50);
  EXPECT_LT(elapsed, 1500) << "a second or more for 50 ms of sleep";
  EXPECT_GE(PlatformTickCount() - ticks, 2u);
}

}  // namespace
