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

// Host functions that nothing may call before an exception (but a copy opens its picture
// before it finds its block too small).
const char* const kNotBeforeARaise[] = {"newPicture", "RuntimeUBound", "REALLockPictureDescription"};

}  // namespace

CallOutcome RunCall(refhost::Host& host, const MethodCall& call) {
  const BoundCall bound = Bind(call);
  const Expected& expected = bound.expected;
  CallObjects objects = MakeObjects(host, bound);
  refhost::MemoryBlock* written = bound.copy ? objects.block : nullptr;
  const auto blockBytes = [&] {
    return written ? std::vector<uint8_t>(written->data(), written->data() + written->size()) : std::vector<uint8_t>();
  };
  const std::vector<uint8_t> blockBefore = blockBytes();
  const std::vector<refhost::Rgba> destBefore = PixelsOf(objects.dest);
  // The oracle's account of what the call leaves is held to where the line says it succeeds
  // and, for lines without a result (the fuzzer's calls), wherever it succeeds. A copy's from
  // the pictures as they are before the call.
  const bool oracle = expected.Succeeds() || expected.kind == Expected::kUnchecked;
  const std::vector<uint8_t> copied =
      oracle && bound.copy ? ExpectedCopy(bound, objects, blockBefore) : std::vector<uint8_t>();
  std::map<std::string, int> callsBefore;
  for (const auto& [name, count] : expected.calls) callsBefore[name] = host.CallCount(name);
  for (const char* name : kNotBeforeARaise) callsBefore[HostFunctionNamed(name)] = host.CallCount(name);
  const size_t logged = expected.order.empty() ? 0 : host.CallNames().size();  // copied only when asked

  CallOutcome outcome;
  outcome.result = host.Call(DeclarationOf(call.number), objects.args);
  outcome.failed = !outcome.result.boolean && outcome.result.picture == nullptr;
  for (const refhost::RaisedException& raised : outcome.result.exceptions)
    outcome.exception = raised.class_name + ": " + raised.message.value_or("(no message)");
  auto* returned = static_cast<refhost::Picture*>(outcome.result.picture);
  outcome.bytes = blockBytes();
  for (const refhost::Rgba& pixel : PixelsOf(call.keepPixels ? returned : nullptr))
    outcome.bytes.insert(outcome.bytes.end(), {pixel.r, pixel.g, pixel.b, pixel.a});
  outcome.bytes.push_back(returned != nullptr && returned == objects.dest);
  const std::vector<refhost::Rgba> destAfter = PixelsOf(objects.dest);
  const bool untouched =
      std::equal(blockBefore.begin(), blockBefore.end(), outcome.bytes.begin()) && destAfter == destBefore;
  const auto rule = [&](bool kept, const std::string& broken) {
    if (!kept) outcome.broken.push_back(broken);
  };

  // The rules of every call.
  rule(outcome.result.called, outcome.result.error);
  rule(outcome.result.exceptions.size() <= 1, "more than one exception raised");
  for (const refhost::RaisedException& raised : outcome.result.exceptions) {
    rule(IsDocumented(raised), "undocumented exception " + outcome.exception);
    rule(raised.error_number.value_or(0) == 0, "ErrorNumber is not 0");
    rule(!raised.message || raised.message_encoding == kASCIIEncoding ||
             !Answers(host.config(), "REALSetStringEncoding"),
         "the message isn't tagged ASCII");
  }
  rule(outcome.exception.empty() || outcome.failed, "raised an exception but didn't fail");
  rule(call.shared || !outcome.failed || untouched, "failed, but wrote");
  const int32_t width = bound.Int("width"), height = bound.Int("height");
  const bool given =
      std::any_of(call.objects.begin(), call.objects.end(), [&](auto& o) { return o.second == returned; });
  rule(!returned || (returned == objects.dest ? returned->width() >= width && returned->height() >= height
                                              : returned->width() == width && returned->height() == height && !given),
       "returned a picture of another size, or one it was given");

  // What the line says it must give, with its references and locks.
  if (expected.kind != Expected::kUnchecked) {
    for (const std::string& problem : outcome.result.problems) rule(false, problem);
    rule(outcome.failed != expected.Succeeds(), expected.Succeeds() ? "failed" : "didn't fail");
    rule(outcome.exception == expected.exception, "raised \"" + outcome.exception + "\"");
    for (const auto& [name, count] : expected.calls)
      if (call.clockSet || name != "REALYieldToRB")
        rule(host.CallCount(name) - callsBefore[name] == count, name + " called otherwise");
    if (!expected.order.empty()) {
      // The host's kind is asked for at every open until a lock settles it: those lookups
      // belong to where the line stands, not to the call, unless the line names them.
      const bool kindNamed = ("," + expected.order + ",").find(",pluginObjectType,") != std::string::npos;
      const std::vector<std::string> names = host.CallNames();
      std::string called;
      for (size_t i = logged; i < names.size(); ++i)
        if (kindNamed || names[i] != "pluginObjectType") called += (called.empty() ? "" : ",") + names[i];
      rule(called == expected.order,
           "host functions called in another order: " + called + " instead of " + expected.order);
    }
    for (const char* name : kNotBeforeARaise)
      rule(expected.kind != Expected::kRaised || host.CallCount(name) == callsBefore[name] ||
               (bound.copy && name[0] == 'R' && expected.exception.rfind("OutOfBounds", 0) == 0),
           std::string(name) + " called before the exception");
  }
  // Where other calls run during this one wrote what it reads or writes, or the plug-in's
  // own state decides what it reads, the oracle can't know what it leaves: the rules above
  // alone hold.
  const bool checked = oracle && !outcome.failed && !call.shared && !objects.unknowable;
  if (checked && bound.copy) {
    const auto differs = std::mismatch(copied.begin(), copied.end(), outcome.bytes.begin());
    rule(differs.first == copied.end(), "byte " + std::to_string(differs.first - copied.begin()) + " differs");
  } else if (checked && returned != nullptr) {
    rule(expected.kind == Expected::kUnchecked || (returned == objects.dest) == (expected.kind == Expected::kDest),
         "the destination, or not");
    rule(returned == objects.dest || destAfter == destBefore, "a destination too small changed");
    const ExpectedPixels wanted(bound, objects, ArraysRead(host.config()));
    // A console host, or one that doesn't say its kind, may write a picture of another kind
    // through a true-colour rendering of it.
    const bool rendered =
        returned->setup().kind != refhost::PictureKind::TrueColor &&
        (host.config().kind != refhost::HostKind::Desktop || !Answers(host.config(), "pluginObjectType"));
    const auto firstWrongPixel = [&]() -> std::string {
      for (int32_t y = 0; y < returned->height(); ++y)
        for (int32_t x = 0; x < returned->width(); ++x) {
          const refhost::Rgba got = returned->GetPixel(x, y);
          if (x < width && y < height) {
            if (got != wanted(x, y)) return "pixel " + std::to_string(x) + "," + std::to_string(y);
          } else if (returned == objects.dest) {  // else another size, reported above
            const refhost::Rgba before = destBefore.at(size_t(y) * returned->width() + x);
            if (got != before && !(rendered && got == refhost::ThroughTrueColor(before)))
              return "pixel " + std::to_string(x) + "," + std::to_string(y) + " past the source";
          }
        }
      return "";
    };
    const std::string wrong = firstWrongPixel();
    rule(wrong.empty(), wrong + " differs");
  }
  if (call.keepReturned && returned != nullptr && !given && returned != objects.dest) outcome.kept = returned;
  else if (returned != nullptr) host.Release(returned);
  for (refhost::Object* object : objects.made) host.Release(object);
  return outcome;
}

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
