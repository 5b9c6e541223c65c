// The scene of every method, sound and with a nil argument, with digests of what each wrote.
#include "tests/support/method_scene.h"

#include <algorithm>

#include "tests/support/call_rules.h"
#include "tests/support/copy_oracle.h"
#include "tests/support/host_fixture.h"

using refhost::Arg;
using refhost::MemoryBlock;
using refhost::ParamType;
using refhost::Picture;
using refhost::PictureKind;
using refhost::PictureSetup;
using refhost::Rgba;

namespace pixeltest {
namespace {

constexpr int kGlobalMethods = 32;
constexpr int kAllMethods = 50;
constexpr uint8_t kBlockFill = 0x5A;
constexpr int32_t kOffset = 3, kWidth = 4, kHeight = 3, kPixelByteSize = 2;

// Integer arguments by parameter name: every line copied, a yield after every line.
int32_t IntegerArgument(const std::string& name) {
  static const std::pair<const char*, int32_t> kValues[] = {
      {"offset", kOffset}, {"AlphaValue", 0x80}, {"StartLine", 0},  {"EndLine", -1},
      {"Yield", -1},       {"DestRowBytes", 0},  {"width", kWidth}, {"height", kHeight},
      {"PixelByteSize", kPixelByteSize},          {"Red", 300},      {"Blue", 128},
      {"Green", 256}};
  for (const auto& value : kValues)
    if (name == value.first) return value.second;
  ADD_FAILURE() << "no value for parameter " << name;
  return 0;
}

std::string DeclarationAt(int index) {
  static const std::vector<std::string> declarations = DataLines("declarations.txt");
  return declarations.at(static_cast<size_t>(index));
}

const CopyMethod& CopyMethodAt(int index) {
  for (const CopyMethod& method : CopyMethods())
    if (method.index == index - kGlobalMethods) return method;
  throw std::out_of_range("no copy method");
}

Rgba ColourAt(int32_t x, int32_t y) {
  return Rgba{static_cast<uint8_t>(x * 41 + y * 7 + 3), static_cast<uint8_t>(190 - x * 13 - y * 5),
              static_cast<uint8_t>(x * 9 + y * 31 + 70), 255};
}

Picture* Painted(refhost::Host& host, PictureSetup setup) {
  Picture* picture = host.NewPicture(setup);
  for (int32_t y = 0; y < setup.height; ++y)
    for (int32_t x = 0; x < setup.width; ++x) picture->SetPixel(x, y, ColourAt(x, y));
  return picture;
}

PictureSetup SpecFor(refhost::HostKind kind, int32_t width, int32_t height, uint32_t alphaInfo) {
  PictureSetup setup;
  setup.width = width, setup.height = height;
  if (kind == refhost::HostKind::Desktop) {
    setup.alpha_info = alphaInfo, setup.has_alpha = alphaInfo <= 2, setup.row_padding = 4;
  } else {
    setup.kind = PictureKind::TrueColor;
  }
  return setup;
}

// FNV-1a over bytes.
struct Digest {
  uint64_t value = 14695981039346656037ull;
  void Add(const void* data, size_t size) {
    for (size_t i = 0; i < size; ++i) value = (value ^ static_cast<const uint8_t*>(data)[i]) * 1099511628211ull;
  }
  void Add(const Picture& picture) {
    const int32_t size[2] = {picture.width(), picture.height()};
    Add(size, sizeof size);
    for (int32_t y = 0; y < picture.height(); ++y) {
      for (int32_t x = 0; x < picture.width(); ++x) {
        const Rgba colour = picture.GetPixel(x, y);
        Add(&colour, sizeof colour);
      }
    }
  }
};

uint64_t DigestOf(const Picture& picture) {
  Digest digest;
  digest.Add(picture);
  return digest.value;
}

}  // namespace

MethodScene::MethodScene(refhost::Host& host) : host_(host) {
  const refhost::HostKind kind = host.config().kind;
  receiver_ = Painted(host, SpecFor(kind, 5, 3, 6));
  mask_ = Painted(host, SpecFor(kind, 5, 3, 1));
  if (kind == refhost::HostKind::Desktop) {
    PictureSetup vector;
    vector.kind = PictureKind::Vector, vector.width = 4, vector.height = 3;
    vector_ = Painted(host, vector);
  }
  std::vector<int32_t> ramp(256);
  for (int32_t i = 0; i < 256; ++i) ramp[static_cast<size_t>(i)] = 255 - i;
  arrays_ = {host.NewIntArray(ramp), host.NewIntArray({0, 10, -7, 1000}), host.NewIntArray({})};
}

MethodScene::~MethodScene() {
  for (refhost::Object* object : {static_cast<refhost::Object*>(receiver_), static_cast<refhost::Object*>(mask_),
                                  static_cast<refhost::Object*>(vector_)})
    if (object != nullptr) host_.Release(object);
  for (refhost::IntArray* array : arrays_) host_.Release(array);
}

std::vector<PlannedCall> MethodScene::Plan() const {
  std::vector<PlannedCall> plan;
  for (int index = 0; index < kAllMethods; ++index) {
    plan.push_back({index, false, false});
    plan.push_back({index, true, false});
    if (index >= kGlobalMethods && vector_ != nullptr) plan.push_back({index, false, true});
  }
  return plan;
}

std::string MethodScene::Describe(const PlannedCall& call) {
  return DeclarationAt(call.index) + (call.nilArgument ? " with a nil argument" : "") +
         (call.fromVector ? " on a drawn picture" : "");
}

SceneCall MethodScene::Run(const PlannedCall& call) {
  const std::string declaration = DeclarationAt(call.index);
  std::string error;
  const auto parsed = refhost::ParseDeclaration(declaration, &error);
  EXPECT_TRUE(parsed.has_value()) << error;
  if (!parsed) return {};
  const bool ofPicture = call.index >= kGlobalMethods;
  SceneCall ran;
  ran.touches = (ofPicture ? kOfPicture : kGlobal) | (call.nilArgument ? kRaises : 0u);
  Picture* receiver = call.fromVector ? vector_ : receiver_;
  std::vector<Arg> args;
  std::vector<refhost::Object*> made;
  MemoryBlock* written = nullptr;
  Picture* dest = nullptr;
  if (ofPicture) {
    args.push_back(call.nilArgument ? nullptr : receiver);
    if (!call.nilArgument) ran.touches |= kOpens | kBlockAddress | kBlockSize | (call.fromVector ? kDrawnCopy : 0u);
  } else if (!call.nilArgument) {
    ran.touches |= kOpens | kNewPicture;
  }
  size_t arrays = 0;
  for (const refhost::Parameter& param : parsed->params) {
    switch (param.type) {
      case ParamType::Picture:
        if (param.name == "MaskForAlpha") {
          args.push_back(mask_);
        } else {
          dest = Painted(host_, SpecFor(host_.config().kind, 8, 6, 6));
          made.push_back(dest);
          args.push_back(dest);
          if (!call.nilArgument) ran.touches = (ran.touches & ~kNewPicture) | kDest;
        }
        break;
      case ParamType::MemoryBlock:
      case ParamType::Ptr:
        if (param.name == "destination") {
          const CopyMethod& method = CopyMethodAt(call.index);
          const Picture& shape = method.args == CopyArgs::kMask ? *mask_ : *receiver;
          written = host_.NewMemoryBlock(
              kOffset + size_t(shape.width()) * shape.height() * BytesPerPixel(method, kPixelByteSize), kBlockFill);
          made.push_back(written);
          args.push_back(written);
        } else if (call.nilArgument) {
          args.push_back(param.type == ParamType::Ptr ? Arg::Ptr(nullptr) : Arg(nullptr));
        } else {
          MemoryBlock* source = host_.NewMemoryBlock(
              static_cast<size_t>(SourceBytesRead(parsed->name, kOffset, kWidth, kHeight, kPixelByteSize)));
          for (size_t i = 0; i < source->size(); ++i) source->data()[i] = static_cast<uint8_t>(i * 53 + 17);
          made.push_back(source);
          args.push_back(param.type == ParamType::Ptr ? Arg::Ptr(source->data()) : Arg(source));
          if (param.type == ParamType::MemoryBlock) ran.touches |= kBlockAddress | kBlockSize;
        }
        break;
      case ParamType::Integer: args.push_back(IntegerArgument(param.name)); break;
      case ParamType::Boolean: args.push_back(Arg::Bool(1)); break;
      case ParamType::IntegerArray:
        args.push_back(arrays_.at(arrays++));
        if (!call.nilArgument) ran.touches |= kArrays;
        break;
    }
  }

  const uint64_t destBefore = dest != nullptr ? DigestOf(*dest) : 0;
  ran.result = host_.Call(declaration, args);
  ran.outcome.failed = Failed(ran.result);
  if (!ran.result.exceptions.empty())
    ran.outcome.exception = ran.result.exceptions[0].class_name + ": " +
                            ran.result.exceptions[0].message.value_or("(no message)");
  Digest digest;
  if (written != nullptr) {
    digest.Add(written->data(), written->size());
    ran.memoryUntouched = std::all_of(written->data(), written->data() + written->size(),
                                      [](uint8_t byte) { return byte == kBlockFill; });
  }
  if (auto* returned = static_cast<Picture*>(ran.result.picture)) {
    const bool isDest = returned == dest;
    digest.Add(&isDest, sizeof isDest);
    digest.Add(*returned);
    host_.Release(returned);
  }
  if (dest != nullptr) {
    digest.Add(*dest);
    ran.memoryUntouched = ran.memoryUntouched && DigestOf(*dest) == destBefore;
  }
  ran.outcome.digest = digest.value;
  for (refhost::Object* object : made) host_.Release(object);
  return ran;
}

}  // namespace pixeltest
