// Native functions called from the emulated arm64 image by their C types alone: each argument
// read where the machine's convention passes its type, the result left where it returns it. One
// template serves every import and host function, so no signature is written twice.
#pragma once

#include <cstdint>
#include <tuple>
#include <type_traits>

#include "refhost/system/arm64/arm64_machine.h"

namespace refhost::arm64 {

template <typename T>
T FromWord(uint64_t word) {
  if constexpr (std::is_pointer_v<T>) return reinterpret_cast<T>(static_cast<uintptr_t>(word));
  else if constexpr (std::is_same_v<T, bool>) return (word & 0xFF) != 0;
  else return static_cast<T>(word);
}

template <typename T>
uint64_t ToWord(T value) {
  if constexpr (std::is_pointer_v<T>) return reinterpret_cast<uintptr_t>(value);
  else if constexpr (std::is_signed_v<T>) return static_cast<uint64_t>(static_cast<int64_t>(value));
  else return static_cast<uint64_t>(value);
}

template <typename R, typename... A>
void CallNative(Arm64Machine& machine, void* native) {
  GuestArguments in(machine);
  // A braced list reads the arguments left to right.
  const std::tuple<A...> arguments{FromWord<A>(in.Next(static_cast<int>(sizeof(A))))...};
  const auto function = reinterpret_cast<R (*)(A...)>(native);
  if constexpr (std::is_void_v<R>) std::apply(function, arguments);
  else if constexpr (std::is_floating_point_v<R>) machine.ReturnDouble(std::apply(function, arguments));
  else machine.Return(ToWord(std::apply(function, arguments)));
}

// The handler that calls a native function of this type.
template <typename R, typename... A>
constexpr StubHandler HandlerFor(R (*)(A...)) {
  return &CallNative<R, A...>;
}

// What this process serves for an import of an image.
struct ServedImport {
  void* address = nullptr;        // the function, or the datum the image reads
  StubHandler handler = nullptr;  // for a function: how a stub calls it from the guest
  bool keepsMappings = false;     // it maps and frees nothing
};

// A native function served as an import, bridged by its C type.
template <typename R, typename... A>
ServedImport Served(R (*function)(A...), bool keepsMappings = true) {
  return {reinterpret_cast<void*>(function), HandlerFor(function), keepsMappings};
}

}  // namespace refhost::arm64
