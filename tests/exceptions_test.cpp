// Host exceptions as the host sees them raised: a message is tagged ASCII, an empty or null
// one builds no string. The host functions of a raise in order, and hosts lacking what a raise
// needs, are in tests/data/calls.txt.
#include "tests/support/host_fixture.h"

using refhost::Host;

namespace {

TEST(Exceptions, MessagesTaggedAsciiAndEmptyOnesBuildNoString) {
  pixeltest::InHost(pixeltest::ProbeConfig(), [](Host& host) {
    auto raise = pixeltest::Probe<void (*)(const char*, const char*)>(host, "PixelbridgeProbeRaise");
    for (const char* message : {"Picture is nil", "", static_cast<const char*>(nullptr)}) {
      const bool text = message != nullptr && *message != '\0';
      host.ClearLog();
      const refhost::CallResult result = host.Run([&]() -> void* {
        raise("UnsupportedOperationException", message);
        return nullptr;
      });
      pixeltest::ExpectBalanced(result);
      ASSERT_EQ(result.exceptions.size(), 1u);
      EXPECT_EQ(result.exceptions[0].message, text ? std::optional<std::string>(message) : std::nullopt);
      EXPECT_EQ(result.exceptions[0].message_encoding, text ? 0x600u : 0u);
      EXPECT_EQ(host.CallCount("REALBuildString"), text ? 1 : 0);
      EXPECT_EQ(host.CallCount("REALSetPropValueString"), 1);
    }
  });
}

}  // namespace
