// Host exceptions as the host sees them raised; hosts lacking what a raise needs are in
// tests/data/calls.txt.
#include "tests/support/host_fixture.h"

using refhost::Host;

namespace {

refhost::CallResult Raise(Host& host, const char* className, const char* message) {
  auto raise = pixeltest::Probe<void (*)(const char*, const char*)>(host, "PixelbridgeProbeRaise");
  host.ClearLog();
  return host.Run([&]() -> void* {
    raise(className, message);
    return nullptr;
  });
}

TEST(Exceptions, RaisedWithAnAsciiMessageAndErrorNumberZero) {
  pixeltest::InHost(pixeltest::ProbeConfig(), [](Host& host) {
    refhost::CallResult result = Raise(host, "NilObjectException", "Picture is nil");
    pixeltest::ExpectBalanced(result);
    ASSERT_EQ(result.exceptions.size(), 1u);
    EXPECT_EQ(result.exceptions[0].class_name, "NilObjectException");
    EXPECT_EQ(result.exceptions[0].message, "Picture is nil");
    EXPECT_EQ(result.exceptions[0].message_encoding, 0x600u);
    EXPECT_EQ(result.exceptions[0].error_number, 0);
    const std::vector<std::string> expected = {
        "REALBuildString",     "REALSetStringEncoding", "PluginNewInstance", "REALSetPropValueString",
        "REALSetPropValueInt", "RuntimeRaiseException", "REALUnlockObject",  "REALUnlockString"};
    EXPECT_EQ(host.CallNames(), expected);
    // An empty or null message builds no string.
    for (const char* message : {"", static_cast<const char*>(nullptr)}) {
      result = Raise(host, "UnsupportedOperationException", message);
      pixeltest::ExpectBalanced(result);
      ASSERT_EQ(result.exceptions.size(), 1u);
      EXPECT_FALSE(result.exceptions[0].message.has_value());
      EXPECT_EQ(host.CallCount("REALBuildString"), 0);
      EXPECT_EQ(host.CallCount("REALSetPropValueString"), 1);
    }
  });
}

}  // namespace
