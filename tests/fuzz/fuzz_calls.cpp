// Decoding calls, running them (some inside another call's yield) and checking each.
#include "tests/fuzz/fuzz_calls.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <map>
#include <sstream>

#include "tests/support/call_rules.h"

using refhost::Arg;
using refhost::CallResult;
using refhost::MemoryBlock;
using refhost::ParamType;
using refhost::Picture;
using refhost::RegisteredMethod;
using refhost::Rgba;

namespace pixelfuzz {
namespace {

constexpr int kMostCalls = 32;
constexpr size_t kMostPictures = 8;
constexpr int64_t kLargestNewPicture = 32767;
constexpr int64_t kLargestPtrSource = 1 << 20;  // what the fuzzer backs a Ptr with, at most
constexpr int64_t kLargestKeptPicture = 4096;   // pixels of a returned picture kept for later calls

int32_t DecodeInteger(FuzzedDataProvider& input) {
  static const int32_t kEdges[] = {0,     1,     -1,    2,         3,         4,             8,
                                   255,   256,   -2,    32767,     32768,     65535,         -10000,
                                   65536, 1 << 30, INT32_MAX, INT32_MIN, INT32_MAX - 1, INT32_MIN + 1};
  switch (input.ConsumeIntegralInRange(0, 3)) {
    case 0: return input.PickValueInArray(kEdges);
    case 1: return input.ConsumeIntegral<int32_t>();
    case 2: return input.ConsumeIntegralInRange(-4, 40);
    default: return input.ConsumeIntegralInRange(0, 12);
  }
}

std::vector<Rgba> PixelsOf(const Picture& picture) {
  std::vector<Rgba> pixels;
  for (int32_t y = 0; y < picture.height(); ++y)
    for (int32_t x = 0; x < picture.width(); ++x) pixels.push_back(picture.GetPixel(x, y));
  return pixels;
}

std::string DescribeBlock(const MemoryBlock& block) {
  return "block #" + std::to_string(block.id()) + " of " + std::to_string(block.size()) + " bytes";
}

// One call ready to run: its arguments, what was made for them and what it may touch.
struct Prepared {
  const RegisteredMethod* method = nullptr;
  std::vector<Arg> args;
  std::vector<std::string> shown;  // the arguments in words
  std::vector<refhost::Object*> made;
  std::map<std::string, int32_t> integers;  // by parameter name
  MemoryBlock* written = nullptr;           // a copy's destination block
  std::vector<uint8_t> writtenBefore;
  Picture* dest = nullptr;
  std::vector<Rgba> destBefore;
  bool unbacked = false;  // its Ptr would need more bytes than the fuzzer backs it with
};

class CallRunner {
 public:
  CallRunner(refhost::Host& host, FuzzedDataProvider& input, ProgramObjects objects, bool echo)
      : host_(host), input_(input), objects_(std::move(objects)), echo_(echo) {
    for (const RegisteredMethod& method : host.picture_methods()) methods_.push_back({&method, true});
    for (const RegisteredMethod& method : host.global_methods()) methods_.push_back({&method, false});
    // Calls that a copy asked for at its first yield run there, as a host runs its event
    // loop; one level deep.
    host.on_yield = [this] {
      if (depth_ > 0 || pendingNested_ == 0) return;
      const int count = pendingNested_;
      pendingNested_ = 0;
      nestedRan_ = true;
      ++depth_;
      for (int i = 0; i < count && RunOne(true); ++i) {
      }
      --depth_;
    };
  }
  ~CallRunner() { host_.on_yield = nullptr; }

  std::string Run() {
    for (int call = 0; call < kMostCalls && RunOne(false); ++call) {
    }
    if (broken_.empty()) return "";
    std::string report = broken_ + "\ncalls:";
    for (const std::string& line : trace_) report += "\n  " + line;
    return report;
  }

 private:
  // False when the input ran out or a rule broke.
  bool RunOne(bool nested) {
    if (!broken_.empty() || input_.remaining_bytes() == 0 || methods_.empty()) return false;
    const auto& chosen = methods_[input_.ConsumeIntegralInRange<size_t>(0, methods_.size() - 1)];
    Prepared call = Prepare(*chosen.first, chosen.second);
    if (!nested) {
      pendingNested_ = input_.ConsumeIntegralInRange(0, 2);
      nestedRan_ = false;
    }
    trace_.push_back(std::string(nested ? "  during a yield: " : "") + Describe(call));
    if (call.unbacked) {
      trace_.back() += " (not called: its caller can't back the Ptr)";
    } else {
      const size_t line = trace_.size() - 1;
      CallResult result = host_.Call(call.method->declaration, call.args);
      trace_[line] += " -> " + DescribeResult(result);
      const std::vector<std::string> broken = Check(call, result, nested || !nestedRan_);
      for (const std::string& rule : broken) broken_ += (broken_.empty() ? "" : "; ") + rule;
      Keep(static_cast<Picture*>(result.picture), call.dest, nested);
      if (echo_) fprintf(stderr, "%s\n", trace_[line].c_str());
    }
    for (refhost::Object* object : call.made) host_.Release(object);
    if (!nested) pendingNested_ = 0;
    return broken_.empty();
  }

  Prepared Prepare(const RegisteredMethod& method, bool ofPicture) {
    Prepared call;
    call.method = &method;
    std::vector<refhost::Parameter> params = method.parsed.params;
    if (ofPicture) params.insert(params.begin(), {"(receiver)", ParamType::Picture, std::nullopt});
    std::vector<size_t> pointers;
    for (const refhost::Parameter& param : params) {
      switch (param.type) {
        case ParamType::Picture: {
          Picture* picture = PickOrNil(input_, objects_.pictures);
          if (param.name == "dest") call.dest = picture;
          call.args.push_back(picture);
          call.shown.push_back(picture ? DescribePicture(*picture) : "nil");
          break;
        }
        case ParamType::MemoryBlock: {
          MemoryBlock* block = PickOrNil(input_, objects_.blocks);
          if (block == nullptr && input_.ConsumeBool()) call.made.push_back(block = DecodeBlock(input_, host_));
          if (param.name == "destination") call.written = block;
          call.args.push_back(block);
          call.shown.push_back(block ? DescribeBlock(*block) : "nil");
          break;
        }
        case ParamType::Ptr:
          if (input_.ConsumeIntegralInRange(0, 7) != 0) pointers.push_back(call.args.size());
          call.args.push_back(Arg::Ptr(nullptr));
          call.shown.push_back("nil");
          break;
        case ParamType::Integer:
          call.args.push_back(call.integers[param.name] = DecodeInteger(input_));
          call.shown.push_back(param.name + " " + std::to_string(call.integers[param.name]));
          break;
        case ParamType::Boolean: {
          const int byte = input_.ConsumeIntegral<uint8_t>();
          call.args.push_back(Arg::Bool(byte));
          call.shown.push_back(param.name + " " + std::to_string(byte));
          break;
        }
        case ParamType::IntegerArray: {
          refhost::IntArray* array = PickOrNil(input_, objects_.arrays);
          call.args.push_back(array);
          call.shown.push_back(array ? "array #" + std::to_string(array->id()) + " of " +
                                           std::to_string(array->values().size())
                                     : "nil");
          break;
        }
      }
    }
    for (size_t at : pointers) BackPointer(call, at);
    if (call.written != nullptr) call.writtenBefore.assign(call.written->data(), call.written->data() + call.written->size());
    if (call.dest != nullptr && int64_t{call.dest->width()} * call.dest->height() <= kLargestKeptPicture)
      call.destBefore = PixelsOf(*call.dest);
    return call;
  }

  // A Ptr carries no size: its caller vouches for the bytes the method reads, so the fuzzer
  // backs it with exactly those, ending at a guard page. Where nothing may be read (the
  // arguments are refused, or no picture that large can be made) one byte backs it.
  void BackPointer(Prepared& call, size_t at) {
    const int32_t width = call.integers["width"], height = call.integers["height"];
    const int32_t pixelByteSize = call.integers.count("PixelByteSize") ? call.integers["PixelByteSize"] : 1;
    int64_t size = pixeltest::SourceBytesRead(call.method->parsed.name, call.integers["offset"], width, height,
                                              pixelByteSize);
    if (size < 0 || width > kLargestNewPicture || height > kLargestNewPicture) size = 1;
    if (size > kLargestPtrSource) {
      call.unbacked = true;
      return;
    }
    MemoryBlock* backing = host_.NewMemoryBlock(static_cast<size_t>(size), 0xC6);
    call.made.push_back(backing);
    call.args[at] = Arg::Ptr(backing->data());
    call.shown[at] = "Ptr to " + std::to_string(size) + " bytes";
  }

  // The rules of every call, and what it may write: a copy that fails writes nothing, one
  // that succeeds nothing before its offset; a returned picture is the destination (large
  // enough) or a new one of the size asked for; a failed call leaves its destination alone.
  // `alone` is false for a call during which others ran, which may have written anything.
  std::vector<std::string> Check(const Prepared& call, const CallResult& result, bool alone) const {
    std::vector<std::string> broken = pixeltest::BrokenRules(result);
    broken.insert(broken.end(), result.problems.begin(), result.problems.end());
    const bool failed = pixeltest::Failed(result);
    if (call.written != nullptr && alone) {
      const int32_t offset = std::max(call.integers.at("offset"), 0);
      const size_t kept = failed ? call.written->size() : std::min<size_t>(static_cast<size_t>(offset), call.written->size());
      if (!std::equal(call.writtenBefore.begin(), call.writtenBefore.begin() + kept, call.written->data()))
        broken.push_back(failed ? "failed, but wrote into the block" : "wrote before the offset");
    }
    if (auto* returned = static_cast<Picture*>(result.picture)) {
      const int32_t width = call.integers.at("width"), height = call.integers.at("height");
      const bool known = std::count(objects_.pictures.begin(), objects_.pictures.end(), returned) != 0;
      if (returned == call.dest ? returned->width() < width || returned->height() < height
                                : returned->width() != width || returned->height() != height || known)
        broken.push_back("returned " + DescribePicture(*returned) + " for " + std::to_string(width) + "x" +
                         std::to_string(height));
    }
    if (failed && !call.destBefore.empty() && PixelsOf(*call.dest) != call.destBefore)
      broken.push_back("failed, but changed its destination");
    return broken;
  }

  // A small new picture joins the program's objects; anything else is given back.
  void Keep(Picture* returned, Picture* dest, bool nested) {
    if (returned == nullptr) return;
    const bool small = int64_t{returned->width()} * returned->height() <= kLargestKeptPicture;
    if (!nested && returned != dest && small && objects_.pictures.size() < kMostPictures)
      objects_.pictures.push_back(returned);
    else
      host_.Release(returned);
  }

  static std::string Describe(const Prepared& call) {
    std::string text = call.method->parsed.name + "(";
    for (size_t i = 0; i < call.shown.size(); ++i) text += (i ? ", " : "") + call.shown[i];
    return text + ")";
  }

  static std::string DescribeResult(const CallResult& result) {
    std::string text = result.picture ? DescribePicture(*static_cast<Picture*>(result.picture))
                                      : (result.boolean ? "true" : "false/nil");
    for (const refhost::RaisedException& exception : result.exceptions)
      text += ", raised " + exception.class_name + " \"" + exception.message.value_or("") + "\"";
    if (!result.called) text += ", not called: " + result.error;
    return text;
  }

  refhost::Host& host_;
  FuzzedDataProvider& input_;
  ProgramObjects objects_;
  std::vector<std::pair<const RegisteredMethod*, bool>> methods_;  // and whether of "Picture"
  std::vector<std::string> trace_;
  std::string broken_;
  int depth_ = 0;
  int pendingNested_ = 0;
  bool nestedRan_ = false;
  bool echo_ = false;
};

}  // namespace

std::string RunCalls(refhost::Host& host, FuzzedDataProvider& input, ProgramObjects objects, bool echo) {
  return CallRunner(host, input, std::move(objects), echo).Run();
}

}  // namespace pixelfuzz
