// Test-only entry points into the plug-in's units, and a clock the tests set in place of the
// system's, linked only into the probe build.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "host/host_functions.h"
#include "host/host_kind.h"
#include "host/yield.h"
#include "platform/allocation.h"
#include "platform/clock.h"
#include "platform/cpu.h"
#include "plugin/registration.h"
#include "rows/kernel_choice.h"
#include "rows/row_converter.h"

#define PROBE extern "C" PIXELBRIDGE_EXPORTED

namespace {
int gAllocationsSeen = 0;
int gFailAllocationsFrom = 0;  // 0: none fail
uint32_t gTicks = 0;
int32_t gMilliseconds = 0;
}  // namespace

uint32_t PlatformTickCount() { return gTicks; }
int32_t PlatformMilliseconds() { return gMilliseconds; }

PROBE void PixelbridgeProbeSetClock(uint32_t ticks, int32_t milliseconds) {
  gTicks = ticks;
  gMilliseconds = milliseconds;
}

// The plug-in's allocation, in place of platform/allocation.cpp: from the chosen call on, it fails.
void* PlatformCalloc(size_t count, size_t size) {
  ++gAllocationsSeen;
  if (gFailAllocationsFrom > 0 && gAllocationsSeen >= gFailAllocationsFrom) return nullptr;
  return calloc(count, size);
}

PROBE void PixelbridgeProbeFailAllocationsFrom(int call) {
  gAllocationsSeen = 0;
  gFailAllocationsFrom = call;
}

// The plug-in's writable globals (tests/check_globals.sh fails on one named nowhere here but
// the host functions' wrappers): put back by the reset below, or kept across hosts.
//   reset: gResolver rbversion CurrentREALControlVersion IsDesktop IsConsole
//   reset: globalMethods pictureMethods pictureClass
//   reset by HoldSimdLevel: gHeld
//   reset by SetStreamingStoresFrom: gStreamingStoresFrom
//   reset by HoldKernelTableRow: gRowHeld
//   keeps: ThisProcessor::processor LastLevelCacheBytes::bytes ActiveKernelTable::choices
//          (the processor, its cache and its row of the kernel table: the same for every host)
//   keeps: tKept (conversions made ready, found by their map and everything that chose them)

// Puts every process-global back as it was when the library was loaded, so that a new host
// can run REALPluginMain again: the cache slot of every host function, the host's version
// and kind, the control version, the registration tables (giving back what the version-9
// conversion allocated), the held SIMD level, the clock and the allocation seam. The first call,
// which must come before the entry point first runs, keeps the tables as loaded.
PROBE void PixelbridgeProbeReset() {
  static bool kept = false;
  static REALmethodDefinition globalsAtLoad[kGlobalMethodCount], picturesAtLoad[kPictureMethodCount];
  static REALclassDefinition classAtLoad;
  if (!kept) {
    if (gResolver != nullptr || CurrentREALControlVersion != 0) {
      fprintf(stderr, "PixelbridgeProbeReset: the entry point ran before the first reset\n");
      abort();
    }
    memcpy(globalsAtLoad, globalMethods, sizeof globalsAtLoad);
    memcpy(picturesAtLoad, pictureMethods, sizeof picturesAtLoad);
    classAtLoad = pictureClass;
    kept = true;
  }
  // A version-9 record lives in arrays of its own (null for empty lists).
  if (pictureClass.version == 9) {
    for (void* list :
         {static_cast<void*>(pictureClass.properties), static_cast<void*>(pictureClass.methods),
          static_cast<void*>(pictureClass.records4), static_cast<void*>(pictureClass.records5),
          static_cast<void*>(pictureClass.secondProperties), static_cast<void*>(pictureClass.secondMethods)})
      free(list);
  }
  memcpy(globalMethods, globalsAtLoad, sizeof globalsAtLoad);
  memcpy(pictureMethods, picturesAtLoad, sizeof picturesAtLoad);
  pictureClass = classAtLoad;
#define PIXELBRIDGE_RESET_WRAPPER(wrapper, lookup, result, parameters) \
  wrapper = HostFunction<result parameters>{lookup};
  PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS(PIXELBRIDGE_RESET_WRAPPER)
#undef PIXELBRIDGE_RESET_WRAPPER
  gResolver = nullptr;
  rbversion = 0.0;
  CurrentREALControlVersion = 0;
  IsDesktop = IsConsole = false;
  HoldSimdLevel(-1);
  HoldKernelTableRow(nullptr);
  SetStreamingStoresFrom(-1);
  PixelbridgeProbeSetClock(0, 0);
  PixelbridgeProbeFailAllocationsFrom(0);
}

PROBE YieldData* PixelbridgeProbeNewYield(int32_t interval) { return new YieldData(interval); }
PROBE void PixelbridgeProbeDoYield(YieldData* data) { data->DoYield(); }
PROBE void PixelbridgeProbeFreeYield(YieldData* data) { delete data; }

PROBE RecordWord* PixelbridgeProbeFixProperties(const REALproperty* list, intptr_t count) {
  return FixProperties(list, count);
}
PROBE void PixelbridgeProbeFree(void* memory) { free(memory); }

// Holds every shape's kernels to one SIMD level from now on (at most the detected one), or
// with -1 lets the kernel table choose again.
PROBE void PixelbridgeProbeCapSimd(int level) { HoldSimdLevel(level); }
// Calls that move at least `bytes` store around the caches from now on, as calls larger than
// the last-level cache do (0: every call; -1: as the cache's size says).
PROBE void PixelbridgeProbeStreamFrom(int64_t bytes) { SetStreamingStoresFrom(bytes); }
// How many calls on this thread have made a conversion ready, finding none kept for them.
PROBE int64_t PixelbridgeProbeMadeReady() { return ConversionsMadeReady(); }

// Calls choose their kernels as a processor of row `row` of the kernel table at `level` (at
// most the detected one) would, and those that move at least `streamFrom` bytes store around
// the caches where the row lets them; false where the build has no such row or the machine
// no such level.
PROBE bool PixelbridgeProbeChooseAs(int row, int level, int64_t streamFrom) {
  if (KernelTableRow(row) == nullptr || level > static_cast<int>(DetectedSimdLevel())) return false;
  HoldKernelTableRow(KernelTableRow(row));
  HoldSimdLevel(level);
  SetStreamingStoresFrom(streamFrom);
  return true;
}
