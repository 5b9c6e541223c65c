// The host functions one call of a method makes, recorded and then made again alone: what the
// call costs the host, so that the plug-in's own time is the rest.
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
};

class HostCalls {
 public:
  // The host calls that `call` makes; `call` gives back the picture its method returned (0
  // for none), which the caller of a method lets go, as a replay lets go of its own.
  HostCalls(refhost::Host& host, const std::function<uintptr_t()>& call);
  // Makes the calls again, in order, with the same arguments but for the objects the calls
  // made (a replay makes its own), out-arguments pointing at a replay's own storage.
  void Replay() const { Run(true); }
  // The same walk without calling the host: the replay's own bookkeeping, which is taken off
  // its time so that what is left is the host's.
  void Walk() const { Run(false); }
  size_t size() const { return calls_.size(); }

 private:
  void Run(bool call) const;
  refhost::Host& host_;
  std::vector<HostCall> calls_;
  int returnedBy_ = -1;                     // the call that made the picture the method returned
  mutable std::vector<uintptr_t> results_;  // a run's results, one per call
};

}  // namespace bench
