// Child processes and hosts for the tests.
#include "tests/support/host_fixture.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/cpu.h"

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

int ResultsSoFar() { return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count(); }

}  // namespace

#if defined(_WIN32)
// Windows has no fork: the test program runs again as the host process, told by
// PIXELTEST_CHILD which of the current test's cases to run. It runs the test from its start,
// passing over the other cases, and leaves after that one.
void InChild(const std::function<void()>& body) {
  const testing::TestInfo* test = testing::UnitTest::GetInstance()->current_test_info();
  const std::string name = std::string(test->test_suite_name()) + "." + test->name();
  static std::string counted;
  static int cases = 0;
  if (name != counted) counted = name, cases = 0;
  const int index = ++cases;
  if (const char* child = getenv("PIXELTEST_CHILD")) {
    if (atoi(child) != index) return;
    const int before = ResultsSoFar();
    body();
    fflush(nullptr);
    ExitProcess(FailedSince(before) ? 1 : 0);
  }
  char program[MAX_PATH];
  GetModuleFileNameA(nullptr, program, MAX_PATH);
  fflush(nullptr);
  SetEnvironmentVariableA("PIXELTEST_CHILD", std::to_string(index).c_str());
  const std::string command = "\"" + std::string(program) + "\" --gtest_filter=" + name;
  unsigned status = std::system(command.c_str());
  if (status == ~0u) status = std::system(command.c_str());  // the child never started (Wine, now and then)
  SetEnvironmentVariableA("PIXELTEST_CHILD", nullptr);
  if (status > 1) ADD_FAILURE() << "the host process died with status 0x" << std::hex << status;
  else EXPECT_EQ(status, 0u) << "the host process reported failures (above)";
}
#else
void InChild(const std::function<void()>& body) {
  fflush(nullptr);
  const pid_t child = fork();
  ASSERT_NE(child, -1) << "fork failed";
  if (child == 0) {
    const int before = ResultsSoFar();
    body();
#if PIXELTEST_LEAK_CHECK
    // The child leaves by _exit, which skips the sanitizer's leak check at exit.
    if (__lsan_do_recoverable_leak_check() != 0) ADD_FAILURE() << "the host process leaked memory (above)";
#endif
    fflush(nullptr);
    _exit(FailedSince(before) ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  if (WIFSIGNALED(status)) ADD_FAILURE() << "the host process died of signal " << WTERMSIG(status);
  else EXPECT_EQ(WEXITSTATUS(status), 0) << "the host process reported failures (above)";
}
#endif

void WithHost(const refhost::HostConfig& config, const std::function<void(refhost::Host&)>& body, bool start) {
  refhost::Host host(config);
  std::string error;
  if (!host.Open(&error)) {
    ADD_FAILURE() << error;
    return;
  }
  if (auto reset = reinterpret_cast<void (*)()>(host.Symbol("PixelbridgeProbeReset"))) reset();
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

void ForEachSimdLevel(refhost::Host& host, const std::function<void()>& body) {
  auto cap = Probe<void (*)(int)>(host, "PixelbridgeProbeCapSimd");
  for (int level = 0; level <= static_cast<int>(DetectedSimdLevel()); ++level) {
    SCOPED_TRACE(testing::Message() << "SIMD level " << level);
    cap(level);
    body();
  }
}

CallOutcome ExpectCall(refhost::Host& host, const MethodCall& call) {
  CallOutcome outcome = RunCall(host, call);
  for (const std::string& rule : outcome.broken) ADD_FAILURE() << rule;
  return outcome;
}

CallOutcome ExpectCall(refhost::Host& host, const std::string& line) {
  SCOPED_TRACE(line);
  return ExpectCall(host, ParseCall(line));
}

}  // namespace pixeltest
