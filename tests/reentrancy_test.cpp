// Re-entrancy: while a copy yields, the host runs other methods of the plug-in (one of
// them yielding in turn), on other pictures and on the picture being copied; every call
// finishes with the bytes and pictures it would have made alone.
#include "tests/support/host_fixture.h"

using pixeltest::ParseCall;
using refhost::Host;

namespace {

TEST(Reentrancy, OtherMethodsRunWhileACopyYields) {
  const std::pair<std::string, refhost::HostKind> receivers[] = {{"5x4", refhost::HostKind::Desktop},
                                                                 {"5x4", refhost::HostKind::Console},
                                                                 {"5x4:vector", refhost::HostKind::Desktop}};
  for (const auto& [copied, kind] : receivers) {
    SCOPED_TRACE(copied + (kind == refhost::HostKind::Console ? " on a console host" : ""));
    pixeltest::InHost(pixeltest::PluginConfig(kind), [&, &copied = copied](Host& host) {
      refhost::Picture* picture = pixeltest::NewPicture(host, copied);
      refhost::Picture* mask = pixeltest::NewPicture(host, "5x4", true);
      int yields = 0, depth = 0;
      bool nestedRan = false, innermostRan = false;
      host.on_yield = [&] {
        ++yields;
        EXPECT_EQ(picture->locks() + mask->locks(), copied == "5x4" ? 2 : 1)
            << "the yielding copy keeps its pictures open";
        if (depth == 1 && !innermostRan) {
          innermostRan = true;
          pixeltest::ExpectCall(host, "46 width=2 height=2 -> picture");
        }
        if (depth > 0 || nestedRan) return;
        nestedRan = true;
        ++depth;
        pixeltest::ExpectCall(host, "14 picture=3x2 Yield=1 -> true");  // yields in turn
        pixeltest::ExpectCall(host, "40 dest=4x4 width=2 height=2 -> dest");
        pixeltest::MethodCall again = ParseCall("17 PixelByteSize=1 -> true");  // the picture being copied
        again.objects["picture"] = picture;
        pixeltest::ExpectCall(host, again);
        --depth;
      };
      pixeltest::MethodCall outer = ParseCall("8 Yield=1 -> true");
      outer.objects = {{"picture", picture}, {"MaskForAlpha", mask}};
      pixeltest::ExpectCall(host, outer);
      EXPECT_TRUE(nestedRan && innermostRan);
      EXPECT_GE(yields, 2);
      host.Release(picture);
      host.Release(mask);
    });
  }
}

}  // namespace
