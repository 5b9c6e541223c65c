// The static registration tables: 32 global methods and the extension of "Picture".
#include "plugin/declaration_check.h"
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

template <bool kFits>
constexpr const char* Checked(const char* declaration) {
  static_assert(kFits, "a declaration disagrees with its function's name, parameters or result");
  return declaration;
}
}  // namespace

// A row: the function and the declaration the host reads, checked against each other.
#define PIXELBRIDGE_ROW(function, declaration, receiver)                          \
  Method(function, Checked<declaration_check::NameFits(#function, declaration) && \
                           declaration_check::Fits(function, declaration, receiver)>(declaration))
#define GLOBAL(function, declaration) PIXELBRIDGE_ROW(function, declaration, false)
#define OF_PICTURE(function, declaration) PIXELBRIDGE_ROW(function, declaration, true)

REALmethodDefinition globalMethods[kGlobalMethodCount] = {
    GLOBAL(PtrARGBtoPictureQZV_dest,
           "PtrARGBtoPictureQZV(dest as picture, source as Ptr, offset as integer, width as integer, height as "
           "integer) as picture"),
    GLOBAL(PtrABGRtoPictureQZV_dest,
           "PtrABGRtoPictureQZV(dest as picture, source as Ptr, offset as integer, width as integer, height as "
           "integer) as picture"),
    GLOBAL(PtrBGRAtoPictureQZV_dest,
           "PtrBGRAtoPictureQZV(dest as picture, source as Ptr, offset as integer, width as integer, height as "
           "integer) as picture"),
    GLOBAL(PtrRGBAtoPictureQZV_dest,
           "PtrRGBAtoPictureQZV(dest as picture, source as Ptr, offset as integer, width as integer, height as "
           "integer, FlipVertically as boolean=false) as picture"),
    GLOBAL(PtrBGRtoPictureQZV_dest,
           "PtrBGRtoPictureQZV(dest as picture, source as Ptr, offset as integer, width as integer, height as integer) "
           "as picture"),
    GLOBAL(PtrRGBtoPictureQZV_dest,
           "PtrRGBtoPictureQZV(dest as picture, source as Ptr, offset as integer, width as integer, height as integer) "
           "as picture"),
    GLOBAL(PtrARGBtoPictureQZV,
           "PtrARGBtoPictureQZV(source as Ptr, offset as integer, width as integer, height as integer) as picture"),
    GLOBAL(PtrABGRtoPictureQZV,
           "PtrABGRtoPictureQZV(source as Ptr, offset as integer, width as integer, height as integer) as picture"),
    GLOBAL(PtrBGRAtoPictureQZV,
           "PtrBGRAtoPictureQZV(source as Ptr, offset as integer, width as integer, height as integer) as picture"),
    GLOBAL(PtrRGBAtoPictureQZV,
           "PtrRGBAtoPictureQZV(source as Ptr, offset as integer, width as integer, height as integer, FlipVertically "
           "as boolean=false) as picture"),
    GLOBAL(PtrBGRtoPictureQZV,
           "PtrBGRtoPictureQZV(source as Ptr, offset as integer, width as integer, height as integer) as picture"),
    GLOBAL(PtrRGBtoPictureQZV,
           "PtrRGBtoPictureQZV(source as Ptr, offset as integer, width as integer, height as integer) as picture"),
    GLOBAL(PtrARGBtoPictureQZV_littleEndian,
           "PtrARGBtoPictureQZV(source as Ptr, offset as integer, width as integer, height as integer, LittleEndian as "
           "boolean) as picture"),
    GLOBAL(PtrGrayToPictureQZV,
           "PtrGrayToPictureQZV(source as Ptr, offset as integer, width as integer, height as integer, PixelByteSize "
           "as integer) as picture"),
    GLOBAL(PtrGrayToPictureQZV_tint,
           "PtrGrayToPictureQZV(source as Ptr, offset as integer, width as integer, height as integer, PixelByteSize "
           "as integer, Red as integer, Blue as integer, Green as integer) as picture"),
    GLOBAL(PtrGrayToPictureQZV_tables,
           "PtrGrayToPictureQZV(source as Ptr, offset as integer, width as integer, height as integer, PixelByteSize "
           "as integer, Red() as integer, Blue() as integer, Green() as integer) as picture"),
    GLOBAL(MemoryblockARGBtoPictureQZV_dest,
           "MemoryblockARGBtoPictureQZV(dest as picture, source as memoryblock, offset as integer, width as integer, "
           "height as integer) as picture"),
    GLOBAL(MemoryblockABGRtoPictureQZV_dest,
           "MemoryblockABGRtoPictureQZV(dest as picture, source as memoryblock, offset as integer, width as integer, "
           "height as integer) as picture"),
    GLOBAL(MemoryblockBGRAtoPictureQZV_dest,
           "MemoryblockBGRAtoPictureQZV(dest as picture, source as memoryblock, offset as integer, width as integer, "
           "height as integer) as picture"),
    GLOBAL(MemoryblockRGBAtoPictureQZV_dest,
           "MemoryblockRGBAtoPictureQZV(dest as picture, source as memoryblock, offset as integer, width as integer, "
           "height as integer, FlipVertically as boolean=false) as picture"),
    GLOBAL(MemoryblockBGRtoPictureQZV_dest,
           "MemoryblockBGRtoPictureQZV(dest as picture, source as memoryblock, offset as integer, width as integer, "
           "height as integer) as picture"),
    GLOBAL(MemoryblockRGBtoPictureQZV_dest,
           "MemoryblockRGBtoPictureQZV(dest as picture, source as memoryblock, offset as integer, width as integer, "
           "height as integer) as picture"),
    GLOBAL(MemoryblockARGBtoPictureQZV,
           "MemoryblockARGBtoPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer) "
           "as picture"),
    GLOBAL(MemoryblockABGRtoPictureQZV,
           "MemoryblockABGRtoPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer) "
           "as picture"),
    GLOBAL(MemoryblockBGRAtoPictureQZV,
           "MemoryblockBGRAtoPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer) "
           "as picture"),
    GLOBAL(MemoryblockRGBAtoPictureQZV,
           "MemoryblockRGBAtoPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer, "
           "FlipVertically as boolean=false) as picture"),
    GLOBAL(MemoryblockBGRtoPictureQZV,
           "MemoryblockBGRtoPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer) "
           "as picture"),
    GLOBAL(MemoryblockRGBtoPictureQZV,
           "MemoryblockRGBtoPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer) "
           "as picture"),
    GLOBAL(MemoryblockARGBtoPictureQZV_littleEndian,
           "MemoryblockARGBtoPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer, "
           "LittleEndian as boolean) as picture"),
    GLOBAL(MemoryblockGrayToPictureQZV,
           "MemoryblockGrayToPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer, "
           "PixelByteSize as integer) as picture"),
    GLOBAL(MemoryblockGrayToPictureQZV_tint,
           "MemoryblockGrayToPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer, "
           "PixelByteSize as integer, Red as integer, Blue as integer, Green as integer) as picture"),
    GLOBAL(MemoryblockGrayToPictureQZV_tables,
           "MemoryblockGrayToPictureQZV(source as memoryblock, offset as integer, width as integer, height as integer, "
           "PixelByteSize as integer, Red() as integer, Blue() as integer, Green() as integer) as picture"),
};

REALmethodDefinition pictureMethods[kPictureMethodCount] = {
    OF_PICTURE(
        CopyRGBtoMemoryblockQZV,
        "CopyRGBtoMemoryblockQZV(destination as memoryblock, offset as integer, StartLine as integer = 0, EndLine "
        "as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(
        CopyBGRtoMemoryblockQZV,
        "CopyBGRtoMemoryblockQZV(destination as memoryblock, offset as integer, StartLine as integer = 0, EndLine "
        "as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(
        CopyARGBtoMemoryblockQZV,
        "CopyARGBtoMemoryblockQZV(destination as memoryblock, offset as integer, AlphaValue as integer, StartLine "
        "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(
        CopyABGRtoMemoryblockQZV,
        "CopyABGRtoMemoryblockQZV(destination as memoryblock, offset as integer, AlphaValue as integer, StartLine "
        "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(
        CopyRGBAtoMemoryblockQZV,
        "CopyRGBAtoMemoryblockQZV(destination as memoryblock, offset as integer, AlphaValue as integer, StartLine "
        "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(
        CopyBGRAtoMemoryblockQZV,
        "CopyBGRAtoMemoryblockQZV(destination as memoryblock, offset as integer, AlphaValue as integer, StartLine "
        "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(
        CopyARGBtoMemoryblockQZV_mask,
        "CopyARGBtoMemoryblockQZV(destination as memoryblock, offset as integer, MaskForAlpha as picture, StartLine "
        "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(
        CopyABGRtoMemoryblockQZV_mask,
        "CopyABGRtoMemoryblockQZV(destination as memoryblock, offset as integer, MaskForAlpha as picture, StartLine "
        "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(
        CopyRGBAtoMemoryblockQZV_mask,
        "CopyRGBAtoMemoryblockQZV(destination as memoryblock, offset as integer, MaskForAlpha as picture, StartLine "
        "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(
        CopyBGRAtoMemoryblockQZV_mask,
        "CopyBGRAtoMemoryblockQZV(destination as memoryblock, offset as integer, MaskForAlpha as picture, StartLine "
        "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(
        CopyXRGBtoMemoryblockQZV,
        "CopyXRGBtoMemoryblockQZV(destination as memoryblock, offset as integer, StartLine as integer = 0, EndLine "
        "as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(
        CopyXBGRtoMemoryblockQZV,
        "CopyXBGRtoMemoryblockQZV(destination as memoryblock, offset as integer, StartLine as integer = 0, EndLine "
        "as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(
        CopyRGBXtoMemoryblockQZV,
        "CopyRGBXtoMemoryblockQZV(destination as memoryblock, offset as integer, StartLine as integer = 0, EndLine "
        "as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(
        CopyBGRXtoMemoryblockQZV,
        "CopyBGRXtoMemoryblockQZV(destination as memoryblock, offset as integer, StartLine as integer = 0, EndLine "
        "as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(CopyARGBtoMemoryblockQZV_littleEndian,
               "CopyARGBtoMemoryblockQZV(destination as memoryblock, offset as integer, LittleEndian as boolean, "
               "AlphaValue as integer, StartLine as integer = 0, EndLine as Integer = -1, Yield as integer = 0, "
               "DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(
        CopyRtoMemoryblockQZV,
        "CopyRtoMemoryblockQZV(destination as memoryblock, offset as integer, PixelByteSize as integer, StartLine "
        "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(
        CopyGtoMemoryblockQZV,
        "CopyGtoMemoryblockQZV(destination as memoryblock, offset as integer, PixelByteSize as integer, StartLine "
        "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
    OF_PICTURE(
        CopyBtoMemoryblockQZV,
        "CopyBtoMemoryblockQZV(destination as memoryblock, offset as integer, PixelByteSize as integer, StartLine "
        "as integer = 0, EndLine as Integer = -1, Yield as integer = 0, DestRowBytes as integer = 0) as boolean"),
};

#undef GLOBAL
#undef OF_PICTURE
#undef PIXELBRIDGE_ROW

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
