// A call's kernel, and what it reads made ready.
#include "rows/row_converter.h"

RowConverter::RowConverter(const PixelMap& map, const KernelTable& table, int64_t pixels) {
  const Shape shape = ShapeOf(map);
  const KernelPick pick = PickKernel(shape, table[shape], BytesMoved(map, pixels));
  const RowKernelSet& kernels = RowKernelsFor(pick.level);
  kernel_ = kernels(pick.stores, shape);
  switch (kernels.reads[static_cast<int>(shape)]) {
    case RowReads::kPatterns:
      BuildRowPatterns(map, pick.level, &patterns_);
      break;
    case RowReads::kWords:
      MakePixelWords(map, patterns_.words);
      [[fallthrough]];
    case RowReads::kMap:
      patterns_.map = map;
  }
}
