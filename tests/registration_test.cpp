// Entry and registration: control version, flag fix-up, record layouts, lookups.
#include <cstring>

#include "tests/support/host_fixture.h"

using pixeltest::InHost;
using refhost::Host;
using refhost::HostConfig;

namespace {

HostConfig AtVersion(double version) {
  HostConfig config = pixeltest::PluginConfig();
  config.version = version;
  return config;
}

std::vector<std::string> Declarations(const std::vector<refhost::RegisteredMethod>& methods) {
  std::vector<std::string> declarations;
  for (const auto& method : methods) declarations.push_back(method.declaration);
  return declarations;
}

TEST(Registration, ControlVersionFollowsHostVersion) {
  struct Case {
    double version;
    bool hostHasVersion;
    int32_t control;
  };
  const Case cases[] = {{2013.03, true, 12}, {2013.02999, true, 11}, {2013.0, true, 11},
                        {2012.0, true, 10},  {2011.99, true, 9},     {2013.03, false, 9}};
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "host " << c.version << (c.hostHasVersion ? "" : " without version"));
    HostConfig config = AtVersion(c.version);
    if (!c.hostHasVersion) config.missing.insert("REALGetRBVersion");
    InHost(config, [&](Host& host) {
      EXPECT_EQ(host.control_version(), c.control);
      ASSERT_EQ(host.class_registrations(), 1);
      EXPECT_EQ(host.class_words()[0], static_cast<uintptr_t>(c.control));
    });
  }
}

TEST(Registration, FlagsMoveToBitTwoFrom2010_029) {
  for (double version : {2010.029, 2010.028}) {
    SCOPED_TRACE(version);
    const uintptr_t expected = version >= 2010.029 ? 0x4 : 0;
    InHost(AtVersion(version), [&](Host& host) {
      ASSERT_EQ(host.global_methods().size(), 32u);
      for (const auto& method : host.global_methods()) EXPECT_EQ(method.flags, expected);
      for (const auto& method : host.picture_methods()) EXPECT_EQ(method.flags, expected);
      EXPECT_EQ(host.class_words()[20], expected);
    });
  }
}

TEST(Registration, AllFiftyDeclarationsInOrder) {
  const std::vector<std::string> expected = pixeltest::DataLines("declarations.txt");
  ASSERT_EQ(expected.size(), 50u);
  const std::vector<std::string> globals(expected.begin(), expected.begin() + 32);
  const std::vector<std::string> pictures(expected.begin() + 32, expected.end());
  // Version 12 records, and the version-9 layout the host reads in four-word steps.
  for (double version : {2013.03, 2011.0}) {
    SCOPED_TRACE(version);
    InHost(AtVersion(version), [&](Host& host) {
      EXPECT_EQ(Declarations(host.global_methods()), globals);
      EXPECT_EQ(Declarations(host.picture_methods()), pictures);
      for (const auto& method : host.picture_methods()) EXPECT_NE(method.function, nullptr);
      for (const auto& method : host.global_methods()) EXPECT_NE(method.function, nullptr);
    });
  }
}

// The class record as a version-12 host sees it: only version, name, methods and flags set.
TEST(Registration, Version12ClassRecord) {
  InHost(AtVersion(2013.03), [](Host& host) {
    const std::vector<uintptr_t>& words = host.class_words();
    ASSERT_EQ(words.size(), 25u);
    for (size_t i = 0; i < words.size(); ++i) {
      SCOPED_TRACE(i);
      switch (i) {
        case 0: EXPECT_EQ(words[i], 12u); break;
        case 1: EXPECT_STREQ(reinterpret_cast<const char*>(words[i]), "Picture"); break;
        case 9: EXPECT_NE(words[i], 0u); break;
        case 10: EXPECT_EQ(words[i], 18u); break;
        case 20: EXPECT_EQ(words[i], 0x4u); break;
        default: EXPECT_EQ(words[i], 0u);
      }
    }
    // The six-word method records, each with its trailing words zero.
    const auto* methods = reinterpret_cast<const uintptr_t*>(words[9]);
    for (int m = 0; m < 18; ++m) {
      EXPECT_EQ(methods[m * 6 + 1], 0u);
      EXPECT_EQ(methods[m * 6 + 3], 0x4u);
      EXPECT_EQ(methods[m * 6 + 4], 0u);
      EXPECT_EQ(methods[m * 6 + 5], 0u);
    }
  });
}

// The version-9 record, compared byte for byte with one built here from its words.
TEST(Registration, Version9ClassRecordByteForByte) {
  for (double version : {2011.99, 2010.0}) {
    SCOPED_TRACE(version);
    const uintptr_t flags = version >= 2010.029 ? 0x4 : 0;
    InHost(AtVersion(version), [&](Host& host) {
      ASSERT_EQ(host.class_registrations(), 1);
      const auto* record = static_cast<const uintptr_t*>(host.class_record());
      std::vector<uintptr_t> expected(25, 0);
      expected[0] = 9;
      expected[1] = record[1];
      expected[9] = record[9];
      expected[10] = 18;
      expected[20] = flags;
      EXPECT_STREQ(reinterpret_cast<const char*>(record[1]), "Picture");
      EXPECT_EQ(memcmp(record, expected.data(), 25 * sizeof(uintptr_t)), 0);
      // 18 records of four words: function, 0, declaration, flags.
      const std::vector<std::string> declarations = pixeltest::DataLines("declarations.txt");
      const auto* methods = reinterpret_cast<const uintptr_t*>(record[9]);
      for (int m = 0; m < 18; ++m) {
        const uintptr_t* method = methods + m * 4;
        const uintptr_t built[4] = {method[0], 0, method[2], flags};
        EXPECT_NE(method[0], 0u);
        EXPECT_EQ(memcmp(method, built, sizeof built), 0);
        EXPECT_EQ(declarations[32 + m], reinterpret_cast<const char*>(method[2]));
      }
    });
  }
}

TEST(Registration, HostWithoutRegisterPluginVersionStillGetsEveryMethod) {
  HostConfig config = AtVersion(2013.03);
  config.missing.insert("RegisterPluginVersion");
  InHost(config, [](Host& host) {
    EXPECT_FALSE(host.control_version().has_value());
    EXPECT_EQ(host.class_words()[0], 12u);
    EXPECT_EQ(host.global_methods().size(), 32u);
    EXPECT_EQ(host.picture_methods().size(), 18u);
  });
}

// A found host function is looked up once; a missing one on every use.
TEST(Registration, LookupsCachedOnceFoundRepeatedWhileMissing) {
  InHost(AtVersion(2013.03), [](Host& host) {
    EXPECT_EQ(host.LookupCount("RegisterPluginVersion"), 1);
    EXPECT_EQ(host.LookupCount("REALGetRBVersion"), 1);
    EXPECT_EQ(host.LookupCount("PluginRegisterMethod"), 1);
    EXPECT_EQ(host.CallCount("PluginRegisterMethod"), 32);
    EXPECT_EQ(host.LookupCount("PluginRegisterClassExtension"), 1);
    // Version, then registrations: the class first, then the globals in order.
    std::vector<std::string> calls = host.CallNames();
    ASSERT_GE(calls.size(), 35u);
    EXPECT_EQ(calls[0], "REALGetRBVersion");
    EXPECT_EQ(calls[1], "RegisterPluginVersion");
    EXPECT_EQ(calls[2], "PluginRegisterClassExtension");
  });
  HostConfig config = AtVersion(2013.03);
  config.missing = {"PluginRegisterMethod", "PluginRegisterClassExtension"};
  InHost(config, [](Host& host) {
    EXPECT_EQ(host.LookupCount("PluginRegisterMethod"), 32);
    EXPECT_EQ(host.LookupCount("PluginRegisterClassExtension"), 1);
    EXPECT_TRUE(host.global_methods().empty());
    EXPECT_EQ(host.class_registrations(), 0);
  });
}

// When a version-9 array can't be allocated the class isn't registered; the globals are.
TEST(Registration, Version9AllocationFailureSkipsOnlyTheClass) {
  for (int failingCall : {1, 2}) {
    SCOPED_TRACE(failingCall);
    HostConfig config = pixeltest::ProbeConfig();
    config.version = 2011.0;
    pixeltest::InOpenedHost(config, [&](Host& host) {
      pixeltest::Probe<void (*)(int)>(host, "PixelbridgeProbeFailAllocationsFrom")(failingCall);
      std::string error;
      ASSERT_TRUE(host.Start(&error)) << error;
      pixeltest::Probe<void (*)(int)>(host, "PixelbridgeProbeFailAllocationsFrom")(0);
      EXPECT_EQ(host.class_registrations(), 0);
      EXPECT_EQ(host.global_methods().size(), 32u);
      EXPECT_EQ(host.control_version(), 9);
    });
  }
}

TEST(Registration, FixPropertiesKeepsTheFirstTenWords) {
  InHost(pixeltest::ProbeConfig(), [](Host& host) {
    using Fix = uintptr_t* (*)(const uintptr_t*, intptr_t);
    auto fix = pixeltest::Probe<Fix>(host, "PixelbridgeProbeFixProperties");
    auto release = pixeltest::Probe<void (*)(void*)>(host, "PixelbridgeProbeFree");
    uintptr_t properties[2 * 12];
    for (int i = 0; i < 24; ++i) properties[i] = 100 + i;
    uintptr_t* fixed = fix(properties, 2);
    ASSERT_NE(fixed, nullptr);
    for (int p = 0; p < 2; ++p)
      for (int w = 0; w < 10; ++w) EXPECT_EQ(fixed[p * 10 + w], properties[p * 12 + w]);
    release(fixed);
    EXPECT_EQ(fix(nullptr, 2), nullptr);
    EXPECT_EQ(fix(properties, 0), nullptr);
    EXPECT_EQ(fix(properties, -1), nullptr);
  });
}

}  // namespace
