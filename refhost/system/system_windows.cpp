// The host's system layer on Windows: LoadLibraryW on the plug-in's full path, as hosts load
// plug-ins, VirtualAlloc and VirtualProtect, and child processes that run this program again.
#include <windows.h>

#include <cstdio>
#include <cstdlib>

#include "refhost/system/system.h"

namespace refhost::os {

void* LoadPlugin(const std::string& path, std::string* error) {
  std::wstring wide(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, path.c_str(), -1, nullptr, 0)), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, path.c_str(), -1, wide.data(), static_cast<int>(wide.size()));
  HMODULE library = LoadLibraryW(wide.c_str());
  if (library == nullptr && error != nullptr) *error = "LoadLibraryW error " + std::to_string(GetLastError());
  return reinterpret_cast<void*>(library);
}

void* PluginSymbol(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void* PluginFunction(void*, void* function, const std::vector<uint8_t>&) { return function; }

std::string ProgramFolder() {
  wchar_t wide[MAX_PATH];
  const DWORD length = GetModuleFileNameW(nullptr, wide, MAX_PATH);
  if (length == 0 || length == MAX_PATH) return "";
  std::string path(static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr)), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide, -1, path.data(), static_cast<int>(path.size()), nullptr, nullptr);
  path.resize(path.find_last_of("\\/") + 1);
  return path;
}

size_t PageSize() {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  return info.dwPageSize;
}

uint8_t* MapPages(size_t bytes) {
  return static_cast<uint8_t*>(VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
}

void ForbidPage(uint8_t* page) {
  DWORD before;
  VirtualProtect(page, PageSize(), PAGE_NOACCESS, &before);
}

void UnmapPages(uint8_t* region, size_t) { VirtualFree(region, 0, MEM_RELEASE); }

// The child's id travels in this variable of its environment.
constexpr const char* kChildVariable = "PIXELHOST_CHILD";

ProcessEnd RunChild(int id, const std::string& arguments, const std::function<int()>& body) {
  if (const char* child = getenv(kChildVariable)) {
    if (atoi(child) != id) return {};
    const int status = body();
    fflush(nullptr);
    ExitProcess(static_cast<UINT>(status));
  }
  char program[MAX_PATH];
  GetModuleFileNameA(nullptr, program, MAX_PATH);
  fflush(nullptr);
  SetEnvironmentVariableA(kChildVariable, std::to_string(id).c_str());
  const std::string command = "\"" + std::string(program) + "\" " + arguments;
  unsigned status = static_cast<unsigned>(std::system(command.c_str()));
  // A child that never started (under Wine, now and then) is started once more.
  if (status == ~0u) status = static_cast<unsigned>(std::system(command.c_str()));
  SetEnvironmentVariableA(kChildVariable, nullptr);
  if (status <= 1) return {static_cast<int>(status), ""};
  char died[24];
  snprintf(died, sizeof died, "status 0x%x", status);
  return {static_cast<int>(status), died};
}

}  // namespace refhost::os
