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
// What a thread keeps, in one thread-local object: a library's thread-local variable is found
// through a call into the loader, one per variable, on every call that reads it.
constexpr int kKept = 4;
struct Kept {
  Prepared entries[kKept];
  int next;       // the entry made ready next, in turn
  int lastFound;  // a program mostly converts in the layout of its last call: looked at first
  int64_t madeReady;

  Prepared* Find(const PixelMap& map, const ChoiceKey& choice) {
    for (int tries = 0, index = lastFound; tries < kKept; ++tries, index = (index + 1) % kKept) {
      const Prepared& entry = entries[index];
      if (entry.pick.kernel != nullptr && entry.choice == choice && PixelMap::SameBytes(entry.map, &map))
        return &entries[lastFound = index];
    }
    return nullptr;
  }

  // The next entry in turn that no converter holds, or null when every one is held.
  Prepared* Free() {
    for (int tries = 0; tries < kKept; ++tries) {
      const int index = next;
      next = (next + 1) % kKept;
      if (entries[index].users == 0) return &entries[lastFound = index];
    }
    return nullptr;
  }
};
thread_local Kept tKept;
// Looked up once per call, through a call of its own: inline, the compiler looks the variable
// up again (a call into the loader) at each use.
PIXELBRIDGE_HOT [[gnu::noinline]] Kept& ThisThreadsKept() { return tKept; }

bool ThroughTables(const PixelMap& map) {
  return map.table[0] != nullptr || map.table[1] != nullptr || map.table[2] != nullptr || map.table[3] != nullptr;
}

}  // namespace

PIXELBRIDGE_HOT RowConverter::RowConverter(const PixelMap& map, int64_t pixels) {
  const int64_t bytes = BytesMoved(map, pixels);
  const ChoiceKey choice = ActiveChoiceKey(bytes);
  Kept& kept = ThisThreadsKept();
  Prepared* entry = kept.Find(map, choice);
  if (entry == nullptr) {
    ++kept.madeReady;
    const Shape shape = ShapeOf(map);
    const KernelPick pick = PickKernel(shape, ActiveKernelTable()[shape], bytes);
    entry = kept.Free();
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

int64_t ConversionsMadeReady() { return tKept.madeReady; }
