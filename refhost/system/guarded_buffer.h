// Memory whose last byte sits right before an inaccessible page, so that running past the
// end faults at once. The page before it is inaccessible too, and the slack between that
// page and the first byte holds a pattern that can be checked.
#pragma once

#include <cstddef>
#include <cstdint>

namespace refhost {

class GuardedBuffer {
 public:
  GuardedBuffer(size_t size, uint8_t fill);
  ~GuardedBuffer();
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  uint8_t* data() const { return data_; }
  size_t size() const { return size_; }
  // False when a byte of the slack before the buffer was changed.
  bool SlackIntact() const;

 private:
  uint8_t* region_ = nullptr;
  size_t region_size_ = 0;
  uint8_t* data_ = nullptr;
  size_t size_ = 0;
};

}  // namespace refhost
