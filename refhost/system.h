// What the reference host needs of the operating system, one file per system: loading the
// plug-in as a host does, and pages that fault when touched.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace refhost::os {

// The plug-in loaded by its full path, or null with the reason in `error`.
void* LoadPlugin(const std::string& path, std::string* error);
void* PluginSymbol(void* library, const char* name);
// The folder of the running program, ending in its separator ("" when the system won't say).
std::string ProgramFolder();

size_t PageSize();
// Whole pages, readable, writable and zero, or null.
uint8_t* MapPages(size_t bytes);
// The page at `page` faults on any access from now on.
void ForbidPage(uint8_t* page);
void UnmapPages(uint8_t* region, size_t bytes);

}  // namespace refhost::os
