// Yield pacing by ticks and milliseconds, the clocks behind it, and copies that yield while
// the host runs other calls.
#include <chrono>
#include <thread>
#include <utility>

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
    EXPECT_TRUE(!yielded.back() || Probe<int32_t (*)(void*)>(host, "PixelbridgeProbeYieldLast")(data) == now)
        << "last is read after the yield";
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
      // First call yields at once: the last yield is taken to be at 0.
      {60, {1000, 1030, 1059, 1065, 1120, 1130}, 5, {true, false, false, true, false, true}},
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

// Yield 0 never yields nor reads a clock; otherwise a copy yields between lines with its
// pictures still open, and the host runs other methods of the plug-in there (one yielding in
// turn, one on the picture being copied, yielding too): every call gives what it would have
// given alone, and at every yield the copies hold their locks. The probe's clock, which the
// test sets, paces them in every build: the system's clocks would make the pacing depend on
// how long the machine has been up.
TEST(Yield, CopiesYieldBetweenLinesAndOtherCallsRunThere) {
  const struct {
    int32_t yield;
    std::string copied;
    refhost::HostKind kind;
    int locks;  // of the picture and the mask at a yield: a vector picture is read through a copy
  } cases[] = {{0, "5x4", refhost::HostKind::Desktop, 2},  {1, "5x4", refhost::HostKind::Desktop, 2},
               {-1, "5x4", refhost::HostKind::Desktop, 2}, {1000, "5x4", refhost::HostKind::Desktop, 2},
               {-1, "5x4", refhost::HostKind::Console, 2}, {1000, "5x4:vector", refhost::HostKind::Desktop, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "Yield " << c.yield << ", " << c.copied);
    InHost(pixeltest::ProbeConfig(c.kind), [&](Host& host) {
      Probe<void (*)(uint32_t, int32_t)>(host, "PixelbridgeProbeSetClock")(100000, 100000);
      refhost::Picture* picture = pixeltest::NewPicture(host, c.copied);
      refhost::Picture* mask = pixeltest::NewPicture(host, "5x4", true);
      const int reopened = c.locks - 1;  // the nested copy's lock of the picture copied
      int yields = 0, locks = c.locks;
      bool nestedRan = false, innermostRan = false;
      host.on_yield = [&] {
        ++yields;
        EXPECT_EQ(picture->locks() + mask->locks(), locks) << "the copies keep their pictures open, yield " << yields;
        if (nestedRan) {  // a nested copy's yield (the first runs one more call), or the outer copy's again
          if (!std::exchange(innermostRan, true)) pixeltest::ExpectCall(host, "46 width=2 height=2 -> picture");
          return;
        }
        nestedRan = true;
        pixeltest::ExpectCall(host, "14 picture=3x2 Yield=1 -> true");  // yields in turn
        pixeltest::ExpectCall(host, "40 dest=4x4 width=2 height=2 -> dest");
        pixeltest::MethodCall again = pixeltest::ParseCall("17 PixelByteSize=1 Yield=-1 -> true");
        again.objects["picture"] = picture;  // the picture copied
        locks += reopened;
        pixeltest::ExpectCall(host, again);
        locks -= reopened;
      };
      pixeltest::MethodCall call = pixeltest::ParseCall("8 Yield=" + std::to_string(c.yield) + " -> true");
      call.objects = {{"picture", picture}, {"MaskForAlpha", mask}};
      pixeltest::ExpectCall(host, call);
      EXPECT_EQ(nestedRan && innermostRan, c.yield != 0);
      EXPECT_EQ(yields, c.yield == 0 ? 0 : 3) << "the copy's first line, and each nested copy's";
      EXPECT_EQ(Probe<int (*)()>(host, "PixelbridgeProbeClockReads")(), c.yield == 0 ? 0 : 4 + 2 + 4 + yields)
          << "one read a line of every copy, one more after each yield";
      host.Release(picture);
      host.Release(mask);
    });
  }
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
