// Loading the plug-in on Linux and macOS: dlopen and dlsym, as hosts load plug-ins there.
#include <dlfcn.h>

#include "refhost/system/system.h"

namespace refhost::os {

void* LoadPlugin(const std::string& path, std::string* error) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr && error != nullptr) *error = dlerror();
  return library;
}

void* PluginSymbol(void* library, const char* name) { return dlsym(library, name); }

void* PluginFunction(void*, void* function, const std::vector<uint8_t>&) { return function; }

}  // namespace refhost::os
