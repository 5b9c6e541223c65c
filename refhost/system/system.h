// What the reference host needs of the operating system, one file per system: loading the
// plug-in as a host does, pages that fault when touched, and host processes of their own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace refhost::os {

// The plug-in loaded by its full path, or null with the reason in `error`.
void* LoadPlugin(const std::string& path, std::string* error);
void* PluginSymbol(void* library, const char* name);
// A function of the loaded plug-in (a registered method) as this process calls it: the
// plug-in's own address where its code runs here, or a thunk into the processor that runs
// it. `argumentBytes`: each argument's size, as the function's C type has it (a convention
// may pack arguments by their size).
void* PluginFunction(void* library, void* function, const std::vector<uint8_t>& argumentBytes);
// The folder of the running program, ending in its separator ("" when the system won't say).
std::string ProgramFolder();

size_t PageSize();
// `value` rounded up to a multiple of `to` (whole pages, an argument's alignment).
constexpr uint64_t RoundUp(uint64_t value, uint64_t to) { return (value + to - 1) / to * to; }
// Whole pages, readable, writable and zero, or null.
uint8_t* MapPages(size_t bytes);
// The page at `page` faults on any access from now on.
void ForbidPage(uint8_t* page);
void UnmapPages(uint8_t* region, size_t bytes);

// How a child process ended: its exit status, or how it died ("signal 11", "status
// 0xc0000005"; empty when it exited).
struct ProcessEnd {
  int status = 0;
  std::string died;
};
// Runs `body` in a child process and waits for it; `body`'s result is the child's exit status.
// Where the system forks, the child is a copy of this process. Windows can't fork: this
// program runs again with `arguments`, and the child's own call with the same `id` runs `body`
// and leaves, while its calls with other ids do nothing. Exit statuses above 1 count as deaths
// there, as an unhandled exception's is one.
ProcessEnd RunChild(int id, const std::string& arguments, const std::function<int()>& body);

}  // namespace refhost::os
