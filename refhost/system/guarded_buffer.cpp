// Guard-paged buffers, with freed regions kept for reuse as an allocator keeps freed memory.
#include "refhost/system/guarded_buffer.h"

#include <cstring>
#include <map>
#include <new>
#include <vector>

#include "refhost/system/system.h"

namespace refhost {
namespace {
constexpr uint8_t kSlackPattern = 0xA5;
constexpr size_t kPooledBytes = size_t{256} << 20;  // freed regions kept, at most
using os::PageSize;

// Freed regions by size, guard pages still in place. Fresh pages cost a fault each on
// first touch, which in virtual machines is dear; reused ones don't.
std::multimap<size_t, uint8_t*>& Pool() {
  static std::multimap<size_t, uint8_t*> pool;
  return pool;
}
size_t gPooled = 0;
}  // namespace

GuardedBuffer::GuardedBuffer(size_t size, uint8_t fill) : size_(size) {
  const size_t page = PageSize();
  const size_t dataPages = os::RoundUp(size, page) / page;
  region_size_ = (dataPages + 2) * page;
  auto pooled = Pool().find(region_size_);
  const bool reused = pooled != Pool().end();
  if (reused) {
    region_ = pooled->second;
    Pool().erase(pooled);
    gPooled -= region_size_;
  } else {
    region_ = os::MapPages(region_size_);
    if (region_ == nullptr) throw std::bad_alloc();
    os::ForbidPage(region_);
    os::ForbidPage(region_ + (dataPages + 1) * page);
  }
  data_ = region_ + (dataPages + 1) * page - size;
  memset(region_ + page, kSlackPattern, dataPages * page - size);
  if (reused || fill != 0) memset(data_, fill, size);  // fresh pages read as zero already
}

GuardedBuffer::~GuardedBuffer() {
  if (gPooled + region_size_ <= kPooledBytes) {
    Pool().emplace(region_size_, region_);
    gPooled += region_size_;
  } else {
    os::UnmapPages(region_, region_size_);
  }
}

// Against a page of the pattern, which the library's memcmp does fast: hosts check every
// block after every call.
bool GuardedBuffer::SlackIntact() const {
  static const std::vector<uint8_t> pattern(PageSize(), kSlackPattern);
  const uint8_t* slack = region_ + pattern.size();
  return memcmp(slack, pattern.data(), static_cast<size_t>(data_ - slack)) == 0;
}

}  // namespace refhost
