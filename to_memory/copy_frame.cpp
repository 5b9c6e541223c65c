// The picture-to-memory frame.
#include "to_memory/copy_frame.h"

#include <algorithm>

#include "host/exceptions.h"
#include "host/host_functions.h"
#include "host/memory_blocks.h"
#include "host/yield.h"
#include "pixels/picture_editor.h"
#include "platform/hot_path.h"
#include "rows/row_converter.h"

namespace {

struct LineRange {
  int32_t first;
  int32_t last;
  bool empty() const { return first > last; }
};

// StartLine past the picture copies its last line; EndLine -1 or past it stops there.
LineRange LinesToCopy(int32_t startLine, int32_t endLine, int32_t height) {
  if (height <= 0) return {0, -1};
  LineRange range{startLine < height ? startLine : height - 1, endLine < 0 ? height - 1 : endLine};
  range.last = std::min(range.last, height - 1);
  return range;
}

// The bytes the copy reaches from the block's start, or -1 when no block could hold them.
int64_t ExtentOf(const CopyRequest& request, LineRange lines, int64_t pitch, int64_t lineBytes) {
  const int64_t extent = request.offset + (lines.last - lines.first) * pitch + lineBytes;
  return extent > INTPTR_MAX ? -1 : extent;
}

// Returns false without a message for bad line arguments, and raises the first failed
// check of nil receiver, block, mask or a negative offset. True when the copy may go on.
bool ScreenCopyRequest(const CopyRequest& request) {
  if (request.destRowBytes < 0 || request.startLine < 0 || request.endLine < -1) return false;
  if (request.picture == nullptr) return RaiseException(kNilObjectException, kPictureIsNil), false;
  const bool maskMissing = request.withMask && request.mask == nullptr;
  if (request.maskCheckedFirst && maskMissing) return RaiseException(kNilObjectException, kMaskPictureIsNil), false;
  if (request.block == nullptr) return RaiseException(kNilObjectException, kMemoryblockIsNil), false;
  if (maskMissing) return RaiseException(kNilObjectException, kMaskPictureIsNil), false;
  if (request.offset < 0) return RaiseException(kUnsupportedOperationException, kOffsetTooSmall), false;
  return true;
}

}  // namespace

PIXELBRIDGE_HOT bool CopyPictureLines(const CopyRequest& request) {
  if (!ScreenCopyRequest(request)) return false;
  const CopyLayout& layout = *request.layout;
  if (layout.bytesPerPixel == 0 && request.pixelByteSize < 1)
    return RaiseException(kUnsupportedOperationException, kPixelByteSizeTooSmall), false;

  PictureReader source;
  if (!source.GetPictureEditor(request.picture, true, false)) return false;
  PictureReader mask;
  if (request.withMask && !mask.GetPictureEditor(request.mask, true, false)) return false;
  // The mask, when there is one, gives the lines and the pixels per line; a line stops at
  // the receiver's width so that nothing past its rows is read, and a receiver without rows
  // has no pixels to give (its lines past the end would rest on a row 0 it doesn't have).
  const PictureEditor& sizedBy = request.withMask ? mask : source;
  const LineRange lines = LinesToCopy(request.startLine, request.endLine, sizedBy.Height);
  const int32_t pixels = !request.withMask ? source.Width : source.Height > 0 ? std::min(mask.Width, source.Width) : 0;

  const FormatGroup sourceGroup = GroupOf(source.PixelFormat);
  const FormatGroup maskGroup = request.withMask ? GroupOf(mask.PixelFormat) : FormatGroup::kNone;
  if (sourceGroup == FormatGroup::kNone || (request.withMask && maskGroup == FormatGroup::kNone))
    return !request.withMask;

  auto* base = static_cast<uint8_t*>(REALMemoryBlockGetPtr(request.block));
  if (base == nullptr) return false;
  const PixelMap map = CopyMap(layout, sourceGroup, maskGroup, request.alpha, request.pixelByteSize);
  const int64_t lineBytes = static_cast<int64_t>(std::max(sizedBy.Width, 0)) * map.outputStride;
  const int64_t pitch = std::max<int64_t>(lineBytes, request.destRowBytes);
  if (lines.empty()) return true;
  if (BlockTooSmall(request.block, ExtentOf(request, lines, pitch, lineBytes)))
    return RaiseException(kOutOfBoundsException, kMemoryblockTooSmall), false;

  for (int32_t line = 0; line < lines.first; ++line) {
    if (request.withMask) mask.NextRow();
    source.NextRow();
  }
  const int64_t total = int64_t{pixels} * (lines.last - lines.first + 1);
  const RowConverter copyRow(map, total);
  uint8_t* destination = base + request.offset;
  // Lines that follow one another in the picture, the mask and the block are one long row
  // (not when a taller mask takes the picture's rows past its end, where they rest on row 0).
  const bool maskAlongside = !request.withMask || (mask.RowsBackToBack(mask.Width) && mask.Width == source.Width &&
                                                   lines.last < source.Height);
  if (request.yield == 0 && source.RowsBackToBack(source.Width) && maskAlongside && pitch == lineBytes &&
      total <= INT32_MAX) {
    if (total > 0) copyRow(source.CurrentRow, mask.CurrentRow, destination, static_cast<int32_t>(total));
    return true;
  }
  YieldData yield(request.yield);
  for (int32_t line = lines.first; line <= lines.last; ++line) {
    if (pixels > 0) copyRow(source.CurrentRow, mask.CurrentRow, destination, pixels);
    destination += pitch;
    if (request.withMask) mask.NextRow();
    source.NextRow();
    if (request.yield != 0) yield.DoYield();
  }
  return true;
}
