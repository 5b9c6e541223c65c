// The fuzz target: each input is a host (version, kind, host functions lacking or failing,
// pictures and blocks) and a run of calls of any of the 50 methods with any arguments.
//
// Every input runs in a host process of its own. The plug-in's entry point runs once per
// process and leaves process-global state behind (the host-kind flags, records fixed up for
// one host version, host functions cached once found), and the reference host allows one
// host per process; a fresh copy of the plug-in per input would pile libraries, and their
// coverage counters, up in one process. A fork gives every input what a host gives a
// program: the plug-in loaded and not yet started.
//
// The forks come from a small idle process started at initialisation (forking libFuzzer's
// own, ever busier process costs a copy of every page either side writes afterwards). The
// plug-in is loaded before that, so its coverage counters lie at the same addresses in every
// process, and each host process sends them back: libFuzzer sees the plug-in's branches as
// if they had run in its own process.
//
// A host process that breaks a rule of a call, trips a sanitizer or crashes ends non-zero;
// the fuzzer then aborts, so that libFuzzer keeps the input as a crash.
#include <dlfcn.h>
#include <sanitizer/common_interface_defs.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/fuzz/coverage_relay.h"
#include "tests/fuzz/fuzz_calls.h"
#include "tests/fuzz/fuzz_host.h"

namespace {

constexpr unsigned kSecondsPerInput = 20;
constexpr size_t kLongestInput = 1 << 20;  // longer inputs are cut here
constexpr int kRuleBroken = 2;
constexpr int kNoPlugin = 3;

pixelfuzz::CoverageRelay gRelay;
uint8_t* gInput = nullptr;  // shared with the forking process
int gRequests = -1;         // fuzzer → forking process: an input's size
int gStatuses = -1;         // forking process → fuzzer: how its host process ended

int RunInput(const uint8_t* data, size_t size) {
  FuzzedDataProvider input(data, size);
  const refhost::HostConfig config = pixelfuzz::DecodeHostConfig(input);
  refhost::Host host(config);
  std::string error;
  if (!host.Load(&error)) {
    fprintf(stderr, "pixelbridge_fuzz: %s\n", error.c_str());
    return kNoPlugin;
  }
  pixelfuzz::ProgramObjects objects = pixelfuzz::DecodeObjects(input, host);
  // PIXELBRIDGE_FUZZ_ECHO=1 shows every input's host and calls.
  const bool echo = getenv("PIXELBRIDGE_FUZZ_ECHO") != nullptr;
  if (echo) fprintf(stderr, "%s\n", pixelfuzz::DescribeHostConfig(config).c_str());
  const std::string broken = pixelfuzz::RunCalls(host, input, std::move(objects), echo);
  if (broken.empty()) return 0;
  fprintf(stderr, "pixelbridge_fuzz: a call broke a rule on a %s: %s\n",
          pixelfuzz::DescribeHostConfig(config).c_str(), broken.c_str());
  return kRuleBroken;
}

// Whole messages through the pipes; a signal (libFuzzer's timer among them) may interrupt.
bool Send(int pipe, const void* data, size_t size) {
  ssize_t done;
  while ((done = write(pipe, data, size)) < 0 && errno == EINTR) {
  }
  return done == static_cast<ssize_t>(size);
}

bool Receive(int pipe, void* data, size_t size) {
  ssize_t done;
  while ((done = read(pipe, data, size)) < 0 && errno == EINTR) {
  }
  return done == static_cast<ssize_t>(size);
}

// libFuzzer's handlers, inherited with the fork, belong to the fuzzer's process: the forking
// process and the host processes report to stderr and end, and end with the fuzzer.
void LeaveTheFuzzer() {
  __sanitizer_set_death_callback(nullptr);
  for (int signal : {SIGABRT, SIGILL, SIGALRM, SIGINT, SIGTERM, SIGUSR1, SIGUSR2}) std::signal(signal, SIG_DFL);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
}

// The forking process: one host process per request, its wait status sent back.
[[noreturn]] void ServeInputs() {
  LeaveTheFuzzer();
  uint64_t size = 0;
  while (Receive(gRequests, &size, sizeof size)) {
    const pid_t child = fork();
    if (child == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      alarm(kSecondsPerInput);
      const int status = RunInput(gInput, size);
      gRelay.SendFromChild();
      fflush(stderr);
      _exit(status);
    }
    int status = -1;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!Send(gStatuses, &status, sizeof status)) break;
  }
  _exit(0);
}

bool StartForkingProcess() {
  int requests[2], statuses[2];
  void* input = mmap(nullptr, kLongestInput, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (input == MAP_FAILED || pipe(requests) != 0 || pipe(statuses) != 0) return false;
  gInput = static_cast<uint8_t*>(input);
  fflush(stderr);
  const pid_t server = fork();
  if (server < 0) return false;
  if (server == 0) {
    close(requests[1]), close(statuses[0]);
    gRequests = requests[0], gStatuses = statuses[1];
    ServeInputs();
  }
  close(requests[0]), close(statuses[1]);
  gRequests = requests[1], gStatuses = statuses[0];
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  std::string error;
  if (dlopen(PIXELBRIDGE_PLUGIN, RTLD_NOW | RTLD_LOCAL) == nullptr) error = dlerror();
  if (error.empty() && !gRelay.Init(PIXELBRIDGE_PLUGIN, &error)) error = "coverage: " + error;
  if (error.empty() && !StartForkingProcess()) error = std::string("no forking process: ") + strerror(errno);
  if (!error.empty()) {
    fprintf(stderr, "pixelbridge_fuzz: %s\n", error.c_str());
    exit(1);
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const uint64_t length = std::min(size, kLongestInput);
  std::copy(data, data + length, gInput);
  int status = -1;
  if (!Send(gRequests, &length, sizeof length) || !Receive(gStatuses, &status, sizeof status)) {
    fprintf(stderr, "pixelbridge_fuzz: the forking process is gone\n");
    abort();
  }
  gRelay.ReceiveInParent();
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return 0;
  if (WIFSIGNALED(status))
    fprintf(stderr, "pixelbridge_fuzz: the host process died of signal %d\n", WTERMSIG(status));
  else
    fprintf(stderr, "pixelbridge_fuzz: the host process ended with status %d (report above)\n", WEXITSTATUS(status));
  abort();
}
