// How pictures are opened and given back, as the host sees it: the calls in their order,
// unlocks after refused locks on old hosts, copies of pictures the host can't draw, and
// a host kind asked for until a granted lock settles it.
#include "tests/support/host_fixture.h"
#include "tests/support/method_calls.h"

using pixeltest::InHost;
using pixeltest::ParseCall;
using pixeltest::RunCall;
using refhost::Host;
using refhost::HostConfig;

namespace {

// A copy's picture is locked, held, unlocked, given back; a new picture is made, locked,
// held, handed back with a reference for the caller, unlocked, given back.
TEST(PictureOpen, HostCallsInOrder) {
  InHost(pixeltest::PluginConfig(), [](Host& host) {
    RunCall(host, ParseCall("5 picture=2x2 AlphaValue=0 -> true"));  // settles the host kind
    host.ClearLog();
    RunCall(host, ParseCall("5 picture=2x2 AlphaValue=0 -> true"));
    EXPECT_EQ(host.CallNames(),
              (std::vector<std::string>{"REALGetPropValueBool", "REALLockPictureDescription", "REALLockObject",
                                        "memoryBlockGetPtr", "memoryBlockGetSize", "unlockPictureDescription",
                                        "REALUnlockObject"}));
    host.ClearLog();
    RunCall(host, ParseCall("30 width=3 height=2 -> picture"));
    EXPECT_EQ(host.CallNames(),
              (std::vector<std::string>{"newPicture", "REALGetPropValueBool", "REALLockPictureDescription",
                                        "REALLockObject", "REALUnlockObject", "REALLockObject", "REALPictureClearCache",
                                        "unlockPictureDescription", "REALPictureClearCache", "REALUnlockObject"}));
  });
}

// Hosts before 2012.0 expect an unlock after a refused lock; later hosts don't.
TEST(PictureOpen, UnlockAfterRefusedLockOnlyBefore2012) {
  for (double version : {2011.99, 2012.0}) {
    SCOPED_TRACE(version);
    HostConfig config = pixeltest::PluginConfig();
    config.version = version;
    InHost(config, [&](Host& host) {
      refhost::Picture* picture = pixeltest::NewPicture(host, "2x2:alpha:refuse");
      pixeltest::MethodCall call = ParseCall("1 -> false | REALLockPictureDescription=1");
      call.objects["picture"] = picture;
      RunCall(host, call);
      EXPECT_EQ(picture->stray_unlocks(), version < 2012.0 ? 1 : 0);
      host.Release(picture);
    });
  }
}

// Without DrawPicture nor a true-colour rendering to lend, the copy stays as the host made
// it (white), after the refused bitmap lock and the refused true-colour lock.
TEST(PictureOpen, CopyOfAPictureTheHostCantDrawNorLend) {
  HostConfig config = pixeltest::PluginConfig();
  config.version = 2011.0;
  config.no_draw_method = true;
  InHost(config, [](Host& host) {
    refhost::Picture* vector = pixeltest::NewPicture(host, "6x3:vector");
    pixeltest::MethodCall call = ParseCall("1");
    call.objects["picture"] = vector;
    const pixeltest::CallOutcome ran = RunCall(host, call);
    pixeltest::ExpectBalanced(ran.result);
    EXPECT_TRUE(ran.result.boolean);
    EXPECT_EQ(std::vector<uint8_t>(ran.bytes.begin(), ran.bytes.end() - 1), std::vector<uint8_t>(6 * 3 * 3, 255));
    EXPECT_EQ(vector->stray_unlocks(), 2);
    EXPECT_EQ(host.CallCount("DrawPicture"), 0);
    host.Release(vector);
  });
}

// A host that answers for no application class is asked again at each open, three
// classes each time, until a granted lock settles its kind.
TEST(PictureOpen, HostKindAskedUntilALockIsGranted) {
  HostConfig config = pixeltest::PluginConfig();
  config.missing = {"pluginObjectType"};
  InHost(config, [](Host& host) {
    RunCall(host, ParseCall("1 picture=2x2:alpha:refuse -> false"));
    RunCall(host, ParseCall("1 picture=2x2 -> true"));
    RunCall(host, ParseCall("1 picture=2x2 -> true"));
    EXPECT_EQ(host.LookupCount("pluginObjectType"), 6);
  });
}

}  // namespace
