// The frame of every memory-to-picture method: argument checks, the source's address and
// extent, the writer, the rows, and the finished picture.
#pragma once

#include <cstdint>

#include "host/host_types.h"
#include "to_picture/source_layouts.h"

// A source of pixels: a memory block (whose size the host may tell) or a raw address.
struct PictureSource {
  REALmemoryBlockStruct* block = nullptr;
  const uint8_t* pointer = nullptr;
  bool isNil() const { return block == nullptr && pointer == nullptr; }
};

struct FromBlock {
  using Handle = REALmemoryBlockStruct*;
  static PictureSource Of(Handle block) { return {block, nullptr}; }
};
struct FromPtr {
  using Handle = void*;
  static PictureSource Of(Handle pointer) { return {nullptr, static_cast<const uint8_t*>(pointer)}; }
};

// Raises the first failed check of nil source, width, height and offset; true when none failed.
bool CheckPictureArguments(const PictureSource& source, int32_t offset, int32_t width, int32_t height);

// The bytes that `count` steps of `step` bytes and `last` more bytes reach; -1 when that
// overflows, which no source is long enough for.
int64_t SourceExtent(int64_t count, int64_t step, int64_t last);

// The address of the source's byte at `offset`, for `extent` bytes from there (-1: more
// than any source has). Null when the block is too small (raised), a raw address can't
// reach that far or the block has no address (silent).
const uint8_t* SourceBytes(const PictureSource& source, int32_t offset, int64_t extent);

// Writes `height` rows of `width` pixels of `layout` (gray: through `tables` when given) into
// `destination` (when large enough) or a new picture, source row y starting at
// firstRow + y × rowStep, and returns the picture with a reference for the caller; null when
// no picture could be had.
REALpictureStruct* WritePictureRows(REALpictureStruct* destination, int32_t width, int32_t height,
                                    const uint8_t* firstRow, int64_t rowStep, const SourceLayout& layout,
                                    const GrayTables* tables = nullptr);
