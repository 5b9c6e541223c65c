// The checker itself: a host that breaks a rule while a copy yields must make the call runner
// report exactly that rule, and a call that breaks none must be reported clean.
#include "tests/support/host_fixture.h"

namespace {

using refhost::Host;
using refhost::Picture;

struct Broken {
  const char* name;
  const char* line;                                       // the copy, yielding, of `picture` into `destination`
  std::function<void(Host&, Picture*, uint8_t*)> breaks;  // at the first yield
  std::vector<std::string> reported;
};

void RaiseFrom(Host& host, const char* className, const char* message, int32_t errorNumber = 0) {
  auto* exception = host.Make<refhost::Instance>(className);
  if (message != nullptr) exception->strings["Message"] = host.Make<refhost::String>(message);
  if (errorNumber != 0) exception->ints["ErrorNumber"] = errorNumber;
  host.Raise(exception);
  host.Release(exception);
}

TEST(Checker, ReportsExactlyTheRuleBroken) {
  const char* const kCopy = "1 picture=3x4 offset=2 Yield=1 -> true";
  const char* const kUnchecked = "1 picture=3x4 offset=2 Yield=1";
  const Broken cases[] = {
      {"nothing broken", kCopy, [](Host&, Picture*, uint8_t*) {}, {}},
      {"a reference taken and not given back",
       kCopy,
       [](Host& host, Picture* picture, uint8_t*) { host.Retain(picture); },
       {"#1 (Picture) holds 2 references, expected 1"}},
      {"a pixel lock left held",
       kCopy,
       [](Host&, Picture* picture, uint8_t*) {
         REALpictureDescription description{};
         picture->Lock(&description, kRBPixelTypeBitmapContext, false);
       },
       {"#1 (Picture) holds 1 pixel locks, expected 0"}},
      {"a byte written before the offset",
       kUnchecked,
       [](Host&, Picture*, uint8_t* block) { block[1] = 1; },
       {"wrote before the offset"}},
      {"a pixel the copy took other than the picture held",
       kCopy,
       [](Host&, Picture* picture, uint8_t*) {
         picture->SetPixel(2, 3, refhost::Rgba{1, 2, 3, 255});
       },
       {"byte 35 differs"}},
      {"a documented exception with a true result",
       kUnchecked,
       [](Host& host, Picture*, uint8_t*) { RaiseFrom(host, "NilObjectException", "Picture is nil"); },
       {"raised an exception but didn't fail"}},
      {"an exception of another class",
       kUnchecked,
       [](Host& host, Picture*, uint8_t*) { RaiseFrom(host, "KeyNotFoundException", "Picture is nil"); },
       {"undocumented exception KeyNotFoundException: Picture is nil", "raised an exception but didn't fail"}},
      {"another message",
       kUnchecked,
       [](Host& host, Picture*, uint8_t*) { RaiseFrom(host, "NilObjectException", "Mask is nil"); },
       {"undocumented exception NilObjectException: Mask is nil", "raised an exception but didn't fail"}},
      {"an ErrorNumber",
       kUnchecked,
       [](Host& host, Picture*, uint8_t*) { RaiseFrom(host, "NilObjectException", nullptr, 3); },
       {"ErrorNumber is not 0", "raised an exception but didn't fail"}},
      {"two exceptions",
       kUnchecked,
       [](Host& host, Picture*, uint8_t*) {
         RaiseFrom(host, "NilObjectException", nullptr);
         RaiseFrom(host, "NilObjectException", nullptr);
       },
       {"more than one exception raised", "raised an exception but didn't fail"}},
      {"a result other than the one expected", "1 picture=3x4 offset=2 Yield=1 -> false", {}, {"didn't fail"}},
      {"the host's functions called otherwise",
       "1 picture=3x4 offset=2 Yield=1 -> true | newPicture=1",
       {},
       {"newPicture called otherwise"}},
  };
  for (const Broken& c : cases) {
    SCOPED_TRACE(c.name);
    pixeltest::InHost(pixeltest::PluginConfig(), [&](Host& host) {
      Picture* picture = pixeltest::NewPicture(host, "3x4");
      refhost::MemoryBlock* block = host.NewMemoryBlock(2 + 3 * 4 * 3, 0x5A);
      bool done = false;
      host.on_yield = [&] {
        if (c.breaks && !std::exchange(done, true)) c.breaks(host, picture, block->data());
      };
      pixeltest::MethodCall call = pixeltest::ParseCall(c.line);
      call.objects = {{"picture", picture}, {"destination", block}};
      EXPECT_EQ(pixeltest::RunCall(host, call).broken, c.reported);
      while (picture->locks() > 0) picture->Unlock();
      while (picture->refs() > 1) host.Release(picture);
      host.Release(picture);
      host.Release(block);
    });
  }
}

}  // namespace
