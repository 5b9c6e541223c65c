// Every row kernel of every SIMD level this machine has, given what the row converter makes
// ready for it (what its shape's record says it reads), against the plain row, which the
// methods' tests hold to their own account of the pixels: in every way it stores (ordinary,
// streaming), for widths 0 to 67 (and a few longer), source misalignments 0 to 15 and
// destination ones 0 to 63, and rows that end at a page's end; the kernel table over CPUID
// answers.
#include <gtest/gtest.h>

#include "platform/architecture.h"
#if PIXELBRIDGE_X86
#include <cpuid.h>
#endif

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "rows/gray_tables.h"
#include "rows/row_converter.h"
#include "to_memory/copy_layouts.h"
#include "to_picture/source_layouts.h"

namespace {

constexpr size_t kLongestRow = 1001 * 8;
constexpr size_t kGuard = 64;
constexpr uint8_t kCanary = 0xC5;

// Source and destination buffers with room for misalignment and canaries on both sides.
struct Buffers {
  std::vector<uint8_t> source, mask, fast, plain;
  explicit Buffers(size_t bytes)
      : source(bytes + 2 * kGuard), mask(bytes + 2 * kGuard), fast(bytes + 2 * kGuard), plain(bytes + 2 * kGuard) {
    std::mt19937 random(static_cast<unsigned>(bytes));
    for (size_t i = 0; i < source.size(); ++i) {
      source[i] = static_cast<uint8_t>(random());
      mask[i] = static_cast<uint8_t>(random());
    }
  }
  // The same bytes on both sides inside the row, canaries around it.
  void Prefill(size_t offset, size_t length) {
    std::fill(fast.begin(), fast.end(), kCanary);
    for (size_t i = 0; i < length; ++i) fast[offset + i] = static_cast<uint8_t>(i * 131 + 7);
    plain = fast;
  }
};

// Where in `buffer` a row of `bytes` bytes starts that ends at a page boundary.
size_t EndingAtPage(const std::vector<uint8_t>& buffer, size_t bytes) {
  const auto start = reinterpret_cast<uintptr_t>(&buffer[kGuard]) + bytes;
  return (start + 4095) / 4096 * 4096 - bytes - reinterpret_cast<uintptr_t>(buffer.data());
}

const FormatGroup kGroups[] = {FormatGroup::kAlphaLast, FormatGroup::kAlphaFirst, FormatGroup::kRowTable};

const GrayTables& RandomTables() {
  static const GrayTables tables = [] {
    GrayTables drawn;
    std::mt19937 draw(7);
    for (int v = 0; v < 256; ++v) {
      drawn.red[v] = static_cast<uint8_t>(draw());
      drawn.green[v] = static_cast<uint8_t>(draw());
      drawn.blue[v] = static_cast<uint8_t>(draw());
    }
    return drawn;
  }();
  return tables;
}

struct NamedMap {
  std::string name;
  PixelMap map;
};

// The maps of every layout of both directions over every format group (and mask group).
std::vector<NamedMap> EveryMap() {
  using namespace copy_layouts;  // NOLINT
  struct Copy {
    const char* name;
    const CopyLayout& layout;
    bool masked;
    int32_t pixelByteSize;
  };
  const Copy copies[] = {
      {"ARGB", kARGB, false, 0},     {"ABGR", kABGR, false, 0},     {"RGBA", kRGBA, false, 0},
      {"BGRA", kBGRA, false, 0},     {"mask ARGB", kARGB, true, 0}, {"mask BGRA", kBGRA, true, 0},
      {"mask RGBA", kRGBA, true, 0}, {"XRGB", kXRGB, false, 0},     {"RGBX", kRGBX, false, 0},
      {"XBGR", kXBGR, false, 0},     {"RGB", kRGB, false, 0},       {"BGR", kBGR, false, 0},
      {"R at 1", kR, false, 1},      {"G at 2", kG, false, 2},      {"B at 3", kB, false, 3},
      {"G at 4", kG, false, 4},      {"R at 5", kR, false, 5},
  };
  std::vector<NamedMap> maps;
  for (const Copy& c : copies)
    for (FormatGroup source : kGroups)
      for (FormatGroup mask : kGroups) {
        if (!c.masked && mask != FormatGroup::kAlphaLast) continue;
        maps.push_back({std::string(c.name) + " from group " + std::to_string(int(source)) + " mask group " +
                            std::to_string(int(mask)),
                        CopyMap(c.layout, source, c.masked ? mask : FormatGroup::kNone, 0xA7, c.pixelByteSize)});
      }
  namespace in = source_layouts;
  const std::pair<const char*, SourceLayout> sources[] = {
      {"ARGB", in::kARGB},        {"ABGR", in::kABGR},       {"BGRA", in::kBGRA},   {"RGBA", in::kRGBA},
      {"BGR", in::kBGR},          {"RGB", in::kRGB},         {"gray", in::Gray(1)}, {"gray at 2", in::Gray(2)},
      {"gray at 3", in::Gray(3)}, {"gray at 4", in::Gray(4)}};
  for (const auto& [name, layout] : sources)
    for (FormatGroup writer : kGroups)
      for (const GrayTables* tables : {static_cast<const GrayTables*>(nullptr), &RandomTables()}) {
        if (tables != nullptr && layout.bytes != 1) continue;  // colour has no tables
        maps.push_back(
            {std::string(name) + (tables ? " through tables" : "") + " into group " + std::to_string(int(writer)),
             PictureMap(layout, writer, tables)});
      }
  return maps;
}

TEST(Kernels, EveryKernelMatchesThePlainRow) {
  printf("row kernels checked up to the %s level\n", SimdLevelName(DetectedSimdLevel()));
  constexpr int kLevels = static_cast<int>(SimdLevel::kWidest) + 1;
  bool tested[kLevels][kStoreKinds][kShapeCount] = {};
  std::vector<int32_t> widths = {127, 128, 131, 192, 255, 1001};
  for (int32_t width = 0; width < 68; ++width) widths.push_back(width);
  Buffers buffers(kLongestRow + 64 + 4096);
  for (const NamedMap& named : EveryMap()) {
    const PixelMap& map = named.map;
    const Shape shape = ShapeOf(map);
    // Only channels two or five bytes apart have no vector kernel.
    const bool plain = named.name.rfind("G at 2", 0) == 0 || named.name.rfind("R at 5", 0) == 0;
    EXPECT_EQ(shape == Shape::kPlain, plain) << named.name;
    for (int level = 0; level <= static_cast<int>(DetectedSimdLevel()); ++level) {
      for (int stores = 0; stores < kStoreKinds; ++stores) {
        const KernelPick pick = KernelOf(static_cast<SimdLevel>(level), static_cast<Stores>(stores), shape);
        if (pick.kernel == nullptr) continue;
        const RowConverter convert(map, pick);
        tested[level][stores][static_cast<int>(shape)] = true;
        SCOPED_TRACE(testing::Message() << named.name << ", " << ShapeName(shape) << ", "
                                        << SimdLevelName(static_cast<SimdLevel>(level)) << ", stores " << stores);
        for (int32_t width : widths)
          for (size_t shift = 0; shift <= 16; ++shift) {
            size_t from = kGuard + shift, to = kGuard + (shift * 7 + width) % 64;
            // Then rows that end where a page ends, as a picture's last row may.
            if (shift == 16) {
              from = EndingAtPage(buffers.source, width * size_t(map.inputStride));
              to = EndingAtPage(buffers.fast, width * size_t(map.outputStride));
            }
            buffers.Prefill(to, static_cast<size_t>(width) * map.outputStride);
            convert(&buffers.source[from], &buffers.mask[from + 3], &buffers.fast[to], width);
            MapPixels(&buffers.source[from], &buffers.mask[from + 3], &buffers.plain[to], width, map);
            const auto differs = std::mismatch(buffers.fast.begin(), buffers.fast.end(), buffers.plain.begin());
            ASSERT_TRUE(differs.first == buffers.fast.end())
                << "width " << width << ", source at +" << shift << ": byte " << differs.first - buffers.fast.begin()
                << " of the destination (the row at " << to << ") is " << int(*differs.first) << ", the plain row's "
                << int(*differs.second);
          }
      }
    }
  }
  for (int level = 0; level <= static_cast<int>(DetectedSimdLevel()); ++level)
    for (int stores = 0; stores < kStoreKinds; ++stores)
      for (int shape = 0; shape < kShapeCount; ++shape)
        if (RowKernelsFor(static_cast<SimdLevel>(level))(static_cast<Stores>(stores), static_cast<Shape>(shape))) {
          EXPECT_TRUE(tested[level][stores][shape]) << "no map tried the " << ShapeName(static_cast<Shape>(shape))
                                                    << " kernel at level " << level << ", stores " << stores;
        }
}

// Tables from tint factors and from integers, 16 or 64 entries a step where the processor
// can, at every level it has, against their plain loops: factors around every shortcut and
// limit, 300 drawn and every one up to 16384; values beyond 16 and 32 bits either way, counts
// around whole steps.
TEST(Kernels, GrayTablesMatchThePlainLoops) {
  std::mt19937 draw(11);
  std::vector<int32_t> factors = {INT32_MIN, -65536, -1, 65279, 65280, 65535, 65536};
  for (int i = 0; i < 300; ++i) factors.push_back(static_cast<int32_t>(draw()) >> (i % 17));
  // A step that starts from a wrong sample is off by one for a few factors only.
  for (int32_t factor = 0; factor <= 16384; ++factor) factors.push_back(factor);
  std::vector<int32_t> values = {INT32_MIN, -32769, -32768, -1, 0, 1, 255, 256, 32767, 32768, INT32_MAX};
  while (values.size() < 256) values.push_back(static_cast<int32_t>(draw()) >> (values.size() % 25));
  uint8_t fast[256], plain[256];
  for (int level = 0; level <= static_cast<int>(DetectedSimdLevel()); ++level) {
    HoldSimdLevel(level);
    for (int32_t factor : factors) {
      MakeTintTable(factor, fast);
      MakeTintTablePlain(factor, plain);
      ASSERT_EQ(memcmp(fast, plain, sizeof fast), 0) << "factor " << factor << ", level " << level;
    }
    for (int32_t count : {-1, 0, 1, 15, 16, 17, 63, 64, 65, 127, 128, 200, 255, 256}) {
      MakeClampedTable(values.data(), count, fast);
      MakeClampedTablePlain(values.data(), count, plain);
      ASSERT_EQ(memcmp(fast, plain, sizeof fast), 0) << "count " << count << ", level " << level;
    }
  }
  HoldSimdLevel(-1);
}

#if PIXELBRIDGE_X86
// CPUID answers: the vendor's name, leaf 1's signature (family and model) and the features.
CpuidAnswers Answers(const char* vendor, uint32_t signature, const char* features, uint64_t xcr0 = 0xE7) {
  CpuidAnswers answers{{7}, {signature}, {}, xcr0};
  memcpy(&answers.leaf0[1], vendor, 4);
  memcpy(&answers.leaf0[3], vendor + 4, 4);
  memcpy(&answers.leaf0[2], vendor + 8, 4);
  const std::string has = features;
  if (has.find("ssse3") != std::string::npos) answers.leaf1[2] |= bit_SSSE3 | bit_OSXSAVE;
  if (has.find("avx2") != std::string::npos) answers.leaf7[1] |= bit_AVX2;
  if (has.find("avx512") != std::string::npos) answers.leaf7[1] |= bit_AVX512F | bit_AVX512BW;
  if (has.find("vbmi") != std::string::npos) answers.leaf7[2] |= bit_AVX512VBMI;
  if (has.find("no-osxsave") != std::string::npos) answers.leaf1[2] &= ~bit_OSXSAVE;
  if (has.find("no-leaf7") != std::string::npos) answers.leaf0[0] = 1;
  if (has.find("macos") != std::string::npos) answers.avx512FromSystem = has.find("macos-avx512") != std::string::npos;
  return answers;
}

// This processor as found, against the compiler's own reading of CPUID and XCR0.
TEST(Kernels, TheProcessorIsFoundAsTheCompilerFindsIt) {
  __builtin_cpu_init();
  const bool avx512 = __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi");
  const SimdLevel level = avx512                            ? SimdLevel::kAVX512
                          : __builtin_cpu_supports("avx2")  ? SimdLevel::kAVX2
                          : __builtin_cpu_supports("ssse3") ? SimdLevel::kSSSE3
                                                            : SimdLevel::kScalar;
  EXPECT_EQ(DetectedSimdLevel(), level);
  EXPECT_EQ(ThisProcessor().vendor == Vendor::kIntel, __builtin_cpu_is("intel"));
  EXPECT_EQ(ThisProcessor().vendor == Vendor::kAMD, __builtin_cpu_is("amd"));
}

// Processors told by their CPUID answers: the family, model, row of the kernel table and
// widest level found, every shape capped at that level and some at it; and what calls of a
// few shapes run with.
TEST(Kernels, TheTableChoosesPerProcessor) {
  struct Case {
    const char* name;
    CpuidAnswers answers;
    int family, model;
    const char* row;  // of the kernel table
    SimdLevel level;
  };
  const char *const kZen = "AMD family 25 (Zen 3, Zen 4)", *const kAny = "any other processor";
  const char* const kAll = "ssse3 avx2 avx512 vbmi";
  constexpr SimdLevel k0 = SimdLevel::kScalar, k1 = SimdLevel::kSSSE3, k2 = SimdLevel::kAVX2, k3 = SimdLevel::kAVX512;
  const Case cases[] = {
      {"Zen 4", Answers("AuthenticAMD", 0xA10F11, kAll), 25, 17, kZen, k3},
      {"Zen 3", Answers("AuthenticAMD", 0xA00F10, "ssse3 avx2"), 25, 1, kZen, k2},
      {"Zen 4, ZMM state not saved", Answers("AuthenticAMD", 0xA10F11, kAll, 0x7), 25, 17, kZen, k2},
      {"Zen 2", Answers("AuthenticAMD", 0x830F10, "ssse3 avx2"), 23, 49, kAny, k2},
      {"Sapphire Rapids", Answers("GenuineIntel", 0x806F8, kAll), 6, 143, kAny, k3},
      {"Skylake-SP (no VBMI)", Answers("GenuineIntel", 0x50654, "ssse3 avx2 avx512"), 6, 85, kAny, k2},
      {"without SSSE3", Answers("GenuineIntel", 0x6F6, ""), 6, 15, kAny, k0},
      {"AVX state not saved", Answers("GenuineIntel", 0x806F8, "ssse3 avx2 no-osxsave"), 6, 143, kAny, k1},
      {"no leaf 7", Answers("GenuineIntel", 0x6F6, "ssse3 avx2 no-leaf7"), 6, 15, kAny, k1},
      {"Ice Lake Mac, ZMM state on at first use",
       Answers("GenuineIntel", 0x706E5, "ssse3 avx2 avx512 vbmi macos-avx512", 0x7), 6, 126, kAny, k3},
      {"Mac, the system's no over CPUID's yes", Answers("GenuineIntel", 0x50657, "ssse3 avx2 avx512 vbmi macos"), 6, 85,
       kAny, k2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const Processor processor = ProcessorFrom(c.answers);
    EXPECT_EQ(processor.family, c.family);
    EXPECT_EQ(processor.model, c.model);
    EXPECT_STREQ(ChoicesFor(processor).family, c.row);
    EXPECT_EQ(processor.level, c.level);
    // Every shape at most at the level found, and some at it.
    const KernelTable table = KernelTableFor(ChoicesFor(processor), processor.level, false);
    SimdLevel widest = SimdLevel::kScalar;
    for (int shape = 0; shape < kShapeCount; ++shape) {
      EXPECT_LE(table.shapes[shape].level, c.level) << ShapeName(static_cast<Shape>(shape));
      widest = std::max(widest, table.shapes[shape].level);
    }
    EXPECT_EQ(widest, c.level);
    const KernelTable held = KernelTableFor(ChoicesFor(processor), SimdLevel::kSSSE3, true);
    for (const ShapeChoice& shape : held.shapes) EXPECT_EQ(shape.level, SimdLevel::kSSSE3);
  }
  // Calls larger than the cache, of a shape that streams, store around it through the widest
  // kernels at or below the shape's level that can (AVX-512 has none); of one that doesn't,
  // the ordinary way.
  const KernelPick large = PickKernel(Shape::kFourToThree, {SimdLevel::kAVX512, true}, INT64_MAX);
  EXPECT_EQ(std::pair(large.level, large.stores), std::pair(SimdLevel::kAVX2, Stores::kStreaming));
  EXPECT_EQ(PickKernel(Shape::kFourToThree, {SimdLevel::kAVX512, false}, INT64_MAX).stores, Stores::kOrdinary);
  EXPECT_EQ(PickKernel(Shape::kFourToOne, {SimdLevel::kSSSE3, true}, INT64_MAX).stores, Stores::kStreaming);
}
#endif

}  // namespace
