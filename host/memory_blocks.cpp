// Block extents against the size the host reports.
#include "host/memory_blocks.h"

#include "host/host_functions.h"
#include "platform/hot_path.h"

PIXELBRIDGE_HOT bool BlockTooSmall(REALmemoryBlockStruct* block, int64_t extent) {
  if (extent < 0) return true;
  if (REALMemoryBlockGetSize.Resolve() == nullptr) return false;
  const int32_t size = REALMemoryBlockGetSize(block);
  return size >= 0 && extent > size;
}
