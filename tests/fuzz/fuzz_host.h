// The host half of a fuzz input: the host's configuration and the objects a program starts with.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <string>
#include <vector>

#include "refhost/host.h"

namespace pixelfuzz {

// Version, kind, host functions lacking or failing, classes that can't be made, and the
// pictures "newPicture" makes.
refhost::HostConfig DecodeHostConfig(FuzzedDataProvider& input);
std::string DescribeHostConfig(const refhost::HostConfig& config);

// Objects of the program, each with the one reference the program holds.
struct ProgramObjects {
  std::vector<refhost::Picture*> pictures;
  std::vector<refhost::MemoryBlock*> blocks;  // each ends at a guard page
  std::vector<refhost::IntArray*> arrays;
};
ProgramObjects DecodeObjects(FuzzedDataProvider& input, refhost::Host& host);
// A memory block of a few bytes up to a few pages, filled with a pattern.
refhost::MemoryBlock* DecodeBlock(FuzzedDataProvider& input, refhost::Host& host);

// The argument of a parameter of this type: one of the objects, or nil.
template <typename T>
T* PickOrNil(FuzzedDataProvider& input, const std::vector<T*>& objects) {
  const size_t choice = input.ConsumeIntegralInRange<size_t>(0, objects.size());
  return choice < objects.size() ? objects[choice] : nullptr;
}

// A picture's kind, size and format in a few words, for reports.
std::string DescribePicture(const refhost::Picture& picture);

}  // namespace pixelfuzz
