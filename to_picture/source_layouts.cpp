// The map a source layout makes.
#include "to_picture/source_layouts.h"

PixelMap PictureMap(const SourceLayout& layout, FormatGroup writer, const GrayTables* tables) {
  const PixelBytes bytes = PixelBytesOf(writer);
  PixelMap map;
  map.inputStride = layout.stride;
  map.inputBytes = layout.bytes;
  map.from[bytes.red] = layout.red;
  map.from[bytes.green] = layout.green;
  map.from[bytes.blue] = layout.blue;
  map.fill[bytes.fourth] = bytes.opaque;
  if (tables != nullptr) {
    map.table[bytes.red] = tables->red;
    map.table[bytes.green] = tables->green;
    map.table[bytes.blue] = tables->blue;
  }
  return map;
}
