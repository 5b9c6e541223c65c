// The plug-in's way into the host: the resolver, one lazily filled slot per host function,
// the wrappers that call through those slots, and the process-global host facts.
#pragma once

#include "host/host_function_list.h"

using HostResolver = void* (*)(const char* name);

// Set once by the entry point, before any wrapper is called.
extern HostResolver gResolver;
// The host's version (2013.03 …); 0.0 until the entry point asks for it.
extern double rbversion;

// A host function looked up by name on first use. A found address is kept for the life of
// the process; a missing one is asked for again on every use, and the call then yields
// the result type's zero (null, false, 0) or, for nothing, is simply skipped.
template <typename Signature>
class HostFunction;

template <typename R, typename... Args>
class HostFunction<R(Args...)> {
 public:
  using Pointer = R (*)(Args...);

  explicit constexpr HostFunction(const char* name) : name_(name) {}

  R operator()(Args... args) {
    Pointer function = Resolve();
    if (function == nullptr) return R();
    return function(args...);
  }

  // The host's address for this function, or null when the host lacks it.
  Pointer Resolve() {
    if (slot_ == nullptr && gResolver != nullptr) slot_ = reinterpret_cast<Pointer>(gResolver(name_));
    return slot_;
  }

 private:
  const char* name_;
  Pointer slot_ = nullptr;
};

#define PIXELBRIDGE_DECLARE_WRAPPER(wrapper, name, result, parameters) extern HostFunction<result parameters> wrapper;
PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS(PIXELBRIDGE_DECLARE_WRAPPER)
#undef PIXELBRIDGE_DECLARE_WRAPPER

// One element of a host integer array: 0 for a nil array; read straight from the array's
// storage on hosts up to 2013.9, through the host above that.
int32_t REALGetArrayInt(REALarrayInteger* array, int32_t index);
// The array's elements when they may be read straight from its storage, else null.
const int32_t* REALDirectArrayElements(REALarrayInteger* array);
