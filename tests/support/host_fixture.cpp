// Child processes and hosts for the tests.
#include "tests/support/host_fixture.h"

#include <string>

#include "refhost/system/system.h"
#include "tests/support/last_words.h"

// Every AddressSanitizer build checks each host process for leaks.
#if defined(__SANITIZE_ADDRESS__)
#define PIXELTEST_LEAK_CHECK 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define PIXELTEST_LEAK_CHECK 1
#endif
#endif
#if PIXELTEST_LEAK_CHECK
#include <sanitizer/lsan_interface.h>
#endif

namespace pixeltest {

refhost::HostConfig PluginConfig(refhost::HostKind kind) {
  refhost::HostConfig config;
  config.plugin_path = PIXELBRIDGE_PLUGIN;
  config.kind = kind;
  return config;
}

refhost::HostConfig ProbeConfig(refhost::HostKind kind) {
  refhost::HostConfig config = PluginConfig(kind);
  config.plugin_path = PIXELBRIDGE_PROBE;
  return config;
}

namespace {

// Failures reported in this test since it had `before` results: a host process reports its
// own, not those its parent had before it started.
bool FailedSince(int before) {
  const testing::TestResult* result = testing::UnitTest::GetInstance()->current_test_info()->result();
  for (int i = before; i < result->total_part_count(); ++i)
    if (result->GetTestPartResult(i).failed()) return true;
  return false;
}

constexpr const char* kChooseAs = "PixelbridgeProbeChooseAs";
KernelChoice gChoice = {-1, -1};  // the hosts' choice of kernels (ForEachKernelChoice); -1: their own

int ResultsSoFar() { return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count(); }

}  // namespace

// Each case of a test is a child of its own, numbered in the order the test reaches them (a
// Windows child runs the test again from its start, passing over the other cases).
void InChild(const std::function<void()>& body) {
  const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
  const std::string name = std::string(test->test_suite_name()) + "." + test->name();
  static std::string counted;
  static int cases = 0;
  if (name != counted) {
    counted = name;
    cases = 0;
  }
  const int index = ++cases;
  const refhost::os::ProcessEnd end = refhost::os::RunChild(index, "--gtest_filter=" + name, [&] {
    const int before = ResultsSoFar();
    // An exception ends the host process here, reported as its own failure: past this point
    // it would run on into the parent's later tests.
    try {
      body();
    } catch (const std::exception& thrown) {
      ADD_FAILURE() << "the host process threw: " << thrown.what();
      return 1;
    } catch (...) {
      ADD_FAILURE() << "the host process threw something other than a std::exception";
      return 1;
    }
#if PIXELTEST_LEAK_CHECK
    // The child leaves without exit handlers, so the sanitizer's own check at exit never runs.
    if (__lsan_do_recoverable_leak_check() != 0) ADD_FAILURE() << "the host process leaked memory (above)";
#endif
    return FailedSince(before) ? 1 : 0;
  });
  if (!end.died.empty()) ADD_FAILURE() << "the host process of case " << index << " died: " << end.died;
  else EXPECT_EQ(end.status, 0) << "the host process of case " << index << " reported failures (above)";
}

void WithHost(const refhost::HostConfig& config, const std::function<void(refhost::Host&)>& body, bool start) {
  refhost::Host host(config);
  std::string error;
  if (!host.Open(&error)) {
    ADD_FAILURE() << error;
    return;
  }
  if (auto reset = reinterpret_cast<void (*)()>(host.Symbol("PixelbridgeProbeReset"))) reset();
  const auto choose = reinterpret_cast<ChooseKernels>(host.Symbol(kChooseAs));
  if (gChoice.row >= 0 && !(choose && gChoice.MakeWith(choose))) ADD_FAILURE() << "no " << gChoice.Name() << " here";
  if (start) host.Start(&error);
  body(host);
}

void InHost(const refhost::HostConfig& config, const std::function<void(refhost::Host&)>& body) {
  InChild([&] { WithHost(config, body); });
}

void ExpectBalanced(const refhost::CallResult& result) {
  EXPECT_TRUE(result.called) << result.error;
  for (const std::string& problem : result.problems) ADD_FAILURE() << problem;
}

void ForEachKernelChoice(const std::function<void()>& body) {
  std::vector<KernelChoice> choices;
  WithHost(
      ProbeConfig(), [&](refhost::Host& host) { choices = KernelChoices(Probe<ChooseKernels>(host, kChooseAs)); },
      false);
  for (const KernelChoice& choice : choices) {
    SCOPED_TRACE(choice.Name());
    gChoice = choice;
    body();
  }
  gChoice = {-1, -1};
}

CallOutcome ExpectCall(refhost::Host& host, const MethodCall& call) {
  CallOutcome outcome = RunCall(host, call);
  for (const std::string& rule : outcome.broken) ADD_FAILURE() << rule;
  return outcome;
}

CallOutcome ExpectCall(refhost::Host& host, const std::string& line, bool clockSet) {
  SCOPED_TRACE(line);
  try {
    MethodCall call = ParseCall(line);
    call.clockSet = clockSet;
    return ExpectCall(host, call);
  } catch (const std::invalid_argument& misspelt) {
    ADD_FAILURE() << misspelt.what();
    return {};
  }
}

// "host" lines start a host, other lines are calls on it.
void ExpectCaseTable(const std::string& plugin) {
  std::vector<int> numbers;
  const std::vector<std::string> lines = DataLines("calls.txt", &numbers);
  const auto where = [&](size_t i) { return "calls.txt:" + std::to_string(numbers[i]) + ": " + lines[i]; };
  std::vector<std::vector<size_t>> hosts;  // each host line and the calls below it
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i].rfind("host ", 0) == 0) hosts.emplace_back();
    hosts.back().push_back(i);
  }
  const bool probe = plugin == PIXELBRIDGE_PROBE;
  const auto run = [&](const std::vector<size_t>& host, refhost::Host& on) {
    if (probe) Probe<void (*)(uint32_t, int32_t)>(on, "PixelbridgeProbeSetClock")(100000, 100000);
    for (size_t k = 1; k < host.size(); ++k) {
      SCOPED_TRACE(where(host[k]));
      SetLastWords(where(host[k]));
      ExpectCall(on, lines[host[k]], probe);
    }
  };
  for (const std::vector<size_t>& host : hosts)
    InChild([&] {
      SCOPED_TRACE(where(host[0]));
      const refhost::HostConfig config = ParseHost(lines[host[0]], plugin);
      if (probe) ForEachKernelChoice([&] { WithHost(config, [&](refhost::Host& on) { run(host, on); }); });
      else WithHost(config, [&](refhost::Host& on) { run(host, on); });
    });
}

}  // namespace pixeltest
