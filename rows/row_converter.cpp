// A call's kernel, and what it reads made ready; the last few of each thread kept.
#include "rows/row_converter.h"

#include <cstdint>
#include <new>

#include "platform/hot_path.h"

namespace {

// What the kernel reads, made ready from the map in `storage` (and `words`) as `pick` says.
// What the kernel isn't said to read stays defined, patterns of zeros and no words: a kernel
// that reads more than its shape's record says goes wrong the same way every time, and the
// kernel tests see it.
const RowPatterns* MakeReady(const PixelMap& map, const KernelPick& pick, void* storage, uint32_t* words) {
  auto* patterns = new (storage) RowPatterns{};
  switch (pick.reads) {
    case RowReads::kPatterns:
      BuildRowPatterns(map, pick.level, patterns);
      break;
    case RowReads::kWords:
      MakePixelWords(map, words);
      patterns->words = words;
      [[fallthrough]];
    case RowReads::kMap:
      patterns->map = map;
  }
  return patterns;
}

// A conversion a thread made ready, found again by its map and its choice. Thread-local
// storage starts as zeros: an entry without a kernel is empty. A loader may give a thread's
// storage no more than malloc's 16-byte alignment, whatever the type asks (the Mac runner
// does), while the kernels load the patterns as aligned 32- and 64-byte vectors: they are
// placed at their own alignment within the entry's bytes.
struct Prepared {
  unsigned char map[sizeof(PixelMap)];
  ChoiceKey choice;
  KernelPick pick;
  int users;  // converters that hold it: while one does, no other call changes it
  unsigned char patternBytes[sizeof(RowPatterns) + alignof(RowPatterns) - 1];
  uint32_t words[256];

  void* patterns() {
    const uintptr_t at = reinterpret_cast<uintptr_t>(patternBytes);
    return patternBytes + (-at & (alignof(RowPatterns) - 1));
  }
};
constexpr int kKept = 4;
thread_local Prepared tKept[kKept];
thread_local int tNext;
thread_local int tLastFound;  // a program mostly converts in the layout of its last call
thread_local int64_t tMadeReady;

bool Holds(const Prepared& kept, const PixelMap& map, const ChoiceKey& choice) {
  return kept.pick.kernel != nullptr && kept.choice == choice && PixelMap::SameBytes(kept.map, &map);
}

Prepared* Find(const PixelMap& map, const ChoiceKey& choice) {
  if (Holds(tKept[tLastFound], map, choice)) return &tKept[tLastFound];
  for (int index = 0; index < kKept; ++index)
    if (Holds(tKept[index], map, choice)) return &tKept[tLastFound = index];
  return nullptr;
}

// The next entry in turn that no converter holds, or null when every one is held.
Prepared* Free() {
  for (int tries = 0; tries < kKept; ++tries) {
    Prepared& next = tKept[tLastFound = tNext];
    tNext = (tNext + 1) % kKept;
    if (next.users == 0) return &next;
  }
  return nullptr;
}

bool ThroughTables(const PixelMap& map) {
  return map.table[0] != nullptr || map.table[1] != nullptr || map.table[2] != nullptr || map.table[3] != nullptr;
}

}  // namespace

PIXELBRIDGE_HOT RowConverter::RowConverter(const PixelMap& map, int64_t pixels) {
  const int64_t bytes = BytesMoved(map, pixels);
  const ChoiceKey choice = ActiveChoiceKey(bytes);
  Prepared* entry = Find(map, choice);
  if (entry == nullptr) {
    ++tMadeReady;
    const Shape shape = ShapeOf(map);
    const KernelPick pick = PickKernel(shape, ActiveKernelTable()[shape], bytes);
    entry = Free();
    if (entry == nullptr) {
      kernel_ = pick.kernel;
      patterns_ = MakeReady(map, pick, own_, words_);
      return;
    }
    memcpy(entry->map, &map, sizeof map);
    entry->choice = choice;
    entry->pick = pick;
    MakeReady(map, pick, entry->patterns(), entry->words);
  } else if (entry->pick.reads == RowReads::kWords && ThroughTables(map)) {
    // Words made through tables hold the tables' values, which may have changed since: the
    // map holds where the tables are, not what they hold. They are made again.
    if (entry->users > 0) {
      kernel_ = entry->pick.kernel;
      patterns_ = MakeReady(map, entry->pick, own_, words_);
      return;
    }
    MakePixelWords(map, entry->words);
  }
  ++entry->users;
  users_ = &entry->users;
  kernel_ = entry->pick.kernel;
  patterns_ = std::launder(reinterpret_cast<const RowPatterns*>(entry->patterns()));
}

RowConverter::RowConverter(const PixelMap& map, const KernelPick& pick)
    : kernel_(pick.kernel), patterns_(MakeReady(map, pick, own_, words_)) {}

PIXELBRIDGE_HOT RowConverter::~RowConverter() {
  if (users_ != nullptr) --*users_;
}

int64_t ConversionsMadeReady() { return tMadeReady; }
