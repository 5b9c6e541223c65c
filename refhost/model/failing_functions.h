// Host functions that are there but always fail, for fault injection: each notes its call
// and answers what a host gives when it can't do what was asked.
#pragma once

#include <cstring>
#include <type_traits>

#include "host/host_function_list.h"
#include "refhost/model/host.h"

namespace refhost {
namespace failing {

// No object, false or 0; an upper bound of -1, since 0 would claim one element.
template <typename R>
R FailedAnswer(const char* name) {
  if constexpr (std::is_same_v<R, int32_t>) return strcmp(name, "RuntimeUBound") == 0 ? -1 : 0;
  else return R();
}

#define PIXELBRIDGE_FAILING_FUNCTION(wrapper, lookup, result, parameters) \
  struct wrapper {                                                        \
    template <typename... A>                                              \
    static result Call(A...) {                                            \
      Host::Current()->NoteCall(lookup);                                  \
      return FailedAnswer<result>(lookup);                                \
    }                                                                     \
  };
PIXELBRIDGE_DIRECT_HOST_FUNCTIONS(PIXELBRIDGE_FAILING_FUNCTION)
PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS(PIXELBRIDGE_FAILING_FUNCTION)
#undef PIXELBRIDGE_FAILING_FUNCTION

}  // namespace failing
}  // namespace refhost
