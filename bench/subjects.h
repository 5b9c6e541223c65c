// The 50 methods as benchmark subjects: each call's arguments, its bytes, and the two
// baselines timed on the very buffers the method reads and writes: memcpy of the larger of
// its source and destination, and the nearest conversion of the reference library.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "refhost/model/host.h"

namespace bench {

// The objects one picture size needs, made once.
struct Scene {
  int32_t width = 0, height = 0;
  int32_t offset = 0;                   // of the pixels in both blocks
  refhost::Picture* picture = nullptr;  // source of the copies (ARGB-ordered bytes)
  refhost::Picture* mask = nullptr;
  refhost::Picture* dest = nullptr;  // destination of the dest overloads
  // Destination of the copies, from the offset on: twice a picture's bytes, so that the memcpy
  // baseline of a mask copy (picture and mask, eight bytes a pixel) starts where the copy
  // writes and stays in the block.
  refhost::MemoryBlock* block = nullptr;
  refhost::MemoryBlock* source = nullptr;  // source of the conversions to pictures
  refhost::IntArray* table = nullptr;
};

struct Subject {
  std::string declaration;
  std::string layout;  // short name for the tables
  bool pictureMethod = false;
  std::vector<uintptr_t> words;  // arguments, receiver first
  // memcpy of the larger of the bytes the method reads and writes (four a pixel, eight for a
  // mask copy) from its source into its destination (methods that make a picture: into the
  // dest picture, the same size).
  std::function<void()> copy;
  std::string nearestName;  // the reference library's conversion on the same buffers
  std::function<void()> nearest;
};

Scene MakeScene(refhost::Host& host, int32_t width, int32_t height, int32_t offset);
std::vector<Subject> MakeSubjects(refhost::Host& host, Scene& scene);

}  // namespace bench
