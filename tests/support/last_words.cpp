// Last words: a handler of each fatal signal writes them with the signal's number, then lets
// the signal take its default course (the faulting instruction runs again, or abort raises
// it once more).
#include "tests/support/last_words.h"

#include <csignal>
#include <cstdio>

namespace pixeltest {
namespace {

char gWords[1024];  // a fixed buffer, which the handler reads as it stands

void Say(int signal) {
  std::signal(signal, SIG_DFL);
  fprintf(stderr, "%s: this process got signal %d\n", gWords, signal);
}

}  // namespace

void SetLastWords(const std::string& words) {
  static const bool kHandled = [] {
    for (int signal : {SIGSEGV, SIGILL, SIGFPE, SIGABRT}) std::signal(signal, Say);
    return true;
  }();
  snprintf(gWords, sizeof gWords, "%s", kHandled ? words.c_str() : "");
}

}  // namespace pixeltest
