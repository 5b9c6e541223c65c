// The LittleEndian overload, which only chooses among four layouts.
#include "to_memory/copy_methods.h"

using namespace copy_method_names;  // NOLINT: the four layouts it chooses among

bool CopyARGBtoMemoryblockQZV_littleEndian(REALpictureStruct* picture, REALmemoryBlockStruct* destination,
                                           int32_t offset, signed char littleEndian, int32_t alphaValue,
                                           int32_t startLine, int32_t endLine, int32_t yield, int32_t destRowBytes) {
  // The method it hands on to screens the arguments, in the same order and with the same
  // messages as every copy; choosing it asks nothing of the host. -1 counts as above 255.
  if (static_cast<uint32_t>(alphaValue) <= 255) {
    auto method = littleEndian != 0 ? CopyBGRAtoMemoryblockQZV : CopyARGBtoMemoryblockQZV;
    return method(picture, destination, offset, alphaValue, startLine, endLine, yield, destRowBytes);
  }
  auto method = littleEndian != 0 ? CopyBGRXtoMemoryblockQZV : CopyXRGBtoMemoryblockQZV;
  return method(picture, destination, offset, startLine, endLine, yield, destRowBytes);
}
