// Instances, memory blocks behind guard pages, and integer arrays.
#include "refhost/objects.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <new>

#include "refhost/host.h"

namespace refhost {

bool Instance::GetInt(const std::string& name, int32_t* value) {
  auto found = ints.find(name);
  if (found == ints.end()) return false;
  *value = found->second;
  return true;
}

bool Instance::SetInt(const std::string& name, int32_t value) {
  ints[name] = value;
  return true;
}

bool Instance::SetString(Host& host, const std::string& name, String* value) {
  if (value != nullptr) host.Retain(value);
  auto found = strings.find(name);
  if (found != strings.end() && found->second != nullptr) host.Release(found->second);
  strings[name] = value;
  return true;
}

void Instance::ReleaseHeld(Host& host) {
  for (auto& entry : strings)
    if (entry.second != nullptr) host.Release(entry.second);
  strings.clear();
}

namespace {
constexpr uint8_t kSlackPattern = 0xA5;
size_t PageSize() { return static_cast<size_t>(sysconf(_SC_PAGESIZE)); }
}  // namespace

MemoryBlock::MemoryBlock(size_t size, uint8_t fill) : Object("MemoryBlock"), size_(size) {
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

MemoryBlock::~MemoryBlock() { munmap(region_, region_size_); }

bool MemoryBlock::SlackIntact() const {
  for (const uint8_t* byte = region_ + PageSize(); byte < data_; ++byte)
    if (*byte != kSlackPattern) return false;
  return true;
}

IntArray::IntArray(std::vector<int32_t> values) : Object("Integer()"), values_(std::move(values)) {
  handle_.elements = values_.data();
}

}  // namespace refhost
