// Host exceptions: the normal path and a fallback for every host function that may be missing.
#include "tests/support/host_fixture.h"

using pixeltest::InHost;
using refhost::Host;
using refhost::HostConfig;

namespace {

using RaiseFunction = void (*)(const char*, const char*);

refhost::CallResult Raise(Host& host, const char* className, const char* message) {
  auto raise = pixeltest::Probe<RaiseFunction>(host, "PixelbridgeProbeRaise");
  host.ClearLog();
  return host.Run([&]() -> void* {
    raise(className, message);
    return nullptr;
  });
}

TEST(Exceptions, RaisedWithMessageAsciiAndErrorNumberZero) {
  InHost(pixeltest::ProbeConfig(), [](Host& host) {
    refhost::CallResult result = Raise(host, "NilObjectException", "Picture is nil");
    pixeltest::ExpectBalanced(result);
    ASSERT_EQ(result.exceptions.size(), 1u);
    EXPECT_EQ(result.exceptions[0].class_name, "NilObjectException");
    EXPECT_EQ(result.exceptions[0].message, "Picture is nil");
    EXPECT_EQ(result.exceptions[0].message_encoding, 0x600u);
    EXPECT_EQ(result.exceptions[0].error_number, 0);
    const std::vector<std::string> expected = {
        "REALBuildString",       "REALSetStringEncoding", "PluginNewInstance", "REALSetPropValueString",
        "REALSetPropValueInt",   "RuntimeRaiseException", "REALUnlockObject",  "REALUnlockString"};
    EXPECT_EQ(host.CallNames(), expected);
  });
}

TEST(Exceptions, EmptyOrNullMessageBuildsNoString) {
  InHost(pixeltest::ProbeConfig(), [](Host& host) {
    for (const char* message : {"", static_cast<const char*>(nullptr)}) {
      refhost::CallResult result = Raise(host, "UnsupportedOperationException", message);
      pixeltest::ExpectBalanced(result);
      ASSERT_EQ(result.exceptions.size(), 1u);
      EXPECT_FALSE(result.exceptions[0].message.has_value());
      EXPECT_EQ(host.CallCount("REALBuildString"), 0);
      EXPECT_EQ(host.CallCount("REALSetPropValueString"), 1);
    }
  });
}

TEST(Exceptions, ClassThatCantBeMadeFallsBackToRuntimeException) {
  HostConfig config = pixeltest::ProbeConfig();
  config.uninstantiable = {"NilObjectException"};
  InHost(config, [](Host& host) {
    refhost::CallResult result = Raise(host, "NilObjectException", "Memoryblock is nil");
    pixeltest::ExpectBalanced(result);
    ASSERT_EQ(result.exceptions.size(), 1u);
    EXPECT_EQ(result.exceptions[0].class_name, "RuntimeException");
    EXPECT_EQ(result.exceptions[0].message, "Memoryblock is nil");
  });
}

// One host function missing at a time: the rest of the sequence still runs, and nothing
// the plug-in made is left behind (but what the missing function would have given back).
TEST(Exceptions, EveryMissingHostFunctionIsSkipped) {
  struct Case {
    std::set<std::string> missing;
    bool raised;
    bool hasMessage;
    uint32_t encoding;
    int newInstanceLookups;  // per raise
    bool leaks;              // the host never gets the reference back
  };
  const Case cases[] = {
      {{"REALBuildString"}, true, false, 0, 1, false},
      {{"REALSetStringEncoding"}, true, true, 0, 1, false},
      {{"REALSetPropValueString"}, true, false, 0, 1, false},
      {{"REALSetPropValueInt"}, true, true, 0x600, 1, false},
      {{"RuntimeRaiseException"}, false, false, 0, 1, false},
      {{"REALUnlockObject"}, true, true, 0x600, 1, true},
      {{"REALUnlockString"}, true, true, 0x600, 1, true},
      {{"PluginNewInstance"}, false, false, 0, 2, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(*c.missing.begin());
    HostConfig config = pixeltest::ProbeConfig();
    config.missing = c.missing;
    InHost(config, [&](Host& host) {
      for (int round = 1; round <= 2; ++round) {
        refhost::CallResult result = Raise(host, "NilObjectException", "Picture is nil");
        EXPECT_EQ(result.exceptions.size(), c.raised ? 1u : 0u);
        if (c.raised && !result.exceptions.empty()) {
          EXPECT_EQ(result.exceptions[0].message.has_value(), c.hasMessage);
          if (c.hasMessage) {
            EXPECT_EQ(result.exceptions[0].message_encoding, c.encoding);
          }
        }
        EXPECT_EQ(result.problems.empty(), !c.leaks);
        // A missing function is asked for again on every use.
        EXPECT_EQ(host.LookupCount(*c.missing.begin()),
                  *c.missing.begin() == "PluginNewInstance" ? c.newInstanceLookups : 1);
      }
    });
  }
}

TEST(Exceptions, NothingRaisedWhenNoClassCanBeMadeButTheMessageIsGivenBack) {
  HostConfig config = pixeltest::ProbeConfig();
  config.uninstantiable = {"NilObjectException", "RuntimeException"};
  InHost(config, [](Host& host) {
    refhost::CallResult result = Raise(host, "NilObjectException", "Picture is nil");
    pixeltest::ExpectBalanced(result);
    EXPECT_TRUE(result.exceptions.empty());
    EXPECT_EQ(host.CallCount("PluginNewInstance"), 2);
    EXPECT_EQ(host.CallCount("REALUnlockString"), 1);
    EXPECT_EQ(host.CallCount("RuntimeRaiseException"), 0);
  });
}

}  // namespace
