// Every fast row kernel against its plain form, at every SIMD level this machine has, storing
// ordinarily and around the caches, for widths 0 to 67 (and a few longer), source
// misalignments 0 to 15 and destination ones 0 to 63.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

#include "to_memory/copy_rows.h"
#include "to_picture/picture_rows.h"

namespace {

const char* Name(SimdLevel level) { return SimdLevelName(level); }

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

// Runs `body(level, width, sourceOffset, destinationOffset)` over every case, every call
// storing the ordinary way, then every call around the caches: widths 0 to 67 meet every
// tail of every step, the longer ones take several steps.
template <typename Body>
void ForEveryCase(Body body) {
  static const bool told = printf("row kernels checked up to the %s level\n", Name(DetectedSimdLevel())) > 0;
  (void)told;
  std::vector<int32_t> widths = {127, 128, 131, 192, 255, 1001};
  for (int32_t width = 0; width < 68; ++width) widths.push_back(width);
  for (int64_t streamingFrom : {int64_t{-1}, int64_t{0}}) {
    SetStreamingStoresFrom(streamingFrom);
    for (int level = 0; level <= static_cast<int>(DetectedSimdLevel()); ++level) {
      SCOPED_TRACE(testing::Message() << Name(static_cast<SimdLevel>(level))
                                      << (streamingFrom == 0 ? ", streaming" : ""));
      for (int32_t width : widths)
        for (size_t shift = 0; shift < 16; ++shift) {
          body(static_cast<SimdLevel>(level), width, kGuard + shift, kGuard + (shift * 7 + width) % 64);
          if (testing::Test::HasFailure()) return SetStreamingStoresFrom(-1);
        }
    }
  }
  SetStreamingStoresFrom(-1);
}

void ExpectSame(const Buffers& buffers, int32_t width, size_t shift) {
  ASSERT_EQ(buffers.fast, buffers.plain) << "width " << width << ", source at +" << shift;
}

struct CopyCase {
  const char* name;
  const CopyLayout* layout;
  bool masked;
  int32_t pixelByteSize;
};

const CopyCase kCopyCases[] = {
    {"ARGB", &copy_layouts::kARGB, false, 0},     {"ABGR", &copy_layouts::kABGR, false, 0},
    {"RGBA", &copy_layouts::kRGBA, false, 0},     {"BGRA", &copy_layouts::kBGRA, false, 0},
    {"mask ARGB", &copy_layouts::kARGB, true, 0}, {"mask BGRA", &copy_layouts::kBGRA, true, 0},
    {"mask RGBA", &copy_layouts::kRGBA, true, 0}, {"XRGB", &copy_layouts::kXRGB, false, 0},
    {"RGBX", &copy_layouts::kRGBX, false, 0},     {"XBGR", &copy_layouts::kXBGR, false, 0},
    {"RGB", &copy_layouts::kRGB, false, 0},       {"BGR", &copy_layouts::kBGR, false, 0},
    {"R at 1", &copy_layouts::kR, false, 1},      {"G at 2", &copy_layouts::kG, false, 2},
    {"B at 3", &copy_layouts::kB, false, 3},      {"G at 4", &copy_layouts::kG, false, 4},
    {"R at 5", &copy_layouts::kR, false, 5},
};

const FormatGroup kGroups[] = {FormatGroup::kAlphaLast, FormatGroup::kAlphaFirst, FormatGroup::kRowTable};

TEST(Kernels, CopyRowsMatchThePlainKernels) {
  for (const CopyCase& c : kCopyCases) {
    for (FormatGroup source : kGroups) {
      for (FormatGroup mask : kGroups) {
        if (!c.masked && mask != FormatGroup::kAlphaLast) continue;
        SCOPED_TRACE(testing::Message() << c.name << " from group " << int(source) << " mask group " << int(mask));
        const CopyRowPlan plan =
            PlanCopyRow(*c.layout, source, c.masked ? mask : FormatGroup::kNone, 0xA7, c.pixelByteSize);
        const CopyKind kind = KindOf(*c.layout, c.masked);
        Buffers buffers(kLongestRow + 64);
        ForEveryCase([&](SimdLevel level, int32_t width, size_t from, size_t to) {
          buffers.Prefill(to, static_cast<size_t>(width) * plan.stride);
          CopyRow(kind, plan, level)(&buffers.source[from], &buffers.mask[from + 3], &buffers.fast[to], width);
          CopyRow(kind, plan, SimdLevel::kScalar)(&buffers.source[from], &buffers.mask[from + 3], &buffers.plain[to],
                                                  width);
          ExpectSame(buffers, width, from);
        });
      }
    }
  }
}

TEST(Kernels, PictureRowsMatchThePlainKernels) {
  GrayTables identity, random;
  std::mt19937 draw(7);
  for (int v = 0; v < 256; ++v) {
    identity.red[v] = identity.green[v] = identity.blue[v] = static_cast<uint8_t>(v);
    random.red[v] = static_cast<uint8_t>(draw()), random.green[v] = static_cast<uint8_t>(draw());
    random.blue[v] = static_cast<uint8_t>(draw());
  }
  struct Case {
    const char* name;
    const SourceLayout* layout;
    const GrayTables* tables;
    int32_t stride;
  };
  const Case cases[] = {
      {"ARGB", &source_layouts::kARGB, nullptr, 4},
      {"ABGR", &source_layouts::kABGR, nullptr, 4},
      {"BGRA", &source_layouts::kBGRA, nullptr, 4},
      {"RGBA", &source_layouts::kRGBA, nullptr, 4},
      {"BGR", &source_layouts::kBGR, nullptr, 3},
      {"RGB", &source_layouts::kRGB, nullptr, 3},
      {"gray", nullptr, &identity, 1},
      {"gray at 2", nullptr, &identity, 2},
      {"gray at 3", nullptr, &identity, 3},
      {"tables", nullptr, &random, 1},
      {"tables at 4", nullptr, &random, 4},
  };
  for (const Case& c : cases) {
    for (FormatGroup writer : kGroups) {
      SCOPED_TRACE(testing::Message() << c.name << " into group " << int(writer));
      PictureRowPlan plan = PlanPictureRow(writer);
      plan.stride = c.stride;
      if (c.layout != nullptr) plan.red = c.layout->red, plan.green = c.layout->green, plan.blue = c.layout->blue;
      plan.tables = c.tables;
      plan.plainGray = c.tables == &identity;
      Buffers buffers(kLongestRow + 64);
      ForEveryCase([&](SimdLevel level, int32_t width, size_t from, size_t to) {
        buffers.Prefill(to, static_cast<size_t>(width) * 4);
        PictureRow(plan, level)(&buffers.source[from], &buffers.fast[to], width);
        PictureRow(plan, SimdLevel::kScalar)(&buffers.source[from], &buffers.plain[to], width);
        ExpectSame(buffers, width, from);
      });
    }
  }
}

// Patterns are kept between calls: a map that differs in any byte (here the alpha filled in)
// must get its own, however many others came between.
TEST(Kernels, KeptPatternsFollowTheMap) {
  Buffers buffers(kLongestRow + 64);
  for (int level = 0; level <= static_cast<int>(DetectedSimdLevel()); ++level) {
    SCOPED_TRACE(Name(static_cast<SimdLevel>(level)));
    for (int round = 0; round < 3; ++round) {
      for (int32_t alpha : {0x00, 0x01, 0x7F, 0x80, 0xFE, 0xFF}) {
        const CopyRowPlan plan =
            PlanCopyRow(copy_layouts::kRGBA, FormatGroup::kAlphaFirst, FormatGroup::kNone, alpha, 0);
        buffers.Prefill(kGuard, 255 * 4);
        CopyRow(CopyKind::kFourBytes, plan, static_cast<SimdLevel>(level))(&buffers.source[kGuard], nullptr,
                                                                           &buffers.fast[kGuard], 255);
        for (int32_t x = 0; x < 255; ++x) ASSERT_EQ(buffers.fast[kGuard + 4 * x + 3], alpha) << "pixel " << x;
      }
    }
  }
}

}  // namespace
