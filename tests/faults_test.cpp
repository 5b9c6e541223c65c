// Host fault injection: for every host function in turn, a host that lacks it and, for
// those that answer, a host whose function fails. Every method still returns; calls the
// fault can't reach give what they give on a sound host, the others fail cleanly (or, where
// the host's answer only shapes the result, give another result) and nothing leaks.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <map>
#include <type_traits>

#include <gtest/gtest-spi.h>

#include "host/host_function_list.h"
#include "tests/support/call_rules.h"
#include "tests/support/host_fixture.h"
#include "tests/support/method_scene.h"

using pixeltest::MethodScene;
using pixeltest::Outcome;
using pixeltest::SceneCall;
using refhost::Host;
using refhost::HostConfig;
using refhost::HostKind;

namespace {

enum class Fault { kMissing, kFailing };

struct FaultCase {
  const char* function;
  Fault fault;
};

void PrintTo(const FaultCase& fault, std::ostream* out) {
  *out << fault.function << (fault.fault == Fault::kMissing ? " lacking" : " failing");
}

// Every host function lacking, and every one that answers failing.
std::vector<FaultCase> AllFaults() {
  std::vector<FaultCase> faults;
#define PIXELBRIDGE_FAULTS(wrapper, lookup, result, parameters) \
  faults.push_back({lookup, Fault::kMissing});                  \
  if (!std::is_void_v<result>) faults.push_back({lookup, Fault::kFailing});
  PIXELBRIDGE_DIRECT_HOST_FUNCTIONS(PIXELBRIDGE_FAULTS)
  PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS(PIXELBRIDGE_FAULTS)
#undef PIXELBRIDGE_FAULTS
  return faults;
}

// What a fault takes away: calls touching `breaks` must fail; calls touching `changes` may
// also give another result; `leaks` lets calls that raise leave what the lacking function
// would have given back. Faults not listed change nothing.
struct Effect {
  const char* function;
  bool whenMissing, whenFailing;
  unsigned breaks, changes;
  bool leaks;
};

using namespace pixeltest;  // NOLINT: the Touch bits
const Effect kEffects[] = {
    {"PluginRegisterMethod", true, true, kGlobal, 0, false},
    {"PluginRegisterClassExtension", true, true, kOfPicture, 0, false},
    {"REALLockObject", true, false, kOpens, 0, false},
    {"REALUnlockObject", true, false, kOpens, kRaises, true},
    {"PluginNewInstance", true, true, 0, kRaises, false},
    {"REALBuildString", true, true, 0, kRaises, false},
    {"REALSetStringEncoding", true, false, 0, kRaises, false},
    {"REALUnlockString", true, false, 0, kRaises, true},
    {"REALSetPropValueInt", true, false, 0, kRaises, false},
    {"REALSetPropValueString", true, false, 0, kRaises, false},
    {"RuntimeRaiseException", true, false, 0, kRaises, false},
    {"REALGetPropValueInt", true, true, kDrawnCopy, kDest, false},
    {"newPicture", true, true, kNewPicture | kDrawnCopy, 0, false},
    {"REALLockPictureDescription", true, true, kOpens, 0, false},
    {"unlockPictureDescription", true, false, kOpens, 0, false},
    {"pluginPictureGraphicsGetter", true, true, 0, kDrawnCopy, false},
    {"REALLoadObjectMethod", true, true, 0, kDrawnCopy, false},
    {"memoryBlockGetPtr", true, true, kBlockAddress, 0, false},
    {"memoryBlockGetSize", false, true, kBlockSize, 0, false},
    {"RuntimeUBound", true, true, 0, kArrays, false},
};

Effect EffectOf(const FaultCase& fault) {
  for (const Effect& effect : kEffects)
    if (std::string(effect.function) == fault.function &&
        (fault.fault == Fault::kMissing ? effect.whenMissing : effect.whenFailing))
      return effect;
  return {fault.function, false, false, 0, 0, false};
}

HostConfig ConfigFor(HostKind kind) {
  HostConfig config = pixeltest::PluginConfig();
  config.kind = kind;
  return config;
}

// The scene on a sound host, run once per kind: every sound call succeeds, every nil
// argument raises. Its outcomes come back from the host process through a file.
const std::vector<Outcome>& SoundOutcomes(HostKind kind) {
  static std::map<HostKind, std::vector<Outcome>> outcomes;
  if (outcomes.count(kind) != 0) return outcomes[kind];
  FILE* file = tmpfile();
  pixeltest::InHost(ConfigFor(kind), [&](Host& host) {
    MethodScene scene(host);
    for (const pixeltest::PlannedCall& call : scene.Plan()) {
      SCOPED_TRACE(MethodScene::Describe(call));
      const SceneCall ran = scene.Run(call);
      pixeltest::ExpectBalanced(ran.result);
      for (const std::string& rule : pixeltest::BrokenRules(ran.result)) ADD_FAILURE() << rule;
      EXPECT_EQ(ran.outcome.failed, call.nilArgument);
      EXPECT_EQ(ran.outcome.exception.empty(), !call.nilArgument);
      fprintf(file, "%d %llu %s\n", ran.outcome.failed ? 1 : 0, static_cast<unsigned long long>(ran.outcome.digest),
              ran.outcome.exception.c_str());
    }
    fflush(file);
  });
  rewind(file);
  std::vector<Outcome>& sound = outcomes[kind];
  char line[512];
  while (fgets(line, sizeof line, file) != nullptr) {
    int failed = 0, exceptionAt = 0;
    unsigned long long digest = 0;
    if (sscanf(line, "%d %llu %n", &failed, &digest, &exceptionAt) < 2) break;
    std::string exception = line + exceptionAt;
    if (!exception.empty() && exception.back() == '\n') exception.pop_back();
    sound.push_back({failed != 0, exception, digest});
  }
  fclose(file);
  return sound;
}

void ExpectDegradesGracefully(const FaultCase& fault, HostKind kind) {
  const std::vector<Outcome>& sound = SoundOutcomes(kind);
  HostConfig config = ConfigFor(kind);
  (fault.fault == Fault::kMissing ? config.missing : config.failing).insert(fault.function);
  const Effect effect = EffectOf(fault);
  pixeltest::InHost(config, [&](Host& host) {
    MethodScene scene(host);
    const std::vector<pixeltest::PlannedCall> plan = scene.Plan();
    ASSERT_EQ(plan.size(), sound.size());
    for (size_t i = 0; i < plan.size(); ++i) {
      SCOPED_TRACE(MethodScene::Describe(plan[i]));
      const SceneCall ran = scene.Run(plan[i]);
      if (ran.touches & effect.breaks & (kGlobal | kOfPicture)) {
        EXPECT_FALSE(ran.result.called) << "registered without the host function";
        continue;
      }
      for (const std::string& rule : pixeltest::BrokenRules(ran.result)) ADD_FAILURE() << rule;
      if (!(effect.leaks && (ran.touches & kRaises))) pixeltest::ExpectBalanced(ran.result);
      if ((ran.touches & (effect.breaks | effect.changes)) == 0) {
        EXPECT_TRUE(ran.outcome == sound[i]) << "differs from a sound host: " << ran.outcome.exception;
        continue;
      }
      if (sound[i].failed || (ran.touches & effect.breaks)) {
        EXPECT_TRUE(ran.outcome.failed);
      }
      if (ran.outcome.failed) {
        EXPECT_TRUE(ran.memoryUntouched) << "failed, but wrote";
      }
    }
  });
}

class HostFaults : public testing::TestWithParam<FaultCase> {};

TEST_P(HostFaults, EveryMethodReturnsAndDegradesGracefully) {
  for (HostKind kind : {HostKind::Desktop, HostKind::Console}) {
    SCOPED_TRACE(kind == HostKind::Desktop ? "desktop host" : "console host");
    ExpectDegradesGracefully(GetParam(), kind);
  }
}

INSTANTIATE_TEST_SUITE_P(EveryHostFunction, HostFaults, testing::ValuesIn(AllFaults()),
                         [](const testing::TestParamInfo<FaultCase>& info) {
                           return std::string(info.param.function) +
                                  (info.param.fault == Fault::kMissing ? "_missing" : "_failing");
                         });

// The test process notices a host process that ends the way a sanitizer's report ends it
// (exit status 1) or that dies of a signal.
TEST(HostProcess, ReportsAndCrashesOfTheHostFailTheCase) {
  EXPECT_NONFATAL_FAILURE(pixeltest::InHost(pixeltest::PluginConfig(), [](Host&) { _exit(1); }),
                          "the host process reported failures");
  EXPECT_NONFATAL_FAILURE(pixeltest::InHost(pixeltest::PluginConfig(), [](Host&) { raise(SIGKILL); }),
                          "the host process died of signal 9");
}

}  // namespace
