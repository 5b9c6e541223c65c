// Thunks into the guest, a fixed table of them; host functions as stubs, each bridged by its
// C type from host/host_function_list.h.
#include "refhost/system/arm64/arm64_host_calls.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "host/host_function_list.h"
#include "refhost/system/arm64/guest_bridges.h"

namespace refhost::arm64 {
namespace {

using Resolver = void* (*)(const char*);

struct GuestFunction {
  Arm64Machine* machine;
  uint64_t function;
  std::vector<uint8_t> sizes;
  bool resolverFirst;
};
constexpr int kThunks = 256;
GuestFunction gFunctions[kThunks];
int gFunctionCount = 0;

uint64_t StubForResolver(Arm64Machine& machine, Resolver resolver);

// Ten words cover every method (the widest takes nine); words a caller didn't pass are read
// from its registers and stack and never used.
template <int I>
uint64_t Thunk(uint64_t a0, uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5, uint64_t a6, uint64_t a7,
               uint64_t a8, uint64_t a9) {
  uint64_t words[10] = {a0, a1, a2, a3, a4, a5, a6, a7, a8, a9};
  const GuestFunction& f = gFunctions[I];
  if (f.resolverFirst) words[0] = StubForResolver(*f.machine, reinterpret_cast<Resolver>(a0));
  return f.machine->Call(f.function, words, f.sizes.data(), static_cast<int>(f.sizes.size()));
}

template <size_t... I>
std::array<void*, kThunks> MakeThunks(std::index_sequence<I...>) {
  return {reinterpret_cast<void*>(&Thunk<static_cast<int>(I)>)...};
}
const std::array<void*, kThunks> kThunkTable = MakeThunks(std::make_index_sequence<kThunks>());

// The graphics object's DrawPicture, which the host answers as native code.
void LoadObjectMethod(Arm64Machine& machine, void* native) {
  GuestArguments in(machine);
  auto* object = reinterpret_cast<REALobjectStruct*>(in.Next(8));
  auto* declaration = reinterpret_cast<const char*>(in.Next(8));
  void* method = reinterpret_cast<void* (*)(REALobjectStruct*, const char*)>(native)(object, declaration);
  machine.Return(
      method == nullptr ? 0 : machine.Stub("DrawPicture", HandlerFor(static_cast<DrawPictureMethod>(nullptr)), method));
}

// Each host function by its C type from the list, but the one whose result is a function
// (listed first: a map keeps the first of equal keys). The registration records the guest
// hands the host are its own: the host reads them and has each method's function made
// callable (os::PluginFunction, a thunk).
StubHandler HandlerForHostFunction(const std::string& name) {
  static const std::map<std::string, StubHandler> kHandlers = {
      {"REALLoadObjectMethod", &LoadObjectMethod},
#define PIXELHOST_HANDLER(wrapper, lookup, result, parameters) \
  {lookup, HandlerFor(static_cast<result(*) parameters>(nullptr))},
      PIXELBRIDGE_DIRECT_HOST_FUNCTIONS(PIXELHOST_HANDLER) PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS(PIXELHOST_HANDLER)
#undef PIXELHOST_HANDLER
  };
  const auto found = kHandlers.find(name);
  return found == kHandlers.end() ? nullptr : found->second;
}

// Host functions that only read or make objects: they free nothing, so what the guest was
// lent stays as it was (the others may give back an object's pages, or run the host).
bool KeepsMappings(const std::string& name) {
  static const std::set<std::string> kKeeping = {
      "RegisterPluginVersion", "REALGetRBVersion",    "pluginObjectType",
      "REALLockObject",        "PluginNewInstance",   "REALBuildString",
      "REALSetStringEncoding", "REALGetPropValueInt", "REALGetPropValueBool",
      "REALSetPropValueInt",   "newPicture",          "memoryBlockGetPtr",
      "memoryBlockGetSize",    "RuntimeUBound",       "RuntimeDirectReadIntArray"};
  return kKeeping.count(name) != 0;
}

// The resolver as the guest calls it: the host's answer, as a stub.
void Resolve(Arm64Machine& machine, void* native) {
  const auto* name = reinterpret_cast<const char*>(GuestArguments(machine).Next(8));
  void* function = reinterpret_cast<Resolver>(native)(name);
  const StubHandler handler = name != nullptr ? HandlerForHostFunction(name) : nullptr;
  if (function != nullptr && handler == nullptr)
    fprintf(stderr, "pixelhost: the host answered \"%s\", a function the arm64 runner can't bridge\n", name);
  machine.Return(function != nullptr && handler != nullptr ? machine.Stub(name, handler, function, KeepsMappings(name))
                                                           : 0);
}

uint64_t StubForResolver(Arm64Machine& machine, Resolver resolver) {
  return resolver == nullptr ? 0 : machine.Stub("(the host's resolver)", &Resolve, reinterpret_cast<void*>(resolver));
}

}  // namespace

void* NativeThunk(Arm64Machine& machine, uint64_t function, const std::vector<uint8_t>& sizes, bool resolverFirst) {
  if (function == 0) return nullptr;
  for (int i = 0; i < gFunctionCount; ++i) {
    const GuestFunction& f = gFunctions[i];
    if (f.machine == &machine && f.function == function && f.sizes == sizes && f.resolverFirst == resolverFirst)
      return kThunkTable[static_cast<size_t>(i)];
  }
  if (gFunctionCount == kThunks) {
    fprintf(stderr, "pixelhost: the arm64 runner is out of thunks (%d)\n", kThunks);
    abort();
  }
  gFunctions[gFunctionCount] = {&machine, function, sizes, resolverFirst};
  return kThunkTable[static_cast<size_t>(gFunctionCount++)];
}

}  // namespace refhost::arm64
