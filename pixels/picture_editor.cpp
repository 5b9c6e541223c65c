// The picture editor: opening a picture's pixels (a bitmap context on desktop hosts, a
// true-colour image on console and web hosts, and for reading a drawn copy when the host has
// no bitmap to lend), the row step, the release, and the writer's destination and hand-back.
#include "pixels/picture_editor.h"

#include <cstring>

#include "host/host_functions.h"
#include "host/host_kind.h"
#include "platform/core_graphics.h"
#include "platform/hot_path.h"

namespace {

constexpr double kFirstHostWithoutUnlockAfterRefusal = 2012.0;
constexpr int32_t kLargestNewPicture = 32767;

REALobjectStruct* AsObject(REALpictureStruct* picture) { return reinterpret_cast<REALobjectStruct*>(picture); }

// Locks `picture` as `type`. Hosts before 2012.0 expect an unlock even after a refusal.
PIXELBRIDGE_HOT bool LockDescription(REALpictureStruct* picture, REALpictureDescription* description,
                                     RBPixelType type) {
  *description = REALpictureDescription{};
  if (REALLockPictureDescription(picture, description, type)) return true;
  if (rbversion < kFirstHostWithoutUnlockAfterRefusal) REALUnlockPictureDescription(picture);
  return false;
}

bool FailLocked(REALpictureStruct* picture) {
  REALUnlockPictureDescription(picture);
  return false;
}

const TrueColorImage* ImageOf(const REALpictureDescription& description) {
  return static_cast<const TrueColorImage*>(description.data);
}

bool IsOpenableImage(const TrueColorImage* image) {
  return image != nullptr && image->pixels == nullptr && image->tpixels != nullptr && image->trueColor != 0;
}

int32_t IntProperty(REALpictureStruct* picture, const char* name) {
  int32_t value = 0;
  return REALGetPropValueInt32(AsObject(picture), name, &value) ? value : 0;
}

// Copies the rows of `picture`'s true-colour image into `copy`'s when both are alike.
void CopyRows(REALpictureStruct* picture, REALpictureStruct* copy) {
  REALpictureDescription from{};
  if (!LockDescription(picture, &from, kRBPixelTypeTrueColor)) return;
  REALpictureDescription to{};
  if (!LockDescription(copy, &to, kRBPixelTypeTrueColor)) {
    REALUnlockPictureDescription(picture);
    REALPictureClearCache(copy);
    return;
  }
  const TrueColorImage* source = ImageOf(from);
  const TrueColorImage* target = ImageOf(to);
  if (source != nullptr && target != nullptr && source->sx == target->sx && source->sy == target->sy &&
      source->pixels == nullptr && target->pixels == nullptr && source->tpixels != nullptr &&
      target->tpixels != nullptr && source->sy > 0) {
    for (int32_t y = 0; y < source->sy; ++y)
      memcpy(target->tpixels[y], source->tpixels[y], static_cast<size_t>(source->sx) * kPictureBytesPerPixel);
  }
  REALUnlockPictureDescription(copy);
  REALUnlockPictureDescription(picture);
  REALPictureClearCache(copy);
}

}  // namespace

PIXELBRIDGE_HOT bool PictureEditor::GetPictureEditor(REALpictureStruct* picture, bool forReading, bool forWriting) {
  return HostCanHoldPictures() && Open(picture, forReading, forWriting, true);
}

PIXELBRIDGE_HOT bool PictureEditor::HostCanHoldPictures() {
  return REALLockObject.Resolve() != nullptr && REALUnlockObject.Resolve() != nullptr &&
         REALUnlockPictureDescription.Resolve() != nullptr;
}

PIXELBRIDGE_HOT bool PictureEditor::Open(REALpictureStruct* picture, bool forReading, bool forWriting,
                                         bool mayDrawCopy) {
  ReleasePictureEditor();
  if (picture == nullptr) return false;
  ForWriting = forWriting;
  ForReading = forReading;
  if (!IsDesktop && !IsConsole) DetectHostKind();
  unsigned char hasAlpha = 0;
  HasAlphaChannel = REALGetPropValueUInt8(AsObject(picture), "HasAlphaChannel", &hasAlpha) && hasAlpha != 0;
  if (IsConsole) return OpenTrueColor(picture);
  if (LockDescription(picture, &Description, kRBPixelTypeBitmapContext)) return OpenBitmapContext(picture);
  // No bitmap to lend: a picture without alpha that is only read can be drawn into one.
  // A drawn copy is never copied again.
  if (!HasAlphaChannel && forReading && !forWriting && mayDrawCopy) return OpenDrawnCopy(picture);
  return OpenTrueColor(picture);
}

PIXELBRIDGE_HOT bool PictureEditor::OpenBitmapContext(REALpictureStruct* picture) {
  IsDesktop = true;
  if (Description.type != kRBPixelTypeBitmapContext || Description.data == nullptr) return FailLocked(picture);
  auto context = static_cast<CGContextRef>(Description.data);
  auto* data = static_cast<uint8_t*>(CGBitmapContextGetData(context));
  const size_t bitsPerPixel = CGBitmapContextGetBitsPerPixel(context);
  const size_t width = CGBitmapContextGetWidth(context);
  const size_t height = CGBitmapContextGetHeight(context);
  const size_t bytesPerRow = CGBitmapContextGetBytesPerRow(context);
  const int32_t format = FormatCodeOf(CGBitmapContextGetAlphaInfo(context));
  // With an alpha channel only premultiplied pixels are read as they are; without one,
  // every 32-bit layout of colour and filler is.
  const bool accepted = HasAlphaChannel ? (format == kFormatPremultipliedLast || format == kFormatPremultipliedFirst)
                                        : (format >= kFormatPremultipliedLast && format <= kFormatSkipFirst);
  if (!accepted || bitsPerPixel != kPictureBitsPerPixel) return FailLocked(picture);
  Hold(picture);
  PixelFormat = format;
  RowBytes = static_cast<int32_t>(bytesPerRow);
  BaseAddress = data;
  CurrentRow = data;
  Width = static_cast<int32_t>(width);
  Height = static_cast<int32_t>(height);
  return true;
}

bool PictureEditor::OpenTrueColor(REALpictureStruct* picture) {
  if (IsDesktop) return false;
  if (!LockDescription(picture, &Description, kRBPixelTypeTrueColor)) return false;
  IsConsole = true;
  const TrueColorImage* image = ImageOf(Description);
  if (Description.type != kRBPixelTypeTrueColor || !IsOpenableImage(image)) return FailLocked(picture);
  Hold(picture);
  PixelFormat = kFormatRowTable;
  Width = Description.width;
  Height = Description.height;
  RowBytes = Description.width * kPictureBytesPerPixel;
  RowTable = image->tpixels;
  BaseAddress = Height > 0 ? reinterpret_cast<uint8_t*>(RowTable[0]) : nullptr;
  CurrentRow = BaseAddress;
  return true;
}

bool PictureEditor::OpenDrawnCopy(REALpictureStruct* picture) {
  const int32_t width = IntProperty(picture, "Width");
  const int32_t height = IntProperty(picture, "Height");
  if (width <= 0 || height <= 0) return OpenTrueColor(picture);
  REALpictureStruct* copy = REALNewPicture(width, height, kPictureBitsPerPixel);
  if (copy == nullptr) return OpenTrueColor(picture);
  if (REALobjectStruct* graphics = REALGetPictureGraphics(copy)) {
    auto draw = reinterpret_cast<DrawPictureMethod>(REALLoadObjectMethod(graphics, kDrawPictureDeclaration));
    if (draw != nullptr) draw(graphics, picture, 0, 0, width, height, 0, 0, width, height);
    else CopyRows(picture, copy);
    REALUnlockObject(graphics);
  }
  const bool open = Open(copy, true, false, false);  // for reading
  // The editor holds its own reference when open; the copy lives exactly as long.
  REALUnlockObject(AsObject(copy));
  return open;
}

PIXELBRIDGE_HOT void PictureEditor::Hold(REALpictureStruct* picture) {
  REALLockObject(AsObject(picture));
  Picture = picture;
  DescriptionLocked = true;
  BytesPerPixel = kPictureBytesPerPixel;
  Column = 0;
  RowIndex = 0;
}

void PictureEditor::NextRow() {
  ++RowIndex;
  Column = 0;
  if (RowIndex < Height)
    CurrentRow = PixelFormat == kFormatRowTable ? reinterpret_cast<uint8_t*>(RowTable[RowIndex])
                                                : BaseAddress + static_cast<intptr_t>(RowIndex) * RowBytes;
  else CurrentRow = BaseAddress;
}

PIXELBRIDGE_HOT void PictureEditor::GiveBack() {
  if (DescriptionLocked) {
    if (Picture != nullptr) REALUnlockPictureDescription(Picture);
    DescriptionLocked = false;
  }
  if (ForWriting && Picture != nullptr) REALPictureClearCache(Picture);
  if (Picture != nullptr) {
    REALUnlockObject(reinterpret_cast<REALobjectStruct*>(Picture));
    Picture = nullptr;
  }
}

PIXELBRIDGE_HOT REALpictureStruct* PictureEditor::RenderPictureWriter() {
  REALpictureStruct* result = Picture;
  if (result != nullptr) {
    REALLockObject(reinterpret_cast<REALobjectStruct*>(result));
    REALPictureClearCache(result);
  }
  ReleasePictureEditor();
  return result;
}

PIXELBRIDGE_HOT bool PictureWriter::NewPictureWriter(REALpictureStruct* destination, int32_t width, int32_t height) {
  if (!HostCanHoldPictures()) return false;
  if (destination != nullptr) {
    auto* object = reinterpret_cast<REALobjectStruct*>(destination);
    int32_t destinationWidth = 0;
    int32_t destinationHeight = 0;
    if (!REALGetPropValueInt32(object, "Width", &destinationWidth)) destinationWidth = 0;
    if (!REALGetPropValueInt32(object, "Height", &destinationHeight)) destinationHeight = 0;
    if (destinationWidth >= width && destinationHeight >= height && Open(destination, false, true, true)) return true;
  }
  if (width < 1 || height < 1 || width > kLargestNewPicture || height > kLargestNewPicture) return false;
  REALpictureStruct* fresh = REALNewPicture(width, height, kPictureBitsPerPixel);
  if (fresh == nullptr) return false;
  const bool open = Open(fresh, false, true, true);
  REALUnlockObject(reinterpret_cast<REALobjectStruct*>(fresh));
  return open;
}
