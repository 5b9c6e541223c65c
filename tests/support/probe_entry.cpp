// Test-only entry points into the plug-in's units, linked only into the probe build.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "host/exceptions.h"
#include "host/host_functions.h"
#include "host/yield.h"
#include "plugin/registration.h"

#define PROBE extern "C" __attribute__((visibility("default")))

namespace {
int gAllocationsSeen = 0;
int gFailAllocationsFrom = 0;  // 0: none fail
}  // namespace

// The probe is linked with --wrap=calloc: from the chosen call on, allocations fail.
extern "C" void* __real_calloc(size_t count, size_t size);
extern "C" void* __wrap_calloc(size_t count, size_t size) {
  ++gAllocationsSeen;
  if (gFailAllocationsFrom > 0 && gAllocationsSeen >= gFailAllocationsFrom) return nullptr;
  return __real_calloc(count, size);
}

PROBE void PixelbridgeProbeFailAllocationsFrom(int call) {
  gAllocationsSeen = 0;
  gFailAllocationsFrom = call;
}

PROBE void PixelbridgeProbeRaise(const char* className, const char* message) {
  RaiseException(className, message);
}

PROBE int32_t PixelbridgeProbeArrayInt(REALarrayInteger* array, int32_t index) {
  return REALGetArrayInt(array, index);
}

PROBE YieldData* PixelbridgeProbeNewYield(int32_t interval) { return new YieldData(interval); }
PROBE void PixelbridgeProbeDoYield(YieldData* data) { data->DoYield(); }
PROBE int32_t PixelbridgeProbeYieldLast(const YieldData* data) { return data->last; }
PROBE void PixelbridgeProbeFreeYield(YieldData* data) { delete data; }

PROBE RecordWord* PixelbridgeProbeFixProperties(const REALproperty* list, intptr_t count) {
  return FixProperties(list, count);
}
PROBE void PixelbridgeProbeFree(void* memory) { free(memory); }
