// The host functions reached through the resolver: one row each, expanded by the plug-in into
// its cached wrappers and by a host into its resolver table.
//
// X(Wrapper, "lookup name", result, (parameters))
#pragma once

#include "host/host_types.h"

// Asked for directly by the entry point, once each; no wrapper and no cache slot.
#define PIXELBRIDGE_DIRECT_HOST_FUNCTIONS(X)                         \
  X(RegisterPluginVersion, "RegisterPluginVersion", void, (int32_t)) \
  X(REALGetRBVersion, "REALGetRBVersion", double, ())

// Looked up on first use and cached; a missing one yields its result type's zero.
#define PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS(X)                                                                    \
  X(REALRegisterMethod, "PluginRegisterMethod", void, (REALmethodDefinition*))                                   \
  X(REALRegisterClassExtension, "PluginRegisterClassExtension", void, (REALclassDefinition*))                    \
  X(REALGetClassRef, "pluginObjectType", void*, (const char*))                                                   \
  X(REALLockObject, "REALLockObject", void, (REALobjectStruct*))                                                 \
  X(REALUnlockObject, "REALUnlockObject", void, (REALobjectStruct*))                                             \
  X(REALnewInstance, "PluginNewInstance", REALobjectStruct*, (const char*))                                      \
  X(REALBuildString, "REALBuildString", REALstringStruct*, (const char*, int32_t))                               \
  X(REALSetStringEncoding, "REALSetStringEncoding", void, (REALstringStruct*, uint32_t))                         \
  X(REALUnlockString, "REALUnlockString", void, (REALstringStruct*))                                             \
  X(REALGetPropValueInt32, "REALGetPropValueInt", bool, (REALobjectStruct*, const char*, int32_t*))              \
  X(REALGetPropValueUInt8, "REALGetPropValueBool", bool, (REALobjectStruct*, const char*, unsigned char*))       \
  X(REALSetPropValueInt32, "REALSetPropValueInt", void, (REALobjectStruct*, const char*, int32_t))               \
  X(REALSetPropValueString, "REALSetPropValueString", void, (REALobjectStruct*, const char*, REALstringStruct*)) \
  X(REALRaiseException, "RuntimeRaiseException", void, (REALobjectStruct*))                                      \
  X(REALNewPicture, "newPicture", REALpictureStruct*, (int32_t, int32_t, int32_t))                               \
  X(REALLockPictureDescription, "REALLockPictureDescription", bool,                                              \
    (REALpictureStruct*, REALpictureDescription*, RBPixelType))                                                  \
  X(REALUnlockPictureDescription, "unlockPictureDescription", void, (REALpictureStruct*))                        \
  X(REALPictureClearCache, "REALPictureClearCache", void, (REALpictureStruct*))                                  \
  X(REALGetPictureGraphics, "pluginPictureGraphicsGetter", REALobjectStruct*, (REALpictureStruct*))              \
  X(REALLoadObjectMethod, "REALLoadObjectMethod", void*, (REALobjectStruct*, const char*))                       \
  X(REALMemoryBlockGetPtr, "memoryBlockGetPtr", void*, (REALmemoryBlockStruct*))                                 \
  X(REALMemoryBlockGetSize, "memoryBlockGetSize", int32_t, (REALmemoryBlockStruct*))                             \
  X(REALGetArrayUBound, "RuntimeUBound", int32_t, (REALarrayInteger*))                                           \
  X(REALReadArrayInt, "RuntimeDirectReadIntArray", int32_t, (REALarrayInteger*, int32_t))                        \
  X(REALYieldToRB, "REALYieldToRB", void, ())

// The method that "REALLoadObjectMethod" returns for the graphics object's DrawPicture.
using DrawPictureMethod = void (*)(REALobjectStruct* graphics, REALpictureStruct* image, int32_t x, int32_t y,
                                   int32_t w, int32_t h, int32_t sx, int32_t sy, int32_t sw, int32_t sh);
constexpr const char kDrawPictureDeclaration[] =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
    "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";

// Text-encoding code of 7-bit ASCII, the encoding of every message the plug-in builds.
constexpr uint32_t kASCIIEncoding = 0x600;
