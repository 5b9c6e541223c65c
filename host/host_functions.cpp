// The resolver, the host-version global and the cache slots of every host function.
#include "host/host_functions.h"

HostResolver gResolver = nullptr;
double rbversion = 0.0;

#define PIXELBRIDGE_DEFINE_WRAPPER(wrapper, name, result, parameters) HostFunction<result parameters> wrapper{name};
PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS(PIXELBRIDGE_DEFINE_WRAPPER)
#undef PIXELBRIDGE_DEFINE_WRAPPER

namespace {
// Older hosts keep an integer array's element pointer in the object's third word.
constexpr int kArrayElementsWord = 2;
constexpr double kLastHostWithDirectArrays = 2013.9;
}  // namespace

const int32_t* REALDirectArrayElements(REALarrayInteger* array) {
  if (array == nullptr || rbversion > kLastHostWithDirectArrays) return nullptr;
  return reinterpret_cast<int32_t* const*>(array)[kArrayElementsWord];
}

int32_t REALGetArrayInt(REALarrayInteger* array, int32_t index) {
  if (array == nullptr) return 0;
  if (const int32_t* elements = REALDirectArrayElements(array)) return elements[index];
  return REALReadArrayInt(array, index);
}
