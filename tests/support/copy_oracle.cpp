// Expected layouts of the picture-to-memory methods.
#include "tests/support/copy_oracle.h"

#include <cstring>
#include <stdexcept>

#include "tests/support/host_fixture.h"

namespace pixeltest {

const std::vector<CopyMethod>& CopyMethods() {
  static const std::vector<CopyMethod> methods = {
      {"RGB", 0, "RGB", CopyArgs::kPlain},          {"BGR", 1, "BGR", CopyArgs::kPlain},
      {"ARGB", 2, "aRGB", CopyArgs::kAlpha},        {"ABGR", 3, "aBGR", CopyArgs::kAlpha},
      {"RGBA", 4, "RGBa", CopyArgs::kAlpha},        {"BGRA", 5, "BGRa", CopyArgs::kAlpha},
      {"MRGB", 6, "mRGB", CopyArgs::kMask},         {"MBGR", 7, "mBGR", CopyArgs::kMask},
      {"RGBM", 8, "RGBm", CopyArgs::kMask},         {"BGRM", 9, "BGRm", CopyArgs::kMask},
      {"XRGB", 10, "xRGB", CopyArgs::kPlain},       {"XBGR", 11, "xBGR", CopyArgs::kPlain},
      {"RGBX", 12, "RGBx", CopyArgs::kPlain},       {"BGRX", 13, "BGRx", CopyArgs::kPlain},
      {"ARGB little-endian", 14, "BGRa", CopyArgs::kLittleEndian},
      {"R", 15, "R", CopyArgs::kChannel},           {"G", 16, "G", CopyArgs::kChannel},
      {"B", 17, "B", CopyArgs::kChannel},
  };
  return methods;
}

const CopyMethod& CopyMethodNamed(const char* name) {
  for (const CopyMethod& method : CopyMethods())
    if (strcmp(method.name, name) == 0) return method;
  throw std::invalid_argument(name);
}

std::string PictureDeclaration(int index) {
  static const std::vector<std::string> declarations = DataLines("declarations.txt");
  return declarations.at(32 + static_cast<size_t>(index));
}

std::vector<refhost::Arg> ArgsOf(const CopyMethod& method, const CopyCall& call) {
  std::vector<refhost::Arg> args = {call.picture, call.block, call.offset};
  if (method.args == CopyArgs::kLittleEndian) args.push_back(refhost::Arg::Bool(call.littleEndian));
  if (method.args != CopyArgs::kPlain) args.push_back(call.extra);
  for (int32_t value : {call.startLine, call.endLine, call.yield, call.destRowBytes}) args.push_back(value);
  return args;
}

int BytesPerPixel(const CopyMethod& method, int32_t pixelByteSize) {
  return method.args == CopyArgs::kChannel ? pixelByteSize : static_cast<int>(strlen(method.bytes));
}

void WritePixel(const CopyMethod& method, refhost::Rgba colour, uint8_t alpha, uint8_t maskGreen, uint8_t* at) {
  for (const char* letter = method.bytes; *letter != 0; ++letter, ++at) {
    switch (*letter) {
      case 'R': *at = colour.r; break;
      case 'G': *at = colour.g; break;
      case 'B': *at = colour.b; break;
      case 'a': *at = alpha; break;
      case 'm': *at = static_cast<uint8_t>(255 - maskGreen); break;
      default: break;  // left alone
    }
  }
}

}  // namespace pixeltest
