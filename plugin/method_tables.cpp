// The static registration tables: 32 global methods and the extension of "Picture".
#include "plugin/registration.h"
#include "to_memory/copy_methods.h"
#include "to_picture/picture_methods.h"

using namespace copy_method_names;     // NOLINT: the tables name every method
using namespace picture_method_names;  // NOLINT

namespace {
constexpr RecordWord kUnfixedMethodFlags = 0x40000;

template <typename Function>
REALmethodDefinition Method(Function* function, const char* declaration) {
  return {reinterpret_cast<void*>(function), 0, declaration, kUnfixedMethodFlags, 0, 0};
}
}  // namespace

REALmethodDefinition globalMethods[kGlobalMethodCount] = {
    Method(PtrARGBtoPictureQZVdest,
           "PtrARGBtoPictureQZV(dest as picture, source as Ptr, offset as integer, width as integer, height as "
           "integer) as picture"),
    Method(PtrABGRtoPictureQZVdest,
           "PtrABGRtoPictureQZV(dest as picture, source as Ptr, offset as integer, width as integer, height as "
           "integer) as picture"),
    Method(PtrBGRAtoPictureQZVdest,
           "PtrBGRAtoPictureQZV(dest as picture, source as Ptr, offset as integer, width as integer, height as "
           "integer) as picture"),
    Method(PtrRGBAtoPictureQZVdest,
           "PtrRGBAtoPictureQZV(dest as picture, source as Ptr, offset as integer, width as integer, height as "
           "integer, FlipVertically as boolean=false) as picture"),
    Method(PtrBGRtoPictureQZVdest,
           "PtrBGRtoPictureQZV(dest as picture, source as Ptr, offset as integer, width as integer, height as integer) "
           "as picture"),
    Method(PtrRGBtoPictureQZVdest,
           "PtrRGBtoPictureQZV(dest as picture, source as Ptr, offset as integer, width as integer, height as integer) "
           "as picture"),
    Method(PtrARGBtoPictureQZV,
           "PtrARGBtoPictureQZV(source as Ptr, offset as integer, width as integer, height as integer) as picture"),
    Method(PtrABGRtoPictureQZV,
           "PtrABGRtoPictureQZV(source as Ptr, offset as integer, width as integer, height as integer) as picture"),
    Method(PtrBGRAtoPictureQZV,
           "PtrBGRAtoPictureQZV(source as Ptr, offset as integer, width as integer, height as integer) as picture"),
    Method(PtrRGBAtoPictureQZV,
           "PtrRGBAtoPictureQZV(source as Ptr, offset as integer, width as integer, height as integer, FlipVertically "
           "as boolean=false) as picture"),
    Method(PtrBGRtoPictureQZV,
           "PtrBGRtoPictureQZV(source as Ptr, offset as integer, width as integer, height as integer) as picture"),
    Method(PtrRGBtoPictureQZV,
           "PtrRGBtoPictureQZV(source as Ptr, offset as integer, width as integer, height as integer) as picture"),
    Method(PtrARGBtoPictureX,
           "PtrARGBtoPictureQZV(source as Ptr, offset as integer, width as integer, height as integer, LittleEndian as "
           "boolean) as picture"),
    Method(PtrGrayToPictureQZV,
           "PtrGrayToPictureQZV(source as Ptr, offset as integer, width as integer, height as integer, PixelByteSize "
           "as integer) as picture"),
    Method(PtrGrayToPictureRGBQZV,
           "PtrGrayToPictureQZV(source as Ptr, offset as integer, width as integer, height as integer, PixelByteSize "
           "as integer, Red as integer, Blue as integer, Green as integer) as picture"),
    Method(PtrGrayToPicturePalQZV,
           "PtrGrayToPictureQZV(source as Ptr, offset as integer, width as integer, height as integer, PixelByteSize "
           "as integer, Red() as integer, Blue() as integer, Green() as integer) as picture"),
    Method(MemoryblockARGBtoPictureQZVdest,
           "MemoryblockARGBtoPictureQZV(dest as picture, source as memoryblock, offset as integer, width as integer, "
           "height as integer) as picture"),
    Method(MemoryblockABGRtoPictureQZVdest,
           "MemoryblockABGRtoPictureQZV(dest as picture, source as memoryblock, offset as integer, width as integer, "
           "height as integer) as picture"),
    Method(MemoryblockBGRAtoPictureQZVdest,
           "MemoryblockBGRAtoPictureQZV(dest as picture, source as memoryblock, offset as integer, width as integer, "
           "height as integer) as picture"),
    Method(MemoryblockRGBAtoPictureQZVdest,
           "MemoryblockRGBAtoPictureQZV(dest as picture, source as memoryblock, offset as integer, width as integer, "
           "height as integer, FlipVertically as boolean=false) as picture"),
    Method(MemoryblockBGRtoPictureQZVdest,
           "MemoryblockBGRtoPictureQZV(dest as picture, source as memoryblock, offset as integer, width as integer, "
           "height as integer) as picture"),
    Method(MemoryblockRGBtoPictureQZVdest,
           "MemoryblockRGBtoPictureQZV(dest as picture, source as memoryblock, offset as integer, width as integer, "
           "height as integer) as picture"),
    Method(MemoryblockARGBtoPictureQZV,
           "MemoryblockARGBtoPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer) "
           "as picture"),
    Method(MemoryblockABGRtoPictureQZV,
           "MemoryblockABGRtoPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer) "
           "as picture"),
    Method(MemoryblockBGRAtoPictureQZV,
           "MemoryblockBGRAtoPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer) "
           "as picture"),
    Method(MemoryblockRGBAtoPictureQZV,
           "MemoryblockRGBAtoPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer, "
           "FlipVertically as boolean=false) as picture"),
    Method(MemoryblockBGRtoPictureQZV,
           "MemoryblockBGRtoPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer) "
           "as picture"),
    Method(MemoryblockRGBtoPictureQZV,
           "MemoryblockRGBtoPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer) "
           "as picture"),
    Method(MemoryblockARGBtoPictureX,
           "MemoryblockARGBtoPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer, "
           "LittleEndian as boolean) as picture"),
    Method(MemoryblockGrayToPictureQZV,
           "MemoryblockGrayToPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer, "
           "PixelByteSize as integer) as picture"),
    Method(MemoryblockGrayToPictureRGBQZV,
           "MemoryblockGrayToPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer, "
           "PixelByteSize as integer, Red as integer, Blue as integer, Green as integer) as picture"),
    Method(MemoryblockGrayToPicturePalQZV,
           "MemoryblockGrayToPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer, "
           "PixelByteSize as integer, Red() as integer, Blue() as integer, Green() as integer) as picture"),
};

REALmethodDefinition pictureMethods[kPictureMethodCount] = {
    Method(CopyRGBtoMemoryblockQZV,
           "CopyRGBtoMemoryblockQZV(destination as memoryblock, offset as integer, StartLine as integer = 0, EndLine "
           "as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    Method(CopyBGRtoMemoryblockQZV,
           "CopyBGRtoMemoryblockQZV(destination as memoryblock, offset as integer, StartLine as integer = 0, EndLine "
           "as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    Method(CopyARGBtoMemoryblockQZV,
           "CopyARGBtoMemoryblockQZV(destination as memoryblock, offset as integer, AlphaValue as integer, StartLine "
           "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    Method(CopyABGRtoMemoryblockQZV,
           "CopyABGRtoMemoryblockQZV(destination as memoryblock, offset as integer, AlphaValue as integer, StartLine "
           "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    Method(CopyRGBAtoMemoryblockQZV,
           "CopyRGBAtoMemoryblockQZV(destination as memoryblock, offset as integer, AlphaValue as integer, StartLine "
           "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    Method(CopyBGRAtoMemoryblockQZV,
           "CopyBGRAtoMemoryblockQZV(destination as memoryblock, offset as integer, AlphaValue as integer, StartLine "
           "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    Method(CopyMRGBtoMemoryblockQZV,
           "CopyARGBtoMemoryblockQZV(destination as memoryblock, offset as integer, MaskForAlpha as picture, StartLine "
           "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    Method(CopyMBGRtoMemoryblockQZV,
           "CopyABGRtoMemoryblockQZV(destination as memoryblock, offset as integer, MaskForAlpha as picture, StartLine "
           "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    Method(CopyRGBMtoMemoryblockQZV,
           "CopyRGBAtoMemoryblockQZV(destination as memoryblock, offset as integer, MaskForAlpha as picture, StartLine "
           "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    Method(CopyBGRMtoMemoryblockQZV,
           "CopyBGRAtoMemoryblockQZV(destination as memoryblock, offset as integer, MaskForAlpha as picture, StartLine "
           "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    Method(CopyXRGBtoMemoryblockQZV,
           "CopyXRGBtoMemoryblockQZV(destination as memoryblock, offset as integer, StartLine as integer = 0, EndLine "
           "as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    Method(CopyXBGRtoMemoryblockQZV,
           "CopyXBGRtoMemoryblockQZV(destination as memoryblock, offset as integer, StartLine as integer = 0, EndLine "
           "as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    Method(CopyRGBXtoMemoryblockQZV,
           "CopyRGBXtoMemoryblockQZV(destination as memoryblock, offset as integer, StartLine as integer = 0, EndLine "
           "as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    Method(CopyBGRXtoMemoryblockQZV,
           "CopyBGRXtoMemoryblockQZV(destination as memoryblock, offset as integer, StartLine as integer = 0, EndLine "
           "as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    Method(CopyARGBtoMemoryblockX,
           "CopyARGBtoMemoryblockQZV(destination as memoryblock, offset as integer, LittleEndian as boolean, "
           "AlphaValue as integer, StartLine as integer = 0, EndLine as Integer = -1, Yield as integer = 0, "
           "DestRowBytes as integer = 0) as boolean"),
    Method(CopyRtoMemoryblockQZV,
           "CopyRtoMemoryblockQZV(destination as memoryblock, offset as integer, PixelByteSize as integer, StartLine "
           "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    Method(CopyGtoMemoryblockQZV,
           "CopyGtoMemoryblockQZV(destination as memoryblock, offset as integer, PixelByteSize as integer, StartLine "
           "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    Method(CopyBtoMemoryblockQZV,
           "CopyBtoMemoryblockQZV(destination as memoryblock, offset as integer, PixelByteSize as integer, StartLine "
           "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
};

REALclassDefinition pictureClass = {
    12,         // version, set to the control version at entry
    "Picture",  // the host class extended
    {},         // carried over
    nullptr,
    0,  // properties
    pictureMethods,
    kPictureMethodCount,  // methods
    nullptr,
    0,
    {},
    nullptr,
    0,
    nullptr,
    0,
    kUnfixedMethodFlags,  // flags
    nullptr,
    0,
    nullptr,
    0,
};
