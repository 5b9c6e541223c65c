// Calls by number with named arguments, the rules every call keeps, and what each must give.
#include "tests/support/method_calls.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <string_view>

using refhost::Arg;
using refhost::MemoryBlock;
using refhost::ParamType;
using refhost::Picture;
using refhost::PictureKind;
using refhost::Rgba;

namespace pixeltest {
namespace {

constexpr uint8_t kFill = 0x5A;  // what a block made for a copy holds before it

Rgba ColourAt(int32_t x, int32_t y) {
  return Rgba{static_cast<uint8_t>(x * 37 + y * 5 + 1), static_cast<uint8_t>(200 - x * 11 - y * 3),
              static_cast<uint8_t>(x * 7 + y * 29 + 90), 0x77};
}
Rgba MaskAt(int32_t x, int32_t y) {
  return Rgba{static_cast<uint8_t>(x), static_cast<uint8_t>(x * 50 + y * 13), static_cast<uint8_t>(255 - y), 0x33};
}

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

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, separator);)
    if (!part.empty()) parts.push_back(part);
  return parts;
}

int32_t Integer(const std::string& text) { return static_cast<int32_t>(std::strtoll(text.c_str(), nullptr, 0)); }

refhost::PictureSetup SetupOf(const std::string& spelling, refhost::HostKind host) {
  refhost::PictureSetup setup;
  if (host != refhost::HostKind::Desktop) setup.kind = PictureKind::TrueColor;
  const std::vector<std::string> parts = Split(spelling, ':');
  if (parts.empty() || sscanf(parts[0].c_str(), "%dx%d", &setup.width, &setup.height) != 2)
    throw std::invalid_argument("picture " + spelling);
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
    else throw std::invalid_argument("picture option " + option);
  }
  return setup;
}

std::vector<Rgba> PixelsOf(const Picture* picture) {
  std::vector<Rgba> pixels;
  for (int32_t y = 0; picture != nullptr && y < picture->height(); ++y)
    for (int32_t x = 0; x < picture->width(); ++x) pixels.push_back(picture->GetPixel(x, y));
  return pixels;
}

// The bytes of a pixel as the method's name spells them: "CopyRGBAtoMemoryblockQZV" gives
// "RGBA", "CopyRtoMemoryblockQZV" "R", the gray methods "Gray".
std::string NameLetters(const std::string& method) {
  if (method.find("Gray") != std::string::npos) return "Gray";
  const size_t start = method.rfind("Copy", 0) == 0 ? 4 : method.rfind("Ptr", 0) == 0 ? 3 : strlen("Memoryblock");
  return method.substr(start, method.find("to", start) - start);
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
  if (result.find(": ") != std::string::npos) {
    expected.kind = Expected::kRaised, expected.exception = result;
  } else if (result == "picture" || result == "dest") {
    expected.kind = result == "dest" ? Expected::kDest : Expected::kPicture;
  } else if (result == "false" || result == "nil") {
    expected.kind = Expected::kFailed;
  } else if (result.rfind("true", 0) == 0) {
    expected.kind = Expected::kWritten;
    expected.allLines = result == "true";
    if (!expected.allLines && result != "true none" &&
        sscanf(result.c_str(), "true %d..%d", &expected.first, &expected.last) != 2)
      throw std::invalid_argument("lines of " + result);
  } else if (!result.empty()) {
    throw std::invalid_argument("result " + result);
  }
  return expected;
}

// The declaration of method `number`, a copy's receiver first among its parameters.
const refhost::Declaration& Parsed(int number) {
  static std::map<int, refhost::Declaration> parsed;
  refhost::Declaration& declaration = parsed[number];
  if (declaration.name.empty()) {
    std::string error;
    declaration = *refhost::ParseDeclaration(DeclarationOf(number), &error);
    if (number <= kCopyCount)
      declaration.params.insert(declaration.params.begin(), {"picture", ParamType::Picture, {}});
  }
  return declaration;
}

// One call: its objects, the bytes and pixels it must leave, and the checks.
class Run {
 public:
  Run(refhost::Host& host, const MethodCall& call)
      : host_(host),
        call_(call),
        expected_(ParseExpected(call.expected)),
        copy_(call.number <= kCopyCount),
        name_(Parsed(call.number).name),
        params_(Parsed(call.number).params),
        texts_(params_.size()),
        ints_(params_.size()) {
    // Each parameter's argument as spelled, and as an integer (else its default, or 0).
    for (const auto& [name, text] : call.args) {
      if (Index(name) >= 0) texts_[size_t(Index(name))] = &text;
      else if (!call.spare) throw std::invalid_argument(name_ + " takes no " + name);
    }
    for (size_t i = 0; i < params_.size(); ++i)
      ints_[i] = texts_[i]                  ? Integer(*texts_[i])
                 : params_[i].default_value ? refhost::DefaultArg(params_[i])->integer
                                            : 0;
    offset_ = Int("offset"), width_ = Int("width"), height_ = Int("height"), pixelByteSize_ = Int("PixelByteSize");
  }

  CallOutcome Go() {
    std::vector<Arg> args;
    args.reserve(params_.size());
    for (size_t i = 0; i < params_.size(); ++i) args.push_back(Argument(i));
    if (copy_) ExpectCopy();
    else ExpectPicture();
    for (size_t i = 0; i < params_.size(); ++i)
      if (params_[i].type == ParamType::MemoryBlock || params_[i].type == ParamType::Ptr) args[i] = Block(i);
    const std::vector<uint8_t> blockBefore = BlockBytes();
    const std::vector<Rgba> destBefore = PixelsOf(dest_);
    std::map<std::string, int> before;
    for (const auto& count : expected_.counts) before[count.first] = host_.CallCount(count.first);
    for (const char* name : {"newPicture", "RuntimeUBound", "REALLockPictureDescription"})
      if (expected_.kind == Expected::kRaised) before[name] = host_.CallCount(name);

    CallOutcome outcome;
    outcome.result = host_.Call(DeclarationOf(call_.number), std::move(args));
    outcome.failed = !outcome.result.boolean && outcome.result.picture == nullptr;
    for (const refhost::RaisedException& raised : outcome.result.exceptions)
      outcome.exception = raised.class_name + ": " + raised.message.value_or("(no message)");
    outcome.bytes = BlockBytes();
    auto* returned = static_cast<Picture*>(outcome.result.picture);
    for (const Rgba& pixel : PixelsOf(call_.keepPixels ? returned : nullptr))
      outcome.bytes.insert(outcome.bytes.end(), {pixel.r, pixel.g, pixel.b, pixel.a});
    outcome.bytes.push_back(returned != nullptr && returned == dest_);
    const std::vector<Rgba> destAfter = PixelsOf(dest_);
    outcome.untouched =
        std::equal(blockBefore.begin(), blockBefore.end(), outcome.bytes.begin()) && destAfter == destBefore;

    // The rules of every call.
    Expect(outcome.result.called, outcome.result.error);
    Expect(outcome.result.exceptions.size() <= 1, "more than one exception raised");
    for (const refhost::RaisedException& raised : outcome.result.exceptions) {
      Expect(IsDocumented(raised), "undocumented exception " + outcome.exception);
      Expect(raised.error_number.value_or(0) == 0, "ErrorNumber is not 0");
    }
    Expect(outcome.exception.empty() || outcome.failed, "raised an exception but didn't fail");
    Expect(call_.shared || !outcome.failed || outcome.untouched, "failed, but wrote");
    const size_t offset = std::min<size_t>(std::max(offset_, 0), blockBefore.size());
    Expect(call_.shared || outcome.failed ||
               std::equal(blockBefore.begin(), blockBefore.begin() + offset, outcome.bytes.begin()),
           "wrote before the offset");
    const bool given =
        std::any_of(call_.objects.begin(), call_.objects.end(), [&](auto& o) { return o.second == returned; });
    Expect(!returned || (returned == dest_ ? returned->width() >= width_ && returned->height() >= height_
                                           : returned->width() == width_ && returned->height() == height_ && !given),
           "returned a picture of another size, or one it was given");
    if (expected_.kind != Expected::kUnchecked) {
      for (const std::string& problem : outcome.result.problems) Expect(false, problem);
      Check(outcome, destBefore, destAfter);
      for (const auto& count : expected_.counts)
        Expect(host_.CallCount(count.first) - before[count.first] == count.second, count.first + " called otherwise");
      // Nothing made, read or opened before an exception (but a copy opens before it checks its block).
      for (const char* name : {"newPicture", "RuntimeUBound", "REALLockPictureDescription"})
        Expect(expected_.kind != Expected::kRaised || host_.CallCount(name) == before[name] ||
                   (copy_ && name[0] == 'R' && expected_.exception.rfind("OutOfBounds", 0) == 0),
               std::string(name) + " called before the exception");
    }
    outcome.broken = std::move(broken_);
    if (returned != nullptr) host_.Release(returned);
    for (refhost::Object* object : made_) host_.Release(object);
    return outcome;
  }

 private:
  void Expect(bool kept, const char* rule) {
    if (!kept) broken_.push_back(rule);
  }
  void Expect(bool kept, const std::string& rule) { Expect(kept, rule.c_str()); }
  int Index(std::string_view name) const {
    for (size_t i = 0; i < params_.size(); ++i)
      if (std::string_view(params_[i].name) == name) return int(i);
    return -1;
  }
  const std::string& Text(std::string_view name) const {
    static const std::string kNone;
    return Index(name) >= 0 && texts_[size_t(Index(name))] ? *texts_[size_t(Index(name))] : kNone;
  }
  int32_t Int(std::string_view name) const { return Index(name) >= 0 ? ints_[size_t(Index(name))] : 0; }
  std::vector<uint8_t> BlockBytes() const {
    return block_ ? std::vector<uint8_t>(block_->data(), block_->data() + block_->size()) : std::vector<uint8_t>();
  }
  template <typename T>
  T* Made(T* object) {
    made_.push_back(object);
    return object;
  }

  // The argument for parameter i; blocks, whose size depends on the rest, come later.
  Arg Argument(size_t i) {
    const refhost::Parameter& param = params_[i];
    static const std::string kNone;
    const std::string& text = texts_[i] ? *texts_[i] : kNone;
    const auto given = call_.objects.find(param.name);
    switch (param.type) {
      case ParamType::Picture: {
        Picture*& picture = param.name == "MaskForAlpha" ? mask_ : param.name == "dest" ? dest_ : receiver_;
        if (given != call_.objects.end()) return picture = static_cast<Picture*>(given->second);
        if (text.empty() || text == "nil") return nullptr;
        return picture = Made(NewPicture(host_, text, param.name == "MaskForAlpha"));
      }
      case ParamType::IntegerArray: {
        if (given != call_.objects.end()) return given->second;
        if (text == "nil") return nullptr;
        std::vector<int32_t>& values = arrays_[param.name];
        for (const std::string& value : Split(text == "empty" ? "" : text, ',')) values.push_back(Integer(value));
        return Made(host_.NewIntArray(values));
      }
      case ParamType::Integer:
        return ints_[i];
      case ParamType::Boolean:
        return Arg::Bool(ints_[i]);
      default:
        return nullptr;
    }
  }

  // A copy's destination block (filled with kFill), or a source: bytes by position, but 0
  // for the alpha bytes that no method reads.
  Arg Block(size_t i) {
    const refhost::Parameter& param = params_[i];
    const auto given = call_.objects.find(param.name);
    MemoryBlock* block = given != call_.objects.end() ? static_cast<MemoryBlock*>(given->second) : nullptr;
    if (given == call_.objects.end() && !(texts_[i] && *texts_[i] == "nil")) {
      block = Made(host_.NewMemoryBlock(BlockSize(param.name), kFill));
      uint8_t* bytes = block->data();
      const size_t size = copy_ ? 0 : block->size(), alpha = letters_.find('A');
      for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(i * 53 + 17);
      for (size_t at = std::max(offset_, 0) + alpha; alpha != std::string::npos && at < size; at += letters_.size())
        bytes[at] = 0;
    }
    (copy_ ? block_ : source_) = block;
    return param.type == ParamType::Ptr ? Arg::Ptr(block ? block->data() : nullptr) : Arg(block);
  }
  size_t BlockSize(const std::string& name) const {
    const std::string& text = Text(name);
    return static_cast<size_t>(std::max<int64_t>(text.empty()      ? needed_
                                                 : text == "short" ? needed_ - 1
                                                                   : Integer(text),
                                                 0));
  }

  // The layout of a copy's pixel: R, G, B, 'a' the alpha value, 'm' 255 − the mask's green,
  // 'x' left alone; a single letter is a channel, one sample every PixelByteSize bytes.
  void ExpectCopy() {
    const bool littleEndian = Index("LittleEndian") >= 0;
    letters_ = littleEndian ? (Int("LittleEndian") != 0 ? "BGRA" : "ARGB") : NameLetters(name_);
    for (char& letter : letters_) {
      if (letter == 'X' || (letter == 'A' && littleEndian && (Int("AlphaValue") < 0 || Int("AlphaValue") > 255)))
        letter = 'x';
      if (letter == 'A') letter = Index("MaskForAlpha") >= 0 ? 'm' : 'a';
    }
    const int64_t bpp = letters_.size() == 1 ? pixelByteSize_ : static_cast<int64_t>(letters_.size());
    const Picture* shape = mask_ != nullptr ? mask_ : receiver_;
    const int64_t lineBytes = shape != nullptr ? shape->width() * bpp : 0;
    const int64_t pitch = std::max<int64_t>(lineBytes, Int("DestRowBytes"));
    const int32_t first = expected_.allLines ? 0 : expected_.first;
    const int32_t last = expected_.allLines ? (shape != nullptr ? shape->height() - 1 : -1) : expected_.last;
    const int64_t lines = std::max(last - first + 1, 0), offset = std::max(offset_, 0);
    needed_ = lines > 0 ? offset + (lines - 1) * pitch + lineBytes : 16;
    if (expected_.kind != Expected::kWritten) return;
    bytes_.assign(BlockSize("destination"), kFill);
    const int32_t pixels = mask_ != nullptr ? std::min(mask_->width(), receiver_->width()) : receiver_->width();
    for (int32_t k = 0; k < lines; ++k) {
      const int32_t line = first + k, row = line < receiver_->height() ? line : 0;
      for (int32_t x = 0; x < pixels; ++x) {
        const Rgba colour = receiver_->GetPixel(x, row);
        uint8_t* at = &bytes_.at(static_cast<size_t>(offset + k * pitch + x * bpp));
        for (size_t i = 0; i < letters_.size(); ++i) {
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

  // Source bytes as the name spells them ("ARGB": alpha first, never read), or gray samples
  // PixelByteSize bytes apart, through a tint or tables.
  void ExpectPicture() {
    gray_ = NameLetters(name_) == "Gray";
    letters_ = gray_                        ? "v"
               : Index("LittleEndian") >= 0 ? (Int("LittleEndian") != 0 ? "BGRA" : "ARGB")
                                            : NameLetters(name_);
    const int64_t read = SourceBytesRead(name_, offset_, width_, height_, pixelByteSize_);
    needed_ = read >= 0 && read < (int64_t{1} << 32) ? read : 16;
  }

  Rgba ExpectedPixel(int32_t x, int32_t y) {
    const int32_t width = width_, height = height_;
    const uint8_t* source = source_->data() + offset_;
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
    const int v = source[(int64_t{y} * width + x) * pixelByteSize_];
    uint8_t channel[3] = {uint8_t(v), uint8_t(v), uint8_t(v)};
    const char* names[] = {"Red", "Blue", "Green"};  // in declared order: red, green, blue
    for (int k = 0; k < 3; ++k) {
      if (Index(names[k]) < 0) continue;
      // No table for a nil array, nor on a host that can't tell an array's bound.
      const std::vector<int32_t>& table =
          host_.config().missing.count("RuntimeUBound") ? arrays_[""] : arrays_[names[k]];
      if (params_[size_t(Index(names[k]))].type == ParamType::IntegerArray)
        channel[k] = v < int(table.size()) ? uint8_t(std::clamp(table[size_t(v)], 0, 255)) : 0;
      else  // v × factor / 256, truncated
        channel[k] = uint8_t(std::clamp<int64_t>(int64_t{v} * Int(names[k]) / 256, 0, 255));
    }
    return Rgba{channel[0], channel[1], channel[2], 255};
  }

  void Check(const CallOutcome& outcome, const std::vector<Rgba>& destBefore, const std::vector<Rgba>& destAfter) {
    const bool succeeds = expected_.kind == Expected::kWritten || expected_.kind == Expected::kPicture ||
                          expected_.kind == Expected::kDest;
    Expect(outcome.failed != succeeds, succeeds ? "failed" : "didn't fail");
    Expect(outcome.exception == expected_.exception, "raised \"" + outcome.exception + "\"");
    if (!succeeds) return;
    if (copy_) {
      const auto differs = std::mismatch(bytes_.begin(), bytes_.end(), block_->data());
      return Expect(differs.first == bytes_.end(),
                    "byte " + std::to_string(differs.first - bytes_.begin()) + " differs");
    }
    auto* picture = static_cast<Picture*>(outcome.result.picture);
    const int32_t width = width_, height = height_;
    if (picture == nullptr) return;
    Expect((picture == dest_) == (expected_.kind == Expected::kDest), "the destination, or not");
    Expect(picture == dest_ || destAfter == destBefore, "a destination too small changed");
    for (int32_t y = 0; y < picture->height(); ++y) {
      for (int32_t x = 0; x < picture->width(); ++x) {
        const bool inside = x < width && y < height;
        const Rgba want = inside ? ExpectedPixel(x, y) : destBefore.at(size_t(y) * picture->width() + x);
        if (picture->GetPixel(x, y) != want)
          return Expect(false, "pixel " + std::to_string(x) + "," + std::to_string(y) +
                                   (inside ? "" : " past the source") + " differs");
      }
    }
  }

  refhost::Host& host_;
  const MethodCall& call_;
  Expected expected_;
  bool copy_, gray_ = false;
  const std::string& name_;
  const std::vector<refhost::Parameter>& params_;
  std::vector<const std::string*> texts_;
  std::vector<int32_t> ints_;
  int32_t offset_, width_, height_, pixelByteSize_;  // read at every call
  std::string letters_;
  Picture *receiver_ = nullptr, *mask_ = nullptr, *dest_ = nullptr;
  MemoryBlock *block_ = nullptr, *source_ = nullptr;
  std::map<std::string, std::vector<int32_t>> arrays_;
  int64_t needed_ = 0;
  std::vector<uint8_t> bytes_;
  std::vector<refhost::Object*> made_;
  std::vector<std::string> broken_;
};

}  // namespace

std::vector<std::string> DataLines(const std::string& file) {
  std::ifstream in(std::string(PIXELBRIDGE_TEST_DATA) + "/" + file);
  if (!in.good()) throw std::runtime_error("cannot read test data " + file);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);)
    if (!line.empty() && line[0] != '#') lines.push_back(line);
  return lines;
}

const std::string& DeclarationOf(int number) {
  static const std::vector<std::string> declarations = DataLines("declarations.txt");
  const int globals = kMethodCount - kCopyCount;
  return declarations.at(static_cast<size_t>(number <= kCopyCount ? globals + number - 1 : number - kCopyCount - 1));
}

int64_t SourceBytesRead(const std::string& method, int64_t offset, int64_t width, int64_t height,
                        int64_t pixelByteSize) {
  const bool gray = NameLetters(method) == "Gray";
  if (offset < 0 || width < 1 || height < 1 || (gray && pixelByteSize < 1)) return -1;
  // offset + count × step + last, or INT64_MAX when that doesn't fit.
  auto extent = [offset](int64_t count, int64_t step, int64_t last) {
    return count > (INT64_MAX - offset - last) / step ? INT64_MAX : offset + count * step + last;
  };
  // Gray samples lie PixelByteSize apart and only their first byte is read.
  if (gray) return extent(width * height - 1, pixelByteSize, 1);
  return extent(width * height, static_cast<int64_t>(NameLetters(method).size()), 0);
}

refhost::HostConfig ParseHost(const std::string& line, const std::string& plugin) {
  refhost::HostConfig config;
  config.plugin_path = plugin;
  const std::vector<std::string> words = Split(line, ' ');
  const auto names = [](const std::string& list) {
    const std::vector<std::string> split = Split(list, ',');
    return std::set<std::string>(split.begin(), split.end());
  };
  config.kind = words.at(1) == "console" ? refhost::HostKind::Console
                : words[1] == "web"      ? refhost::HostKind::Web
                                         : refhost::HostKind::Desktop;
  for (size_t i = 2; i < words.size(); ++i) {
    const size_t equals = words[i].find('=');
    const std::string key = words[i].substr(0, equals),
                      value = equals == std::string::npos ? "" : words[i].substr(equals + 1);
    if (key == "version") config.version = std::stod(value);
    else if (key == "lacking") config.missing = names(value);
    else if (key == "failing") config.failing = names(value);
    else if (key == "classes") config.extra_classes = names(value);
    else if (key == "unmade") config.uninstantiable = names(value);
    else if (key == "new-alpha") config.new_picture_alpha_info = static_cast<uint32_t>(Integer(value));
    else if (key == "no-draw") config.no_draw_method = true;
    else if (key == "lend") config.lend_true_color = true;
    else if (key == "refuse-new") config.new_pictures_refuse_locks = true;
    else throw std::invalid_argument("host option " + words[i]);
  }
  return config;
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

Picture* NewPicture(refhost::Host& host, const std::string& spelling, bool mask) {
  Picture* picture = host.NewPicture(SetupOf(spelling, host.config().kind));
  for (int32_t y = 0; y < picture->height(); ++y)
    for (int32_t x = 0; x < picture->width(); ++x) picture->SetPixel(x, y, mask ? MaskAt(x, y) : ColourAt(x, y));
  return picture;
}

}  // namespace pixeltest
