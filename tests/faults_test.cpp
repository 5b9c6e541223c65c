// Host fault injection: for every host function in turn, a host that lacks it and, for
// those that answer, a host whose function fails. Every method, called soundly, with a nil
// receiver or source and (desktop) on a picture that must be drawn to be read, still
// returns; calls the fault can't reach give what they give on a sound host, the others
// fail cleanly (or, where the host's answer only shapes the result, give another result)
// and nothing leaks.
#include <cstdlib>
#include <type_traits>

#include <gtest/gtest-spi.h>

#include "host/host_function_list.h"
#include "tests/support/host_fixture.h"

using pixeltest::CallOutcome;
using pixeltest::MethodCall;
using refhost::Host;
using refhost::HostConfig;
using refhost::HostKind;

namespace {

// What a call needs of the host, as far as a fault can take it away.
enum Touch : unsigned {
  kOpens = 1u << 0,         // opens a picture
  kBlockAddress = 1u << 1,  // asks for a memory block's address
  kBlockSize = 1u << 2,     // asks for a memory block's size
  kNewPicture = 1u << 3,    // makes a new picture
  kDrawnCopy = 1u << 4,     // reads a picture through a drawn copy
  kDest = 1u << 5,          // writes into a destination picture
  kArrays = 1u << 6,        // reads integer arrays
  kRaises = 1u << 7,        // raises an exception for a nil argument
  kGlobal = 1u << 8,        // a global method
  kOfPicture = 1u << 9,     // a method of "Picture"
};

struct SceneCall {
  std::string line;
  unsigned touches;
  MethodCall call;
};

// Every method soundly, with a nil argument, and on desktop hosts copying a vector picture.
std::vector<SceneCall> Scene(HostKind kind) {
  const std::string picture = kind == HostKind::Desktop ? "5x3:pad4" : "5x3";
  std::vector<SceneCall> scene;
  for (int number = 1; number <= pixeltest::kMethodCount; ++number) {
    const std::string declaration = pixeltest::DeclarationOf(number);
    const bool copy = number <= pixeltest::kCopyCount,
               fromBlock = declaration.find("as memoryblock") != std::string::npos;
    const bool arrays = declaration.find("Red()") != std::string::npos;
    const bool dest = declaration.find("dest as") != std::string::npos;
    std::string args = std::to_string(number) + " offset=3 PixelByteSize=2 LittleEndian=1 ";
    args += copy ? "MaskForAlpha=" + picture + ":alpha:format1 AlphaValue=0x80 Yield=-1 picture="
                 : std::string("dest=8x6 width=4 height=3 FlipVertically=1 ") +
                       (arrays ? "Red=255,128,7,0,1000 Blue=0,10,-7 Green=empty" : "Red=300 Blue=128 Green=256") +
                       " source=";
    const unsigned sound = copy ? kOpens | kBlockAddress | kBlockSize
                                : kOpens | (dest ? kDest : kNewPicture) |
                                      (fromBlock ? kBlockAddress | kBlockSize : 0u) | (arrays ? kArrays : 0u);
    const unsigned method = copy ? kOfPicture : kGlobal;
    const auto add = [&](const std::string& line, unsigned touches) {
      scene.push_back({line, method | touches, pixeltest::ParseCall(line)});
      scene.back().call.spare = true;
    };
    add(args + (copy ? picture : ""), sound);
    add(args + "nil", kRaises);
    if (copy && kind == HostKind::Desktop) add(args + "4x3:vector", sound | kDrawnCopy);
  }
  return scene;
}

CallOutcome Run(Host& host, const MethodCall& call) {
  pixeltest::Probe<void (*)(uint32_t, int32_t)>(host, "PixelbridgeProbeSetClock")(100000, 100000);  // a yield due
  return pixeltest::RunCall(host, call);
}

struct FaultCase {
  const char* function;
  bool missing;  // or failing
};

// Every host function lacking, and every one that answers failing.
std::vector<FaultCase> AllFaults() {
  std::vector<FaultCase> faults;
#define PIXELBRIDGE_FAULTS(wrapper, lookup, result, parameters) \
  faults.push_back({lookup, true});                             \
  if (!std::is_void_v<result>) faults.push_back({lookup, false});
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
    if (pixeltest::HostFunctionNamed(effect.function) == fault.function &&
        (fault.missing ? effect.whenMissing : effect.whenFailing))
      return effect;
  return {fault.function, false, false, 0, 0, false};
}

void ExpectDegradesGracefully(const FaultCase& fault, HostKind kind) {
  const std::vector<SceneCall> scene = Scene(kind);
  const Effect effect = EffectOf(fault);
  HostConfig config = pixeltest::ProbeConfig(kind);
  (fault.missing ? config.missing : config.failing).insert(fault.function);
  pixeltest::InHost(config, [&](Host& host) {
    for (const SceneCall& call : scene) {
      SCOPED_TRACE(call.line);
      const unsigned touches = call.touches;
      const CallOutcome ran = Run(host, call.call);
      if (touches & effect.breaks & (kGlobal | kOfPicture)) {
        EXPECT_FALSE(ran.result.called) << "registered without the host function";
        continue;
      }
      for (const std::string& rule : ran.broken) ADD_FAILURE() << rule;  // the oracle's bytes among them
      if (!(effect.leaks && (touches & kRaises))) pixeltest::ExpectBalanced(ran.result);
      // On a sound host every sound call succeeds and every nil one raises.
      const bool raises = (touches & kRaises) != 0;
      if ((touches & (effect.breaks | effect.changes)) == 0) {
        EXPECT_TRUE(ran.failed == raises && ran.exception.empty() != raises)
            << "differs from a sound host: " << ran.exception;
        continue;
      }
      EXPECT_TRUE(ran.failed || !(raises || (touches & effect.breaks)));
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
                           return std::string(info.param.function) + (info.param.missing ? "_missing" : "_failing");
                         });

// The test process notices a host process that ends the way a sanitizer's report ends it
// (exit status 1) or that crashes; one that throws reports it and ends there.
TEST(HostProcess, ReportsAndCrashesOfTheHostFailTheCase) {
  EXPECT_NONFATAL_FAILURE(pixeltest::InChild([] { std::_Exit(1); }), "reported failures (above)");
  EXPECT_NONFATAL_FAILURE(pixeltest::InChild([] { std::abort(); }), " died: ");
  EXPECT_NONFATAL_FAILURE(pixeltest::InChild([] { throw std::runtime_error("thrown"); }), "reported failures (above)");
}

}  // namespace
