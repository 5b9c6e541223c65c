// Host exceptions: the normal path and a fallback for every host function that may be missing.
#include "tests/support/host_fixture.h"

using refhost::Host;
using refhost::HostConfig;

namespace {

refhost::CallResult Raise(Host& host, const char* className, const char* message) {
  auto raise = pixeltest::Probe<void (*)(const char*, const char*)>(host, "PixelbridgeProbeRaise");
  host.ClearLog();
  return host.Run([&]() -> void* {
    raise(className, message);
    return nullptr;
  });
}

HostConfig Lacking(std::set<std::string> missing, std::set<std::string> uninstantiable = {}) {
  HostConfig config = pixeltest::ProbeConfig();
  config.missing = std::move(missing);
  config.uninstantiable = std::move(uninstantiable);
  return config;
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

// A class the host can't make falls back to RuntimeException; when neither can be made
// nothing is raised, but the message is given back.
TEST(Exceptions, ClassesThatCantBeMade) {
  pixeltest::InHost(Lacking({}, {"NilObjectException"}), [](Host& host) {
    refhost::CallResult result = Raise(host, "NilObjectException", "Memoryblock is nil");
    pixeltest::ExpectBalanced(result);
    ASSERT_EQ(result.exceptions.size(), 1u);
    EXPECT_EQ(result.exceptions[0].class_name, "RuntimeException");
    EXPECT_EQ(result.exceptions[0].message, "Memoryblock is nil");
  });
  pixeltest::InHost(Lacking({}, {"NilObjectException", "RuntimeException"}), [](Host& host) {
    refhost::CallResult result = Raise(host, "NilObjectException", "Picture is nil");
    pixeltest::ExpectBalanced(result);
    EXPECT_TRUE(result.exceptions.empty());
    EXPECT_EQ(host.CallCount("PluginNewInstance"), 2);
    EXPECT_EQ(host.CallCount("REALUnlockString"), 1);
    EXPECT_EQ(host.CallCount("RuntimeRaiseException"), 0);
  });
}

// One host function missing at a time: the rest of the sequence still runs, and nothing
// the plug-in made is left behind (but what the missing function would have given back).
TEST(Exceptions, EveryMissingHostFunctionIsSkipped) {
  struct Case {
    const char* missing;
    bool raised, hasMessage;
    uint32_t encoding;
    bool leaks;  // the host never gets the reference back
  };
  const Case cases[] = {
      {"REALBuildString", true, false, 0, false},       {"REALSetStringEncoding", true, true, 0, false},
      {"REALSetPropValueString", true, false, 0, false}, {"REALSetPropValueInt", true, true, 0x600, false},
      {"RuntimeRaiseException", false, false, 0, false}, {"REALUnlockObject", true, true, 0x600, true},
      {"REALUnlockString", true, true, 0x600, true},     {"PluginNewInstance", false, false, 0, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.missing);
    pixeltest::InHost(Lacking({c.missing}), [&](Host& host) {
      for (int round = 1; round <= 2; ++round) {
        refhost::CallResult result = Raise(host, "NilObjectException", "Picture is nil");
        ASSERT_EQ(result.exceptions.size(), c.raised ? 1u : 0u);
        EXPECT_TRUE(!c.raised || result.exceptions[0].message.has_value() == c.hasMessage);
        EXPECT_TRUE(!c.hasMessage || result.exceptions[0].message_encoding == c.encoding);
        EXPECT_EQ(result.problems.empty(), !c.leaks);
        // A missing function is asked for again on every use (twice for a second class).
        EXPECT_EQ(host.LookupCount(c.missing), std::string(c.missing) == "PluginNewInstance" ? 2 : 1);
      }
    });
  }
}

}  // namespace
