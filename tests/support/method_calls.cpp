// Calls by number with named arguments, and what each must give.
#include "tests/support/method_calls.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <set>
#include <sstream>

#include "tests/support/call_rules.h"
#include "tests/support/host_fixture.h"

using refhost::Arg;
using refhost::HostKind;
using refhost::MemoryBlock;
using refhost::ParamType;
using refhost::Picture;
using refhost::PictureKind;
using refhost::PictureSetup;
using refhost::Rgba;

namespace pixeltest {
namespace {

constexpr uint8_t kFill = 0x5A;  // what a destination block holds before a call

Rgba ColourAt(int32_t x, int32_t y) {
  return Rgba{static_cast<uint8_t>(x * 37 + y * 5 + 1), static_cast<uint8_t>(200 - x * 11 - y * 3),
              static_cast<uint8_t>(x * 7 + y * 29 + 90), 0x77};
}
Rgba MaskAt(int32_t x, int32_t y) {
  return Rgba{static_cast<uint8_t>(x), static_cast<uint8_t>(x * 50 + y * 13), static_cast<uint8_t>(255 - y), 0x33};
}
// Source bytes; alpha bytes, which no method reads, are 0.
uint8_t SourceByte(size_t at) { return static_cast<uint8_t>(at * 53 + 17); }

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, separator);)
    if (!part.empty()) parts.push_back(part);
  return parts;
}

int32_t Integer(const std::string& text) { return static_cast<int32_t>(std::stoll(text, nullptr, 0)); }

PictureSetup SetupOf(const std::string& spec, HostKind host) {
  PictureSetup setup;
  if (host != HostKind::Desktop) setup.kind = PictureKind::TrueColor;
  const std::vector<std::string> parts = Split(spec, ':');
  if (sscanf(parts.at(0).c_str(), "%dx%d", &setup.width, &setup.height) != 2) ADD_FAILURE() << "picture " << spec;
  for (size_t i = 1; i < parts.size(); ++i) {
    const std::string& option = parts[i];
    const auto number = [&](const char* prefix) { return Integer(option.substr(strlen(prefix))); };
    if (option == "vector") setup.kind = PictureKind::Vector;
    else if (option == "truecolour") setup.kind = PictureKind::TrueColor;
    else if (option == "bitmap") setup.kind = PictureKind::Bitmap;
    else if (option == "alpha") setup.has_alpha = true;
    else if (option == "refuse") setup.refuse_locks = true;
    else if (option == "palette") setup.palette = true;
    else if (option == "noflag") setup.true_color_flag = false;
    else if (option.rfind("format", 0) == 0) setup.alpha_info = static_cast<uint32_t>(number("format"));
    else if (option.rfind("pad", 0) == 0) setup.row_padding = number("pad");
    else if (option.rfind("bpc", 0) == 0) setup.bits_per_component = static_cast<size_t>(number("bpc"));
    else ADD_FAILURE() << "unknown picture option " << option;
  }
  return setup;
}

std::vector<Rgba> PixelsOf(const Picture* picture) {
  std::vector<Rgba> pixels;
  for (int32_t y = 0; picture != nullptr && y < picture->height(); ++y)
    for (int32_t x = 0; x < picture->width(); ++x) pixels.push_back(picture->GetPixel(x, y));
  return pixels;
}

// What the call must give, as its line spells it.
struct Expected {
  enum Kind { kUnchecked, kWritten, kPicture, kDest, kFailed, kRaised } kind = kUnchecked;
  bool allLines = true;
  int32_t first = 0, last = -1;
  std::string exception;  // "Class: message"
  std::vector<std::pair<std::string, int>> counts;
};

Expected ParseExpected(const std::string& text) {
  Expected expected;
  const size_t bar = text.find(" | ");
  const std::string result = text.substr(0, bar);
  if (bar != std::string::npos)
    for (const std::string& count : Split(text.substr(bar + 3), ' '))
      expected.counts.push_back({count.substr(0, count.find('=')), Integer(count.substr(count.find('=') + 1))});
  if (result.empty()) return expected;
  if (result.find(": ") != std::string::npos) {
    expected.kind = Expected::kRaised, expected.exception = result;
  } else if (result == "picture" || result == "dest") {
    expected.kind = result == "dest" ? Expected::kDest : Expected::kPicture;
  } else if (result == "false" || result == "nil") {
    expected.kind = Expected::kFailed;
  } else if (result.rfind("true", 0) == 0) {
    expected.kind = Expected::kWritten;
    expected.allLines = result == "true";
    if (!expected.allLines && result != "true none" && sscanf(result.c_str(), "true %d..%d", &expected.first, &expected.last) != 2)
      ADD_FAILURE() << "lines of " << result;
  } else {
    ADD_FAILURE() << "no such result: " << result;
  }
  return expected;
}

// One call: its objects, the bytes and pixels it must leave, and the checks.
class Run {
 public:
  Run(refhost::Host& host, const MethodCall& call)
      : host_(host), call_(call), expected_(ParseExpected(call.expected)) {
    std::string error;
    parsed_ = *refhost::ParseDeclaration(DeclarationOf(call.number), &error);
    copy_ = call.number <= kCopyCount;
    if (copy_) params_.push_back({"picture", ParamType::Picture, std::nullopt});
    params_.insert(params_.end(), parsed_.params.begin(), parsed_.params.end());
    for (const auto& arg : call.args)
      if (!call.spare && std::none_of(params_.begin(), params_.end(), [&](auto& p) { return p.name == arg.first; }))
        ADD_FAILURE() << parsed_.name << " takes no " << arg.first;
  }

  CallOutcome Go() {
    std::vector<Arg> args;
    for (const refhost::Parameter& param : params_) args.push_back(Argument(param));
    if (copy_) ExpectCopy(); else ExpectPicture();
    for (size_t i = 0; i < params_.size(); ++i)
      if (params_[i].type == ParamType::MemoryBlock || params_[i].type == ParamType::Ptr) args[i] = Block(params_[i]);
    const std::vector<Rgba> destBefore = PixelsOf(dest_);
    std::map<std::string, int> before;
    for (const auto& count : expected_.counts) before[count.first] = host_.CallCount(count.first);
    for (const char* name : {"newPicture", "RuntimeUBound", "REALLockPictureDescription"}) before[name] = host_.CallCount(name);

    CallOutcome outcome;
    outcome.result = host_.Call(DeclarationOf(call_.number), args);
    outcome.failed = Failed(outcome.result);
    for (const refhost::RaisedException& raised : outcome.result.exceptions)
      outcome.exception = raised.class_name + ": " + raised.message.value_or("(no message)");
    if (block_ != nullptr) outcome.bytes.assign(block_->data(), block_->data() + block_->size());
    auto* returned = static_cast<Picture*>(outcome.result.picture);
    for (const Rgba& pixel : PixelsOf(returned)) outcome.bytes.insert(outcome.bytes.end(), {pixel.r, pixel.g, pixel.b, pixel.a});
    outcome.bytes.push_back(returned != nullptr && returned == dest_);
    const std::vector<Rgba> destAfter = PixelsOf(dest_);
    outcome.untouched = (block_ == nullptr || std::all_of(block_->data(), block_->data() + block_->size(),
                                                          [](uint8_t byte) { return byte == kFill; })) &&
                        destAfter == destBefore;
    if (expected_.kind != Expected::kUnchecked) {
      SCOPED_TRACE(DeclarationOf(call_.number));
      Check(outcome, destBefore, destAfter);
      for (const auto& count : expected_.counts)
        EXPECT_EQ(host_.CallCount(count.first) - before[count.first], count.second) << count.first << " calls";
      if (expected_.kind == Expected::kRaised) {
        EXPECT_EQ(host_.CallCount("newPicture"), before["newPicture"]) << "a picture made before the exception";
        EXPECT_EQ(host_.CallCount("RuntimeUBound"), before["RuntimeUBound"]) << "tables read before the exception";
        EXPECT_TRUE((copy_ && expected_.exception.rfind("OutOfBounds", 0) == 0) ||
                    host_.CallCount("REALLockPictureDescription") == before["REALLockPictureDescription"])
            << "a picture opened before the exception";
      }
    }
    if (returned != nullptr) host_.Release(returned);
    for (refhost::Object* object : made_) host_.Release(object);
    return outcome;
  }

 private:
  std::string Text(const std::string& name) const {
    const auto found = call_.args.find(name);
    return found != call_.args.end() && Param(name) != nullptr ? found->second : "";
  }
  int32_t Int(const std::string& name) const {
    if (!Text(name).empty()) return Integer(Text(name));
    for (const refhost::Parameter& param : params_)
      if (param.name == name && param.default_value) return refhost::DefaultArg(param)->integer;
    return 0;
  }
  const refhost::Parameter* Param(const std::string& name) const {
    for (const refhost::Parameter& param : params_)
      if (param.name == name) return &param;
    return nullptr;
  }
  template <typename T>
  T* Made(T* object) {
    made_.push_back(object);
    return object;
  }

  // The argument for `param`; blocks, whose size depends on the rest, come later.
  Arg Argument(const refhost::Parameter& param) {
    const std::string text = Text(param.name);
    const auto given = call_.objects.find(param.name);
    switch (param.type) {
      case ParamType::Picture: {
        Picture*& picture = param.name == "MaskForAlpha" ? mask_ : param.name == "dest" ? dest_ : receiver_;
        if (given != call_.objects.end()) picture = static_cast<Picture*>(given->second);
        if (picture != nullptr || text.empty() || text == "nil") return picture;
        return picture = Made(NewPicture(host_, text, param.name == "MaskForAlpha"));
      }
      case ParamType::IntegerArray: {
        if (given != call_.objects.end()) return given->second;
        if (text == "nil") return nullptr;
        std::vector<int32_t> values;
        for (const std::string& value : Split(text == "empty" ? "" : text, ',')) values.push_back(Integer(value));
        arrays_[param.name] = values;
        return Made(host_.NewIntArray(values));
      }
      case ParamType::Integer: return Int(param.name);
      case ParamType::Boolean: return Arg::Bool(Int(param.name));
      default: return nullptr;
    }
  }

  // The destination block of a copy (filled with kFill), or the source: bytes by position,
  // but 0 for the alpha bytes that no method reads.
  Arg Block(const refhost::Parameter& param) {
    const bool ptr = param.type == ParamType::Ptr;
    if (Text(param.name) == "nil") return ptr ? Arg::Ptr(nullptr) : Arg(nullptr);
    MemoryBlock* block = Made(host_.NewMemoryBlock(BlockSize(param.name), kFill));
    const size_t offset = static_cast<size_t>(std::max(Int("offset"), 0)), bpp = letters_.size();
    for (size_t i = 0; !copy_ && i < block->size(); ++i)
      block->data()[i] = i >= offset && letters_[(i - offset) % bpp] == 'A' ? 0 : SourceByte(i);
    (copy_ ? block_ : source_) = block;
    return ptr ? Arg::Ptr(block->data()) : Arg(block);
  }
  size_t BlockSize(const std::string& name) const {
    const std::string text = Text(name);
    return static_cast<size_t>(std::max<int64_t>(text.empty() ? needed_ : text == "short" ? needed_ - 1 : Integer(text), 0));
  }

  // The layout of a copy's pixel: R, G, B, 'a' the alpha value, 'm' 255 − the mask's green,
  // 'x' left alone; a single letter is a channel, one sample every PixelByteSize bytes.
  void ExpectCopy() {
    letters_ = NameLetters(parsed_.name);
    const bool withAlpha = Param("LittleEndian") == nullptr || (Int("AlphaValue") >= 0 && Int("AlphaValue") <= 255);
    if (Param("LittleEndian") != nullptr) letters_ = Int("LittleEndian") != 0 ? "BGRA" : "ARGB";
    for (char& letter : letters_) {
      if (letter == 'X' || (letter == 'A' && !withAlpha)) letter = 'x';
      if (letter == 'A') letter = Param("MaskForAlpha") != nullptr ? 'm' : 'a';
    }
    const int64_t bpp = letters_.size() == 1 ? Int("PixelByteSize") : static_cast<int64_t>(letters_.size());
    const Picture* shape = mask_ != nullptr ? mask_ : receiver_;
    const int64_t lineBytes = shape != nullptr ? shape->width() * bpp : 0;
    const int64_t pitch = std::max<int64_t>(lineBytes, Int("DestRowBytes"));
    const int32_t first = expected_.allLines ? 0 : expected_.first;
    const int32_t last = expected_.allLines ? (shape != nullptr ? shape->height() - 1 : -1) : expected_.last;
    const int64_t lines = std::max(last - first + 1, 0);
    const int64_t offset = std::max(Int("offset"), 0);
    needed_ = lines > 0 ? offset + (lines - 1) * pitch + lineBytes : 16;
    if (expected_.kind != Expected::kWritten) return;
    bytes_.assign(BlockSize("destination"), kFill);
    const int32_t pixels = mask_ != nullptr ? std::min(mask_->width(), receiver_->width()) : receiver_->width();
    for (int32_t k = 0; k < lines; ++k) {
      const int32_t line = first + k, row = line < receiver_->height() ? line : 0;
      for (int32_t x = 0; x < pixels; ++x) {
        const Rgba colour = receiver_->GetPixel(x, row);
        uint8_t* at = &bytes_.at(static_cast<size_t>(offset + k * pitch + x * bpp));
        for (size_t i = 0; i < letters_.size() && i < static_cast<size_t>(bpp); ++i) {
          const char letter = letters_[i];
          if (letter == 'R') at[i] = colour.r;
          if (letter == 'G') at[i] = colour.g;
          if (letter == 'B') at[i] = colour.b;
          if (letter == 'a') at[i] = static_cast<uint8_t>(Int("AlphaValue"));
          if (letter == 'm') at[i] = static_cast<uint8_t>(255 - mask_->GetPixel(x, line).g);
        }
      }
    }
  }

  // Source bytes the name spells ("ARGB": alpha first, never read), or gray samples
  // PixelByteSize bytes apart, through a tint or tables.
  void ExpectPicture() {
    gray_ = parsed_.name.find("Gray") != std::string::npos;
    letters_ = gray_ ? "v" : Param("LittleEndian") != nullptr ? (Int("LittleEndian") != 0 ? "BGRA" : "ARGB")
                                                            : NameLetters(parsed_.name);
    const int64_t read = SourceBytesRead(parsed_.name, Int("offset"), Int("width"), Int("height"),
                                         gray_ ? Int("PixelByteSize") : 1);
    needed_ = read >= 0 && read < (int64_t{1} << 32) ? read : 16;
  }

  Rgba ExpectedPixel(int32_t x, int32_t y) {
    const int32_t width = Int("width"), height = Int("height");
    const uint8_t* source = source_->data() + Int("offset");
    if (!gray_) {
      const int32_t row = Int("FlipVertically") != 0 ? height - 1 - y : y;
      const uint8_t* pixel = source + (int64_t{row} * width + x) * static_cast<int64_t>(letters_.size());
      Rgba colour;
      for (size_t k = 0; k < letters_.size(); ++k) {
        if (letters_[k] == 'R') colour.r = pixel[k];
        if (letters_[k] == 'G') colour.g = pixel[k];
        if (letters_[k] == 'B') colour.b = pixel[k];
      }
      return colour;
    }
    const int v = source[(int64_t{y} * width + x) * Int("PixelByteSize")];
    uint8_t channel[3] = {uint8_t(v), uint8_t(v), uint8_t(v)};
    const char* names[] = {"Red", "Blue", "Green"};  // in declared order: red, green, blue
    for (int k = 0; k < 3; ++k) {
      const refhost::Parameter* param = Param(names[k]);
      // No table for a nil array, nor on a host that can't tell an array's bound.
      const std::vector<int32_t>& table = host_.config().missing.count("RuntimeUBound") ? arrays_[""] : arrays_[names[k]];
      if (param != nullptr && param->type == ParamType::IntegerArray)
        channel[k] = v < int(table.size()) ? uint8_t(std::clamp(table[size_t(v)], 0, 255)) : 0;
      else if (param != nullptr)  // v × factor / 256, truncated
        channel[k] = uint8_t(std::clamp<int64_t>(int64_t{v} * Int(names[k]) / 256, 0, 255));
    }
    return Rgba{channel[0], channel[1], channel[2], 255};
  }

  void Check(const CallOutcome& outcome, const std::vector<Rgba>& destBefore, const std::vector<Rgba>& destAfter) {
    ExpectBalanced(outcome.result);
    for (const std::string& rule : BrokenRules(outcome.result)) ADD_FAILURE() << rule;
    const bool succeeds = expected_.kind == Expected::kWritten || expected_.kind == Expected::kPicture ||
                          expected_.kind == Expected::kDest;
    EXPECT_EQ(outcome.failed, !succeeds);
    EXPECT_EQ(outcome.exception, expected_.exception);
    if (!succeeds) {
      EXPECT_TRUE(outcome.untouched) << "failed, but wrote";
      return;
    }
    if (copy_) {
      const auto differs = std::mismatch(bytes_.begin(), bytes_.end(), block_->data());
      if (differs.first != bytes_.end())
        ADD_FAILURE() << "byte " << (differs.first - bytes_.begin()) << " is " << int(*differs.second) << ", expected "
                      << int(*differs.first);
      return;
    }
    auto* picture = static_cast<Picture*>(outcome.result.picture);
    const int32_t width = Int("width"), height = Int("height");
    if (picture == nullptr) return;
    EXPECT_EQ(picture == dest_, expected_.kind == Expected::kDest);
    EXPECT_TRUE(picture == dest_ || (picture->width() == width && picture->height() == height)) << "its size";
    EXPECT_TRUE(picture != dest_ ? destAfter == destBefore : dest_->width() >= width && dest_->height() >= height);
    for (int32_t y = 0; y < picture->height(); ++y) {
      for (int32_t x = 0; x < picture->width(); ++x) {
        const bool inside = x < width && y < height;
        const Rgba want = inside ? ExpectedPixel(x, y) : destBefore.at(size_t(y) * picture->width() + x);
        if (picture->GetPixel(x, y) != want) {
          ADD_FAILURE() << "pixel " << x << "," << y << (inside ? "" : " past the source") << " differs";
          return;
        }
      }
    }
  }

  refhost::Host& host_;
  const MethodCall& call_;
  Expected expected_;
  refhost::Declaration parsed_;
  std::vector<refhost::Parameter> params_;
  bool copy_ = false, gray_ = false;
  std::string letters_;
  Picture *receiver_ = nullptr, *mask_ = nullptr, *dest_ = nullptr;
  MemoryBlock *block_ = nullptr, *source_ = nullptr;
  std::map<std::string, std::vector<int32_t>> arrays_;
  int64_t needed_ = 0;
  std::vector<uint8_t> bytes_;
  std::vector<refhost::Object*> made_;
};

}  // namespace

std::string DeclarationOf(int number) {
  static const std::vector<std::string> declarations = DataLines("declarations.txt");
  return declarations.at(static_cast<size_t>(number <= kCopyCount ? kMethodCount - kCopyCount + number - 1 : number - kCopyCount - 1));
}

MethodCall ParseCall(const std::string& line) {
  MethodCall call;
  const size_t arrow = line.find(" -> ");
  std::istringstream words(line.substr(0, arrow));
  words >> call.number;
  for (std::string word; words >> word;) call.args[word.substr(0, word.find('='))] = word.substr(word.find('=') + 1);
  if (arrow != std::string::npos) call.expected = line.substr(arrow + 4);
  return call;
}

CallOutcome RunCall(refhost::Host& host, const MethodCall& call) { return Run(host, call).Go(); }

Picture* NewPicture(refhost::Host& host, const std::string& spec, bool mask) {
  Picture* picture = host.NewPicture(SetupOf(spec, host.config().kind));
  for (int32_t y = 0; y < picture->height(); ++y)
    for (int32_t x = 0; x < picture->width(); ++x) picture->SetPixel(x, y, mask ? MaskAt(x, y) : ColourAt(x, y));
  return picture;
}

void RunCaseTable(const std::string& file) {
  std::vector<std::pair<refhost::HostConfig, std::vector<std::string>>> hosts;
  for (const std::string& line : DataLines(file)) {
    if (line.rfind("host ", 0) != 0) {
      hosts.back().second.push_back(line);
      continue;
    }
    const std::vector<std::string> words = Split(line, ' ');
    refhost::HostConfig config = PluginConfig(words.at(1) == "console" ? HostKind::Console
                                              : words[1] == "web"      ? HostKind::Web
                                                                       : HostKind::Desktop);
    for (size_t i = 2; i < words.size(); ++i) {
      const size_t equals = words[i].find('=');
      const std::string key = words[i].substr(0, equals), value = equals == std::string::npos ? "" : words[i].substr(equals + 1);
      std::set<std::string> names;
      for (const std::string& name : Split(value, ',')) names.insert(name);
      if (key == "version") config.version = std::stod(value);
      else if (key == "lacking") config.missing = names;
      else if (key == "failing") config.failing = names;
      else if (key == "classes") config.extra_classes = names;
      else if (key == "new-alpha") config.new_picture_alpha_info = static_cast<uint32_t>(Integer(value));
      else if (key == "no-draw") config.no_draw_method = true;
      else if (key == "lend") config.lend_true_color = true;
      else if (key == "refuse-new") config.new_pictures_refuse_locks = true;
      else ADD_FAILURE() << "unknown host option " << words[i];
    }
    hosts.push_back({config, {}});
  }
  for (const auto& host : hosts) {
    InHost(host.first, [&](refhost::Host& running) {
      for (const std::string& line : host.second) {
        SCOPED_TRACE(line);
        RunCall(running, ParseCall(line));
      }
    });
  }
}

}  // namespace pixeltest
