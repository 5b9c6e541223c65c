// Thunks into the guest, a fixed table of them; host functions as stubs, each bridged by its
// C type from host/host_function_list.h; registration records handed to the host as copies
// whose functions are thunks.
#include "refhost/system/arm64/arm64_host_calls.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "host/host_function_list.h"
#include "refhost/model/declaration.h"
#include "refhost/system/arm64/guest_bridges.h"

namespace refhost::macho {
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

// The bytes of each argument of a registered method, from its declaration (the receiver first).
std::vector<uint8_t> ArgumentSizes(const char* declaration, bool receiver) {
  std::vector<uint8_t> sizes;
  if (receiver) sizes.push_back(8);
  std::string error;
  if (const auto parsed = ParseDeclaration(declaration != nullptr ? declaration : "", &error))
    for (const Parameter& parameter : parsed->params)
      sizes.push_back(parameter.type == ParamType::Integer ? 4 : parameter.type == ParamType::Boolean ? 1 : 8);
  return sizes;
}

// Records the host keeps: copies whose function words (word 0) are thunks into the guest.
std::deque<std::vector<uintptr_t>> gCopies;

uintptr_t* CopyMethods(Arm64Machine& machine, const uintptr_t* methods, intptr_t count, size_t stride, bool receiver) {
  if (methods == nullptr || count <= 0) return const_cast<uintptr_t*>(methods);
  uintptr_t* copy = gCopies.emplace_back(methods, methods + static_cast<size_t>(count) * stride).data();
  for (intptr_t i = 0; i < count; ++i) {
    uintptr_t* record = copy + static_cast<size_t>(i) * stride;
    const auto sizes = ArgumentSizes(reinterpret_cast<const char*>(record[2]), receiver);
    record[0] = reinterpret_cast<uintptr_t>(NativeThunk(machine, record[0], sizes));
  }
  return copy;
}

constexpr size_t kMethodWords = 6, kVersion9MethodWords = 4, kClassWords = 25;

// A global method: the four words every record version has, which are all the host reads.
void RegisterMethod(Arm64Machine& machine, void* native) {
  const auto* record = reinterpret_cast<const uintptr_t*>(GuestArguments(machine).Next(8));
  reinterpret_cast<void (*)(void*)>(native)(CopyMethods(machine, record, 1, kVersion9MethodWords, false));
}

// The class record: its two method lists (words 9 and 10, 23 and 24) copied, four words a
// method for version-9 hosts and six after.
void RegisterClassExtension(Arm64Machine& machine, void* native) {
  const auto* record = reinterpret_cast<const uintptr_t*>(GuestArguments(machine).Next(8));
  if (record == nullptr) return reinterpret_cast<void (*)(void*)>(native)(nullptr);
  uintptr_t* copy = gCopies.emplace_back(record, record + kClassWords).data();
  const size_t stride = copy[0] == 9 ? kVersion9MethodWords : kMethodWords;
  for (size_t list : {9, 23}) {
    const auto* methods = reinterpret_cast<const uintptr_t*>(copy[list]);
    copy[list] =
        reinterpret_cast<uintptr_t>(CopyMethods(machine, methods, static_cast<intptr_t>(copy[list + 1]), stride, true));
  }
  reinterpret_cast<void (*)(void*)>(native)(copy);
}

// The graphics object's DrawPicture, which the host answers as native code.
void LoadObjectMethod(Arm64Machine& machine, void* native) {
  GuestArguments in(machine);
  auto* object = reinterpret_cast<REALobjectStruct*>(in.Next(8));
  auto* declaration = reinterpret_cast<const char*>(in.Next(8));
  void* method = reinterpret_cast<void* (*)(REALobjectStruct*, const char*)>(native)(object, declaration);
  machine.Return(
      method == nullptr ? 0 : machine.Stub("DrawPicture", HandlerFor(static_cast<DrawPictureMethod>(nullptr)), method));
}

// Each host function by its C type from the list, but the three whose arguments or result
// hold functions (listed first: a map keeps the first of equal keys).
StubHandler HandlerForHostFunction(const std::string& name) {
  static const std::map<std::string, StubHandler> kHandlers = {
      {"PluginRegisterMethod", &RegisterMethod},
      {"PluginRegisterClassExtension", &RegisterClassExtension},
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

}  // namespace refhost::macho
