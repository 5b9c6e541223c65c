// The editor's row step, release and the writer's hand-back.
#include "pixels/picture_editor.h"

#include "host/host_functions.h"

PictureEditor::~PictureEditor() { ReleasePictureEditor(); }

void PictureEditor::NextRow() {
  ++RowIndex;
  Column = 0;
  if (RowIndex < Height)
    CurrentRow = PixelFormat == kFormatRowTable ? reinterpret_cast<uint8_t*>(RowTable[RowIndex])
                                                : BaseAddress + static_cast<intptr_t>(RowIndex) * RowBytes;
  else CurrentRow = BaseAddress;
}

void PictureEditor::ReleasePictureEditor() {
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

REALpictureStruct* PictureEditor::RenderPictureWriter() {
  REALpictureStruct* result = Picture;
  if (result != nullptr) {
    REALLockObject(reinterpret_cast<REALobjectStruct*>(result));
    REALPictureClearCache(result);
  }
  ReleasePictureEditor();
  return result;
}

namespace {
constexpr int32_t kLargestNewPicture = 32767;
}

bool PictureWriter::NewPictureWriter(REALpictureStruct* destination, int32_t width, int32_t height) {
  if (!HostCanHoldPictures()) return false;
  if (destination != nullptr) {
    auto* object = reinterpret_cast<REALobjectStruct*>(destination);
    int32_t destinationWidth = 0;
    int32_t destinationHeight = 0;
    if (!REALGetPropValueInt32(object, "Width", &destinationWidth)) destinationWidth = 0;
    if (!REALGetPropValueInt32(object, "Height", &destinationHeight)) destinationHeight = 0;
    if (destinationWidth >= width && destinationHeight >= height && GetPictureEditor(destination, false, true))
      return true;
  }
  if (width < 1 || height < 1 || width > kLargestNewPicture || height > kLargestNewPicture) return false;
  REALpictureStruct* fresh = REALNewPicture(width, height, 32);
  if (fresh == nullptr) return false;
  const bool open = GetPictureEditor(fresh, false, true);
  REALUnlockObject(reinterpret_cast<REALobjectStruct*>(fresh));
  return open;
}
