// The fuzz target: each input is a host (version, kind, host functions lacking or failing,
// the pictures it makes), the objects a program starts with (pictures, blocks, arrays) and
// calls of any registered method with any arguments, some run while another call yields,
// all in this process and spelled as the case tables spell them.
//
// Each input starts from the plug-in as a host loads it: the probe build's reset puts every
// process-global back as it was at load (host function slots, host version and kind, the
// registration tables), so that REALPluginMain runs again for the input's host. The probe
// stays loaded, so libFuzzer sees its coverage counters as its own. A call that breaks a
// rule of every call (tests/support/method_calls.h), or trips a sanitizer, aborts: libFuzzer
// keeps the input as a crash.
#include <fuzzer/FuzzedDataProvider.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <type_traits>
#include <unordered_map>

#include "host/host_function_list.h"
#include "refhost/model/method_names.h"
#include "refhost/system/system.h"
#include "tests/support/method_calls.h"

using refhost::ParamType;

namespace {

constexpr int kMostCalls = 32;
constexpr int64_t kLargestNewPicture = 32767;
constexpr int64_t kLargestSource = 1 << 16;  // what the fuzzer makes a source of, at most

void (*gReset)() = nullptr;
pixeltest::ChooseKernels gChooseAs = nullptr;
pixeltest::KernelChoice gKernels = {-1, -1};  // what every input chooses (the replay's); -1: as the processor does

// A list of up to three host functions. Those whose lack a program sees through are left to
// the fault tests: without a block's size the caller vouches for the block, as for a Ptr;
// without the two give-backs an exception's reference or its message can't be given back.
std::string DecodeHostFunctions(FuzzedDataProvider& input, bool lacking) {
  static const std::set<std::string> kKept = {pixeltest::HostFunctionNamed("memoryBlockGetSize"),
                                              pixeltest::HostFunctionNamed("REALUnlockObject"),
                                              pixeltest::HostFunctionNamed("REALUnlockString")};
  std::vector<const char*> names;
#define PIXELBRIDGE_NAME(wrapper, lookup, result, parameters) \
  if (lacking ? kKept.count(lookup) == 0 : !std::is_void_v<result>) names.push_back(lookup);
  PIXELBRIDGE_DIRECT_HOST_FUNCTIONS(PIXELBRIDGE_NAME)
  PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS(PIXELBRIDGE_NAME)
#undef PIXELBRIDGE_NAME
  std::string list;
  for (int count = input.ConsumeIntegralInRange(0, 3); count > 0; --count)
    list += std::string(list.empty() ? "" : ",") + names[input.ConsumeIntegralInRange<size_t>(0, names.size() - 1)];
  return list;
}

// The host as a "host" line of the case tables.
std::string DecodeHost(FuzzedDataProvider& input) {
  static const char* const kVersions[] = {"2009",    "2010.028", "2010.029", "2011.4", "2012", "2012.5", "2013",
                                          "2013.03", "2013.9",   "2013.91",  "2019.1", "-1",   "nan",    "1e300"};
  static const char* const kKinds[] = {"desktop", "console", "web"};
  static const char* const kClasses[] = {"RuntimeException", "NilObjectException", "UnsupportedOperationException",
                                         "OutOfBoundsException"};
  // One input decodes alike whatever the compiler: each value is taken in a statement of its
  // own, since the operands of + are evaluated in no fixed order.
  const char* const kind = input.PickValueInArray(kKinds);
  std::string line = std::string("host ") + kind + " version=" + input.PickValueInArray(kVersions);
  const std::string lacking = DecodeHostFunctions(input, true), failing = DecodeHostFunctions(input, false);
  if (!lacking.empty()) line += " lacking=" + lacking;
  if (!failing.empty()) line += " failing=" + failing;
  std::string unmade;
  const auto classes = input.ConsumeIntegral<uint8_t>();
  for (int i = 0; i < 4; ++i)
    if (classes & (1 << i)) unmade += std::string(unmade.empty() ? "" : ",") + kClasses[i];
  if (!unmade.empty()) line += " unmade=" + unmade;
  line += " new-alpha=" + std::to_string(input.ConsumeIntegralInRange(0, 7));
  const auto switches = input.ConsumeIntegral<uint8_t>();
  for (const auto& [bit, option] : {std::pair{1, " no-draw"}, {2, " refuse-new"}, {4, " lend"}})
    if (switches & bit) line += option;
  return line;
}

// Objects of the program, each with the one reference the program holds (the host frees
// them with itself), and each described for reports; new pictures that calls return join them.
struct ProgramObjects {
  std::vector<refhost::Object*> pictures, blocks, arrays;  // blocks end at a guard page
  std::map<refhost::Object*, std::string> described;
};

ProgramObjects DecodeObjects(FuzzedDataProvider& input, refhost::Host& host) {
  ProgramObjects objects;
  for (int count = input.ConsumeIntegralInRange(0, 4); count > 0; --count) {
    static const char* const kKinds[] = {":bitmap", ":truecolour", ":vector"};
    const int kind = input.ConsumeIntegralInRange(0, 2);
    const int width = input.ConsumeIntegralInRange(kind == 0 ? 0 : 1, 12);  // gd makes no empty images
    const int height = input.ConsumeIntegralInRange(kind == 0 ? 0 : 1, 12);
    const int format = input.ConsumeIntegralInRange(0, 7);
    std::string spelling = std::to_string(width) + "x" + std::to_string(height) + kKinds[kind] + ":format" +
                           std::to_string(format) + ":pad" + std::to_string(input.ConsumeIntegralInRange(0, 7));
    const auto flags = input.ConsumeIntegral<uint8_t>();
    for (const auto& [bit, option] : {std::pair{1, ":alpha"}, {2, ":palette"}, {4, ":noflag"}, {8, ":refuse"}})
      if ((flags & bit) && (bit != 2 || kind == 1)) spelling += option;
    objects.pictures.push_back(pixeltest::NewPicture(host, spelling));
    objects.described[objects.pictures.back()] =
        "picture #" + std::to_string(objects.pictures.back()->id()) + " " + spelling;
  }
  for (int count = input.ConsumeIntegralInRange(0, 4); count > 0; --count) {
    static const size_t kSizes[] = {0, 1, 2, 3, 4, 7, 8, 12, 16, 31, 48, 64, 100, 255, 256, 1000, 4096};
    const size_t size =
        input.ConsumeBool() ? input.PickValueInArray(kSizes) : input.ConsumeIntegralInRange<size_t>(0, 600);
    refhost::MemoryBlock* block = host.NewMemoryBlock(size);
    const auto seed = input.ConsumeIntegral<uint8_t>();
    for (size_t i = 0; i < size; ++i) block->data()[i] = static_cast<uint8_t>(seed + i * 37);
    objects.blocks.push_back(block);
    objects.described[block] = "block #" + std::to_string(block->id()) + " of " + std::to_string(size) + " bytes";
  }
  for (int count = input.ConsumeIntegralInRange(0, 3); count > 0; --count) {
    static const size_t kLengths[] = {0, 1, 2, 255, 256, 257, 300};
    std::vector<int32_t> values(input.ConsumeBool() ? input.PickValueInArray(kLengths)
                                                    : input.ConsumeIntegralInRange<size_t>(0, 300));
    const auto seed = input.ConsumeIntegral<uint32_t>();
    for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<int32_t>(seed * (i + 1) ^ (i * 7));
    objects.arrays.push_back(host.NewIntArray(values));
    objects.described[objects.arrays.back()] =
        "array #" + std::to_string(objects.arrays.back()->id()) + " of " + std::to_string(values.size());
  }
  return objects;
}

int32_t DecodeInteger(FuzzedDataProvider& input) {
  static const int32_t kEdges[] = {
      0,     1,     -1,    2,      3,     4,       8,         255,       256,           -2,
      32767, 32768, 65535, -10000, 65536, 1 << 30, INT32_MAX, INT32_MIN, INT32_MAX - 1, INT32_MIN + 1};
  switch (input.ConsumeIntegralInRange(0, 3)) {
    case 0:
      return input.PickValueInArray(kEdges);
    case 1:
      return input.ConsumeIntegral<int32_t>();
    case 2:
      return input.ConsumeIntegralInRange(-4, 40);
    default:
      return input.ConsumeIntegralInRange(0, 12);
  }
}

// Calls of the registered methods until the input runs out or one breaks a rule.
class CallRunner {
 public:
  CallRunner(refhost::Host& host, FuzzedDataProvider& input, ProgramObjects& objects, bool echo)
      : host_(host), input_(input), objects_(objects), echo_(echo) {
    static const std::unordered_map<std::string, int> numbers = [] {
      std::unordered_map<std::string, int> byDeclaration;
      for (int number = 1; number <= pixeltest::kMethodCount; ++number)
        byDeclaration[pixeltest::DeclarationOf(number)] = number;
      return byDeclaration;
    }();
    for (const auto* methods : {&host.picture_methods(), &host.global_methods()})
      for (const refhost::RegisteredMethod& method : *methods)
        registered_.push_back({numbers.at(method.declaration), &method});
    // At every yield the copies running hold their locks; calls that a copy asked for at its
    // first yield run there, as a host runs its event loop, one level deep.
    host.on_yield = [this] {
      CheckLocks();
      if (depth_ > 0 || pending_ == 0) return;
      const int count = pending_;
      pending_ = 0;
      ++depth_;
      for (int i = 0; i < count && RunOne(true); ++i) {}
      --depth_;
    };
  }
  ~CallRunner() { host_.on_yield = nullptr; }

  // The first rule a call broke, or empty.
  std::string Run() {
    for (int call = 0; call < kMostCalls && RunOne(false); ++call) {}
    return broken_;
  }

 private:
  // An argument for each parameter: an object of the program or nil, a number, or a source
  // made to fit (its caller vouches for a Ptr: exactly the bytes read, ending at a guard
  // page; one byte where nothing is read).
  void Decode(pixeltest::MethodCall& call, const refhost::Parameter& param) {
    if (param.type == ParamType::Integer || param.type == ParamType::Boolean) {
      call.args[param.name] =
          std::to_string(param.type == ParamType::Integer ? DecodeInteger(input_) : input_.ConsumeIntegral<uint8_t>());
    } else if (param.type == ParamType::Ptr) {
      if (input_.ConsumeIntegralInRange(0, 7) == 0) call.args[param.name] = "nil";
    } else if (param.name != "source" || input_.ConsumeBool()) {
      const std::vector<refhost::Object*>& objects = param.type == ParamType::Picture       ? objects_.pictures
                                                     : param.type == ParamType::MemoryBlock ? objects_.blocks
                                                                                            : objects_.arrays;
      const size_t choice = input_.ConsumeIntegralInRange<size_t>(0, objects.size());
      call.objects[param.name] = choice < objects.size() ? objects[choice] : nullptr;
    }
  }

  // The call as the case tables spell it, with the program's objects described.
  std::string Describe(const pixeltest::MethodCall& call) const {
    std::string text = std::to_string(call.number);
    for (const auto& [name, value] : call.args) text += " " + name + "=" + value;
    for (const auto& [name, object] : call.objects)
      text += " " + name + "=" + (object ? "(" + objects_.described.at(object) + ")" : "nil");
    return text;
  }

  // False when the input ran out or a rule broke.
  bool RunOne(bool nested) {
    if (!broken_.empty() || input_.remaining_bytes() == 0 || registered_.empty()) return false;
    static const refhost::Parameter kReceiver{"picture", ParamType::Picture, std::nullopt};
    const auto [number, method] = registered_[input_.ConsumeIntegralInRange<size_t>(0, registered_.size() - 1)];
    pixeltest::MethodCall call;
    call.number = number;
    if (number <= pixeltest::kCopyCount) Decode(call, kReceiver);
    for (const refhost::Parameter& param : method->parsed.params) Decode(call, param);
    const auto integer = [&](const char* name) { return call.args.count(name) ? std::stoll(call.args[name]) : 0; };
    const int64_t read = refhost::SourceBytesRead(method->parsed.name, integer("offset"), integer("width"),
                                                  integer("height"), integer("PixelByteSize"));
    const bool madeToFit =
        number > pixeltest::kCopyCount && !call.args.count("source") && !call.objects.count("source");
    if (madeToFit && (read < 0 || integer("width") > kLargestNewPicture || integer("height") > kLargestNewPicture))
      call.args["source"] = "1";
    if (!nested) {
      pending_ = input_.ConsumeIntegralInRange(0, 2);
      const auto now = input_.ConsumeIntegral<uint32_t>();
      setClock_(now, static_cast<int32_t>(now));
    }
    call.spare = true;
    call.keepPixels = false;
    // A picture made during a yield belongs to the yielding call's account: only the others are kept.
    call.keepReturned = !nested;
    if (nested) NoteWrites(call);
    const char* prefix = nested ? "  during a yield: " : "";
    if (echo_) fprintf(stderr, "%s%s\n", prefix, Describe(call).c_str());
    if (madeToFit && !call.args.count("source") && read > kLargestSource) {
      if (echo_) fprintf(stderr, "%s  not called: its caller can't back a source that large\n", prefix);
    } else {
      if (number <= pixeltest::kCopyCount) running_.push_back(&call);
      const pixeltest::CallOutcome outcome = pixeltest::RunCall(host_, call);
      if (number <= pixeltest::kCopyCount) running_.pop_back();
      for (const auto* rules : {&outcome.broken, &outcome.result.problems})
        for (const std::string& rule : *rules) broken_ += (broken_.empty() ? "" : "; ") + rule;
      if (outcome.kept != nullptr) {
        objects_.pictures.push_back(outcome.kept);
        objects_.described[outcome.kept] =
            "picture #" + std::to_string(outcome.kept->id()) + " made by " + std::to_string(number);
      }
      if (echo_)
        fprintf(stderr, "%s  -> %s%s\n", prefix,
                outcome.result.called ? (outcome.failed ? "failed" : "done") : outcome.result.error.c_str(),
                outcome.exception.empty() ? "" : (", raised " + outcome.exception).c_str());
    }
    if (!nested) pending_ = 0;
    return broken_.empty();
  }

  // A picture is read directly, and locked while a copy reads it, where the host says which
  // kind it is and the picture lends its pixels as that kind wants them (a bitmap on a desktop
  // host, a true-colour image or a rendering of one elsewhere); else it may be read through a
  // copy the host draws.
  bool ReadDirectly(const refhost::Object* object) const {
    const auto* picture = static_cast<const refhost::Picture*>(object);
    const refhost::HostConfig& config = host_.config();
    if (picture == nullptr || picture->setup().refuse_locks || !pixeltest::Answers(config, "pluginObjectType"))
      return false;
    const refhost::PictureKind kind = picture->setup().kind;
    return config.kind == refhost::HostKind::Desktop
               ? kind == refhost::PictureKind::Bitmap
               : kind == refhost::PictureKind::TrueColor || config.lend_true_color;
  }

  // Each copy running holds one pixel lock on each picture it reads directly, on top of
  // those of the copies it runs in.
  void CheckLocks() {
    std::map<refhost::Object*, int> held;
    for (const pixeltest::MethodCall* copy : running_)
      for (const char* name : {"picture", "MaskForAlpha"}) {
        const auto given = copy->objects.find(name);
        if (given != copy->objects.end() && ReadDirectly(given->second)) ++held[given->second];
      }
    for (const auto& [picture, locks] : held)
      if (picture->locks() != locks && broken_.empty())
        broken_ = "at a yield " + objects_.described.at(picture) + " holds " + std::to_string(picture->locks()) +
                  " pixel locks, not " + std::to_string(locks);
  }

  // The oracle can't know what a copy leaves when a call run during its yield writes its
  // block or a picture it reads, nor what that call leaves in a picture the copy holds open
  // (which the host may show only once the copy lets it go): both are then held to the rules
  // alone (MethodCall::shared).
  void NoteWrites(pixeltest::MethodCall& nested) {
    pixeltest::MethodCall& yielding = *running_.front();
    for (const char* written : {"destination", "dest"}) {
      const auto object = nested.objects.find(written);
      if (object == nested.objects.end() || object->second == nullptr) continue;
      for (const auto& [name, mine] : yielding.objects)
        if (mine == object->second) yielding.shared = nested.shared = true;
    }
  }

  refhost::Host& host_;
  FuzzedDataProvider& input_;
  ProgramObjects& objects_;
  bool echo_;
  std::vector<std::pair<int, const refhost::RegisteredMethod*>> registered_;
  void (*setClock_)(uint32_t,
                    int32_t) = reinterpret_cast<void (*)(uint32_t, int32_t)>(host_.Symbol("PixelbridgeProbeSetClock"));
  std::string broken_;
  int depth_ = 0, pending_ = 0;
  std::vector<pixeltest::MethodCall*> running_;  // the copies running, outermost first
};

// The input's host, objects and calls; the first rule a call broke, or empty. `echo` shows
// the host and each call on stderr.
std::string RunInput(const uint8_t* data, size_t size, bool echo) {
  if (gKernels.row >= 0) gKernels.MakeWith(gChooseAs);
  FuzzedDataProvider input(data, size);
  const std::string line = DecodeHost(input);
  if (echo) fprintf(stderr, "%s\n", line.c_str());
  std::string broken;
  {
    refhost::HostConfig config = pixeltest::ParseHost(line, PIXELBRIDGE_PROBE);
    config.quiet = true;
    refhost::Host host(config);
    std::string error;
    if (!host.Load(&error)) {
      fprintf(stderr, "pixelbridge_fuzz: %s\n", error.c_str());
      abort();
    }
    ProgramObjects objects = DecodeObjects(input, host);
    broken = CallRunner(host, input, objects, echo).Run();
  }
  gReset();  // and gives back what the entry point allocated, within the input
  return broken;
}

}  // namespace

// For the corpus replay: the choices of kernels there are, and the one every input makes
// from now on.
std::vector<pixeltest::KernelChoice> FuzzKernelChoices() {
  const std::vector<pixeltest::KernelChoice> choices = pixeltest::KernelChoices(gChooseAs);
  gReset();
  return choices;
}
void FuzzChooseKernels(const pixeltest::KernelChoice& choice) { gKernels = choice; }

// Allocations keep no stack: the host and the checks allocate at every call, and recording
// where costs a fifth of the fuzzer's time. ASAN_OPTIONS=malloc_context_size=30 brings the
// stacks back when reproducing a crash. A sanitizer's report ends in abort, as a broken rule
// does, so that the corpus replay names the input.
extern "C" const char* __asan_default_options() { return "malloc_context_size=0:abort_on_error=1"; }

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  std::string error;
  void* probe = refhost::os::LoadPlugin(PIXELBRIDGE_PROBE, &error);
  if (probe != nullptr) {
    gReset = reinterpret_cast<void (*)()>(refhost::os::PluginSymbol(probe, "PixelbridgeProbeReset"));
    gChooseAs =
        reinterpret_cast<pixeltest::ChooseKernels>(refhost::os::PluginSymbol(probe, "PixelbridgeProbeChooseAs"));
  }
  if (gReset == nullptr) {
    fprintf(stderr, "pixelbridge_fuzz: no probe reset in %s %s\n", PIXELBRIDGE_PROBE, error.c_str());
    exit(1);
  }
  gReset();  // keeps the tables as loaded
  return 0;
}

// PIXELBRIDGE_FUZZ_ECHO=1 shows every input's host and calls; an input with a call that
// broke a rule runs again with them shown.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const bool echo = getenv("PIXELBRIDGE_FUZZ_ECHO") != nullptr;
  const std::string broken = RunInput(data, size, echo);
  if (broken.empty()) return 0;
  if (!echo) RunInput(data, size, true);
  fprintf(stderr, "pixelbridge_fuzz: the last call shown broke a rule: %s\n", broken.c_str());
  abort();
}
