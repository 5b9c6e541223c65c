// The host's binary contract, written down here on its own, against what the plug-in and
// the reference host both take from the plug-in's headers: a wrong name, type or constant
// there would be wrong on both sides alike and pass every other test.
#include <gtest/gtest.h>

#include <map>
#include <typeindex>

#include "host/host_function_list.h"
#include "platform/core_graphics.h"

namespace {

// Each host function the plug-in asks the resolver for, by lookup name, with its C signature;
// and, by its declaration, the method that "REALLoadObjectMethod" is asked for on a graphics
// object.
const std::map<std::string, std::type_index> kContract = {
    {"RegisterPluginVersion", typeid(void(int32_t))},
    {"REALGetRBVersion", typeid(double(void))},
    {"PluginRegisterMethod", typeid(void(REALmethodDefinition*))},
    {"PluginRegisterClassExtension", typeid(void(REALclassDefinition*))},
    {"pluginObjectType", typeid(void*(const char*))},
    {"REALLockObject", typeid(void(REALobjectStruct*))},
    {"REALUnlockObject", typeid(void(REALobjectStruct*))},
    {"PluginNewInstance", typeid(REALobjectStruct*(const char*))},
    {"REALBuildString", typeid(REALstringStruct*(const char*, int32_t))},
    {"REALSetStringEncoding", typeid(void(REALstringStruct*, uint32_t))},
    {"REALUnlockString", typeid(void(REALstringStruct*))},
    {"REALGetPropValueInt", typeid(bool(REALobjectStruct*, const char*, int32_t*))},
    {"REALGetPropValueBool", typeid(bool(REALobjectStruct*, const char*, unsigned char*))},
    {"REALSetPropValueInt", typeid(void(REALobjectStruct*, const char*, int32_t))},
    {"REALSetPropValueString", typeid(void(REALobjectStruct*, const char*, REALstringStruct*))},
    {"RuntimeRaiseException", typeid(void(REALobjectStruct*))},
    {"newPicture", typeid(REALpictureStruct*(int32_t, int32_t, int32_t))},
    {"REALLockPictureDescription", typeid(bool(REALpictureStruct*, REALpictureDescription*, uint32_t))},
    {"unlockPictureDescription", typeid(void(REALpictureStruct*))},
    {"REALPictureClearCache", typeid(void(REALpictureStruct*))},
    {"pluginPictureGraphicsGetter", typeid(REALobjectStruct*(REALpictureStruct*))},
    {"REALLoadObjectMethod", typeid(void*(REALobjectStruct*, const char*))},
    {"memoryBlockGetPtr", typeid(void*(REALmemoryBlockStruct*))},
    {"memoryBlockGetSize", typeid(int32_t(REALmemoryBlockStruct*))},
    {"RuntimeUBound", typeid(int32_t(REALarrayInteger*))},
    {"RuntimeDirectReadIntArray", typeid(int32_t(REALarrayInteger*, int32_t))},
    {"REALYieldToRB", typeid(void(void))},
    {"DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
     "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)",
     typeid(void(REALobjectStruct*, REALpictureStruct*, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t,
                 int32_t))}};

// The host function list, which the plug-in and the reference host both expand, and
// DrawPicture's declaration and method type, against the contract: names and C types.
TEST(Contract, HostFunctionsAsTheContractHasThem) {
  std::map<std::string, std::type_index> listed = {
      {kDrawPictureDeclaration, typeid(std::remove_pointer_t<DrawPictureMethod>)}};
#define PIXELTEST_LISTED(wrapper, lookup, result, parameters) listed.emplace(lookup, typeid(result parameters));
  PIXELBRIDGE_DIRECT_HOST_FUNCTIONS(PIXELTEST_LISTED)
  PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS(PIXELTEST_LISTED)
#undef PIXELTEST_LISTED
  for (const auto& [name, type] : listed) {
    const auto agreed = kContract.find(name);
    if (agreed == kContract.end()) ADD_FAILURE() << "the list has " << name << ", the contract not";
    else EXPECT_TRUE(agreed->second == type) << name << " is " << type.name() << ", not " << agreed->second.name();
  }
  for (const auto& [name, type] : kContract) EXPECT_EQ(listed.count(name), 1u) << "the contract has " << name;
}

TEST(Contract, SharedConstantsAsTheContractHasThem) {
  EXPECT_EQ(kRBPixelTypeBitmapContext, 8u);
  EXPECT_EQ(kRBPixelTypeTrueColor, 10u);
  EXPECT_EQ(kASCIIEncoding, 0x600u);
  EXPECT_EQ(kCGBitmapAlphaInfoMask, 0x1Fu);
}

}  // namespace
