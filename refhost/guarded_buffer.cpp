// Guard-paged buffers.
#include "refhost/guarded_buffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <new>

namespace refhost {
namespace {
constexpr uint8_t kSlackPattern = 0xA5;
size_t PageSize() { return static_cast<size_t>(sysconf(_SC_PAGESIZE)); }
}  // namespace

GuardedBuffer::GuardedBuffer(size_t size, uint8_t fill) : size_(size) {
  const size_t page = PageSize();
  const size_t dataPages = (size + page - 1) / page;
  region_size_ = (dataPages + 2) * page;
  void* region = mmap(nullptr, region_size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (region == MAP_FAILED) throw std::bad_alloc();
  region_ = static_cast<uint8_t*>(region);
  mprotect(region_, page, PROT_NONE);
  mprotect(region_ + (dataPages + 1) * page, page, PROT_NONE);
  data_ = region_ + (dataPages + 1) * page - size;
  memset(region_ + page, kSlackPattern, dataPages * page - size);
  memset(data_, fill, size);
}

GuardedBuffer::~GuardedBuffer() { munmap(region_, region_size_); }

bool GuardedBuffer::SlackIntact() const {
  for (const uint8_t* byte = region_ + PageSize(); byte < data_; ++byte)
    if (*byte != kSlackPattern) return false;
  return true;
}

}  // namespace refhost
