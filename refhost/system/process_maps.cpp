// Reading /proc/self/maps a line at a time from a fixed buffer.
#include "refhost/system/process_maps.h"

#include <fcntl.h>
#include <unistd.h>

namespace refhost {
namespace {

uint64_t Hex(const char*& p) {
  uint64_t value = 0;
  for (;; ++p) {
    const char c = *p;
    const int digit = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
    if (digit < 0) return value;
    value = value << 4 | static_cast<uint64_t>(digit);
  }
}

}  // namespace

bool MappingAt(uint64_t address, Mapping* mapping) {
  const int file = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
  if (file < 0) return false;
  static char buffer[1 << 16];
  size_t held = 0;
  bool found = false;
  for (;;) {
    const ssize_t got = read(file, buffer + held, sizeof buffer - 1 - held);
    if (got <= 0) break;
    held += static_cast<size_t>(got);
    buffer[held] = '\0';
    size_t start = 0;
    for (size_t end = 0; end < held; ++end) {
      if (buffer[end] != '\n') continue;
      // "begin-end perms offset device inode path"
      const char* p = buffer + start;
      const uint64_t begin = Hex(p);
      ++p;
      const uint64_t last = Hex(p);
      if (address >= begin && address < last) {
        *mapping = {begin, last, p[1] == 'r', p[2] == 'w'};
        found = true;
        break;
      }
      start = end + 1;
    }
    if (found) break;
    for (size_t i = start; i < held; ++i) buffer[i - start] = buffer[i];
    held -= start;
  }
  close(file);
  return found;
}

const char* DescribeFaultAddress(uint64_t address) {
  Mapping mapping;
  if (address < kNullPagesEnd) return "a null pointer";
  if (MappingAt(address, &mapping) && !mapping.readable) return "an inaccessible page (a guard page)";
  return "unmapped memory";
}

}  // namespace refhost
