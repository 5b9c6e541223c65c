// Loading in the Mac run tree: the reference host loads one slice of a Mac bundle into this
// Linux process, as dyld would load it on a Mac. The slice is PIXELHOST_MAC_SLICE's (arm64
// or x86_64, x86_64 when unset). The x86_64 slice runs on this processor: Apple's x86-64
// convention is System V's, so its code and the host call each other directly. The arm64
// slice runs on an emulated processor (arm64/arm64_machine.h), its calls crossing through stubs
// and thunks. Pages and child processes are system_posix.cpp's.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <ucontext.h>

#include "refhost/system/arm64/arm64_host_calls.h"
#include "refhost/system/macho/mac_imports.h"
#include "refhost/system/macho/macho_image.h"
#include "refhost/system/process_maps.h"
#include "refhost/system/system.h"

namespace refhost::os {
namespace {

using macho::Cpu;

struct LoadedSlice {
  std::string bundle;
  macho::Image image;
  std::unique_ptr<arm64::Arm64Machine> machine;  // the arm64 slice's
};

std::vector<LoadedSlice*>& NativeSlices() {
  static std::vector<LoadedSlice*> slices;
  return slices;
}

// A fault whose instruction lies in a native slice is reported with where it was, then
// taken as the system takes it (the handler is reset).
void ReportNativeFault(int signal, siginfo_t* info, void* context) {
  const auto pc = static_cast<uint64_t>(static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_RIP]);
  for (const LoadedSlice* slice : NativeSlices()) {
    if (!slice->image.Contains(pc)) continue;
    const auto address = reinterpret_cast<uint64_t>(info->si_addr);
    fprintf(stderr, "pixelhost: the x86_64 slice of %s faulted: %s at 0x%llx, %s; pc 0x%llx, %s\n",
            slice->bundle.c_str(), strsignal(signal), static_cast<unsigned long long>(address),
            DescribeFaultAddress(address), static_cast<unsigned long long>(pc), slice->image.Describe(pc).c_str());
    fflush(stderr);
  }
}

void WatchForFaults(LoadedSlice* slice) {
  NativeSlices().push_back(slice);
  struct sigaction action {};
  action.sa_sigaction = &ReportNativeFault;
  action.sa_flags = SA_SIGINFO | SA_RESETHAND;
  for (int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE}) sigaction(signal, &action, nullptr);
}

bool SliceFromEnvironment(Cpu* cpu, std::string* error) {
  const char* name = getenv("PIXELHOST_MAC_SLICE");
  *cpu = name != nullptr && strcmp(name, "arm64") == 0 ? Cpu::kArm64 : Cpu::kX86_64;
  if (name == nullptr || strcmp(name, macho::CpuName(*cpu)) == 0) return true;
  *error = std::string("PIXELHOST_MAC_SLICE is \"") + name + "\", not arm64 or x86_64";
  return false;
}

LoadedSlice* Load(const std::string& path, Cpu cpu, std::string* error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    *error = "cannot open the file";
    return nullptr;
  }
  const std::vector<uint8_t> file{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  macho::Slice slice;
  std::string why;
  if (!macho::ReadSlice(file, cpu, &slice, &why)) {
    *error = std::string("its ") + macho::CpuName(cpu) + " slice can't be loaded: " + why;
    return nullptr;
  }
  auto loaded = std::make_unique<LoadedSlice>();
  loaded->bundle = path;
  if (cpu == Cpu::kArm64 && (loaded->machine = arm64::Arm64Machine::Start("the arm64 slice of " + path,
                                                                          arm64::Convention::kApple, error)) == nullptr)
    return nullptr;
  const std::vector<std::string> libraries = slice.libraries;
  const auto bind = [&](const macho::Bind& bind, uint64_t* address, std::string* why) {
    macho::ServedImport served;
    if (!macho::FindImport(bind.symbol, cpu, &served)) {
      *address = 0;
      if (bind.weakImport) return true;
      const bool named = bind.library > 0 && static_cast<size_t>(bind.library) <= libraries.size();
      *why = "imports " + bind.symbol + (named ? " from " + libraries[static_cast<size_t>(bind.library) - 1] : "") +
             ", which the runner doesn't serve";
      return false;
    }
    *address = loaded->machine != nullptr && served.handler != nullptr
                   ? loaded->machine->Stub(bind.symbol, served.handler, served.address, served.keepsMappings)
                   : reinterpret_cast<uint64_t>(served.address);
    return true;
  };
  if (!loaded->image.Map(std::move(slice), bind, &why)) {
    *error = std::string("its ") + macho::CpuName(cpu) + " slice " + why;
    return nullptr;
  }
  if (loaded->machine != nullptr) {
    if (!loaded->machine->Load(loaded->image, error)) return nullptr;
  } else {
    loaded->image.Protect();
    WatchForFaults(loaded.get());
  }
  return loaded.release();  // loaded for the rest of the process, as dlopen's libraries are
}

}  // namespace

// Each slice of a file once per process, as dlopen loads a library once.
void* LoadPlugin(const std::string& path, std::string* error) {
  static std::map<std::pair<std::string, Cpu>, LoadedSlice*> loaded;
  Cpu cpu;
  std::string why;
  LoadedSlice* slice = nullptr;
  if (SliceFromEnvironment(&cpu, &why)) {
    LoadedSlice*& known = loaded[{path, cpu}];
    slice = known = known != nullptr ? known : Load(path, cpu, &why);
  }
  if (slice == nullptr && error != nullptr) *error = why;
  return slice;
}

// An export as a native function: the x86_64 slice's own code, or a thunk into the arm64
// slice that passes eight words (every probe entry's arguments fit in registers).
void* PluginSymbol(void* library, const char* name) {
  auto* slice = static_cast<LoadedSlice*>(library);
  const uint64_t address = slice->image.Export(std::string("_") + name);
  if (slice->machine == nullptr || address == 0) return reinterpret_cast<void*>(address);
  return arm64::NativeThunk(*slice->machine, address, std::vector<uint8_t>(8, 8), strcmp(name, "REALPluginMain") == 0);
}

// A registered method: the x86_64 slice's own code, or a thunk into the arm64 slice.
void* PluginFunction(void* library, void* function, const std::vector<uint8_t>& argumentBytes) {
  auto* slice = static_cast<LoadedSlice*>(library);
  if (slice->machine == nullptr) return function;
  return arm64::NativeThunk(*slice->machine, reinterpret_cast<uint64_t>(function), argumentBytes);
}

}  // namespace refhost::os
