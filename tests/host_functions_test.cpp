// Integer array reads: straight from the array on older hosts, through the host on newer.
#include "tests/support/host_fixture.h"

using pixeltest::InHost;
using refhost::Host;

namespace {

using ArrayIntFunction = int32_t (*)(void*, int32_t);

TEST(HostFunctions, ArrayElementsDirectUpTo2013_9AndThroughTheHostAbove) {
  struct Case {
    double version;
    bool hideElements;
    bool throughHost;
  };
  for (const Case& c : {Case{2013.9, false, false}, Case{2013.03, true, true}, Case{2013.91, false, true}}) {
    SCOPED_TRACE(c.version);
    refhost::HostConfig config = pixeltest::ProbeConfig();
    config.version = c.version;
    InHost(config, [&](Host& host) {
      auto read = pixeltest::Probe<ArrayIntFunction>(host, "PixelbridgeProbeArrayInt");
      refhost::IntArray* array = host.NewIntArray({7, -3, 1000});
      if (c.hideElements) array->HideElements();
      host.ClearLog();
      EXPECT_EQ(read(array->handle(), 0), 7);
      EXPECT_EQ(read(array->handle(), 1), -3);
      EXPECT_EQ(read(array->handle(), 2), 1000);
      EXPECT_EQ(host.CallCount("RuntimeDirectReadIntArray"), c.throughHost ? 3 : 0);
      EXPECT_EQ(host.LookupCount("RuntimeDirectReadIntArray"), c.throughHost ? 1 : 0);
    });
  }
}

TEST(HostFunctions, NilArrayReadsZeroWithoutAskingTheHost) {
  refhost::HostConfig config = pixeltest::ProbeConfig();
  config.version = 2014.0;
  InHost(config, [](Host& host) {
    auto read = pixeltest::Probe<ArrayIntFunction>(host, "PixelbridgeProbeArrayInt");
    host.ClearLog();
    EXPECT_EQ(read(nullptr, 5), 0);
    EXPECT_TRUE(host.log().empty());
  });
}

}  // namespace
