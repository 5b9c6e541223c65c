// The frame every picture-to-memory method runs: screening, checks, open, line range,
// destination addressing, skipping, copying with yields, release.
#pragma once

#include <cstdint>

#include "host/host_types.h"
#include "to_memory/copy_layouts.h"

struct CopyRequest {
  REALpictureStruct* picture = nullptr;  // the receiver
  REALmemoryBlockStruct* block = nullptr;
  int32_t offset = 0;
  int32_t startLine = 0;
  int32_t endLine = -1;
  int32_t yield = 0;
  int32_t destRowBytes = 0;
  const CopyLayout* layout = nullptr;
  int32_t alpha = 0;          // constant alpha, low 8 bits written
  int32_t pixelByteSize = 0;  // single channels: bytes from one sample to the next
  // Mask layouts: the picture whose green gives alpha, and whether it is checked before
  // the block.
  bool withMask = false;
  REALpictureStruct* mask = nullptr;
  bool maskCheckedFirst = false;
};

// The whole copy: the method's result.
bool CopyPictureLines(const CopyRequest& request);
