// Re-entrancy: while a copy yields, the host runs other methods of the plug-in (one of
// them yielding in turn), on other pictures and on the picture being copied; every call
// finishes with the bytes and pictures it would have made alone.
#include <functional>

#include "tests/support/copy_oracle.h"
#include "tests/support/host_fixture.h"

using pixeltest::CopyMethod;
using refhost::Arg;
using refhost::Host;
using refhost::HostKind;
using refhost::MemoryBlock;
using refhost::Picture;
using refhost::PictureKind;
using refhost::PictureSetup;
using refhost::Rgba;

namespace {

constexpr uint8_t kFill = 0xA7;

Rgba ColourAt(int32_t x, int32_t y) {
  return Rgba{static_cast<uint8_t>(x * 29 + y * 3 + 5), static_cast<uint8_t>(x * 17 + 100),
              static_cast<uint8_t>(250 - y * 21 - x), 255};
}

PictureSetup SpecOf(PictureKind kind, int32_t width, int32_t height) {
  PictureSetup setup;
  setup.kind = kind, setup.width = width, setup.height = height;
  return setup;
}

Picture* Painted(Host& host, const PictureSetup& setup, int32_t shade) {
  Picture* picture = host.NewPicture(setup);
  for (int32_t y = 0; y < setup.height; ++y)
    for (int32_t x = 0; x < setup.width; ++x) picture->SetPixel(x, y, ColourAt(x + shade, y));
  return picture;
}

// Copies every line of `picture` with `method` (alpha from `mask` or the constant 0x90,
// channels one byte apart, lines back to back) into a new block, yielding after every
// line when `yield` is not 0; checks the result and the bytes.
void ExpectCopied(Host& host, const char* name, Picture* picture, Picture* mask, int32_t yield) {
  SCOPED_TRACE(name);
  const CopyMethod& method = pixeltest::CopyMethodNamed(name);
  const Picture& shape = mask != nullptr ? *mask : *picture;
  const int bpp = pixeltest::BytesPerPixel(method, 1);
  const size_t size = static_cast<size_t>(shape.width()) * shape.height() * bpp;
  std::vector<uint8_t> expected(size, kFill);
  for (int32_t y = 0; y < shape.height(); ++y)
    for (int32_t x = 0; x < shape.width(); ++x)
      pixeltest::WritePixel(method, picture->GetPixel(x, y), 0x90, mask != nullptr ? mask->GetPixel(x, y).g : 0,
                            &expected[static_cast<size_t>(y * shape.width() + x) * bpp]);
  MemoryBlock* block = host.NewMemoryBlock(size, kFill);
  pixeltest::CopyCall call{picture, block, 0, 0x90};
  if (method.args == pixeltest::CopyArgs::kMask) call.extra = mask;
  if (method.args == pixeltest::CopyArgs::kChannel) call.extra = 1;
  call.yield = yield;
  const refhost::CallResult result = host.Call(pixeltest::PictureDeclaration(method.index), pixeltest::ArgsOf(method, call));
  pixeltest::ExpectBalanced(result);
  EXPECT_TRUE(result.boolean);
  EXPECT_EQ(std::vector<uint8_t>(block->data(), block->data() + size), expected);
  host.Release(block);
}

// Writes RGB bytes into `dest` (or a new picture) and checks the picture it gets back.
void ExpectPictureMade(Host& host, Picture* dest) {
  const std::vector<uint8_t> bytes = {10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120};
  MemoryBlock* source = host.NewMemoryBlock(bytes.size());
  std::copy(bytes.begin(), bytes.end(), source->data());
  const std::string declaration =
      dest != nullptr
          ? "MemoryblockRGBtoPictureQZV(dest as picture, source as memoryblock, offset as integer, width as integer, "
            "height as integer) as picture"
          : "MemoryblockRGBtoPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer) "
            "as picture";
  std::vector<Arg> args = {source, 0, 2, 2};
  if (dest != nullptr) args.insert(args.begin(), dest);
  const refhost::CallResult result = host.Call(declaration, args);
  pixeltest::ExpectBalanced(result);
  auto* picture = static_cast<Picture*>(result.picture);
  ASSERT_NE(picture, nullptr);
  EXPECT_TRUE(dest == nullptr || picture == dest);
  for (int32_t i = 0; i < 4; ++i)
    EXPECT_EQ(picture->GetPixel(i % 2, i / 2), (Rgba{bytes[3 * i], bytes[3 * i + 1], bytes[3 * i + 2], 255}));
  host.Release(picture);
  host.Release(source);
}

struct Receiver {
  const char* name;
  HostKind host;
  PictureKind kind;
};

TEST(Reentrancy, OtherMethodsRunWhileACopyYields) {
  const Receiver receivers[] = {{"bitmap", HostKind::Desktop, PictureKind::Bitmap},
                                {"true colour", HostKind::Console, PictureKind::TrueColor},
                                {"drawn copy", HostKind::Desktop, PictureKind::Vector}};
  for (const Receiver& receiver : receivers) {
    SCOPED_TRACE(receiver.name);
    refhost::HostConfig config = pixeltest::PluginConfig();
    config.kind = receiver.host;
    pixeltest::InHost(config, [&](Host& host) {
      const PictureKind writable = receiver.host == HostKind::Desktop ? PictureKind::Bitmap : PictureKind::TrueColor;
      Picture* copied = Painted(host, SpecOf(receiver.kind, 5, 4), 0);
      Picture* mask = Painted(host, SpecOf(writable, 5, 4), 3);
      Picture* other = Painted(host, SpecOf(writable, 3, 2), 7);
      Picture* dest = Painted(host, SpecOf(writable, 4, 4), 9);
      int yields = 0, depth = 0;
      bool nestedRan = false, innermostRan = false;
      host.on_yield = [&] {
        ++yields;
        EXPECT_EQ(copied->locks() + mask->locks(), receiver.kind == PictureKind::Vector ? 1 : 2)
            << "the yielding copy keeps its pictures open";
        if (depth == 1 && !innermostRan) {
          innermostRan = true;
          ExpectPictureMade(host, nullptr);
        }
        if (depth > 0 || nestedRan) return;
        nestedRan = true;
        ++depth;
        ExpectCopied(host, "BGRX", other, nullptr, 1);  // yields in turn
        ExpectPictureMade(host, dest);
        ExpectCopied(host, "G", copied, nullptr, 0);  // the picture being copied, read again
        --depth;
      };
      ExpectCopied(host, "MBGR", copied, mask, 1);
      EXPECT_TRUE(nestedRan && innermostRan);
      EXPECT_GE(yields, 2);
      for (Picture* picture : {copied, mask, other, dest}) host.Release(picture);
    });
  }
}

}  // namespace
