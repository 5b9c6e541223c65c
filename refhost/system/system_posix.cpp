// The host's system layer on Linux and macOS: mmap and mprotect, fork, the program's folder
// (loading is system_dlopen.cpp's, or in the Mac run tree macho/system_mac_bundle.cpp's).
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#if defined(__APPLE__)
#include <mach-o/dyld.h>
#endif

#include <climits>
#include <cstdio>

#include "refhost/system/system.h"

namespace refhost::os {

std::string ProgramFolder() {
  char path[PATH_MAX] = {};
#if defined(__APPLE__)
  uint32_t size = sizeof path;
  if (_NSGetExecutablePath(path, &size) != 0) return "";
#else
  if (readlink("/proc/self/exe", path, sizeof path - 1) < 0) return "";
#endif
  const std::string program(path);
  return program.substr(0, program.rfind('/') + 1);
}

size_t PageSize() { return static_cast<size_t>(sysconf(_SC_PAGESIZE)); }

uint8_t* MapPages(size_t bytes) {
  void* region = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return region == MAP_FAILED ? nullptr : static_cast<uint8_t*>(region);
}

void ForbidPage(uint8_t* page) { mprotect(page, PageSize(), PROT_NONE); }

void UnmapPages(uint8_t* region, size_t bytes) { munmap(region, bytes); }

ProcessEnd RunChild(int, const std::string&, const std::function<int()>& body) {
  fflush(nullptr);  // or the child would write what the parent had buffered once more
  const pid_t child = fork();
  if (child == 0) {
    const int status = body();
    fflush(nullptr);
    _exit(status);  // no exit handlers: they belong to the parent
  }
  int status = 0;
  if (child == -1 || waitpid(child, &status, 0) != child) return {-1, "fork or wait failed"};
  if (WIFSIGNALED(status)) return {0, "signal " + std::to_string(WTERMSIG(status))};
  return {WEXITSTATUS(status), ""};
}

}  // namespace refhost::os
