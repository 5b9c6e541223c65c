// A call's kernel, and what it reads made ready.
#include "rows/row_converter.h"

namespace {
KernelPick PickFor(const PixelMap& map, const KernelTable& table, int64_t pixels) {
  const Shape shape = ShapeOf(map);
  return PickKernel(shape, table[shape], BytesMoved(map, pixels));
}
}  // namespace

RowConverter::RowConverter(const PixelMap& map, const KernelTable& table, int64_t pixels)
    : RowConverter(map, PickFor(map, table, pixels)) {}

RowConverter::RowConverter(const PixelMap& map, const KernelPick& pick) : kernel_(pick.kernel) {
  // What the kernel isn't said to read stays defined, patterns of zeros and no words: a
  // kernel that reads more than its shape's record says goes wrong the same way every time,
  // and the kernel tests see it.
  switch (pick.reads) {
    case RowReads::kPatterns:
      BuildRowPatterns(map, pick.level, &patterns_);
      return;
    case RowReads::kWords:
      MakePixelWords(map, words_);
      patterns_ = RowPatterns{};
      patterns_.words = words_;
      break;
    case RowReads::kMap:
      patterns_ = RowPatterns{};
  }
  patterns_.map = map;
}
