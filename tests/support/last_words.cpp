// Last words: a handler of each fatal signal writes them with the signal's number, then gives
// the signal back to whoever handled it before (the sanitizers' report of a fault, the Mac
// runner's, or the system's default course): the faulting instruction runs again, or abort
// raises it once more.
#include "tests/support/last_words.h"

#include <csignal>
#include <cstdio>
#include <iterator>

namespace pixeltest {
namespace {

char gWords[1024];  // a fixed buffer, which the handler reads as it stands
constexpr int kFatal[] = {SIGSEGV, SIGILL, SIGFPE, SIGABRT};
#if defined(_WIN32)
using Handling = void (*)(int);
#else
using Handling = struct sigaction;
#endif
Handling gBefore[std::size(kFatal)];

void Say(int signal) {
  fprintf(stderr, "%s: this process got signal %d\n", gWords, signal);
  for (size_t i = 0; i < std::size(kFatal); ++i)
    if (kFatal[i] == signal) {
#if defined(_WIN32)
      std::signal(signal, gBefore[i]);
#else
      sigaction(signal, &gBefore[i], nullptr);
#endif
    }
}

}  // namespace

void SetLastWords(const std::string& words) {
  static const bool kHandled = [] {
    for (size_t i = 0; i < std::size(kFatal); ++i) {
#if defined(_WIN32)
      gBefore[i] = std::signal(kFatal[i], Say);
#else
      struct sigaction say = {};
      say.sa_handler = Say;
      sigaction(kFatal[i], &say, &gBefore[i]);
#endif
    }
    return true;
  }();
  snprintf(gWords, sizeof gWords, "%s", kHandled ? words.c_str() : "");
}

}  // namespace pixeltest
