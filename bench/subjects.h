// The 50 methods as benchmark subjects: each call's arguments, its bytes, and the nearest
// conversion of the reference library.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "refhost/host.h"

namespace bench {

// The objects one picture size needs, made once.
struct Scene {
  int32_t width = 0, height = 0;
  refhost::Picture* picture = nullptr;  // source of the copies (ARGB-ordered bytes)
  refhost::Picture* mask = nullptr;
  refhost::Picture* dest = nullptr;     // destination of the dest overloads
  refhost::MemoryBlock* block = nullptr;   // destination of the copies
  refhost::MemoryBlock* source = nullptr;  // source of the conversions to pictures
  refhost::IntArray* table = nullptr;
  std::vector<uint8_t> yuvOut;             // the reference library's destination
};

struct Subject {
  std::string declaration;
  std::string layout;      // short name for the tables
  bool pictureMethod = false;
  std::vector<uintptr_t> words;  // arguments, receiver first
  size_t sourceBytes = 0, destinationBytes = 0;
  std::string nearestName;       // the reference library's conversion, or empty
  std::function<void()> nearest;
};

Scene MakeScene(refhost::Host& host, int32_t width, int32_t height);
std::vector<Subject> MakeSubjects(refhost::Host& host, Scene& scene);

}  // namespace bench
