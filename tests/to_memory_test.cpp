// The 18 picture-to-memory methods: every layout from every source format, line ranges,
// pitches, argument checks and the choices made where the behaviour was open.
#include <algorithm>
#include <cstring>

#include "tests/support/copy_oracle.h"
#include "tests/support/host_fixture.h"

using pixeltest::CopyArgs;
using pixeltest::CopyCall;
using pixeltest::CopyMethod;
using pixeltest::InHost;
using refhost::Host;
using refhost::HostConfig;
using refhost::HostKind;
using refhost::Picture;
using refhost::PictureKind;
using refhost::PictureSetup;
using refhost::Rgba;

namespace {

constexpr uint8_t kUntouched = 0x5A;

Rgba ColourAt(int32_t x, int32_t y) {
  return Rgba{static_cast<uint8_t>(x * 37 + y * 5 + 1), static_cast<uint8_t>(200 - x * 11 - y * 3),
              static_cast<uint8_t>(x * 7 + y * 29 + 90), 0x77};
}
Rgba MaskAt(int32_t x, int32_t y) {
  return Rgba{static_cast<uint8_t>(x), static_cast<uint8_t>(x * 50 + y * 13), static_cast<uint8_t>(255 - y), 0x33};
}

Picture* Painted(Host& host, PictureSetup setup, Rgba (*colour)(int32_t, int32_t)) {
  Picture* picture = host.NewPicture(setup);
  for (int32_t y = 0; y < setup.height; ++y)
    for (int32_t x = 0; x < setup.width; ++x) picture->SetPixel(x, y, colour(x, y));
  return picture;
}

const CopyMethod& Method(const char* name) { return pixeltest::CopyMethodNamed(name); }

// What the test expects of one call.
struct Expectation {
  int32_t firstLine = 0, lastLine = -1;  // the picture lines copied; last < first: none
  uint8_t alpha = 0;
  int32_t pixelByteSize = 1;
  size_t blockSize = 0;                  // 0: exactly what the lines need
};

struct Outcome {
  refhost::CallResult result;
  std::vector<uint8_t> expected;
  std::vector<uint8_t> block;
};

int64_t PitchOf(const CopyMethod& method, Picture* shape, const CopyCall& call, int32_t pixelByteSize) {
  return std::max<int64_t>(int64_t{shape->width()} * pixeltest::BytesPerPixel(method, pixelByteSize), call.destRowBytes);
}

// Calls `method` on a block prefilled with kUntouched and computes the block it expects.
Outcome RunCopy(Host& host, const CopyMethod& method, CopyCall call, const Expectation& want,
                bool writeExpected = true) {
  auto* picture = static_cast<Picture*>(call.picture);
  auto* mask = method.args == CopyArgs::kMask ? static_cast<Picture*>(call.extra.object) : nullptr;
  Picture* shape = mask != nullptr ? mask : picture;
  const int bpp = pixeltest::BytesPerPixel(method, want.pixelByteSize);
  const int64_t pitch = PitchOf(method, shape, call, want.pixelByteSize);
  const int32_t lines = std::max(want.lastLine - want.firstLine + 1, 0);
  size_t size = want.blockSize;
  if (size == 0) size = static_cast<size_t>(call.offset + (lines > 0 ? (lines - 1) * pitch + shape->width() * bpp : 0));
  refhost::MemoryBlock* block = host.NewMemoryBlock(size, kUntouched);
  call.block = block;
  Outcome outcome;
  outcome.expected.assign(size, kUntouched);
  const int32_t pixels = mask != nullptr ? std::min(mask->width(), picture->width()) : picture->width();
  for (int32_t k = 0; writeExpected && k < lines; ++k) {
    const int32_t line = want.firstLine + k;
    const int32_t sourceRow = line < picture->height() ? line : 0;
    for (int32_t x = 0; x < pixels; ++x) {
      uint8_t* at = outcome.expected.data() + call.offset + k * pitch + x * bpp;
      pixeltest::WritePixel(method, picture->GetPixel(x, sourceRow), want.alpha, mask ? mask->GetPixel(x, line).g : 0, at);
    }
  }
  outcome.result = host.Call(pixeltest::PictureDeclaration(method.index), pixeltest::ArgsOf(method, call));
  outcome.block.assign(block->data(), block->data() + size);
  host.Release(block);
  return outcome;
}

void ExpectWritten(const Outcome& outcome) {
  pixeltest::ExpectBalanced(outcome.result);
  EXPECT_TRUE(outcome.result.boolean);
  EXPECT_TRUE(outcome.result.exceptions.empty());
  auto differs = std::mismatch(outcome.block.begin(), outcome.block.end(), outcome.expected.begin());
  EXPECT_TRUE(differs.first == outcome.block.end())
      << "byte " << (differs.first - outcome.block.begin()) << " is " << int(*differs.first) << ", expected "
      << int(*differs.second);
}

struct Source {
  const char* name;
  HostKind host;
  PictureKind kind;
  bool hasAlpha;
  uint32_t alphaInfo;
};

const Source kSources[] = {
    {"format 1", HostKind::Desktop, PictureKind::Bitmap, true, 1},
    {"format 2", HostKind::Desktop, PictureKind::Bitmap, true, 2},
    {"format 3", HostKind::Desktop, PictureKind::Bitmap, false, 3},
    {"format 4", HostKind::Desktop, PictureKind::Bitmap, false, 4},
    {"format 5", HostKind::Desktop, PictureKind::Bitmap, false, 5},
    {"format 6", HostKind::Desktop, PictureKind::Bitmap, false, 6},
    {"format 8", HostKind::Console, PictureKind::TrueColor, false, 0},
    {"drawn copy", HostKind::Desktop, PictureKind::Vector, false, 0},
};

PictureSetup SpecOf(const Source& source, int32_t width, int32_t height) {
  PictureSetup setup;
  setup.kind = source.kind, setup.width = width, setup.height = height;
  setup.has_alpha = source.hasAlpha, setup.alpha_info = source.alphaInfo, setup.row_padding = 12;
  return setup;
}

HostConfig ConfigFor(HostKind kind) {
  HostConfig config = pixeltest::PluginConfig();
  config.kind = kind;
  return config;
}

// Every method from every source format at every SIMD level, lines 1 to 3 of 4, with a gap
// after each line and bytes before the offset, all compared with the bytes the test expects.
TEST(CopyToMemory, EveryLayoutFromEverySourceFormat) {
  for (const Source& source : kSources) {
    SCOPED_TRACE(source.name);
    HostConfig config = pixeltest::ProbeConfig();
    config.kind = source.host;
    InHost(config, [&](Host& host) {
      Picture* picture = Painted(host, SpecOf(source, 21, 4), ColourAt);
      Picture* mask = Painted(host, SpecOf(source, 21, 4), MaskAt);
      pixeltest::ForEachSimdLevel(host, [&] {
      for (const CopyMethod& method : pixeltest::CopyMethods()) {
        SCOPED_TRACE(method.name);
        CopyCall call{picture, nullptr, 3};
        call.startLine = 1, call.endLine = 3;
        Expectation want{1, 3, 0xC3, 3};
        call.extra = method.args == CopyArgs::kMask      ? refhost::Arg(mask)
                     : method.args == CopyArgs::kChannel ? refhost::Arg(3)
                                                         : refhost::Arg(0x1C3);
        if (method.args == CopyArgs::kLittleEndian) call.extra = 0xC3, call.littleEndian = 1;
        call.destRowBytes = pixeltest::BytesPerPixel(method, 3) * 21 + 5;
        ExpectWritten(RunCopy(host, method, call, want));
      }
      });
      host.Release(picture);
      host.Release(mask);
    });
  }
}

// Alpha from a mask of another format group than the receiver.
TEST(CopyToMemory, MaskOfAnotherFormatGroup) {
  InHost(ConfigFor(HostKind::Desktop), [](Host& host) {
    Picture* picture = Painted(host, SpecOf(kSources[5], 4, 3), ColourAt);
    Picture* mask = Painted(host, SpecOf(kSources[0], 4, 3), MaskAt);
    CopyCall call{picture, nullptr, 0, mask};
    ExpectWritten(RunCopy(host, Method("RGBM"), call, {0, 2}));
    host.Release(picture);
    host.Release(mask);
  });
}

TEST(CopyToMemory, LineRangesAndPitch) {
  struct Case {
    int32_t width, height, startLine, endLine, destRowBytes;
    int32_t first, last;  // copied lines
  };
  const Case cases[] = {
      {3, 6, 0, -1, 0, 0, 5},   {3, 6, 0, 16, 0, 0, 5},  {3, 10, 5, 7, 0, 5, 7},   {3, 6, 6, -1, 0, 5, 5},
      {3, 6, 9, -1, 0, 5, 5},   {3, 6, 9, 2, 0, 5, 2},   {3, 6, 4, 2, 0, 4, 2},    {100, 2, 0, -1, 10, 0, 1},
      {100, 2, 0, -1, 512, 0, 1}, {2, 3, 1, 1, 7, 1, 1},
  };
  InHost(ConfigFor(HostKind::Desktop), [&](Host& host) {
    for (const Case& c : cases) {
      for (int32_t padding : {0, 12}) {
      SCOPED_TRACE(testing::Message() << c.width << "x" << c.height << " lines " << c.startLine << ".." << c.endLine
                                      << " DestRowBytes " << c.destRowBytes << " row padding " << padding);
      PictureSetup setup = SpecOf(kSources[5], c.width, c.height);
      setup.row_padding = padding;
      Picture* picture = Painted(host, setup, ColourAt);
      CopyCall call{picture, nullptr, 2, 0x80};
      call.startLine = c.startLine, call.endLine = c.endLine, call.destRowBytes = c.destRowBytes;
      ExpectWritten(RunCopy(host, Method("RGBA"), call, {c.first, c.last, 0x80, 1, c.first > c.last ? 16u : 0u}));
      host.Release(picture);
      }
    }
  });
}

TEST(CopyToMemory, AlphaValueKeepsItsLowEightBits) {
  InHost(ConfigFor(HostKind::Desktop), [](Host& host) {
    Picture* picture = Painted(host, SpecOf(kSources[2], 2, 2), ColourAt);
    for (int32_t alpha : {300, -1, 256, 0, 255}) {
      SCOPED_TRACE(alpha);
      ExpectWritten(RunCopy(host, Method("ARGB"), {picture, nullptr, 0, alpha}, {0, 1, static_cast<uint8_t>(alpha)}));
    }
    host.Release(picture);
  });
}

// The LittleEndian overload picks B,G,R,A / A,R,G,B for alpha 0 to 255, and the padded
// layouts with the alpha byte left alone otherwise.
TEST(CopyToMemory, LittleEndianOverloadChoosesItsLayout) {
  struct Case {
    int littleEndian;
    int32_t alpha;
    const char* bytes;
  };
  const Case cases[] = {{1, 128, "BGRa"}, {0, 128, "aRGB"}, {1, -1, "BGRx"},   {0, -1, "xRGB"},
                        {5, 0, "BGRa"},   {0, 255, "aRGB"}, {1, 256, "BGRx"}, {0, INT32_MIN, "xRGB"}};
  InHost(ConfigFor(HostKind::Desktop), [&](Host& host) {
    Picture* picture = Painted(host, SpecOf(kSources[0], 3, 2), ColourAt);
    for (const Case& c : cases) {
      SCOPED_TRACE(testing::Message() << "LittleEndian " << c.littleEndian << " alpha " << c.alpha);
      CopyMethod method = Method("ARGB little-endian");
      method.bytes = c.bytes;
      CopyCall call{picture, nullptr, 1, c.alpha};
      call.littleEndian = c.littleEndian;
      ExpectWritten(RunCopy(host, method, call, {0, 1, static_cast<uint8_t>(c.alpha)}));
    }
    host.Release(picture);
  });
}

// Failures in the order of the frame: bad lines (no message), then nil receiver, block,
// mask, negative offset, then a picture that can't be opened (no message).
TEST(CopyToMemory, FailuresInOrder) {
  struct Case {
    const char* method;
    bool nilPicture, nilBlock, nilMask, unopenable;
    int32_t offset, startLine, endLine, destRowBytes;
    const char* exception;  // null: none
    const char* message;
  };
  const char* nilObject = "NilObjectException";
  const char* unsupported = "UnsupportedOperationException";
  const Case cases[] = {
      {"RGBA", true, true, false, false, 0, 0, -2, 0, nullptr, nullptr},
      {"RGBA", true, false, false, false, -1, -1, -1, 0, nullptr, nullptr},
      {"RGB", true, true, false, false, -1, 0, -1, -1, nullptr, nullptr},
      {"RGBA", true, true, false, false, -1, 0, -1, 0, nilObject, "Picture is nil"},
      {"RGB", false, true, false, false, -1, 0, -1, 0, nilObject, "Memoryblock is nil"},
      {"G", false, false, false, false, -1, 0, -1, 0, unsupported, "offset is too small. Must be >=0."},
      {"ARGB little-endian", true, false, false, false, 0, 0, -1, 0, nilObject, "Picture is nil"},
      {"ARGB little-endian", false, false, false, false, 0, 0, -3, 0, nullptr, nullptr},
      {"MRGB", false, true, true, false, 0, 0, -1, 0, nilObject, "Memoryblock is nil"},
      {"MBGR", false, true, true, false, 0, 0, -1, 0, nilObject, "Memoryblock is nil"},
      {"RGBM", false, true, true, false, 0, 0, -1, 0, nilObject, "Memoryblock is nil"},
      {"BGRM", false, true, true, false, 0, 0, -1, 0, nilObject, "Mask Picture is nil"},
      {"BGRM", true, true, true, false, 0, 0, -1, 0, nilObject, "Picture is nil"},
      {"MRGB", false, false, true, false, -1, 0, -1, 0, nilObject, "Mask Picture is nil"},
      {"RGBA", false, false, false, true, 0, 0, -1, 0, nullptr, nullptr},
  };
  InHost(ConfigFor(HostKind::Desktop), [&](Host& host) {
    PictureSetup unopenable;
    unopenable.has_alpha = true, unopenable.refuse_locks = true;
    for (const Case& c : cases) {
      SCOPED_TRACE(testing::Message() << c.method << " " << (c.message ? c.message : "no message"));
      const CopyMethod& method = Method(c.method);
      Picture* picture = c.unopenable ? host.NewPicture(unopenable) : host.NewPicture(PictureSetup{});
      Picture* mask = host.NewPicture(PictureSetup{});
      refhost::MemoryBlock* block = host.NewMemoryBlock(64, kUntouched);
      CopyCall call{c.nilPicture ? nullptr : picture, c.nilBlock ? nullptr : block, c.offset, 0};
      if (method.args == CopyArgs::kMask) call.extra = c.nilMask ? nullptr : mask;
      if (method.args == CopyArgs::kChannel) call.extra = 1;
      call.startLine = c.startLine, call.endLine = c.endLine, call.destRowBytes = c.destRowBytes;
      refhost::CallResult result = host.Call(pixeltest::PictureDeclaration(method.index), pixeltest::ArgsOf(method, call));
      pixeltest::ExpectBalanced(result);
      EXPECT_FALSE(result.boolean);
      ASSERT_EQ(result.exceptions.size(), c.exception ? 1u : 0u);
      if (c.exception) {
        EXPECT_EQ(result.exceptions[0].class_name, c.exception);
        EXPECT_EQ(result.exceptions[0].message, c.message);
      }
      EXPECT_EQ(std::count(block->data(), block->data() + 64, kUntouched), 64) << "block untouched";
      EXPECT_EQ(host.CallCount("REALLockPictureDescription"), c.unopenable ? 1 : 0);
      host.ClearLog();
      for (refhost::Object* object : {static_cast<refhost::Object*>(picture), static_cast<refhost::Object*>(mask),
                                      static_cast<refhost::Object*>(block)})
        host.Release(object);
    }
  });
}

// A block too small for the lines asked for is refused whole; PixelByteSize below 1 is
// refused after the offset check.
TEST(CopyToMemory, RefusesWhatWouldWritePastTheBlock) {
  InHost(ConfigFor(HostKind::Desktop), [](Host& host) {
    Picture* picture = Painted(host, SpecOf(kSources[5], 4, 3), ColourAt);
    for (const char* name : {"RGB", "BGRA", "XBGR", "B"}) {
      SCOPED_TRACE(name);
      const CopyMethod& method = Method(name);
      CopyCall call{picture, nullptr, 5, method.args == CopyArgs::kChannel ? 2 : 0};
      const size_t needed = static_cast<size_t>(5 + 2 * 4 * pixeltest::BytesPerPixel(method, 2) + 4 * pixeltest::BytesPerPixel(method, 2));
      Outcome outcome = RunCopy(host, method, call, {0, 2, 0, 2, needed - 1}, false);
      pixeltest::ExpectBalanced(outcome.result);
      EXPECT_FALSE(outcome.result.boolean);
      ASSERT_EQ(outcome.result.exceptions.size(), 1u);
      EXPECT_EQ(outcome.result.exceptions[0].class_name, "OutOfBoundsException");
      EXPECT_EQ(outcome.result.exceptions[0].message, "Memoryblock is too small.");
      EXPECT_EQ(outcome.block, outcome.expected) << "nothing written";
    }
    // An empty line range needs no room at all.
    CopyCall empty{picture, nullptr, 0, 0};
    empty.startLine = 2, empty.endLine = 1;
    ExpectWritten(RunCopy(host, Method("RGBA"), empty, {2, 1, 0, 1, 1}));
    for (int32_t size : {0, -4}) {
      CopyCall call{picture, nullptr, 0, size};
      Outcome outcome = RunCopy(host, Method("R"), call, {0, -1, 0, 1, 64});
      ASSERT_EQ(outcome.result.exceptions.size(), 1u);
      EXPECT_EQ(outcome.result.exceptions[0].class_name, "UnsupportedOperationException");
      EXPECT_EQ(outcome.result.exceptions[0].message, "PixelByteSize is too small. Must be >0.");
      EXPECT_EQ(outcome.block, outcome.expected);
    }
    host.Release(picture);
  });
}

TEST(CopyToMemory, HostsWithoutBlockSizeOrAddress) {
  HostConfig noSize = ConfigFor(HostKind::Desktop);
  noSize.missing = {"memoryBlockGetSize"};
  InHost(noSize, [](Host& host) {
    Picture* picture = Painted(host, SpecOf(kSources[5], 4, 3), ColourAt);
    ExpectWritten(RunCopy(host, Method("BGR"), {picture, nullptr, 1}, {0, 2}));
    host.Release(picture);
  });
  HostConfig noAddress = ConfigFor(HostKind::Desktop);
  noAddress.missing = {"memoryBlockGetPtr"};
  InHost(noAddress, [](Host& host) {
    Picture* picture = Painted(host, SpecOf(kSources[5], 4, 3), ColourAt);
    Outcome outcome = RunCopy(host, Method("BGR"), {picture, nullptr, 1}, {0, 2}, false);
    pixeltest::ExpectBalanced(outcome.result);
    EXPECT_FALSE(outcome.result.boolean);
    EXPECT_TRUE(outcome.result.exceptions.empty());
    EXPECT_EQ(outcome.block, outcome.expected);
    host.Release(picture);
  });
}

// The mask decides lines and pixels; a line stops at the receiver's width, and lines past
// the receiver's height take its first row. Without row padding, a mask as wide as the
// receiver goes through with it as one long row, unless it's taller.
TEST(CopyToMemory, MaskOfAnotherSize) {
  struct Case {
    int32_t maskWidth, maskHeight;
  };
  InHost(ConfigFor(HostKind::Desktop), [](Host& host) {
    for (int32_t padding : {12, 0}) {
      PictureSetup setup = SpecOf(kSources[3], 4, 3);
      setup.row_padding = padding;
      Picture* picture = Painted(host, setup, ColourAt);
      for (const Case& c : {Case{2, 2}, Case{7, 2}, Case{3, 6}, Case{9, 5}, Case{4, 2}, Case{4, 3}, Case{4, 6}}) {
        SCOPED_TRACE(testing::Message() << "mask " << c.maskWidth << "x" << c.maskHeight << " row padding " << padding);
        PictureSetup maskSpec = SpecOf(kSources[0], c.maskWidth, c.maskHeight);
        maskSpec.row_padding = padding;
        Picture* mask = Painted(host, maskSpec, MaskAt);
        for (const char* name : {"MRGB", "BGRM"}) {
          CopyCall call{picture, nullptr, 2, mask};
          ExpectWritten(RunCopy(host, Method(name), call, {0, c.maskHeight - 1}));
        }
        host.Release(mask);
      }
      host.Release(picture);
    }
  });
}

TEST(CopyToMemory, EmptyPictureCopiesNothing) {
  InHost(ConfigFor(HostKind::Desktop), [](Host& host) {
    PictureSetup setup = SpecOf(kSources[5], 3, 0);
    Picture* picture = host.NewPicture(setup);
    ExpectWritten(RunCopy(host, Method("RGBA"), {picture, nullptr, 0, 9}, {0, -1, 9, 1, 8}));
    host.Release(picture);
  });
}

// Yield 0 never yields nor reads a clock; otherwise the copy yields between lines, with
// the pictures still open.
TEST(CopyToMemory, YieldsBetweenLinesWithPicturesOpen) {
  struct Case {
    int32_t yield;
    int yields;
  };
  for (const Case& c : {Case{0, 0}, Case{1, 1}, Case{-1, 1}, Case{1000, 1}}) {
    SCOPED_TRACE(c.yield);
    HostConfig config = pixeltest::ProbeConfig();
    InHost(config, [&](Host& host) {
      auto setClock = pixeltest::Probe<void (*)(uint32_t, int32_t)>(host, "PixelbridgeProbeSetClock");
      auto clockReads = pixeltest::Probe<int (*)()>(host, "PixelbridgeProbeClockReads");
      setClock(100000, 100000);
      Picture* picture = Painted(host, SpecOf(kSources[5], 3, 4), ColourAt);
      Picture* mask = Painted(host, SpecOf(kSources[5], 3, 4), MaskAt);
      int yields = 0;
      host.on_yield = [&] {
        ++yields;
        EXPECT_EQ(picture->locks(), 1);
        EXPECT_EQ(mask->locks(), 1);
      };
      CopyCall call{picture, nullptr, 0, mask};
      call.yield = c.yield;
      ExpectWritten(RunCopy(host, Method("MBGR"), call, {0, 3}));
      EXPECT_EQ(yields, c.yields);
      EXPECT_EQ(clockReads(), c.yield == 0 ? 0 : 4 + c.yields) << "one read a line, one more after each yield";
      host.Release(picture);
      host.Release(mask);
    });
  }
}

}  // namespace
