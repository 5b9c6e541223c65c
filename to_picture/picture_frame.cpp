// The memory-to-picture frame.
#include "to_picture/picture_frame.h"

#include "host/exceptions.h"
#include "host/host_functions.h"
#include "host/memory_blocks.h"
#include "pixels/picture_editor.h"
#include "platform/hot_path.h"
#include "rows/row_converter.h"

PIXELBRIDGE_HOT bool CheckPictureArguments(const PictureSource& source, int32_t offset, int32_t width, int32_t height) {
  if (source.isNil()) return RaiseException(kNilObjectException, kMemoryblockIsNil), false;
  if (width < 1) return RaiseException(kUnsupportedOperationException, kWidthTooSmall), false;
  if (height < 1) return RaiseException(kUnsupportedOperationException, kHeightTooSmall), false;
  if (offset < 0) return RaiseException(kUnsupportedOperationException, kOffsetTooSmall), false;
  return true;
}

PIXELBRIDGE_HOT int64_t SourceExtent(int64_t count, int64_t step, int64_t last) {
  // Without a division, which would cost a small picture's call more than its pixels.
  int64_t extent = 0;
  return __builtin_mul_overflow(count, step, &extent) || __builtin_add_overflow(extent, last, &extent) ? -1 : extent;
}

PIXELBRIDGE_HOT const uint8_t* SourceBytes(const PictureSource& source, int32_t offset, int64_t extent) {
  if (source.pointer != nullptr) {
    // No size comes with a raw address, but no source can reach past the address space.
    if (extent < 0 || extent > INTPTR_MAX - offset) return nullptr;
    return source.pointer + offset;
  }
  if (BlockTooSmall(source.block, extent < 0 || extent > INT64_MAX - offset ? -1 : offset + extent))
    return RaiseException(kOutOfBoundsException, kMemoryblockTooSmall), nullptr;
  const auto* base = static_cast<const uint8_t*>(REALMemoryBlockGetPtr(source.block));
  return base != nullptr ? base + offset : nullptr;
}

PIXELBRIDGE_HOT REALpictureStruct* WritePictureRows(REALpictureStruct* destination, int32_t width, int32_t height,
                                                    const uint8_t* firstRow, int64_t rowStep,
                                                    const SourceLayout& layout, const GrayTables* tables) {
  PictureWriter writer;
  if (!writer.NewPictureWriter(destination, width, height)) return nullptr;
  const FormatGroup group = GroupOf(writer.PixelFormat);
  if (group == FormatGroup::kNone) return writer.RenderPictureWriter();
  const PixelMap map = PictureMap(layout, group, tables);
  const int64_t total = int64_t{width} * height;
  const RowConverter convert(map, total);
  // Rows that follow one another in the source and in the picture are one long row.
  if (writer.RowsBackToBack(width) && rowStep == int64_t{width} * layout.stride && total <= INT32_MAX) {
    convert(firstRow, nullptr, writer.CurrentRow, static_cast<int32_t>(total));
    return writer.RenderPictureWriter();
  }
  for (int32_t y = 0; y < height; ++y) {
    convert(firstRow + y * rowStep, nullptr, writer.CurrentRow, width);
    writer.NextRow();
  }
  return writer.RenderPictureWriter();
}
