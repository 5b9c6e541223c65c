// Decoding the host and the program's objects from a fuzz input.
#include "tests/fuzz/fuzz_host.h"

#include <cmath>
#include <sstream>
#include <type_traits>

#include "host/host_function_list.h"

using refhost::PictureKind;

namespace pixelfuzz {
namespace {

struct HostFunctionName {
  const char* name;
  bool answers;  // it has a result, so it can fail
};

const std::vector<HostFunctionName>& HostFunctionNames() {
#define PIXELBRIDGE_NAME(wrapper, lookup, result, parameters) {lookup, !std::is_void_v<result>},
  static const std::vector<HostFunctionName> names = {PIXELBRIDGE_DIRECT_HOST_FUNCTIONS(PIXELBRIDGE_NAME)
                                                          PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS(PIXELBRIDGE_NAME)};
#undef PIXELBRIDGE_NAME
  return names;
}

// Host functions whose lack a program sees through, left to the fault tests: without a
// block's size the caller vouches for the block, as for a Ptr; without the two give-backs
// an exception's reference or its message can't be given back.
bool MayLack(const char* name) {
  for (const char* kept : {"memoryBlockGetSize", "REALUnlockObject", "REALUnlockString"})
    if (std::string(kept) == name) return false;
  return true;
}

const char* PickHostFunction(FuzzedDataProvider& input, bool lacking) {
  std::vector<const char*> names;
  for (const HostFunctionName& function : HostFunctionNames())
    if (lacking ? MayLack(function.name) : function.answers) names.push_back(function.name);
  return names[input.ConsumeIntegralInRange<size_t>(0, names.size() - 1)];
}

std::string Join(const std::set<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ",") + name;
  return text.empty() ? "-" : text;
}

}  // namespace

refhost::HostConfig DecodeHostConfig(FuzzedDataProvider& input) {
  static const double kVersions[] = {2009.0, 2010.028, 2010.029, 2011.4, 2012.0,  2012.5, 2013.0,
                                     2013.03, 2013.9, 2013.91, 2019.1, -1.0,    NAN,    1e300};
  refhost::HostConfig config;
  config.plugin_path = PIXELBRIDGE_PLUGIN;
  config.quiet = true;
  config.version = input.PickValueInArray(kVersions);
  config.kind = static_cast<refhost::HostKind>(input.ConsumeIntegralInRange(0, 2));
  for (int count = input.ConsumeIntegralInRange(0, 3); count > 0; --count)
    config.missing.insert(PickHostFunction(input, true));
  for (int count = input.ConsumeIntegralInRange(0, 3); count > 0; --count)
    config.failing.insert(PickHostFunction(input, false));
  const char* const exceptionClasses[] = {"RuntimeException", "NilObjectException", "UnsupportedOperationException",
                                          "OutOfBoundsException"};
  const auto uninstantiable = input.ConsumeIntegral<uint8_t>();
  for (int i = 0; i < 4; ++i)
    if (uninstantiable & (1 << i)) config.uninstantiable.insert(exceptionClasses[i]);
  config.new_picture_alpha_info = input.ConsumeIntegralInRange<uint32_t>(0, 7);
  const auto switches = input.ConsumeIntegral<uint8_t>();
  config.no_draw_method = switches & 1;
  config.new_pictures_refuse_locks = switches & 2;
  config.lend_true_color = switches & 4;
  return config;
}

std::string DescribeHostConfig(const refhost::HostConfig& config) {
  static const char* const kKinds[] = {"desktop", "console", "web"};
  std::ostringstream text;
  text << "host " << config.version << " " << kKinds[static_cast<int>(config.kind)] << ", lacking "
       << Join(config.missing) << ", failing " << Join(config.failing) << ", can't make "
       << Join(config.uninstantiable) << ", new pictures alpha info " << config.new_picture_alpha_info
       << (config.no_draw_method ? ", no DrawPicture" : "") << (config.new_pictures_refuse_locks ? ", new pictures refuse locks" : "")
       << (config.lend_true_color ? ", lends true colour" : "");
  return text.str();
}

ProgramObjects DecodeObjects(FuzzedDataProvider& input, refhost::Host& host) {
  ProgramObjects objects;
  for (int count = input.ConsumeIntegralInRange(0, 4); count > 0; --count) {
    refhost::PictureSetup setup;
    setup.kind = input.PickValueInArray({PictureKind::Bitmap, PictureKind::TrueColor, PictureKind::Vector});
    const int32_t smallest = setup.kind == PictureKind::Bitmap ? 0 : 1;  // gd makes no empty images
    setup.width = input.ConsumeIntegralInRange(smallest, 12);
    setup.height = input.ConsumeIntegralInRange(smallest, 12);
    setup.alpha_info = input.ConsumeIntegralInRange<uint32_t>(0, 7);
    setup.row_padding = input.ConsumeIntegralInRange(0, 7);
    const auto flags = input.ConsumeIntegral<uint8_t>();
    setup.has_alpha = flags & 1;
    setup.palette = setup.kind == PictureKind::TrueColor && (flags & 2);
    setup.true_color_flag = !(flags & 4);
    setup.refuse_locks = flags & 8;
    refhost::Picture* picture = host.NewPicture(setup);
    const auto seed = input.ConsumeIntegral<uint32_t>();
    for (int32_t y = 0; y < setup.height; ++y)
      for (int32_t x = 0; x < setup.width; ++x) {
        const uint32_t value = seed * static_cast<uint32_t>(x * 31 + y * 17 + 1);
        picture->SetPixel(x, y, {uint8_t(value >> 24), uint8_t(value >> 16), uint8_t(value >> 8), uint8_t(value)});
      }
    objects.pictures.push_back(picture);
  }
  for (int count = input.ConsumeIntegralInRange(0, 4); count > 0; --count)
    objects.blocks.push_back(DecodeBlock(input, host));
  for (int count = input.ConsumeIntegralInRange(0, 3); count > 0; --count) {
    static const size_t kLengths[] = {0, 1, 2, 255, 256, 257, 300};
    std::vector<int32_t> values(input.ConsumeBool() ? input.PickValueInArray(kLengths)
                                                    : input.ConsumeIntegralInRange<size_t>(0, 300));
    const auto seed = input.ConsumeIntegral<uint32_t>();
    for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<int32_t>(seed * (i + 1) ^ (i * 7));
    objects.arrays.push_back(host.NewIntArray(values));
  }
  return objects;
}

refhost::MemoryBlock* DecodeBlock(FuzzedDataProvider& input, refhost::Host& host) {
  static const size_t kSizes[] = {0, 1, 2, 3, 4, 7, 8, 12, 16, 31, 48, 64, 100, 255, 256, 1000, 4096};
  const size_t size = input.ConsumeBool() ? input.PickValueInArray(kSizes) : input.ConsumeIntegralInRange<size_t>(0, 600);
  refhost::MemoryBlock* block = host.NewMemoryBlock(size);
  const auto seed = input.ConsumeIntegral<uint8_t>();
  for (size_t i = 0; i < size; ++i) block->data()[i] = static_cast<uint8_t>(seed + i * 37);
  return block;
}

std::string DescribePicture(const refhost::Picture& picture) {
  static const char* const kKinds[] = {"bitmap", "true colour", "vector"};
  const refhost::PictureSetup& setup = picture.setup();
  std::ostringstream text;
  text << "picture #" << picture.id() << " " << setup.width << "x" << setup.height << " "
       << kKinds[static_cast<int>(setup.kind)] << " (alpha info " << setup.alpha_info << (setup.has_alpha ? ", alpha" : "")
       << (setup.refuse_locks ? ", refuses locks" : "") << (setup.palette ? ", palette" : "")
       << (setup.true_color_flag ? "" : ", no true-colour flag") << ")";
  return text.str();
}

}  // namespace pixelfuzz
