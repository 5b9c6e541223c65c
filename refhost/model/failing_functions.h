// Host functions that are there but always fail, for fault injection: each answers what a
// host gives when it can't do what was asked (host_functions.cpp logs the call first).
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace refhost {
namespace failing {

// No object, false or 0; an upper bound of -1, since 0 would claim one element.
template <typename R>
R FailedAnswer(const char* name) {
  if constexpr (std::is_same_v<R, int32_t>) return strcmp(name, "RuntimeUBound") == 0 ? -1 : 0;
  else return R();
}

}  // namespace failing
}  // namespace refhost
