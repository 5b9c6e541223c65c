// Finding the coverage counters of the program and of a loaded library, and mirroring them.
#include "tests/fuzz/coverage_relay.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace pixelfuzz {
namespace {

constexpr char kCountersSection[] = "__sancov_cntrs";

bool ReadAt(int fd, void* into, size_t size, off_t at) {
  return pread(fd, into, size, at) == static_cast<ssize_t>(size);
}

// The counters of a loaded module (null: the program): its file's section table says where
// the section lies from the module's load address.
bool ModuleCounters(const char* library, uint8_t** begin, size_t* size, std::string* error) {
  void* handle = dlopen(library, RTLD_NOW | RTLD_NOLOAD);
  link_map* map = nullptr;
  if (handle == nullptr || dlinfo(handle, RTLD_DI_LINKMAP, &map) != 0 || map == nullptr) {
    *error = std::string("not loaded: ") + (library ? library : "the program");
    return false;
  }
  dlclose(handle);  // the load that the caller made keeps it
  const char* file = library != nullptr ? map->l_name : "/proc/self/exe";
  const int fd = open(file, O_RDONLY);
  ElfW(Ehdr) header;
  bool found = fd >= 0 && ReadAt(fd, &header, sizeof header, 0) && memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 &&
               header.e_shentsize == sizeof(ElfW(Shdr));
  std::vector<ElfW(Shdr)> sections(found ? header.e_shnum : 0);
  found = found && ReadAt(fd, sections.data(), sections.size() * sizeof(ElfW(Shdr)), header.e_shoff) &&
          header.e_shstrndx < sections.size();
  std::vector<char> names(found ? sections[header.e_shstrndx].sh_size + 1 : 0);
  found = found && ReadAt(fd, names.data(), names.size() - 1, sections[header.e_shstrndx].sh_offset);
  if (fd >= 0) close(fd);
  for (const ElfW(Shdr)& section : sections) {
    if (found && section.sh_name < names.size() && strcmp(&names[section.sh_name], kCountersSection) == 0) {
      *begin = reinterpret_cast<uint8_t*>(map->l_addr + section.sh_addr);
      *size = section.sh_size;
      return true;
    }
  }
  *error = std::string("no coverage counters in ") + file;
  return false;
}

}  // namespace

bool CoverageRelay::Init(const char* library, std::string* error) {
  for (const char* module : {static_cast<const char*>(nullptr), library}) {
    Region region{};
    if (!ModuleCounters(module, &region.begin, &region.size, error)) return false;
    regions_.push_back(region);
  }
  for (const Region& region : regions_) total_ += region.size;
  void* shared = mmap(nullptr, total_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED) {
    *error = "no shared memory for the counters";
    return false;
  }
  shared_ = static_cast<uint8_t*>(shared);
  return true;
}

void CoverageRelay::SendFromChild() {
  uint8_t* to = shared_;
  for (const Region& region : regions_) to = std::copy(region.begin, region.begin + region.size, to);
}

// The parent's counters hold what its own side of the input counted; the child's add to them.
void CoverageRelay::ReceiveInParent() {
  const uint8_t* from = shared_;
  for (const Region& region : regions_) {
    for (size_t i = 0; i < region.size; ++i) region.begin[i] = std::max(region.begin[i], from[i]);
    from += region.size;
  }
  std::fill(shared_, shared_ + total_, 0);
}

}  // namespace pixelfuzz
