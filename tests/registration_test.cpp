// Entry and registration: control version, flag fix-up, the records as the host reads them,
// and lookups.
#include "tests/support/host_fixture.h"

using pixeltest::InHost;
using refhost::Host;
using refhost::HostConfig;

namespace {

HostConfig AtVersion(double version, const char* lacking = nullptr) {
  HostConfig config = pixeltest::PluginConfig();
  config.version = version;
  if (lacking != nullptr) config.missing.insert(lacking);
  return config;
}

// The record version follows the host's; hosts from 2010.029 read the flag bits 18 and 19
// at bits 2 and 3. The class record is 25 words with only version, name, methods and flags
// set; its 18 method records are six words from version 10, four before, as are the 32
// global methods, every one with its declaration in order.
TEST(Registration, RecordsFollowTheHostVersion) {
  struct Case {
    double version;
    const char* lacking;
    int32_t control;
    uintptr_t flags;
  };
  const Case cases[] = {{2013.03, nullptr, 12, 4},
                        {2013.02999, nullptr, 11, 4},
                        {2013.0, nullptr, 11, 4},
                        {2012.0, nullptr, 10, 4},
                        {2011.99, nullptr, 9, 4},
                        {2010.029, nullptr, 9, 4},
                        {2010.028, nullptr, 9, 0},
                        {2013.03, "REALGetRBVersion", 9, 0},
                        {2013.03, "RegisterPluginVersion", 12, 4}};
  const std::vector<std::string> declarations = pixeltest::DataLines("declarations.txt");
  ASSERT_EQ(declarations.size(), 50u);
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "host " << c.version << " lacking " << (c.lacking ? c.lacking : "nothing"));
    InHost(AtVersion(c.version, c.lacking), [&](Host& host) {
      const bool told = c.lacking == nullptr || std::string(c.lacking) != "RegisterPluginVersion";
      EXPECT_EQ(host.control_version(), told ? std::optional<int32_t>(c.control) : std::nullopt);
      ASSERT_EQ(host.class_registrations(), 1);
      const std::vector<uintptr_t>& words = host.class_words();
      EXPECT_STREQ(reinterpret_cast<const char*>(words.at(1)), "Picture");
      // Every word 0 but the version, the name, the methods, their count and the flags.
      std::vector<uintptr_t> record(25, 0);
      record[0] = uintptr_t(c.control);
      record[1] = words[1];
      record[9] = words.at(9);
      record[10] = 18;
      record[20] = c.flags;
      EXPECT_EQ(words, record);
      const size_t stride = c.control == 9 ? 4 : 6;
      const auto* methods = reinterpret_cast<const uintptr_t*>(words[9]);
      for (size_t m = 0; m < 18; ++m) {
        const uintptr_t* method = methods + m * stride;
        EXPECT_NE(method[0], 0u);
        EXPECT_EQ(declarations[32 + m], reinterpret_cast<const char*>(method[2]));
        std::vector<uintptr_t> expected = {method[0], 0, method[2], c.flags, 0, 0};
        expected.resize(stride);
        EXPECT_EQ(std::vector<uintptr_t>(method, method + stride), expected) << "method " << m;
      }
      ASSERT_EQ(host.global_methods().size(), 32u);
      for (size_t m = 0; m < 32; ++m) {
        EXPECT_EQ(host.global_methods()[m].declaration, declarations[m]);
        EXPECT_EQ(host.global_methods()[m].flags, c.flags);
        EXPECT_NE(host.global_methods()[m].function, nullptr);
      }
    });
  }
}

// A found host function is looked up once; a missing one on every use. The version comes
// first, then the class, then the globals in order.
TEST(Registration, LookupsCachedOnceFoundRepeatedWhileMissing) {
  InHost(AtVersion(2013.03), [](Host& host) {
    for (const char* name :
         {"RegisterPluginVersion", "REALGetRBVersion", "PluginRegisterMethod", "PluginRegisterClassExtension"})
      EXPECT_EQ(host.LookupCount(name), 1) << name;
    std::vector<std::string> calls = host.CallNames();
    ASSERT_EQ(calls.size(), 35u);
    EXPECT_EQ(std::vector<std::string>(calls.begin(), calls.begin() + 4),
              (std::vector<std::string>{"REALGetRBVersion", "RegisterPluginVersion", "PluginRegisterClassExtension",
                                        "PluginRegisterMethod"}));
  });
  HostConfig config = AtVersion(2013.03, "PluginRegisterMethod");
  config.missing.insert("PluginRegisterClassExtension");
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
    pixeltest::InChild([&] {
      pixeltest::WithHost(
          config,
          [&](Host& host) {
            pixeltest::Probe<void (*)(int)>(host, "PixelbridgeProbeFailAllocationsFrom")(failingCall);
            std::string error;
            ASSERT_TRUE(host.Start(&error)) << error;
            pixeltest::Probe<void (*)(int)>(host, "PixelbridgeProbeFailAllocationsFrom")(0);
            EXPECT_EQ(host.class_registrations(), 0);
            EXPECT_EQ(host.global_methods().size(), 32u);
            EXPECT_EQ(host.control_version(), 9);
          },
          false);
    });
  }
}

TEST(Registration, FixPropertiesKeepsTheFirstTenWords) {
  InHost(pixeltest::ProbeConfig(), [](Host& host) {
    auto fix = pixeltest::Probe<uintptr_t* (*)(const uintptr_t*, intptr_t)>(host, "PixelbridgeProbeFixProperties");
    uintptr_t properties[2 * 12];
    for (int i = 0; i < 24; ++i) properties[i] = 100 + i;
    uintptr_t* fixed = fix(properties, 2);
    ASSERT_NE(fixed, nullptr);
    for (int p = 0; p < 2; ++p)
      for (int w = 0; w < 10; ++w) EXPECT_EQ(fixed[p * 10 + w], properties[p * 12 + w]);
    pixeltest::Probe<void (*)(void*)>(host, "PixelbridgeProbeFree")(fixed);
    EXPECT_EQ(fix(nullptr, 2), nullptr);
    EXPECT_EQ(fix(properties, 0), nullptr);
    EXPECT_EQ(fix(properties, -1), nullptr);
  });
}

}  // namespace
