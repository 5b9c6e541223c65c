// Carries the coverage counters of a forked host process back to the fuzzer's process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace pixelfuzz {

// The counters of this program and of one loaded library, mirrored through shared memory:
// the child sends what its run counted, the parent merges it into its own counters, where
// libFuzzer reads them after the input.
class CoverageRelay {
 public:
  // `library` must be loaded already, by the same path; false with an error otherwise.
  bool Init(const char* library, std::string* error);
  void SendFromChild();
  void ReceiveInParent();
  size_t counters() const { return total_; }

 private:
  struct Region {
    uint8_t* begin;
    size_t size;
  };
  std::vector<Region> regions_;
  uint8_t* shared_ = nullptr;
  size_t total_ = 0;
};

}  // namespace pixelfuzz
