// pixelhost demo: the test card through every registered method and back, each round trip
// checked, the pictures written as PNGs for a person to look at.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <set>

#include "refhost/pixelhost/commands.h"
#include "refhost/pixelhost/files.h"
#include "refhost/pixelhost/method_traits.h"
#include "refhost/pixelhost/test_card.h"

namespace pixelhost {
namespace {

using refhost::Arg;
using refhost::Picture;
using refhost::RegisteredMethod;
using refhost::Rgba;

constexpr size_t kMethodCount = 50;
constexpr uint8_t kAlpha = 200;             // constant alpha of the copies
constexpr uint8_t kPad = 0x5A;              // what copies find in their blocks
constexpr uint8_t kJunk = 0xEE;             // source bytes that no method may use
constexpr int32_t kSourceOffset = 3;        // sources start unaligned
constexpr int32_t kDestMargin = 16;         // destinations are this much larger than the card
constexpr Rgba kDestFill{32, 64, 96, 255};  // what a destination holds outside the card
const int32_t kTint[3] = {256, 160, 64};    // factors for red, green and blue

uint8_t Channel(Rgba colour, char channel) { return channel == 'R' ? colour.r : channel == 'G' ? colour.g : colour.b; }
Rgba Gray(uint8_t value) { return {value, value, value, 255}; }
uint8_t Scale(uint8_t value, int32_t factor) { return static_cast<uint8_t>(std::min(value * factor / 256, 255)); }

std::vector<int32_t> Table(int channel) {
  std::vector<int32_t> table(256);
  for (int32_t i = 0; i < 256; ++i) table[i] = channel == 0 ? 255 - i : channel == 1 ? i : std::min(2 * i, 255);
  return table;
}

class Demo {
 public:
  Demo(Session& session, std::string out) : session_(session), host_(session.host()), out_(std::move(out)) {}

  // Prints one line a method and a summary; true when every round trip came back exact.
  bool Run();

 private:
  struct Outcome {
    std::string problem;
    size_t bytes = 0;
    double ms = 0;
  };
  Outcome Copy(const MethodTraits& traits, const std::string& png);
  Outcome Convert(const MethodTraits& traits, const std::string& png);
  // Reads a block back into a picture through the plug-in's method `name`, which takes
  // exactly `args`, and checks it.
  std::string ReadBack(const std::string& name, const NamedArgs& args, const ColourAt& expected,
                       const std::string& png);
  std::string Check(const refhost::CallResult& result, const ColourAt& expected, const std::string& png,
                    std::optional<Rgba> outside = std::nullopt);
  refhost::CallResult Timed(const RegisteredMethod& method, refhost::Object* receiver, const NamedArgs& args,
                            double* ms);
  std::string Save(const Picture& picture, const std::string& png);
  // Objects of one case, given back when it ends.
  template <typename T>
  T* Hold(T* object) {
    held_.push_back(object);
    return object;
  }
  void ReleaseHeld() {
    for (refhost::Object* object : held_) host_.Release(object);
    held_.clear();
  }

  Session& session_;
  refhost::Host& host_;
  std::string out_;
  Picture* card_ = nullptr;
  Picture* mask_ = nullptr;
  std::vector<refhost::Object*> held_;
};

refhost::CallResult Demo::Timed(const RegisteredMethod& method, refhost::Object* receiver, const NamedArgs& args,
                                double* ms) {
  const auto start = std::chrono::steady_clock::now();
  refhost::CallResult result = session_.Call(method, receiver, args);
  *ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  return result;
}

std::string Demo::Save(const Picture& picture, const std::string& png) {
#if PIXELBRIDGE_WITH_LIBGD
  try {
    SavePicture(picture, out_ + "/" + png);
  } catch (const Failure& error) {
    return error.what();
  }
#else
  (void)picture, (void)png;
#endif
  return "";
}

// The call's complaints, a missing or unexpected picture, or the first pixel that differs.
std::string Demo::Check(const refhost::CallResult& result, const ColourAt& expected, const std::string& png,
                        std::optional<Rgba> outside) {
  std::string complaints = Complaints(result);
  if (!complaints.empty()) return complaints.substr(0, complaints.find('\n'));
  auto* picture = dynamic_cast<Picture*>(result.picture);
  if (picture == nullptr) return "returned nil";
  Hold(picture);
  const std::string problem = ComparePicture(*picture, expected, outside);
  const std::string saved = Save(*picture, png);
  return problem.empty() ? saved : problem;
}

std::string Demo::ReadBack(const std::string& name, const NamedArgs& args, const ColourAt& expected,
                           const std::string& png) {
  std::set<std::string> params;
  for (const auto& arg : args) params.insert(arg.first);
  const RegisteredMethod* reader = session_.Find(name, params);
  if (reader == nullptr) return "no " + name + " to read it back";
  double ms = 0;
  return Check(Timed(*reader, nullptr, args, &ms), expected, png);
}

// Card → block through the method (bytes checked) → picture through the reader of its bytes.
Demo::Outcome Demo::Copy(const MethodTraits& traits, const std::string& png) {
  const std::string bytes = traits.Bytes();
  auto* block = Hold(host_.NewMemoryBlock(static_cast<size_t>(kCardWidth) * kCardHeight * bytes.size(), kPad));
  const NamedArgs args{{"destination", block},         {"offset", 0},
                       {"AlphaValue", kAlpha},         {"MaskForAlpha", mask_},
                       {"LittleEndian", Arg::Bool(1)}, {"PixelByteSize", kStride}};
  Outcome outcome;
  outcome.bytes = block->size();
  const refhost::CallResult result = Timed(*traits.method, card_, args, &outcome.ms);
  outcome.problem = Complaints(result);
  if (!outcome.problem.empty()) return outcome.problem.resize(outcome.problem.find('\n')), outcome;
  if (!result.boolean) return outcome.problem = "returned false", outcome;

  const bool masked = traits.Has("MaskForAlpha");
  const ByteAt alpha = [masked](int32_t x, int32_t y) {
    return masked ? static_cast<uint8_t>(255 - MaskColour(x, y).g) : kAlpha;
  };
  outcome.problem = CompareBytes(CardBytes(bytes, alpha, kPad), block->data());
  if (!outcome.problem.empty()) return outcome;
  const NamedArgs whole{{"source", block}, {"offset", 0}, {"width", kCardWidth}, {"height", kCardHeight}};
  // Samples `stride` bytes apart from `offset`, read as gray.
  const auto samples = [&whole](size_t offset, size_t stride) {
    NamedArgs args = whole;
    args.at("offset") = static_cast<int32_t>(offset);
    args.emplace("PixelByteSize", static_cast<int32_t>(stride));
    return args;
  };
  if (bytes.size() == static_cast<size_t>(kStride)) {  // one channel a sample
    const char channel = bytes[0];
    outcome.problem = ReadBack(
        "MemoryblockGrayToPictureQZV", samples(0, kStride),
        [channel](int32_t x, int32_t y) { return Gray(Channel(CardColour(x, y), channel)); }, png);
  } else {
    std::string reader = bytes;
    std::replace(reader.begin(), reader.end(), 'X', 'A');  // pad bytes sit where alpha is not read
    outcome.problem = ReadBack("Memoryblock" + reader + "toPictureQZV", whole, CardColour, png);
  }
  if (outcome.problem.empty() && masked)  // the alpha the mask gave, as gray
    outcome.problem = ReadBack(
        "MemoryblockGrayToPictureQZV", samples(bytes.find('A'), bytes.size()),
        [&alpha](int32_t x, int32_t y) { return Gray(alpha(x, y)); }, png.substr(0, png.size() - 4) + "-alpha.png");
  return outcome;
}

// Card in the method's bytes → picture through the method, compared with the card.
Demo::Outcome Demo::Convert(const MethodTraits& traits, const std::string& png) {
  const std::vector<uint8_t> source = CardBytes(
      traits.Bytes(), [](int32_t, int32_t) { return uint8_t{0}; }, kJunk);
  auto* block = Hold(host_.NewMemoryBlock(kSourceOffset + source.size(), kJunk));
  memcpy(block->data() + kSourceOffset, source.data(), source.size());
  Picture* dest = nullptr;
  if (traits.Has("dest"))
    dest = Hold(session_.NewPicture(kCardWidth + kDestMargin, kCardHeight + kDestMargin, kDestFill));
  const bool flip = traits.Has("FlipVertically") && dest == nullptr;
  NamedArgs args{{"dest", dest},
                 {"source", traits.fromPtr ? Arg::Ptr(block->data()) : Arg(block)},
                 {"offset", kSourceOffset},
                 {"width", kCardWidth},
                 {"height", kCardHeight},
                 {"FlipVertically", Arg::Bool(flip)},
                 {"LittleEndian", Arg::Bool(1)},
                 {"PixelByteSize", kStride},
                 {"Red", kTint[0]},
                 {"Blue", kTint[1]},
                 {"Green", kTint[2]}};
  const char* const arrays[] = {"Red()", "Blue()", "Green()"};  // they map red, green, blue
  for (int i = 0; i < 3; ++i) args.emplace(arrays[i], Hold(host_.NewIntArray(Table(i))));

  const bool gray = traits.layout == "Gray", tint = traits.Has("Red"), tables = traits.Has("Red()");
  const std::vector<int32_t> table[3] = {Table(0), Table(1), Table(2)};
  const ColourAt expected = [=](int32_t x, int32_t y) {
    const Rgba colour = CardColour(x, flip ? kCardHeight - 1 - y : y);
    if (!gray) return colour;
    const uint8_t v = colour.g;
    if (tint) return Rgba{Scale(v, kTint[0]), Scale(v, kTint[1]), Scale(v, kTint[2]), 255};
    if (tables)
      return Rgba{static_cast<uint8_t>(table[0][v]), static_cast<uint8_t>(table[1][v]),
                  static_cast<uint8_t>(table[2][v]), 255};
    return Gray(v);
  };
  Outcome outcome;
  outcome.bytes = source.size();
  const refhost::CallResult result = Timed(*traits.method, nullptr, args, &outcome.ms);
  if (dest != nullptr && result.picture != nullptr && result.picture != dest)
    return Hold(result.picture), outcome.problem = "made a new picture instead of writing the destination", outcome;
  outcome.problem = Check(result, expected, png, dest ? std::optional<Rgba>(kDestFill) : std::nullopt);
  return outcome;
}

bool Demo::Run() {
  const std::vector<const RegisteredMethod*> methods = session_.Methods();
  printf("pixelbridge demo: %s host %.7g, control version %d, test card %dx%d\n", session_.host_name().c_str(),
         host_.config().version, host_.control_version().value_or(0), kCardWidth, kCardHeight);
#if PIXELBRIDGE_WITH_LIBGD
  std::error_code error;
  std::filesystem::create_directories(out_, error);
  if (error) throw Failure("cannot make " + out_ + ": " + error.message());
#else
  printf("this build has no libgd: no PNGs are written\n");
#endif
  card_ = session_.NewPicture(kCardWidth, kCardHeight, Rgba{});
  mask_ = session_.NewPicture(kCardWidth, kCardHeight, Rgba{});
  for (int32_t y = 0; y < kCardHeight; ++y) {
    for (int32_t x = 0; x < kCardWidth; ++x) {
      card_->SetPixel(x, y, CardColour(x, y));
      mask_->SetPixel(x, y, MaskColour(x, y));
    }
  }
  const std::string saved = Save(*card_, "card.png") + Save(*mask_, "mask.png");
  if (!saved.empty()) throw Failure(saved);

  printf("%2s  %-64s %-6s %9s %11s  %s\n", "#", "method", "layout", "bytes", "time", "round trip");
  size_t exact = 0;
  for (size_t i = 0; i < methods.size(); ++i) {
    const RegisteredMethod& method = *methods[i];
    const std::optional<MethodTraits> traits = TraitsOf(method);
    Outcome outcome;
    if (!traits) outcome.problem = "not a method the demo knows";
    else if (traits->toMemory) outcome = Copy(*traits, traits->FileName(static_cast<int>(i + 1)));
    else outcome = Convert(*traits, traits->FileName(static_cast<int>(i + 1)));
    ReleaseHeld();
    exact += outcome.problem.empty();
    printf("%2zu  %-64s %-6s %9zu %8.2f ms  %s\n", i + 1, traits ? traits->Label().c_str() : method.parsed.name.c_str(),
           traits ? traits->Bytes().c_str() : "?", outcome.bytes, outcome.ms,
           outcome.problem.empty() ? "ok" : ("FAILED: " + outcome.problem).c_str());
  }
  printf("layout: one pixel's bytes in memory; X is a byte the method leaves alone\n");
  if (methods.size() != kMethodCount)
    printf("the plug-in registered %zu methods, not %zu\n", methods.size(), kMethodCount);
  printf("%zu of %zu methods round-trip exactly", exact, methods.size());
#if PIXELBRIDGE_WITH_LIBGD
  printf("; pictures in %s/", out_.c_str());
#endif
  printf("\n");
  return exact == methods.size() && methods.size() == kMethodCount;
}

int RunDemo(const CommandLine& line) {
  Session session(line);
  Demo demo(session, line.Text("--out", "pixelhost-demo"));
  return demo.Run() ? 0 : 1;
}

}  // namespace

Command DemoCommand() {
  return {"demo", "[--out DIR] " + std::string(kHostUsage), 0, WithHostOptions({"--out"}), {}, RunDemo};
}

}  // namespace pixelhost
