// Yield pacing by ticks and milliseconds, and the clocks behind it.
#include "platform/clock.h"
#include "tests/support/host_fixture.h"

using pixeltest::InHost;
using refhost::Host;

namespace {

struct YieldProbe {
  explicit YieldProbe(Host& host)
      : make(pixeltest::Probe<void* (*)(int32_t)>(host, "PixelbridgeProbeNewYield")),
        yield(pixeltest::Probe<void (*)(void*)>(host, "PixelbridgeProbeDoYield")),
        last(pixeltest::Probe<int32_t (*)(void*)>(host, "PixelbridgeProbeYieldLast")),
        drop(pixeltest::Probe<void (*)(void*)>(host, "PixelbridgeProbeFreeYield")),
        setClock(pixeltest::Probe<void (*)(uint32_t, int32_t)>(host, "PixelbridgeProbeSetClock")),
        clockReads(pixeltest::Probe<int (*)()>(host, "PixelbridgeProbeClockReads")) {}
  void* (*make)(int32_t);
  void (*yield)(void*);
  int32_t (*last)(void*);
  void (*drop)(void*);
  void (*setClock)(uint32_t, int32_t);
  int (*clockReads)();
};

// Drives one YieldData through clock readings; returns after which readings it yielded.
// The host's own work inside each yield takes `insideHost` units of the clock.
std::vector<bool> Pace(Host& host, int32_t interval, const std::vector<int32_t>& readings, int32_t insideHost) {
  YieldProbe probe(host);
  int32_t now = 0;
  auto set = [&](int32_t value) {
    now = value;
    probe.setClock(static_cast<uint32_t>(value), value);
  };
  host.on_yield = [&] { set(now + insideHost); };
  void* data = probe.make(interval);
  std::vector<bool> yielded;
  for (int32_t reading : readings) {
    set(reading);
    const int before = host.CallCount("REALYieldToRB");
    probe.yield(data);
    yielded.push_back(host.CallCount("REALYieldToRB") > before);
    if (yielded.back()) {
      EXPECT_EQ(probe.last(data), now) << "last is read after the yield";
    }
  }
  probe.drop(data);
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
      // First call yields at once: the last yield is taken to be at 0.
      {60, {1000, 1030, 1059, 1065, 1120, 1130}, 5, {true, false, false, true, false, true}},
      {1, {5, 5, 6, 6, 8}, 0, {true, false, true, false, true}},
      {-250, {10000, 10200, 10249, 10250, 10400, 10499}, 0, {true, false, false, true, false, false}},
      // Readings far below the last count by their distance too.
      {10, {100, 50, 55}, 0, {true, true, false}},
      // The millisecond clock wraps at 2^32 ms; distances run across the wrap.
      {-100, {INT32_MAX - 10, INT32_MIN + 20, INT32_MIN + 88, INT32_MIN + 200}, 0, {true, false, false, true}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.interval);
    InHost(pixeltest::ProbeConfig(), [&](Host& host) { EXPECT_EQ(Pace(host, c.interval, c.readings, c.insideHost), c.yielded); });
  }
}

TEST(Yield, OneClockReadWhenTheIntervalHasNotPassed) {
  InHost(pixeltest::ProbeConfig(), [](Host& host) {
    YieldProbe probe(host);
    void* data = probe.make(-1000);
    probe.setClock(0, 5000);
    probe.yield(data);  // yields: two reads
    const int reads = probe.clockReads();
    probe.setClock(0, 5500);
    probe.yield(data);
    EXPECT_EQ(probe.clockReads(), reads + 1);
    probe.drop(data);
  });
}

TEST(Yield, HostWithoutYieldStillMovesTheLastYield) {
  refhost::HostConfig config = pixeltest::ProbeConfig();
  config.missing.insert("REALYieldToRB");
  InHost(config, [](Host& host) {
    YieldProbe probe(host);
    void* data = probe.make(6);
    for (uint32_t ticks : {100u, 103u, 107u}) {
      probe.setClock(ticks, 0);
      probe.yield(data);
    }
    EXPECT_EQ(probe.last(data), 107);
    EXPECT_EQ(host.LookupCount("REALYieldToRB"), 2);
    probe.drop(data);
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

TEST(Clock, SystemClocksAgree) {
  const int32_t ms = PlatformMilliseconds();
  const uint32_t ticks = PlatformTickCount();
  const int64_t ticksAsMs = static_cast<int64_t>(ticks) * 1000 / 60;
  // Both count from the same start; allow a tick and a little scheduling.
  EXPECT_NEAR(static_cast<double>(static_cast<uint32_t>(ms) % (1ull << 32)),
              static_cast<double>(ticksAsMs % (1ll << 32)), 100.0);
}

}  // namespace
