// The test's own account of the picture-to-memory methods: their declarations, argument
// lists and the bytes each writes, to compute expected blocks independently of the plug-in.
#pragma once

#include <string>
#include <vector>

#include "refhost/host.h"

namespace pixeltest {

enum class CopyArgs { kPlain, kAlpha, kMask, kChannel, kLittleEndian };

struct CopyMethod {
  const char* name;
  int index;          // among the "Picture" declarations
  const char* bytes;  // a written pixel: R G B, 'a' the alpha value, 'm' 255 − mask green,
                      // 'x' left alone; one letter alone is a channel at PixelByteSize
  CopyArgs args;
};

const std::vector<CopyMethod>& CopyMethods();
const CopyMethod& CopyMethodNamed(const char* name);
std::string PictureDeclaration(int index);

// The arguments of a call, in declaration order. `extra` is the alpha, the mask or the
// PixelByteSize, as the method takes.
struct CopyCall {
  refhost::Object* picture = nullptr;
  refhost::Object* block = nullptr;
  int32_t offset = 0;
  refhost::Arg extra = 0;
  int32_t startLine = 0, endLine = -1, yield = 0, destRowBytes = 0;
  int littleEndian = 0;
};
std::vector<refhost::Arg> ArgsOf(const CopyMethod& method, const CopyCall& call);

// Bytes of one written pixel, by the method's letters.
int BytesPerPixel(const CopyMethod& method, int32_t pixelByteSize);
void WritePixel(const CopyMethod& method, refhost::Rgba colour, uint8_t alpha, uint8_t maskGreen, uint8_t* at);

}  // namespace pixeltest
