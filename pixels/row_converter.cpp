// The choice of a call's kernel.
#include "pixels/row_converter.h"

KernelPick PickKernel(Shape shape, const ShapeChoice& choice, int64_t bytesMoved) {
  // A call that streams runs the widest kernels at or below the shape's level that can.
  if (choice.streams && bytesMoved >= StreamingStoresFrom()) {
    for (int level = static_cast<int>(choice.level); level > 0; --level)
      if (RowKernelsFor(static_cast<SimdLevel>(level))(Stores::kStreaming, shape) != nullptr)
        return {static_cast<SimdLevel>(level), Stores::kStreaming};
  }
  const bool aligns = choice.aligns && RowKernelsFor(choice.level)(Stores::kAligned, shape) != nullptr;
  return {choice.level, aligns ? Stores::kAligned : Stores::kOrdinary};
}

RowConverter::RowConverter(const PixelMap& map, const KernelTable& table, int64_t bytesMoved) {
  const Shape shape = ShapeOf(map);
  const KernelPick pick = PickKernel(shape, table[shape], bytesMoved);
  kernel_ = RowKernelsFor(pick.level)(pick.stores, shape);
  if (kernel_ == GrayWordsRow) MakePixelWords(map, patterns_.words);
  // Gray through tables and the plain row read the map and no pattern; gray through words,
  // the words made above and the map's stride.
  if (shape == Shape::kOneToFourTables || shape == Shape::kGrayWords || shape == Shape::kPlain) patterns_.map = map;
  else BuildRowPatterns(map, pick.level, &patterns_);
}
