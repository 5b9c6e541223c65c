// The host functions one call of a method makes, recorded, then made again alone (what the call
// costs the host) or answered from the record (a host whose functions cost next to nothing),
// so that the plug-in's own time is what is left.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace refhost {
class Host;
}

namespace bench {

// The resolver to hand the plug-in's entry point in place of the host's: it hands out, for
// every host function, one of the same signature that calls the host's and, while a
// recording runs, notes the call.
void* RecordingResolver(const char* name);

// One host call as the plug-in made it.
struct HostCall {
  static constexpr int kMostWords = 4;
  // Calls the host's function with `words`, and gives its result as a word.
  uintptr_t (*make)(const uintptr_t* words);
  uintptr_t words[kMostWords];
  // Per word, the earlier call whose result it is (-1: none): the replay passes that call's
  // new result there, an object the replay made in place of the one the plug-in's call made.
  int8_t madeBy[kMostWords];
  // What the host gave: its result as a word, and what it wrote through an out-argument.
  uintptr_t result;
  alignas(8) unsigned char out[32];  // a picture description at most
};

class HostCalls {
 public:
  // The host calls that `call` makes; `call` gives back the picture its method returned (0
  // for none), which the caller of a method lets go, as a replay lets go of its own.
  HostCalls(refhost::Host& host, const std::function<uintptr_t()>& call);
  // Lets go of the picture the recorded call returned, which answers hand out again.
  ~HostCalls();
  HostCalls(const HostCalls&) = delete;
  HostCalls& operator=(const HostCalls&) = delete;
  // Makes the calls again, in order, with the same arguments but for the objects the calls
  // made (a replay makes its own), out-arguments pointing at a replay's own storage.
  void Replay() const { Run(true); }
  // The same walk without calling the host: the replay's own bookkeeping, which is taken off
  // its time so that what is left is the host's.
  void Walk() const { Run(false); }
  // Runs `call` (the method's call, its result kept by the record) with every host function
  // answering as it did when recorded, without calling the host: out-arguments get what the
  // host wrote, results what it returned, the picture made by the recorded call included.
  template <typename F>
  void Answering(F&& call) const {
    BeginAnswers();
    call();
    EndAnswers();
  }
  // The recorded calls answered alone, made as they were recorded (the objects are the
  // record's own): what answering costs, to be taken off a call answered so...
  void ReplayAnswers() const {
    Answering([this] { RunAnswers(true); });
  }
  // ...once the walk over the record that it takes is taken off it.
  void WalkAnswers() const { RunAnswers(false); }
  size_t size() const { return calls_.size(); }

 private:
  void Run(bool call) const;
  void RunAnswers(bool call) const;
  void BeginAnswers() const;
  void EndAnswers() const;
  refhost::Host& host_;
  std::vector<HostCall> calls_;
  uintptr_t returned_ = 0;                  // the picture the recorded call returned, if any
  int returnedBy_ = -1;                     // the call that made the picture the method returned
  mutable std::vector<uintptr_t> results_;  // a run's results, one per call
  mutable uintptr_t kept_ = 0;              // what a run of the answers kept of them
};

}  // namespace bench
