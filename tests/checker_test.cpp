// The checker itself: a host that breaks a rule while a copy yields, or a line that expects
// what the call doesn't give, must make the call runner report exactly that rule; and a host
// process that reports failures, crashes or throws must fail its case.
#include <gtest/gtest-spi.h>

#include <cstdlib>

#include "tests/support/host_fixture.h"

namespace {

using refhost::Host;
using refhost::Picture;
using Breaks = std::function<void(Host&, Picture*, uint8_t*)>;

// Raises an exception of the host's making, as the plug-in would (its message tagged ASCII).
Breaks Raise(const char* className, const char* message, int32_t errorNumber = 0, int times = 1,
             uint32_t encoding = 0x600) {
  return [=](Host& host, Picture*, uint8_t*) {
    for (int i = 0; i < times; ++i) {
      auto* exception = host.Make<refhost::Instance>(className);
      if (message != nullptr) {
        exception->strings["Message"] = host.Make<refhost::String>(message);
        exception->strings["Message"]->encoding = encoding;
      }
      if (errorNumber != 0) exception->ints["ErrorNumber"] = errorNumber;
      host.Raise(exception);
      host.Release(exception);
    }
  };
}

TEST(Checker, ReportsExactlyTheRuleBroken) {
  const std::string copy = "1 picture=3x4 offset=2 Yield=1", checked = copy + " -> true";
  const std::string trueResult = "raised an exception but didn't fail";
  const struct {
    std::string line;  // a copy, yielding, of the picture into the block
    Breaks breaks;     // at the first yield
    std::vector<std::string> reported;
  } cases[] = {
      {checked, nullptr, {}},
      {checked,
       [](Host& host, Picture* picture, uint8_t*) { host.Retain(picture); },
       {"#1 (Picture) holds 2 references, expected 1"}},
      {checked,
       [](Host&, Picture* picture, uint8_t*) {
         REALpictureDescription description{};
         picture->Lock(&description, kRBPixelTypeBitmapContext, false);
       },
       {"#1 (Picture) holds 1 pixel locks, expected 0"}},
      {copy, [](Host&, Picture*, uint8_t* block) { block[1] = 1; }, {"byte 1 differs"}},
      {checked,
       [](Host&, Picture* picture, uint8_t*) {
         picture->SetPixel(2, 3, {1, 2, 3, 255});
       },
       {"byte 35 differs"}},
      {copy, Raise("NilObjectException", "Picture is nil"), {trueResult}},
      {copy,
       Raise("KeyNotFoundException", "Picture is nil"),
       {"undocumented exception KeyNotFoundException: Picture is nil", trueResult}},
      {copy,
       Raise("NilObjectException", "Mask is nil"),
       {"undocumented exception NilObjectException: Mask is nil", trueResult}},
      {copy, Raise("NilObjectException", nullptr, 3), {"ErrorNumber is not 0", trueResult}},
      {copy, Raise("NilObjectException", "Picture is nil", 0, 1, 0), {"the message isn't tagged ASCII", trueResult}},
      {copy, Raise("NilObjectException", nullptr, 0, 2), {"more than one exception raised", trueResult}},
      {copy + " -> false", nullptr, {"didn't fail"}},
      {checked + " | newPicture=1", nullptr, {"newPicture called otherwise"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line + (c.reported.empty() ? "" : ": " + c.reported[0]));
    pixeltest::InHost(pixeltest::PluginConfig(), [&](Host& host) {
      Picture* picture = pixeltest::NewPicture(host, "3x4");
      refhost::MemoryBlock* block = host.NewMemoryBlock(2 + 3 * 4 * 3, 0x5A);
      host.on_yield = [&, broken = false]() mutable {
        if (c.breaks && !std::exchange(broken, true)) c.breaks(host, picture, block->data());
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

// The test process notices a host process that ends the way a sanitizer's report ends it
// (exit status 1) or that crashes; one that throws reports it and ends there.
TEST(HostProcess, ReportsAndCrashesOfTheHostFailTheCase) {
  EXPECT_NONFATAL_FAILURE(pixeltest::InChild([] { std::_Exit(1); }), "reported failures (above)");
  EXPECT_NONFATAL_FAILURE(pixeltest::InChild([] { std::abort(); }), " died: ");
  EXPECT_NONFATAL_FAILURE(pixeltest::InChild([] { throw std::runtime_error("thrown"); }), "reported failures (above)");
}

}  // namespace
