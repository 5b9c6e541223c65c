// The picture editor: one host picture held open for pixel access, presented as rows of
// 32-bit pixels with a row cursor that the conversion loops move.
#pragma once

#include <cstdint>

#include "host/host_types.h"
#include "rows/pixel_format.h"

class PictureEditor {
 public:
  PictureEditor() = default;
  ~PictureEditor() { ReleasePictureEditor(); }
  PictureEditor(const PictureEditor&) = delete;
  PictureEditor& operator=(const PictureEditor&) = delete;

  // Opens `picture` (releasing whatever the editor held). On true the editor holds one
  // reference to the opened picture (the caller's, or a drawn copy of it) and its pixel
  // lock; on false it holds nothing.
  bool GetPictureEditor(REALpictureStruct* picture, bool forReading, bool forWriting);
  // Hands back the picture with a reference for the caller (null when none is held) and
  // releases the editor.
  REALpictureStruct* RenderPictureWriter();
  // Moves the cursor to the next row; past the last row it rests on row 0.
  void NextRow();
  // Whether rows of `width` pixels lie back to back, each where the one before ends, so that
  // they can be converted as one long row (never through a row table).
  bool RowsBackToBack(int32_t width) const {
    return PixelFormat != kFormatRowTable && RowBytes == int64_t{width} * kPictureBytesPerPixel;
  }
  // Gives back the lock, then (when writing) tells the host the pixels changed, then
  // gives back the reference. An editor that holds nothing (one never opened, above all)
  // has nothing to give back and asks nothing of the host.
  void ReleasePictureEditor() {
    if (Picture != nullptr || DescriptionLocked) GiveBack();
  }

  int32_t RowBytes = 0;
  int32_t Width = 0;
  int32_t Height = 0;
  int32_t BytesPerPixel = 0;
  int32_t PixelFormat = 0;
  uint8_t* CurrentRow = nullptr;
  REALpictureDescription Description;  // cleared by each lock, before the host fills it in
  uint8_t* BaseAddress = nullptr;
  int32_t Column = 0;
  int32_t RowIndex = 0;
  REALpictureStruct* Picture = nullptr;
  int32_t** RowTable = nullptr;  // format 8: row r at RowTable[r]; owned by the host
  bool HasAlphaChannel = false;
  bool ForReading = false;
  bool ForWriting = false;
  bool DescriptionLocked = false;

 protected:
  // Whether the host can take a reference to a picture and give back all that an open
  // takes. Without that a picture isn't opened or made: a lacking give-back would leave
  // it held, and a lacking reference would let it be freed while in use. Each way in (the
  // editor's open, the writer's) asks once, before anything else of the host.
  static bool HostCanHoldPictures();
  // GetPictureEditor once the host is known to hold pictures; `mayDrawCopy`: a picture the
  // host won't lend as a bitmap may be read through a drawn copy.
  bool Open(REALpictureStruct* picture, bool forReading, bool forWriting, bool mayDrawCopy);

 private:
  void GiveBack();
  bool OpenBitmapContext(REALpictureStruct* picture);
  bool OpenTrueColor(REALpictureStruct* picture);
  // A copy of a picture the host won't lend as a bitmap, drawn into a new one, for reading.
  bool OpenDrawnCopy(REALpictureStruct* picture);
  void Hold(REALpictureStruct* picture);
};

class PictureReader : public PictureEditor {};

class PictureWriter : public PictureEditor {
 public:
  // Opens `destination` for writing when it is at least width × height, otherwise a new
  // 32-bit picture of width × height (1 to 32767 each). False, holding nothing, when
  // neither can be had.
  bool NewPictureWriter(REALpictureStruct* destination, int32_t width, int32_t height);
};
