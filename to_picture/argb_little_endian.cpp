// The LittleEndian overloads of the ARGB sources, which only choose between the ARGB and
// BGRA conversions: ARGB words stored little-endian are B, G, R, A in memory.
#include "to_picture/picture_methods.h"

namespace picture_methods {

// The conversion it hands on to tests the arguments, in the same order and with the same
// messages as every colour conversion; choosing it asks nothing of the host.
template <typename Source>
REALpictureStruct* ArgbLittleEndian(typename Source::Handle source, int32_t offset, int32_t width, int32_t height,
                                    signed char littleEndian) {
  if (littleEndian != 0) return WithDest<Source, source_layouts::kBGRA>(nullptr, source, offset, width, height);
  return WithDest<Source, source_layouts::kARGB>(nullptr, source, offset, width, height);
}

template REALpictureStruct* ArgbLittleEndian<FromBlock>(FromBlock::Handle, int32_t, int32_t, int32_t, signed char);
template REALpictureStruct* ArgbLittleEndian<FromPtr>(FromPtr::Handle, int32_t, int32_t, int32_t, signed char);

}  // namespace picture_methods
