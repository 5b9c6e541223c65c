// Host fault injection: for every host function in turn, a host that lacks it and, for
// those that answer, a host whose function fails. Every method, called soundly, with a nil
// receiver or source and (desktop) on a picture that must be drawn to be read, still
// returns, keeps the rules of every call and leaves nothing behind: it succeeds where the
// oracle says the host still serves it, fails where a function it needs is gone, and gives
// the oracle's bytes and pixels, which follow what the host's answers leave.
#include <type_traits>

#include "host/host_function_list.h"
#include "tests/support/host_fixture.h"

using refhost::Host;
using refhost::HostConfig;
using refhost::HostKind;

namespace {

// Every method soundly, with a nil argument, and on desktop hosts copying a vector picture.
std::vector<std::string> Scene(HostKind kind) {
  const std::string picture = kind == HostKind::Desktop ? "5x3:pad4" : "5x3";
  std::vector<std::string> scene;
  for (int number = 1; number <= pixeltest::kMethodCount; ++number) {
    const bool copy = number <= pixeltest::kCopyCount;
    const bool arrays = pixeltest::DeclarationOf(number).find("Red()") != std::string::npos;
    std::string args = std::to_string(number) + " offset=3 PixelByteSize=2 LittleEndian=1 ";
    args += copy ? "MaskForAlpha=" + picture + ":alpha:format1 AlphaValue=0x80 Yield=-1 picture="
                 : std::string("dest=8x6 width=4 height=3 FlipVertically=1 ") +
                       (arrays ? "Red=255,128,7,0,1000 Blue=0,10,-7 Green=empty" : "Red=300 Blue=128 Green=256") +
                       " source=";
    scene.push_back(args + (copy ? picture : ""));
    scene.push_back(args + "nil");
    if (copy && kind == HostKind::Desktop) scene.push_back(args + "4x3:vector");
  }
  return scene;
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

void ExpectDegradesGracefully(const FaultCase& fault, HostKind kind) {
  HostConfig config = pixeltest::ProbeConfig(kind);
  (fault.missing ? config.missing : config.failing).insert(fault.function);
  const std::string function = fault.function;
  // Without these a call that raises can't give back the exception's reference or its message.
  const bool leaks = fault.missing && (function == "REALUnlockObject" || function == "REALUnlockString");
  pixeltest::InHost(config, [&](Host& host) {
    for (const std::string& line : Scene(kind)) {
      SCOPED_TRACE(line);
      pixeltest::MethodCall call = pixeltest::ParseCall(line);
      call.spare = true;
      pixeltest::Probe<void (*)(uint32_t, int32_t)>(host, "PixelbridgeProbeSetClock")(100000, 100000);  // a yield due
      const pixeltest::CallOutcome ran = pixeltest::RunCall(host, call);
      // A method that couldn't be registered isn't there to call.
      const bool copy = call.number <= pixeltest::kCopyCount;
      if (function == (copy ? "PluginRegisterClassExtension" : "PluginRegisterMethod")) {
        EXPECT_FALSE(ran.result.called) << "registered without the host function";
        continue;
      }
      for (const std::string& rule : ran.broken) ADD_FAILURE() << rule;  // the oracle's verdict and bytes among them
      if (!(leaks && !ran.exception.empty())) pixeltest::ExpectBalanced(ran.result);
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

}  // namespace
