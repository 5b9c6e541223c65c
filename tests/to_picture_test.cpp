// The 32 memory-to-picture methods: every layout into every writer format, destinations,
// argument checks, gray tints and tables, and the choices made where behaviour was open.
#include <algorithm>
#include <cstring>

#include "tests/support/host_fixture.h"

using pixeltest::InHost;
using refhost::Arg;
using refhost::Host;
using refhost::HostConfig;
using refhost::HostKind;
using refhost::IntArray;
using refhost::MemoryBlock;
using refhost::Picture;
using refhost::PictureKind;
using refhost::PictureSetup;
using refhost::Rgba;

namespace {

std::string GlobalDeclaration(int index) {
  static const std::vector<std::string> declarations = pixeltest::DataLines("declarations.txt");
  return declarations.at(static_cast<size_t>(index));
}

// The test's own account of the colour methods: where each is declared and the bytes of a
// source pixel ('x' is alpha, never read).
enum class Shape { kDest, kNew, kLittleEndian };
struct ColourMethod {
  std::string name;
  int index;
  const char* bytes;
  bool fromPtr;
  Shape shape;
  bool flippable;
};

std::vector<ColourMethod> ColourMethods() {
  const char* layouts[] = {"xRGB", "xBGR", "BGRx", "RGBx", "BGR", "RGB"};
  const char* names[] = {"ARGB", "ABGR", "BGRA", "RGBA", "BGR", "RGB"};
  std::vector<ColourMethod> methods;
  for (bool fromPtr : {true, false}) {
    const int base = fromPtr ? 0 : 16;
    const std::string kind = fromPtr ? "Ptr" : "Memoryblock";
    for (int i = 0; i < 6; ++i) {
      methods.push_back({kind + names[i] + " dest", base + i, layouts[i], fromPtr, Shape::kDest, i == 3});
      methods.push_back({kind + names[i], base + 6 + i, layouts[i], fromPtr, Shape::kNew, i == 3});
    }
    methods.push_back({kind + "ARGB LittleEndian", base + 12, "BGRx", fromPtr, Shape::kLittleEndian, false});
  }
  return methods;
}

// Source bytes that differ everywhere; alpha bytes are 0.
std::vector<uint8_t> SourceBytes(const ColourMethod& method, int32_t width, int32_t height) {
  const size_t bpp = strlen(method.bytes);
  std::vector<uint8_t> bytes(static_cast<size_t>(width * height) * bpp);
  for (size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = method.bytes[i % bpp] == 'x' ? 0 : static_cast<uint8_t>(i * 53 + 17);
  return bytes;
}

Rgba ColourOf(const ColourMethod& method, const uint8_t* pixel) {
  Rgba colour;
  for (int k = 0; method.bytes[k] != 0; ++k) {
    if (method.bytes[k] == 'R') colour.r = pixel[k];
    if (method.bytes[k] == 'G') colour.g = pixel[k];
    if (method.bytes[k] == 'B') colour.b = pixel[k];
  }
  return colour;
}

// The four bytes an opaque pixel of `colour` has in `picture`, as the test knows the formats.
std::vector<uint8_t> OpaqueBytes(const Picture& picture, Rgba colour) {
  if (picture.setup().kind == PictureKind::TrueColor) return {colour.b, colour.g, colour.r, 0};
  switch (picture.setup().alpha_info) {
    case 2: case 4: case 6: return {255, colour.r, colour.g, colour.b};
    default: return {colour.r, colour.g, colour.b, 255};
  }
}

std::vector<uint8_t> BytesAt(const Picture& picture, int32_t x, int32_t y) {
  const uint8_t* pixel = picture.setup().kind == PictureKind::TrueColor
                             ? reinterpret_cast<const uint8_t*>(&picture.image()->tpixels[y][x])
                             : picture.bitmap_row(y) + 4 * x;
  return {pixel, pixel + 4};
}

// A block holding `bytes` at `offset`, ending at its guard page.
MemoryBlock* SourceBlock(Host& host, const std::vector<uint8_t>& bytes, int32_t offset) {
  MemoryBlock* block = host.NewMemoryBlock(offset + bytes.size(), 0xEE);
  memcpy(block->data() + offset, bytes.data(), bytes.size());
  return block;
}

Arg SourceArg(MemoryBlock* block, bool fromPtr) { return fromPtr ? Arg::Ptr(block->data()) : Arg(block); }

std::vector<Arg> ColourArgs(const ColourMethod& method, Picture* dest, Arg source, int32_t offset, int32_t width,
                            int32_t height, int flag = 0) {
  std::vector<Arg> args;
  if (method.shape == Shape::kDest) args.push_back(dest);
  for (Arg arg : {source, Arg(offset), Arg(width), Arg(height)}) args.push_back(arg);
  if (method.flippable || method.shape == Shape::kLittleEndian) args.push_back(Arg::Bool(flag));
  return args;
}

// Every pixel of `picture`'s top-left width × height holds the source's colours, opaque.
void ExpectPixels(const Picture& picture, const ColourMethod& method, const std::vector<uint8_t>& source,
                  int32_t width, int32_t height, bool flipped = false) {
  const size_t bpp = strlen(method.bytes);
  for (int32_t y = 0; y < height; ++y) {
    const int32_t sourceRow = flipped ? height - 1 - y : y;
    for (int32_t x = 0; x < width; ++x) {
      const Rgba colour = ColourOf(method, source.data() + (static_cast<size_t>(sourceRow * width + x)) * bpp);
      ASSERT_EQ(BytesAt(picture, x, y), OpaqueBytes(picture, colour)) << "pixel " << x << "," << y;
    }
  }
}

struct Writer {
  const char* name;
  HostKind host;
  uint32_t alphaInfo;
};
const Writer kWriters[] = {{"format 1", HostKind::Desktop, 1}, {"format 2", HostKind::Desktop, 2},
                           {"format 5", HostKind::Desktop, 5}, {"format 6", HostKind::Desktop, 6},
                           {"format 8", HostKind::Console, 0}};

HostConfig ConfigFor(const Writer& writer) {
  HostConfig config = pixeltest::PluginConfig();
  config.kind = writer.host;
  config.new_picture_alpha_info = writer.alphaInfo;
  return config;
}

HostConfig ProbeConfigFor(const Writer& writer) {
  HostConfig config = ConfigFor(writer);
  config.plugin_path = pixeltest::ProbeConfig().plugin_path;
  return config;
}

HostConfig Desktop() { return ConfigFor(kWriters[3]); }

Picture* Returned(const refhost::CallResult& result) {
  pixeltest::ExpectBalanced(result);
  EXPECT_TRUE(result.exceptions.empty());
  EXPECT_NE(result.picture, nullptr);
  return static_cast<Picture*>(result.picture);
}

TEST(MemoryToPicture, EveryColourLayoutIntoEveryWriterFormat) {
  for (const Writer& writer : kWriters) {
    SCOPED_TRACE(writer.name);
    InHost(ProbeConfigFor(writer), [&](Host& host) {
      pixeltest::ForEachSimdLevel(host, [&] {
        for (const ColourMethod& method : ColourMethods()) {
          SCOPED_TRACE(method.name);
          const std::vector<uint8_t> source = SourceBytes(method, 21, 3);
          MemoryBlock* block = SourceBlock(host, source, 3);
          Picture* picture = Returned(host.Call(
              GlobalDeclaration(method.index), ColourArgs(method, nullptr, SourceArg(block, method.fromPtr), 3, 21, 3, 1)));
          if (picture != nullptr) {
            EXPECT_EQ(picture->width(), 21);
            EXPECT_EQ(picture->height(), 3);
            ExpectPixels(*picture, method, source, 21, 3, method.flippable);
            host.Release(picture);
          }
          host.Release(block);
        }
      });
    });
  }
}

// A destination at least as large is written in its top-left corner and returned; a
// smaller one is left alone and a new picture made.
TEST(MemoryToPicture, DestinationReusedWhenLargeEnough) {
  struct Case {
    int32_t destWidth, destHeight;
    bool reused;
  };
  InHost(Desktop(), [](Host& host) {
    for (const ColourMethod& method : ColourMethods()) {
      if (method.shape != Shape::kDest) continue;
      for (const Case& c : {Case{100, 100, true}, Case{100, 5, false}, Case{10, 10, true}, Case{9, 40, false}}) {
        SCOPED_TRACE(method.name + " into " + std::to_string(c.destWidth) + "x" + std::to_string(c.destHeight));
        PictureSetup setup;
        setup.width = c.destWidth, setup.height = c.destHeight, setup.fill = Rgba{1, 2, 3, 4};
        Picture* dest = host.NewPicture(setup);
        const std::vector<uint8_t> source = SourceBytes(method, 10, 10);
        MemoryBlock* block = SourceBlock(host, source, 0);
        Picture* picture = Returned(
            host.Call(GlobalDeclaration(method.index), ColourArgs(method, dest, SourceArg(block, method.fromPtr), 0, 10, 10)));
        ASSERT_NE(picture, nullptr);
        EXPECT_EQ(picture == dest, c.reused);
        ExpectPixels(*picture, method, source, 10, 10);
        for (int32_t y = 0; y < c.destHeight; ++y) {
          for (int32_t x = 0; x < c.destWidth; ++x) {
            if (!c.reused || x >= 10 || y >= 10) {
              ASSERT_EQ(dest->GetPixel(x, y), (Rgba{1, 2, 3, 4})) << x << "," << y;
            }
          }
        }
        host.Release(picture);
        EXPECT_EQ(dest->refs(), 1);
        host.Release(dest);
        host.Release(block);
      }
    }
  });
}

TEST(MemoryToPicture, FlipVerticallyTakesRowsBottomUp) {
  InHost(Desktop(), [](Host& host) {
    for (const ColourMethod& method : ColourMethods()) {
      if (!method.flippable) continue;
      for (int flip : {0, 1, 0x80}) {
        SCOPED_TRACE(method.name + " flip " + std::to_string(flip));
        const std::vector<uint8_t> source = SourceBytes(method, 3, 4);
        MemoryBlock* block = SourceBlock(host, source, 7);
        Picture* picture = Returned(host.Call(GlobalDeclaration(method.index),
                                              ColourArgs(method, nullptr, SourceArg(block, method.fromPtr), 7, 3, 4, flip)));
        ExpectPixels(*picture, method, source, 3, 4, flip != 0);
        host.Release(picture);
        host.Release(block);
      }
    }
  });
}

// ARGB bytes 11 22 33 44 are red 22, green 33, blue 44; read as a little-endian ARGB word
// they are blue 11, green 22, red 33.
TEST(MemoryToPicture, LittleEndianArgb) {
  InHost(Desktop(), [](Host& host) {
    MemoryBlock* block = SourceBlock(host, {0x11, 0x22, 0x33, 0x44}, 0);
    for (int index : {12, 28}) {
      const bool fromPtr = index == 12;
      for (int littleEndian : {0, 1}) {
        const std::vector<Arg> args = {SourceArg(block, fromPtr), 0, 1, 1, Arg::Bool(littleEndian)};
        Picture* picture = Returned(host.Call(GlobalDeclaration(index), args));
        EXPECT_EQ(picture->GetPixel(0, 0), littleEndian ? (Rgba{0x33, 0x22, 0x11, 255}) : (Rgba{0x22, 0x33, 0x44, 255}));
        host.Release(picture);
      }
    }
    host.Release(block);
  });
}

// The four checks in order, for colour and gray methods, Ptr and memory block alike.
TEST(MemoryToPicture, ArgumentChecksInOrder) {
  struct Case {
    bool nilSource;
    int32_t offset, width, height, pixelByteSize;
    const char* message;
  };
  const Case cases[] = {
      {true, 0, 0, 1, 1, "Memoryblock is nil"},
      {false, -1, 0, 0, 1, "width is too small. Must be >0."},
      {false, -1, 1, 0, 0, "height is too small. Must be >0."},
      {false, -1, 1, 1, 0, "offset is too small. Must be >=0."},
      {false, 0, 1, 1, 0, "PixelByteSize is too small. Must be >0."},
      {false, 0, 1, 1, -3, "PixelByteSize is too small. Must be >0."},
  };
  InHost(Desktop(), [&](Host& host) {
    MemoryBlock* block = host.NewMemoryBlock(16);
    IntArray* table = host.NewIntArray({1, 2, 3});
    for (int index = 0; index < 32; ++index) {
      const std::string declaration = GlobalDeclaration(index);
      const bool fromPtr = index < 16;
      const int kind = index % 16;
      for (const Case& c : cases) {
        if (c.pixelByteSize < 1 && kind < 13) continue;  // only gray methods take a PixelByteSize
        SCOPED_TRACE(declaration + ": " + c.message);
        std::vector<Arg> args;
        if (kind < 6) args.push_back(nullptr);
        args.push_back(c.nilSource ? (fromPtr ? Arg::Ptr(nullptr) : Arg(nullptr)) : SourceArg(block, fromPtr));
        for (int32_t value : {c.offset, c.width, c.height}) args.push_back(value);
        if (kind == 3 || kind == 9 || kind == 12) args.push_back(Arg::Bool(0));
        if (kind >= 13) args.push_back(c.pixelByteSize);
        for (int extra = 0; kind >= 14 && extra < 3; ++extra) args.push_back(kind == 14 ? Arg(256) : Arg(table));
        host.ClearLog();
        refhost::CallResult result = host.Call(declaration, args);
        pixeltest::ExpectBalanced(result);
        EXPECT_EQ(result.picture, nullptr);
        ASSERT_EQ(result.exceptions.size(), 1u);
        EXPECT_EQ(result.exceptions[0].class_name,
                  c.nilSource ? "NilObjectException" : "UnsupportedOperationException");
        EXPECT_EQ(result.exceptions[0].message, c.message);
        EXPECT_EQ(host.CallCount("RuntimeUBound"), 0) << "no table is built";
        EXPECT_EQ(host.CallCount("newPicture"), 0);
      }
    }
    host.Release(block);
    host.Release(table);
  });
}

// New pictures are 1 to 32767 each way; past that the methods return nil quietly.
TEST(MemoryToPicture, NewPictureSizeLimits) {
  struct Case {
    int index;  // a colour method without dest, and a gray one
    int32_t width, height;
    bool made;
  };
  const Case cases[] = {{11, 40000, 10, false}, {11, 32767, 1, true}, {11, 32768, 1, false}, {11, 1, 32768, false},
                        {13, 32768, 1, false},  {13, 32767, 1, true}, {13, 1, 40000, false}};
  InHost(Desktop(), [&](Host& host) {
    MemoryBlock* block = host.NewMemoryBlock(40000 * 10 * 3);
    for (const Case& c : cases) {
      SCOPED_TRACE(testing::Message() << GlobalDeclaration(c.index) << " " << c.width << "x" << c.height);
      std::vector<Arg> args = {Arg::Ptr(block->data()), 0, c.width, c.height};
      if (c.index == 13) args.push_back(1);
      refhost::CallResult result = host.Call(GlobalDeclaration(c.index), args);
      pixeltest::ExpectBalanced(result);
      EXPECT_TRUE(result.exceptions.empty());
      EXPECT_EQ(result.picture != nullptr, c.made);
      if (result.picture != nullptr) host.Release(result.picture);
    }
    host.Release(block);
  });
}

// Memory blocks too small for the source are refused before any picture is made; a Ptr
// carries no size. A block without an address gives nil quietly.
TEST(MemoryToPicture, SourceMustFitItsBlock) {
  struct Case {
    int index;
    int32_t offset, width, height, pixelByteSize;
    size_t needed;
  };
  const Case cases[] = {{27, 2, 3, 2, 0, 2 + 18}, {24, 0, 4, 4, 0, 64}, {29, 1, 3, 3, 2, 1 + 8 * 2 + 1},
                        {31, 0, 2, 2, 4, 3 * 4 + 1}};
  InHost(Desktop(), [&](Host& host) {
    IntArray* table = host.NewIntArray({9});
    for (const Case& c : cases) {
      for (size_t size : {c.needed - 1, c.needed}) {
        SCOPED_TRACE(testing::Message() << GlobalDeclaration(c.index) << " block of " << size);
        MemoryBlock* block = host.NewMemoryBlock(size, 0x40);
        std::vector<Arg> args = {block, c.offset, c.width, c.height};
        if (c.pixelByteSize > 0) args.push_back(c.pixelByteSize);
        for (int extra = 0; c.index == 31 && extra < 3; ++extra) args.push_back(table);
        host.ClearLog();
        refhost::CallResult result = host.Call(GlobalDeclaration(c.index), args);
        pixeltest::ExpectBalanced(result);
        const bool fits = size == c.needed;
        EXPECT_EQ(result.picture != nullptr, fits);
        EXPECT_EQ(result.exceptions.size(), fits ? 0u : 1u);
        if (!fits && !result.exceptions.empty()) {
          EXPECT_EQ(result.exceptions[0].class_name, "OutOfBoundsException");
          EXPECT_EQ(result.exceptions[0].message, "Memoryblock is too small.");
          EXPECT_EQ(host.CallCount("newPicture"), 0);
        }
        if (result.picture != nullptr) host.Release(result.picture);
        host.Release(block);
      }
    }
    host.Release(table);
  });
  // Sizes whose source reaches past 64 bits fit no block and no address space; they must
  // not wrap round to a few bytes: (40003 × 934514795 − 1) × 2^30 is a multiple of 2^64.
  struct Huge {
    int index;
    int32_t width, height;
    Arg last;  // PixelByteSize, FlipVertically or nothing (0)
  };
  InHost(Desktop(), [](Host& host) {
    MemoryBlock* block = host.NewMemoryBlock(16);
    for (const Huge& c : {Huge{29, 40003, 934514795, 1 << 30}, Huge{29, INT32_MAX, INT32_MAX, INT32_MAX},
                          Huge{22, INT32_MAX, INT32_MAX, 0}, Huge{27, INT32_MAX, INT32_MAX, 0},
                          Huge{9, 1767887607, 2075423133, Arg::Bool(1)}, Huge{13, 40003, 934514795, 1 << 30}}) {
      SCOPED_TRACE(testing::Message() << GlobalDeclaration(c.index) << " " << c.width << "x" << c.height);
      const bool fromPtr = c.index < 16;
      std::vector<Arg> args = {SourceArg(block, fromPtr), 0, c.width, c.height};
      if (c.last.kind != Arg::Kind::Integer || c.last.integer != 0) args.push_back(c.last);
      refhost::CallResult result = host.Call(GlobalDeclaration(c.index), args);
      pixeltest::ExpectBalanced(result);
      EXPECT_EQ(result.picture, nullptr);
      ASSERT_EQ(result.exceptions.size(), fromPtr ? 0u : 1u);
      for (const refhost::RaisedException& raised : result.exceptions) EXPECT_EQ(raised.class_name, "OutOfBoundsException");
    }
    host.Release(block);
  });
  HostConfig noAddress = Desktop();
  noAddress.missing = {"memoryBlockGetPtr"};
  InHost(noAddress, [](Host& host) {
    MemoryBlock* block = host.NewMemoryBlock(64);
    for (int index : {22, 29}) {
      std::vector<Arg> args = {block, 0, 2, 2};
      if (index == 29) args.push_back(1);
      refhost::CallResult result = host.Call(GlobalDeclaration(index), args);
      pixeltest::ExpectBalanced(result);
      EXPECT_EQ(result.picture, nullptr);
      EXPECT_TRUE(result.exceptions.empty());
      EXPECT_EQ(host.CallCount("newPicture"), 0);
    }
    host.Release(block);
  });
}

// Gray samples: the first byte of each, through a table per channel, into every writer.
struct GrayCase {
  const char* name;
  int index;  // among the Ptr methods; memory-block twins are 16 further
  std::vector<int32_t> tint;
  std::vector<std::vector<int32_t>> arrays;  // empty inner vector: a nil array
};

uint8_t Scaled(int v, int32_t k) {
  const int64_t product = int64_t{v} * k;
  if (product < -255) return 0;
  if (product > 65279) return 255;
  return static_cast<uint8_t>(product / 256);
}

uint8_t Looked(const std::vector<int32_t>& table, int v) {
  if (static_cast<size_t>(v) >= table.size()) return 0;
  return static_cast<uint8_t>(std::clamp(table[static_cast<size_t>(v)], 0, 255));
}

Rgba GrayColour(const GrayCase& c, int v) {
  if (!c.tint.empty()) return Rgba{Scaled(v, c.tint[0]), Scaled(v, c.tint[1]), Scaled(v, c.tint[2]), 255};
  if (!c.arrays.empty()) return Rgba{Looked(c.arrays[0], v), Looked(c.arrays[1], v), Looked(c.arrays[2], v), 255};
  const auto g = static_cast<uint8_t>(v);
  return Rgba{g, g, g, 255};
}

const GrayCase kGrayCases[] = {
    {"plain", 13, {}, {}},
    {"red", 14, {256, 0, 0}, {}},
    {"green", 14, {0, 256, 0}, {}},
    {"blue", 14, {0, 0, 256}, {}},
    {"factors 257 300 -1", 14, {257, 300, -1}, {}},
    {"factors 128 512 65279", 14, {128, 512, 65279}, {}},
    {"factors -256 65280 1", 14, {-256, 65280, 1}, {}},
    {"short tables", 15, {}, {{0, 255}, {0, 10}, {5, 20}}},
    {"clamped and nil tables", 15, {}, {{-7, 1000, 3}, {}, {4, 5, 6, 7, 8, 9}}},
};

// Samples 0, 1, 2, 128, 255 and the rest, each followed by a byte that must not matter.
std::vector<uint8_t> GraySamples(int32_t count, int32_t pixelByteSize) {
  const uint8_t first[] = {0, 1, 2, 128, 255, 254};
  std::vector<uint8_t> bytes(static_cast<size_t>(count * pixelByteSize), 0x34);
  for (int32_t i = 0; i < count; ++i)
    bytes[static_cast<size_t>(i * pixelByteSize)] = i < 6 ? first[i] : static_cast<uint8_t>(i * 29);
  return bytes;
}

TEST(MemoryToPicture, GrayPlainTintedAndMappedIntoEveryWriter) {
  for (const Writer& writer : kWriters) {
    SCOPED_TRACE(writer.name);
    InHost(ProbeConfigFor(writer), [&](Host& host) {
      pixeltest::ForEachSimdLevel(host, [&] {
      for (const GrayCase& c : kGrayCases) {
        for (bool fromPtr : {true, false}) {
          for (int32_t pixelByteSize : {1, 2, 3}) {
            SCOPED_TRACE(testing::Message() << c.name << (fromPtr ? " Ptr" : " Memoryblock") << " PixelByteSize "
                                            << pixelByteSize);
            const std::vector<uint8_t> samples = GraySamples(20 * 3, pixelByteSize);
            MemoryBlock* block = SourceBlock(host, std::vector<uint8_t>(samples.begin(), samples.end() - pixelByteSize + 1), 2);
            std::vector<Arg> args = {SourceArg(block, fromPtr), 2, 20, 3, pixelByteSize};
            for (int32_t factor : c.tint) args.push_back(factor);
            std::vector<refhost::Object*> arrays;
            for (const std::vector<int32_t>& values : c.arrays) {
              arrays.push_back(values.empty() ? nullptr : host.NewIntArray(values));
              args.push_back(arrays.back());
            }
            Picture* picture = Returned(host.Call(GlobalDeclaration(c.index + (fromPtr ? 0 : 16)), args));
            for (int32_t i = 0; picture != nullptr && i < 60; ++i) {
              ASSERT_EQ(BytesAt(*picture, i % 20, i / 20),
                        OpaqueBytes(*picture, GrayColour(c, samples[static_cast<size_t>(i * pixelByteSize)])))
                  << "sample " << i;
            }
            if (picture != nullptr) host.Release(picture);
            for (refhost::Object* array : arrays)
              if (array != nullptr) host.Release(array);
            host.Release(block);
          }
        }
      }
      });
    });
  }
}

// Old hosts let the tables be read straight from the arrays; newer ones are asked.
TEST(MemoryToPicture, TableArraysReadDirectlyUpTo2013_9) {
  for (double version : {2013.9, 2014.0}) {
    SCOPED_TRACE(version);
    HostConfig config = Desktop();
    config.version = version;
    InHost(config, [&](Host& host) {
      MemoryBlock* block = SourceBlock(host, {0, 1, 2}, 0);
      IntArray* red = host.NewIntArray({10, 20, 30});
      IntArray* green = host.NewIntArray({40});
      IntArray* blue = host.NewIntArray({});
      Picture* picture = Returned(host.Call(GlobalDeclaration(31), {block, 0, 3, 1, 1, red, green, blue}));
      EXPECT_EQ(picture->GetPixel(1, 0), (Rgba{20, 0, 0, 255}));
      EXPECT_EQ(picture->GetPixel(0, 0), (Rgba{10, 40, 0, 255}));
      EXPECT_EQ(host.CallCount("RuntimeUBound"), 3);
      EXPECT_EQ(host.CallCount("RuntimeDirectReadIntArray"), version > 2013.9 ? 4 : 0);
      for (refhost::Object* object : std::initializer_list<refhost::Object*>{picture, block, red, green, blue})
        host.Release(object);
    });
  }
}

}  // namespace
