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

// The picture editor's operations, one editor at a time in the test's hands.
#include "pixels/picture_editor.h"
#include "tests/support/probe.h"

PROBE PictureEditor* PixelbridgeProbeNewEditor(bool writer) {
  if (writer) return new PictureWriter();
  return new PictureReader();
}
PROBE void PixelbridgeProbeDeleteEditor(PictureEditor* editor) { delete editor; }
PROBE bool PixelbridgeProbeOpen(PictureEditor* editor, REALpictureStruct* picture, bool forReading, bool forWriting) {
  return editor->GetPictureEditor(picture, forReading, forWriting);
}
PROBE bool PixelbridgeProbeNewWriter(PictureEditor* editor, REALpictureStruct* destination, int32_t width,
                                     int32_t height) {
  return static_cast<PictureWriter*>(editor)->NewPictureWriter(destination, width, height);
}
PROBE REALpictureStruct* PixelbridgeProbeRender(PictureEditor* editor) { return editor->RenderPictureWriter(); }
PROBE void PixelbridgeProbeNextRow(PictureEditor* editor) { editor->NextRow(); }
PROBE void PixelbridgeProbeRelease(PictureEditor* editor) { editor->ReleasePictureEditor(); }
PROBE void PixelbridgeProbeEditorFields(const PictureEditor* editor, ProbeEditorFields* fields) {
  *fields = {editor->RowBytes,    editor->Width,     editor->Height,           editor->BytesPerPixel,
             editor->PixelFormat, editor->CurrentRow, editor->BaseAddress,     editor->Column,
             editor->RowIndex,    editor->Picture,   editor->RowTable,         editor->HasAlphaChannel,
             editor->ForReading,  editor->ForWriting, editor->DescriptionLocked};
}
// The widest SIMD level the kernels may use from now on.
#include "platform/cpu.h"
PROBE void PixelbridgeProbeCapSimd(int level) { CapSimdLevel(static_cast<SimdLevel>(level)); }

// Bit 0: desktop host, bit 1: console host.
PROBE int PixelbridgeProbeHostKind() { return (IsDesktop ? 1 : 0) | (IsConsole ? 2 : 0); }
