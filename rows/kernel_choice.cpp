// The kernel table, made from the shape list's entries per processor family (the figures
// behind them are in docs/performance.md), and the choice of a call's kernel.
#include "rows/kernel_choice.h"

#include "platform/architecture.h"
#include "platform/hot_path.h"

namespace {

constexpr bool kStream = true, kNoStream = false;
constexpr SimdLevel kWidest = SimdLevel::kWidest;
constexpr ShapeChoice Choice(SimdLevel level, bool streams) { return {level, streams}; }

constexpr FamilyChoices kAnyOther = {"any other processor",
                                     {{
#define PIXELBRIDGE_ROW_SHAPE(name, text, reads, anyOther, ...) anyOther,
#include "rows/row_shape_list.h"
#undef PIXELBRIDGE_ROW_SHAPE
                                     }}};

#if PIXELBRIDGE_X86
constexpr SimdLevel kAVX2 = SimdLevel::kAVX2, kAVX512 = SimdLevel::kAVX512;
constexpr FamilyChoices kAMDFamily25 = {"AMD family 25 (Zen 3, Zen 4)",
                                        {{
#define PIXELBRIDGE_ROW_SHAPE(name, text, reads, anyOther, amdFamily25) amdFamily25,
#include "rows/row_shape_list.h"
#undef PIXELBRIDGE_ROW_SHAPE
                                        }}};
#endif

// The table's rows: any other processor first, then the families this build has rows for.
const FamilyChoices* const kRows[] = {
    &kAnyOther,
#if PIXELBRIDGE_X86
    &kAMDFamily25,
#endif
};

int64_t gStreamingStoresFrom = -1;        // -1: not set, the default
const FamilyChoices* gRowHeld = nullptr;  // null: this processor's own row

}  // namespace

const FamilyChoices& ChoicesFor(const Processor& processor) {
#if PIXELBRIDGE_X86
  if (processor.vendor == Vendor::kAMD && processor.family == 25) return kAMDFamily25;
#else
  (void)processor;
#endif
  return kAnyOther;
}

const FamilyChoices* KernelTableRow(int index) {
  return index >= 0 && index < static_cast<int>(sizeof kRows / sizeof kRows[0]) ? kRows[index] : nullptr;
}

void HoldKernelTableRow(const FamilyChoices* row) { gRowHeld = row; }

KernelTable KernelTableFor(const FamilyChoices& choices, SimdLevel level, bool held) {
  KernelTable table = choices.table;
  for (ShapeChoice& shape : table.shapes)
    if (held || static_cast<int>(level) < static_cast<int>(shape.level)) shape.level = level;
  return table;
}

KernelTable ActiveKernelTable() {
  static const FamilyChoices& choices = ChoicesFor(ThisProcessor());
  if (gRowHeld != nullptr) return KernelTableFor(*gRowHeld, ActiveSimdLevel(), false);
  return KernelTableFor(choices, ActiveSimdLevel(), HeldSimdLevel() >= 0);
}

PIXELBRIDGE_HOT ChoiceKey ActiveChoiceKey(int64_t bytesMoved) {
  return {gRowHeld, HeldSimdLevel(), bytesMoved >= StreamingStoresFrom()};
}

PIXELBRIDGE_HOT int64_t StreamingStoresFrom() {
  if (gStreamingStoresFrom >= 0) return gStreamingStoresFrom;
  const int64_t cache = LastLevelCacheBytes();
  return cache > 0 ? cache + 1 : INT64_MAX;
}

void SetStreamingStoresFrom(int64_t bytes) { gStreamingStoresFrom = bytes; }

KernelPick KernelOf(SimdLevel level, Stores stores, Shape shape) {
  const RowKernelSet& kernels = RowKernelsFor(level);
  return {level, stores, kernels(stores, shape), kernels.reads[static_cast<int>(shape)]};
}

KernelPick PickKernel(Shape shape, const ShapeChoice& choice, int64_t bytesMoved) {
  // A call that streams runs the widest kernels at or below the shape's level that can.
  if (choice.streams && bytesMoved >= StreamingStoresFrom()) {
    for (int level = static_cast<int>(choice.level); level > 0; --level) {
      const KernelPick streaming = KernelOf(static_cast<SimdLevel>(level), Stores::kStreaming, shape);
      if (streaming.kernel != nullptr) return streaming;
    }
  }
  return KernelOf(choice.level, Stores::kOrdinary, shape);
}
