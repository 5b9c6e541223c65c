// A fixed scene in which every one of the 50 methods is called once with sound arguments
// and once with a nil receiver or source: what the fault and re-entrancy tests run.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "refhost/host.h"

namespace pixeltest {

// What a call needs of the host, as far as a fault can take it away.
enum Touch : unsigned {
  kOpens = 1u << 0,         // opens a picture
  kBlockAddress = 1u << 1,  // asks for a memory block's address
  kBlockSize = 1u << 2,     // asks for a memory block's size
  kNewPicture = 1u << 3,    // makes a new picture
  kDrawnCopy = 1u << 4,     // reads a picture through a drawn copy
  kDest = 1u << 5,          // writes into a destination picture
  kArrays = 1u << 6,        // reads integer arrays
  kRaises = 1u << 7,        // raises an exception for a bad argument
  kGlobal = 1u << 8,        // a global method
  kOfPicture = 1u << 9,     // a method of "Picture"
};

struct PlannedCall {
  int index;         // line of tests/data/declarations.txt: 0-31 global, 32-49 of "Picture"
  bool nilArgument;  // a nil receiver (methods of "Picture") or source (global methods)
  bool fromVector;   // the receiver is a picture that is read through a drawn copy
};

// What a call left: its result and a digest of the bytes it wrote or the picture it returned.
struct Outcome {
  bool failed = true;
  std::string exception;  // "class: message", empty for none
  uint64_t digest = 0;
  bool operator==(const Outcome& other) const {
    return failed == other.failed && exception == other.exception && digest == other.digest;
  }
};

struct SceneCall {
  refhost::CallResult result;
  Outcome outcome;
  unsigned touches = 0;
  bool memoryUntouched = true;  // the block or destination holds what it held before
};

class MethodScene {
 public:
  // Pictures of the host's kind: on desktop hosts also one that must be drawn to be read.
  explicit MethodScene(refhost::Host& host);
  ~MethodScene();
  MethodScene(const MethodScene&) = delete;
  MethodScene& operator=(const MethodScene&) = delete;

  std::vector<PlannedCall> Plan() const;
  static std::string Describe(const PlannedCall& call);
  // Runs the call with fresh blocks and destinations, and gives them back afterwards.
  SceneCall Run(const PlannedCall& call);

 private:
  refhost::Host& host_;
  refhost::Picture* receiver_ = nullptr;
  refhost::Picture* mask_ = nullptr;
  refhost::Picture* vector_ = nullptr;  // desktop hosts only
  std::vector<refhost::IntArray*> arrays_;
};

}  // namespace pixeltest
