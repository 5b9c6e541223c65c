// The host objects of a call's arguments: pictures painted by position, integer arrays, and
// blocks of exactly the bytes the call needs unless their size is given.
#include <algorithm>

#include "tests/support/method_calls.h"

namespace pixeltest {
namespace {

refhost::Rgba ColourAt(int32_t x, int32_t y) {
  return {static_cast<uint8_t>(x * 37 + y * 5 + 1), static_cast<uint8_t>(200 - x * 11 - y * 3),
          static_cast<uint8_t>(x * 7 + y * 29 + 90), 0x77};
}
refhost::Rgba MaskAt(int32_t x, int32_t y) {
  return {static_cast<uint8_t>(x), static_cast<uint8_t>(x * 50 + y * 13), static_cast<uint8_t>(255 - y), 0x33};
}

constexpr uint8_t kCopyBlockFill = 0x5A;  // what a copy's block holds before the call

// A copy's destination filled with kCopyBlockFill, or a conversion's source: bytes by
// position, but 0 for the alpha bytes that no method reads.
refhost::MemoryBlock* MakeBlock(refhost::Host& host, const BoundCall& bound, size_t size) {
  refhost::MemoryBlock* block = host.NewMemoryBlock(size, kCopyBlockFill);
  if (bound.copy) return block;
  const std::string letters = PixelLetters(bound);
  const size_t alpha = letters.find('A'), offset = size_t(std::max(bound.Int("offset"), 0));
  for (size_t i = 0; i < size; ++i) block->data()[i] = static_cast<uint8_t>(i * 53 + 17);
  for (size_t at = offset + alpha; alpha != std::string::npos && at < size; at += letters.size()) block->data()[at] = 0;
  return block;
}

}  // namespace

refhost::Picture* NewPicture(refhost::Host& host, const std::string& spelling, bool mask) {
  refhost::Picture* picture = host.NewPicture(SetupOf(spelling, host.config().kind));
  for (int32_t y = 0; y < picture->height(); ++y)
    for (int32_t x = 0; x < picture->width(); ++x) picture->SetPixel(x, y, mask ? MaskAt(x, y) : ColourAt(x, y));
  return picture;
}

CallObjects MakeObjects(refhost::Host& host, const BoundCall& bound) {
  CallObjects objects;
  const auto made = [&](auto* object) {
    objects.made.push_back(object);
    return object;
  };
  // Pictures and arrays first: the blocks' sizes follow from the pictures.
  for (size_t i = 0; i < bound.params.size(); ++i) {
    const refhost::Parameter& param = bound.params[i];
    const std::string& text = bound.Text(param.name);
    const auto given = bound.call.objects.find(param.name);
    refhost::Arg arg = nullptr;
    if (param.type == refhost::ParamType::Picture) {
      refhost::Picture*& picture = param.name == "MaskForAlpha" ? objects.mask
                                   : param.name == "dest"       ? objects.dest
                                                                : objects.receiver;
      if (given != bound.call.objects.end()) picture = static_cast<refhost::Picture*>(given->second);
      else if (!text.empty() && text != "nil") picture = made(NewPicture(host, text, param.name == "MaskForAlpha"));
      arg = picture;
    } else if (param.type == refhost::ParamType::IntegerArray) {
      if (given != bound.call.objects.end()) {
        arg = given->second;
        if (given->second != nullptr)
          objects.arrays[param.name] = static_cast<refhost::IntArray*>(arg.object)->values();
      } else if (text != "nil") {
        std::vector<int32_t>& values = objects.arrays[param.name];
        for (const std::string& value : Split(text == "empty" ? "" : text, ',')) values.push_back(Integer(value));
        arg = made(host.NewIntArray(values));
      }
    } else if (param.type == refhost::ParamType::Integer) {
      arg = bound.ints[i];
    } else if (param.type == refhost::ParamType::Boolean) {
      arg = refhost::Arg::Bool(bound.ints[i]);
    }
    objects.args.push_back(arg);
  }
  objects.blankReceiver = DrawnBlank(host.config(), objects.receiver);
  objects.blankMask = DrawnBlank(host.config(), objects.mask);
  objects.blank = host.HostPictureSpec(1, 1).fill;
  // On a host that doesn't say its kind, whether a picture is read through a drawn copy
  // depends on what earlier locks taught the plug-in: where that copy would stay blank, the
  // oracle can't know what the call reads.
  objects.unknowable = (objects.blankReceiver || objects.blankMask) && !Answers(host.config(), "pluginObjectType");
  const int64_t needed = BlockBytesNeeded(bound, objects.receiver, objects.mask);
  for (size_t i = 0; i < bound.params.size(); ++i) {
    const refhost::Parameter& param = bound.params[i];
    if (param.type != refhost::ParamType::MemoryBlock && param.type != refhost::ParamType::Ptr) continue;
    const std::string& text = bound.Text(param.name);
    const auto given = bound.call.objects.find(param.name);
    refhost::MemoryBlock*& block = objects.block;
    if (given != bound.call.objects.end()) block = static_cast<refhost::MemoryBlock*>(given->second);
    else if (text != "nil")
      block = made(MakeBlock(host, bound,
                             size_t(std::max<int64_t>(text.empty()      ? needed
                                                      : text == "short" ? needed - 1
                                                                        : Integer(text),
                                                      0))));
    objects.args[i] = param.type == refhost::ParamType::Ptr ? refhost::Arg::Ptr(block ? block->data() : nullptr)
                                                            : refhost::Arg(block);
  }
  return objects;
}

}  // namespace pixeltest
