// Loading in the Windows on ARM64 run tree: the reference host loads an ARM64 Windows DLL
// into this Linux process as the Windows loader would load it, and runs it on an emulated
// processor (arm64/arm64_machine.h) under the Windows convention, its calls crossing through
// stubs and thunks: the thread-local slot and TLS callbacks, the entry point with
// DLL_PROCESS_ATTACH (the C runtime's start-up, then DllMain), and then what the host calls.
// Pages and child processes are system_posix.cpp's.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>

#include "refhost/system/arm64/arm64_host_calls.h"
#include "refhost/system/pe/pe_image.h"
#include "refhost/system/pe/win_imports.h"
#include "refhost/system/system.h"

namespace refhost::os {
namespace {

constexpr uint64_t DLL_PROCESS_ATTACH = 1;

struct LoadedDll {
  pe::Image image;
  std::unique_ptr<arm64::Arm64Machine> machine;
};

// Runs a PIMAGE_TLS_CALLBACK or the entry point, (module, reason, reserved); its BOOL back.
uint32_t Attach(LoadedDll& dll, uint64_t function) {
  const uint64_t words[3] = {reinterpret_cast<uint64_t>(dll.image.base()), DLL_PROCESS_ATTACH, 0};
  const uint8_t sizes[3] = {8, 4, 8};
  return static_cast<uint32_t>(dll.machine->Call(function, words, sizes, 3));
}

LoadedDll* Load(const std::string& path, std::string* error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    *error = "cannot open the file";
    return nullptr;
  }
  pe::File file;
  std::string why;
  if (!pe::ReadPeFile({std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()}, &file, &why)) {
    *error = "it can't be loaded: " + why;
    return nullptr;
  }
  auto dll = std::make_unique<LoadedDll>();
  dll->machine = arm64::Arm64Machine::Start("the ARM64 DLL " + path, arm64::Convention::kWindows, error);
  if (dll->machine == nullptr) return nullptr;
  arm64::Arm64Machine& machine = *dll->machine;
  const auto bind = [&](const pe::Import& import, uint64_t* address, std::string* why) {
    const std::string name = import.FunctionName();
    arm64::ServedImport served;
    if (!pe::FindImport(import.dll, name, &served)) {
      *why = "it imports " + name + " from " + import.dll + ", which the runner doesn't serve";
      return false;
    }
    *address = served.handler != nullptr
                   ? machine.Stub(import.dll + "!" + name, served.handler, served.address, served.keepsMappings)
                   : reinterpret_cast<uint64_t>(served.address);
    return true;
  };
  uint64_t stackLimit = 0, stackBase = 0;
  machine.StackBounds(&stackLimit, &stackBase);
  pe::Image& image = dll->image;
  if (!image.Map(std::move(file), bind, error) || !machine.Load(image, error) ||
      !image.PlaceThreadBlocks(stackLimit, stackBase, error) ||
      !machine.Share(image.thread_pages(), image.thread_bytes(), error))
    return nullptr;
  machine.SetPlatformRegister(image.thread_environment_block());
  for (const uint64_t callback : image.TlsCallbacks()) Attach(*dll, callback);
  if (image.EntryPoint() != 0 && Attach(*dll, image.EntryPoint()) == 0) {
    *error = "its entry point returned FALSE for DLL_PROCESS_ATTACH";
    return nullptr;
  }
  return dll.release();  // loaded for the rest of the process, as LoadLibrary's DLLs are here
}

}  // namespace

// Each file once per process, as LoadLibrary loads a DLL once.
void* LoadPlugin(const std::string& path, std::string* error) {
  static std::map<std::string, LoadedDll*> loaded;
  std::string why;
  LoadedDll*& known = loaded[path];
  if (known == nullptr) known = Load(path, &why);
  if (known == nullptr && error != nullptr) *error = why;
  return known;
}

// An export as a native function: a thunk into the DLL that passes eight words (every probe
// entry's arguments fit in registers).
void* PluginSymbol(void* library, const char* name) {
  auto* dll = static_cast<LoadedDll*>(library);
  const uint64_t address = dll->image.Export(name);
  if (address == 0) return nullptr;
  return arm64::NativeThunk(*dll->machine, address, std::vector<uint8_t>(8, 8), strcmp(name, "REALPluginMain") == 0);
}

// A registered method: a thunk into the DLL.
void* PluginFunction(void* library, void* function, const std::vector<uint8_t>& argumentBytes) {
  return arm64::NativeThunk(*static_cast<LoadedDll*>(library)->machine, reinterpret_cast<uint64_t>(function),
                            argumentBytes);
}

}  // namespace refhost::os
