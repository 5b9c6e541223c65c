// A call run and checked: the rules every call keeps, and what its line says it must give.
#include <algorithm>

#include "host/host_function_list.h"
#include "tests/support/method_calls.h"

namespace pixeltest {
namespace {

// The plug-in's exception classes with their messages, spelled out here rather than taken
// from the plug-in, so that a changed message shows.
const std::pair<const char*, const char*> kDocumented[] = {
    {"NilObjectException", "Picture is nil"},
    {"NilObjectException", "Mask Picture is nil"},
    {"NilObjectException", "Memoryblock is nil"},
    {"UnsupportedOperationException", "width is too small. Must be >0."},
    {"UnsupportedOperationException", "height is too small. Must be >0."},
    {"UnsupportedOperationException", "offset is too small. Must be >=0."},
    {"UnsupportedOperationException", "PixelByteSize is too small. Must be >0."},
    {"OutOfBoundsException", "Memoryblock is too small."},
};

// One of them, or "RuntimeException" with any of their messages (the host couldn't make the
// class); no message when the host couldn't build or set one.
bool IsDocumented(const refhost::RaisedException& raised) {
  return std::any_of(std::begin(kDocumented), std::end(kDocumented), [&](const auto& documented) {
    return (raised.class_name == documented.first || raised.class_name == "RuntimeException") &&
           (!raised.message || *raised.message == documented.second);
  });
}

std::vector<refhost::Rgba> PixelsOf(const refhost::Picture* picture) {
  std::vector<refhost::Rgba> pixels;
  for (int32_t y = 0; picture != nullptr && y < picture->height(); ++y)
    for (int32_t x = 0; x < picture->width(); ++x) pixels.push_back(picture->GetPixel(x, y));
  return pixels;
}

std::vector<uint8_t> BytesOf(refhost::MemoryBlock* block) {
  return block ? std::vector<uint8_t>(block->data(), block->data() + block->size()) : std::vector<uint8_t>();
}

std::string PixelAt(int32_t x, int32_t y) { return "pixel " + std::to_string(x) + "," + std::to_string(y); }

// Host functions that nothing may call before an exception (but a copy opens its picture
// before it finds its block too small).
const char* const kNotBeforeARaise[] = {"newPicture", "RuntimeUBound", "REALLockPictureDescription"};

// One call: its objects, what they held before it, what it gave, and the rules it broke.
struct CheckedCall {
  refhost::Host& host;
  const MethodCall& call;
  const BoundCall bound = Bind(call);
  const Expected& expected = bound.expected;
  CallObjects objects = MakeObjects(host, bound);
  refhost::MemoryBlock* const written = bound.copy ? objects.block : nullptr;  // a copy's block
  // Before the call: the block, the oracle's account of it afterwards (held to where the line
  // says the call succeeds and, for lines without a result, the fuzzer's, wherever it does;
  // worked out from the pictures as they are now), the destination's pixels, counts of host
  // calls, the log and the oracle's verdict.
  const std::vector<uint8_t> blockBefore = BytesOf(written);
  const bool oracle = expected.Succeeds() || expected.kind == Expected::kUnchecked;
  const std::vector<uint8_t> copied = oracle && bound.copy ? ExpectedCopy(bound, objects, blockBefore) : blockBefore;
  const std::vector<refhost::Rgba> destBefore = PixelsOf(objects.dest);
  std::map<std::string, int> callsBefore = CallCounts();
  const size_t logged = expected.order.empty() ? 0 : host.CallNames().size();  // the log copied only when asked
  const std::optional<bool> verdict = MustSucceed(host.config(), bound, objects);
  // After it.
  CallOutcome outcome{};
  refhost::Picture* returned = nullptr;
  bool given = false;  // it returned an object it was given
  std::vector<refhost::Rgba> destAfter{};

  std::map<std::string, int> CallCounts() const {
    std::map<std::string, int> counts;
    for (const auto& [name, count] : expected.calls) counts[name] = host.CallCount(name);
    for (const char* name : kNotBeforeARaise) counts[HostFunctionNamed(name)] = host.CallCount(name);
    return counts;
  }

  void Rule(bool kept, const std::string& broken) {
    if (!kept) outcome.broken.push_back(broken);
  }

  CallOutcome Run() {
    outcome.result = host.Call(DeclarationOf(call.number), objects.args);
    outcome.failed = !outcome.result.boolean && outcome.result.picture == nullptr;
    for (const refhost::RaisedException& raised : outcome.result.exceptions)
      outcome.exception = raised.class_name + ": " + raised.message.value_or("(no message)");
    returned = static_cast<refhost::Picture*>(outcome.result.picture);
    given = returned != nullptr && std::any_of(call.objects.begin(), call.objects.end(),
                                               [&](const auto& object) { return object.second == returned; });
    destAfter = PixelsOf(objects.dest);
    CheckEveryCall();
    if (expected.kind != Expected::kUnchecked) CheckLine();
    // Where other calls run during this one wrote what it reads or writes, or the plug-in's
    // own state decides what it reads, the oracle can't know what it leaves: the rules above
    // alone hold.
    if (oracle && !outcome.failed && !call.shared && !objects.unknowable) CheckOracle();
    if (call.keepReturned && returned != nullptr && !given && returned != objects.dest) outcome.kept = returned;
    else if (returned != nullptr) host.Release(returned);
    for (refhost::Object* object : objects.made) host.Release(object);
    return outcome;
  }

  // The rules of every call: documented exceptions only, a failure result with each, nothing
  // written when it failed, the oracle's verdict, a returned picture of the size asked for
  // that it wasn't given (or the destination, at least as large).
  void CheckEveryCall() {
    Rule(outcome.result.called, outcome.result.error);
    Rule(outcome.result.exceptions.size() <= 1, "more than one exception raised");
    for (const refhost::RaisedException& raised : outcome.result.exceptions) {
      Rule(IsDocumented(raised), "undocumented exception " + outcome.exception);
      Rule(raised.error_number.value_or(0) == 0, "ErrorNumber is not 0");
      Rule(!raised.message || raised.message_encoding == kASCIIEncoding ||
               !Answers(host.config(), "REALSetStringEncoding"),
           "the message isn't tagged ASCII");
    }
    Rule(outcome.exception.empty() || outcome.failed, "raised an exception but didn't fail");
    Rule(call.shared || !outcome.failed || (BytesOf(written) == blockBefore && destAfter == destBefore),
         "failed, but wrote");
    // Whether it must succeed, the oracle can't know for a call marked shared during it.
    if (verdict && !call.shared)
      Rule(outcome.failed != *verdict, *verdict
                                           ? "failed on good arguments, on a host that serves them"
                                           : "succeeded, with arguments it refuses or on a host that can't serve it");
    if (returned == nullptr) return;
    const int32_t width = bound.Int("width"), height = bound.Int("height");
    Rule(returned == objects.dest ? returned->width() >= width && returned->height() >= height
                                  : returned->width() == width && returned->height() == height && !given,
         "returned a picture of another size, or one it was given");
  }

  // What the line says the call must give, with its references and locks.
  void CheckLine() {
    for (const std::string& problem : outcome.result.problems) Rule(false, problem);
    Rule(outcome.failed != expected.Succeeds(), expected.Succeeds() ? "failed" : "didn't fail");
    Rule(outcome.exception == expected.exception, "raised \"" + outcome.exception + "\"");
    for (const auto& [name, count] : expected.calls)
      if (call.clockSet || name != "REALYieldToRB")
        Rule(host.CallCount(name) - callsBefore[name] == count, name + " called otherwise");
    if (!expected.order.empty()) {
      // The host's kind is asked for at every open until a lock settles it: those lookups
      // belong to where the line stands, not to the call, unless the line names them.
      const bool kindNamed = ("," + expected.order + ",").find(",pluginObjectType,") != std::string::npos;
      const std::vector<std::string> names = host.CallNames();
      std::string called;
      for (size_t i = logged; i < names.size(); ++i)
        if (kindNamed || names[i] != "pluginObjectType") called += (called.empty() ? "" : ",") + names[i];
      Rule(called == expected.order,
           "host functions called in another order: " + called + " instead of " + expected.order);
    }
    for (const char* name : kNotBeforeARaise)
      Rule(expected.kind != Expected::kRaised || host.CallCount(name) == callsBefore[name] ||
               (bound.copy && name[0] == 'R' && expected.exception.rfind("OutOfBounds", 0) == 0),
           std::string(name) + " called before the exception");
  }

  // The oracle's account: a copy's whole block, the lines it writes and not one byte else; a
  // conversion's every pixel, and a destination's past the source as they were.
  void CheckOracle() {
    if (bound.copy) {
      const std::vector<uint8_t> block = BytesOf(written);
      const auto differs = std::mismatch(copied.begin(), copied.end(), block.begin(), block.end());
      Rule(differs.first == copied.end(), "byte " + std::to_string(differs.first - copied.begin()) + " differs");
      return;
    }
    if (returned == nullptr) return;
    Rule(expected.kind == Expected::kUnchecked || (returned == objects.dest) == (expected.kind == Expected::kDest),
         "the destination, or not");
    Rule(returned == objects.dest || destAfter == destBefore, "a destination too small changed");
    const std::string wrong = FirstWrongPixel();
    Rule(wrong.empty(), wrong + " differs");
  }

  std::string FirstWrongPixel() const {
    const ExpectedPixels wanted(bound, objects, ArraysRead(host.config()));
    const int32_t width = bound.Int("width"), height = bound.Int("height");
    // A console host, or one that doesn't say its kind, may write a picture of another kind
    // through a true-colour rendering of it.
    const bool rendered =
        returned->setup().kind != refhost::PictureKind::TrueColor &&
        (host.config().kind != refhost::HostKind::Desktop || !Answers(host.config(), "pluginObjectType"));
    for (int32_t y = 0; y < returned->height(); ++y)
      for (int32_t x = 0; x < returned->width(); ++x) {
        const refhost::Rgba got = returned->GetPixel(x, y);
        if (x < width && y < height) {
          if (got != wanted(x, y)) return PixelAt(x, y);
        } else if (returned == objects.dest) {  // else another size, reported with the rules of every call
          const refhost::Rgba before = destBefore.at(size_t(y) * returned->width() + x);
          if (got != before && !(rendered && got == refhost::ThroughTrueColor(before)))
            return PixelAt(x, y) + " past the source";
        }
      }
    return "";
  }
};

}  // namespace

CallOutcome RunCall(refhost::Host& host, const MethodCall& call) { return CheckedCall{host, call}.Run(); }

std::string KernelChoice::Name() const {
  return "kernel table row " + std::to_string(row) + ", SIMD level " + std::to_string(level);
}

bool KernelChoice::MakeWith(ChooseKernels choose) const { return choose(row, level, 512); }

std::vector<KernelChoice> KernelChoices(ChooseKernels choose) {
  std::vector<KernelChoice> choices;
  for (int row = 0; KernelChoice{row, 0}.MakeWith(choose); ++row)
    for (int level = 0; KernelChoice{row, level}.MakeWith(choose); ++level) choices.push_back({row, level});
  return choices;
}

}  // namespace pixeltest
