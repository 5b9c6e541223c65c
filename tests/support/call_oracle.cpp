// The oracle: the bytes a copy must leave and the pixels a conversion must make, worked out
// from the methods' names, the lines, pitches, tints and tables docs/methods.md describes.
#include <algorithm>

#include "refhost/model/method_names.h"
#include "tests/support/method_calls.h"

namespace pixeltest {
namespace {

// The lines a copy writes into its block, and where: those its line says it writes, or
// (for a line without a result, or `asArguments`) those its arguments ask for.
struct CopyLines {
  int64_t offset, pixelBytes, lineBytes, pitch;
  int32_t first, count;
};
CopyLines CopyLinesOf(const BoundCall& bound, const refhost::Picture* receiver, const refhost::Picture* mask,
                      bool asArguments = false) {
  const std::string letters = PixelLetters(bound);
  const int64_t pixelBytes = letters.size() == 1 ? bound.Int("PixelByteSize") : int64_t(letters.size());
  const refhost::Picture* measured = mask != nullptr ? mask : receiver;
  const int64_t lineBytes = measured != nullptr ? measured->width() * pixelBytes : 0;
  const Expected& expected = bound.expected;
  const int32_t height = measured != nullptr ? measured->height() : 0;
  int32_t first = 0, last = height - 1;
  if (asArguments || expected.kind == Expected::kUnchecked) {
    // StartLine past the end copies the last line; EndLine -1 or past the end stops there.
    first = std::min(bound.Int("StartLine"), height - 1);
    if (bound.Int("EndLine") >= 0) last = std::min(bound.Int("EndLine"), last);
  } else if (!expected.allLines) {
    first = expected.first;
    last = expected.last;
  }
  return {std::max(bound.Int("offset"), 0),
          pixelBytes,
          lineBytes,
          std::max<int64_t>(lineBytes, bound.Int("DestRowBytes")),
          first,
          height > 0 && pixelBytes > 0 && first >= 0 ? std::max(last - first + 1, 0) : 0};
}

int64_t CopyExtent(const CopyLines& lines) { return lines.offset + (lines.count - 1) * lines.pitch + lines.lineBytes; }

bool HasAlpha(const refhost::HostConfig& host, const refhost::PictureSetup& setup) {
  return setup.has_alpha && Answers(host, "REALGetPropValueBool");
}

// The host makes new pictures and lends them: on a desktop host, as bitmap contexts of an
// alpha info read as it is.
bool NewPicturesOpen(const refhost::HostConfig& host) {
  const uint32_t format = host.new_picture_alpha_info & 7;
  return Answers(host, "newPicture") && !host.new_pictures_refuse_locks &&
         (host.kind != refhost::HostKind::Desktop || (format >= 1 && format <= 6));
}

// A picture opens: as the host lends it or, read from one that lends no bitmap on a desktop
// host and has no alpha, through a copy the host draws.
bool Opens(const refhost::HostConfig& host, const refhost::Picture* picture, bool forReading = true) {
  const refhost::PictureSetup& setup = picture->setup();
  if (host.kind != refhost::HostKind::Desktop || (setup.kind == refhost::PictureKind::Bitmap && !setup.refuse_locks))
    return LendsDirectly(host, picture);
  return forReading && !HasAlpha(host, setup) && setup.width > 0 && setup.height > 0 &&
         Answers(host, "REALGetPropValueInt") && NewPicturesOpen(host);
}

// A conversion writes its destination where the host tells its size, it is large enough and
// it opens for writing; else a new picture of at most 32767 pixels a side.
bool Writes(const refhost::HostConfig& host, const BoundCall& bound, const refhost::Picture* dest) {
  const int32_t width = bound.Int("width"), height = bound.Int("height");
  if (dest != nullptr && Answers(host, "REALGetPropValueInt") && dest->width() >= width && dest->height() >= height &&
      Opens(host, dest, false))
    return true;
  return width <= 32767 && height <= 32767 && NewPicturesOpen(host);
}

// The size the host tells of a call's block: -1 where it tells none (for a Ptr, without the
// function, or for a block of unknown size), 0 where the function fails.
int64_t ToldSize(const refhost::HostConfig& host, const refhost::MemoryBlock* block, bool ptr) {
  if (ptr || host.missing.count("memoryBlockGetSize") != 0 || host.unknown_block_sizes) return -1;
  return host.failing.count("memoryBlockGetSize") != 0 ? 0 : int64_t(block->size());
}

}  // namespace

bool Answers(const refhost::HostConfig& host, const char* function) {
  return host.missing.count(function) == 0 && host.failing.count(function) == 0;
}

bool LendsDirectly(const refhost::HostConfig& host, const refhost::Picture* picture) {
  const refhost::PictureSetup& setup = picture->setup();
  if (setup.refuse_locks) return false;
  if (host.kind != refhost::HostKind::Desktop)
    return setup.kind == refhost::PictureKind::TrueColor ? !setup.palette && setup.true_color_flag
                                                         : host.lend_true_color && setup.width > 0 && setup.height > 0;
  const uint32_t format = setup.alpha_info & 7;
  return setup.kind == refhost::PictureKind::Bitmap && setup.bits_per_component == 8 && format >= 1 &&
         format <= (HasAlpha(host, setup) ? 2u : 6u);
}

std::optional<bool> MustSucceed(const refhost::HostConfig& host, const BoundCall& bound, const CallObjects& objects) {
  // Arguments every call refuses: a nil object, a negative offset, sizes below 1, bad lines.
  const auto below = [&](const char* param, int32_t least) { return bound.Takes(param) && bound.Int(param) < least; };
  if (objects.block == nullptr || below("offset", 0) || below("PixelByteSize", 1) || below("width", 1) ||
      below("height", 1) || below("DestRowBytes", 0) || below("StartLine", 0) || below("EndLine", -1) ||
      (bound.copy && (objects.receiver == nullptr || (bound.Takes("MaskForAlpha") && objects.mask == nullptr))))
    return false;
  // A host that can't hold pictures, lock them, or give the block's address.
  const bool ptr = bound.Takes("source") && bound.params[size_t(bound.Index("source"))].type == refhost::ParamType::Ptr;
  for (const char* needed : {"REALLockObject", "REALUnlockObject", "unlockPictureDescription"})
    if (host.missing.count(needed) != 0) return false;
  if (!Answers(host, "REALLockPictureDescription") || (!ptr && !Answers(host, "memoryBlockGetPtr"))) return false;
  // A block whose size the host tells, too small for the bytes the call reaches.
  const CopyLines lines = CopyLinesOf(bound, objects.receiver, objects.mask, true);
  const int64_t reaches = bound.copy ? (lines.count > 0 ? CopyExtent(lines) : 0)
                                     : refhost::SourceBytesRead(bound.name, bound.Int("offset"), bound.Int("width"),
                                                                bound.Int("height"), bound.Int("PixelByteSize"));
  const int64_t told = ToldSize(host, objects.block, ptr);
  if (told >= 0 && reaches > told) return false;
  // What opens depends on the calls before, until a host that doesn't say its kind learns it
  // from a lock.
  if (!Answers(host, "pluginObjectType") ||
      (host.kind != refhost::HostKind::Desktop && host.extra_classes.count("Application") != 0))
    return std::nullopt;
  const bool opens = bound.copy
                         ? Opens(host, objects.receiver) && (objects.mask == nullptr || Opens(host, objects.mask))
                         : Writes(host, bound, objects.dest);
  if (!opens) return false;
  // Bytes past a block whose size the host doesn't tell, or past a Ptr, are the caller's account.
  return reaches <= int64_t(objects.block->size()) ? std::optional<bool>(true) : std::nullopt;
}

bool DrawnBlank(const refhost::HostConfig& host, const refhost::Picture* picture) {
  using refhost::PictureKind;
  // A host known to be a console one has its pictures opened as true-colour images instead.
  if (picture == nullptr || (host.kind != refhost::HostKind::Desktop && Answers(host, "pluginObjectType")))
    return false;
  const refhost::PictureSetup& setup = picture->setup();
  const bool lendsBitmap = setup.kind == PictureKind::Bitmap && !setup.refuse_locks;
  // The copy is made to the picture's size, which the host must tell.
  const bool drawn = !lendsBitmap && !(setup.has_alpha && Answers(host, "REALGetPropValueBool")) &&
                     Answers(host, "REALGetPropValueInt") && Answers(host, "newPicture");
  const bool draws = !host.no_draw_method && Answers(host, "REALLoadObjectMethod");
  // Without DrawPicture the copy takes the picture's true-colour rows, where both lend them
  // (a copy made on a desktop host is a bitmap).
  const bool lendsRows = !setup.refuse_locks && !setup.palette &&
                         (setup.kind == PictureKind::TrueColor || host.lend_true_color) &&
                         (host.kind != refhost::HostKind::Desktop || host.lend_true_color);
  return drawn && (!Answers(host, "pluginPictureGraphicsGetter") || (!draws && !lendsRows));
}

bool ArraysRead(const refhost::HostConfig& host) {
  const double version = Answers(host, "REALGetRBVersion") ? host.version : 0.0;
  return Answers(host, "RuntimeUBound") && (!(version > 2013.9) || Answers(host, "RuntimeDirectReadIntArray"));
}

std::string PixelLetters(const BoundCall& bound) {
  if (!bound.Takes("LittleEndian")) return refhost::LayoutWord(bound.name);
  return bound.Int("LittleEndian") != 0 ? "BGRA" : "ARGB";
}

int64_t BlockBytesNeeded(const BoundCall& bound, const refhost::Picture* receiver, const refhost::Picture* mask) {
  if (!bound.copy) {
    const int64_t read = refhost::SourceBytesRead(bound.name, bound.Int("offset"), bound.Int("width"),
                                                  bound.Int("height"), bound.Int("PixelByteSize"));
    return read >= 0 && read < (int64_t{1} << 32) ? read : 16;
  }
  const CopyLines lines = CopyLinesOf(bound, receiver, mask);
  return lines.count > 0 ? CopyExtent(lines) : 16;
}

std::vector<uint8_t> ExpectedCopy(const BoundCall& bound, const CallObjects& objects, std::vector<uint8_t> bytes) {
  const refhost::Picture *receiver = objects.receiver, *mask = objects.mask;
  const CopyLines lines = CopyLinesOf(bound, receiver, mask);
  if (receiver == nullptr || lines.count == 0 || BlockBytesNeeded(bound, receiver, mask) > int64_t(bytes.size()))
    return bytes;
  const std::string letters = PixelLetters(bound);
  // A line stops at the receiver's width; a receiver without rows gives no pixels.
  const int32_t pixels = receiver->height() == 0 ? 0
                         : mask != nullptr       ? std::min(mask->width(), receiver->width())
                                                 : receiver->width();
  // Alpha from the mask, or AlphaValue; outside 0..255 the LittleEndian overload leaves it.
  const int32_t alpha = bound.Int("AlphaValue");
  const bool alphaSet = !bound.Takes("LittleEndian") || (alpha >= 0 && alpha <= 255);
  for (int32_t k = 0; k < lines.count; ++k) {
    // Lines past the picture's last take row 0; the mask's lines are its own.
    const int32_t line = lines.first + k, row = line < receiver->height() ? line : 0;
    for (int32_t x = 0; x < pixels; ++x) {
      const refhost::Rgba colour = objects.blankReceiver ? objects.blank : receiver->GetPixel(x, row);
      uint8_t* at = &bytes.at(size_t(lines.offset + k * lines.pitch + x * lines.pixelBytes));
      for (size_t i = 0; i < letters.size(); ++i) {
        if (letters[i] == 'R') at[i] = colour.r;
        if (letters[i] == 'G') at[i] = colour.g;
        if (letters[i] == 'B') at[i] = colour.b;
        if (letters[i] == 'A' && mask != nullptr)
          at[i] = static_cast<uint8_t>(255 - (objects.blankMask ? objects.blank : mask->GetPixel(x, line)).g);
        else if (letters[i] == 'A' && alphaSet) at[i] = static_cast<uint8_t>(alpha);
      }
    }
  }
  return bytes;
}

ExpectedPixels::ExpectedPixels(const BoundCall& bound, const CallObjects& objects, bool arraysRead)
    : source_(objects.block->data() + bound.Int("offset")),
      width_(bound.Int("width")),
      height_(bound.Int("height")),
      flip_(bound.Int("FlipVertically") != 0) {
  const std::string letters = PixelLetters(bound);
  gray_ = letters == "Gray";
  stride_ = gray_ ? bound.Int("PixelByteSize") : int64_t(letters.size());
  for (int k = 0; k < 3; ++k) at_[k] = letters.find("RGB"[k]);
  // A gray sample v through a tint (v × factor / 256, truncated) or a table (0 past its end, or
  // for a nil array, or on a host that doesn't give the entries).
  const char* names[] = {"Red", "Blue", "Green"};  // in declared order: red, green, blue
  for (int k = 0; k < 3; ++k) {
    const bool tinted = bound.Takes(names[k]);
    const bool table = tinted && bound.params[size_t(bound.Index(names[k]))].type == refhost::ParamType::IntegerArray;
    const auto values = objects.arrays.find(names[k]);
    for (int v = 0; v < 256; ++v) {
      if (!tinted) {
        tables_[k][v] = uint8_t(v);
      } else if (table) {
        const bool known = arraysRead && values != objects.arrays.end() && v < int(values->second.size());
        tables_[k][v] = known ? uint8_t(std::clamp(values->second[size_t(v)], 0, 255)) : 0;
      } else {
        tables_[k][v] = uint8_t(std::clamp<int64_t>(int64_t{v} * bound.Int(names[k]) / 256, 0, 255));
      }
    }
  }
}

refhost::Rgba ExpectedPixels::operator()(int32_t x, int32_t y) const {
  const int32_t row = flip_ ? height_ - 1 - y : y;
  const uint8_t* pixel = source_ + (int64_t{row} * width_ + x) * stride_;
  if (gray_) return refhost::Rgba{tables_[0][*pixel], tables_[1][*pixel], tables_[2][*pixel], 255};
  return refhost::Rgba{pixel[at_[0]], pixel[at_[1]], pixel[at_[2]], 255};
}

}  // namespace pixeltest
