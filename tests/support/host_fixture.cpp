// Child processes and hosts for the tests.
#include "tests/support/host_fixture.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "platform/cpu.h"

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

void InChild(const std::function<void()>& body) {
  fflush(stdout);
  fflush(stderr);
  const pid_t child = fork();
  ASSERT_NE(child, -1) << "fork failed";
  if (child == 0) {
    body();
#if PIXELTEST_LEAK_CHECK
    // The child leaves by _exit, which skips the sanitizer's leak check at exit.
    if (__lsan_do_recoverable_leak_check() != 0) ADD_FAILURE() << "the host process leaked memory (above)";
#endif
    fflush(stdout);
    fflush(stderr);
    _exit(::testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  if (WIFSIGNALED(status)) ADD_FAILURE() << "the host process died of signal " << WTERMSIG(status);
  else EXPECT_EQ(WEXITSTATUS(status), 0) << "the host process reported failures (above)";
}

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
