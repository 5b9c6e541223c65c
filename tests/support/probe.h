// What the probe build of the plug-in offers the tests, beside the methods it registers.
#pragma once

#include <cstdint>

#include "host/host_types.h"

// A copy of an editor's fields.
struct ProbeEditorFields {
  int32_t rowBytes, width, height, bytesPerPixel, pixelFormat;
  uint8_t* currentRow;
  uint8_t* baseAddress;
  int32_t column, rowIndex;
  REALpictureStruct* picture;
  int32_t** rowTable;
  bool hasAlphaChannel, forReading, forWriting, descriptionLocked;
};

class PictureEditor;
