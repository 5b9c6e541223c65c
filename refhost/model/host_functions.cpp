// Every host function of the plug-in interface, as the reference host implements it: the
// implementations, then the functions the resolver hands out, which log each call under the
// name the plug-in looked it up by and answer through an implementation or as failing.
#include <climits>
#include <cstring>
#include <string_view>
#include <type_traits>
#include <unordered_map>

#include "host/host_function_list.h"
#include "refhost/model/failing_functions.h"
#include "refhost/model/host.h"
#include "refhost/model/host_function_table.h"

namespace refhost {
namespace abi {
namespace {

Host& H() { return *Host::Current(); }

// Registration and host identity.
void RegisterPluginVersion(int32_t version) { H().SetControlVersion(version); }
double REALGetRBVersion() { return H().config().version; }
void REALRegisterMethod(REALmethodDefinition* record) { H().CaptureMethod(record); }
void REALRegisterClassExtension(REALclassDefinition* record) { H().CaptureClass(record); }
// A class reference is the address of a name that lives as long as the process.
void* REALGetClassRef(const char* name) {
  if (name == nullptr || !H().KnowsClass(name)) return nullptr;
  for (const char* known : kApplicationClasses)
    if (strcmp(known, name) == 0) return const_cast<char*>(known);
  return const_cast<char*>("class");
}

// Object lifetime.
void REALLockObject(REALobjectStruct* object) {
  if (object == nullptr) return H().Problem("REALLockObject on nil");
  H().Retain(H().Find(object));
}
void REALUnlockObject(REALobjectStruct* object) {
  if (object == nullptr) return H().Problem("REALUnlockObject on nil");
  H().Release(H().Find(object));
}
REALobjectStruct* REALnewInstance(const char* className) {
  if (className == nullptr || !H().KnowsClass(className) || H().config().uninstantiable.count(className))
    return nullptr;
  return static_cast<REALobjectStruct*>(H().Make<Instance>(className)->handle());
}

// Strings and properties.
REALstringStruct* REALBuildString(const char* bytes, int32_t length) {
  if (bytes == nullptr || length < 0) {
    H().Problem("REALBuildString without bytes");
    return nullptr;
  }
  return static_cast<REALstringStruct*>(H().Make<String>(std::string(bytes, static_cast<size_t>(length)))->handle());
}
void REALSetStringEncoding(REALstringStruct* text, uint32_t encoding) {
  if (auto* string = H().FindAs<String>(text)) string->encoding = encoding;
}
void REALUnlockString(REALstringStruct* text) { H().Release(H().FindAs<String>(text)); }
bool REALGetPropValueInt32(REALobjectStruct* object, const char* name, int32_t* value) {
  Object* found = H().Find(object);
  return found != nullptr && name != nullptr && value != nullptr && found->GetInt(name, value);
}
bool REALGetPropValueUInt8(REALobjectStruct* object, const char* name, unsigned char* value) {
  Object* found = H().Find(object);
  bool flag = false;
  if (found == nullptr || name == nullptr || value == nullptr || !found->GetBool(name, &flag)) return false;
  *value = flag ? 1 : 0;
  return true;
}
void REALSetPropValueInt32(REALobjectStruct* object, const char* name, int32_t value) {
  Object* found = H().Find(object);
  if (found != nullptr && (name == nullptr || !found->SetInt(name, value)))
    H().Problem("no integer property to set on " + found->class_name());
}
void REALSetPropValueString(REALobjectStruct* object, const char* name, REALstringStruct* value) {
  Object* found = H().Find(object);
  String* text = value != nullptr ? H().FindAs<String>(value) : nullptr;
  if (found != nullptr && (name == nullptr || !found->SetString(H(), name, text)))
    H().Problem("no string property to set on " + found->class_name());
}
void REALRaiseException(REALobjectStruct* exception) { H().Raise(H().Find(exception)); }

// Pictures.
REALpictureStruct* REALNewPicture(int32_t width, int32_t height, int32_t depth) {
  if (depth != 32) H().Problem("newPicture asked for depth " + std::to_string(depth));
  Picture* picture = H().MakeHostPicture(width, height);
  return picture != nullptr ? static_cast<REALpictureStruct*>(picture->handle()) : nullptr;
}
bool REALLockPictureDescription(REALpictureStruct* picture, REALpictureDescription* description, RBPixelType type) {
  auto* found = H().FindAs<Picture>(picture);
  return found != nullptr && found->Lock(description, type, H().config().lend_true_color);
}
void REALUnlockPictureDescription(REALpictureStruct* picture) {
  if (auto* found = H().FindAs<Picture>(picture)) found->Unlock();
}
void REALPictureClearCache(REALpictureStruct* picture) { H().FindAs<Picture>(picture); }
REALobjectStruct* REALGetPictureGraphics(REALpictureStruct* picture) {
  auto* found = H().FindAs<Picture>(picture);
  if (found == nullptr) return nullptr;
  H().Retain(found);
  return static_cast<REALobjectStruct*>(H().Make<Graphics>(found)->handle());
}
// Draws `image` into the graphics object's picture: the sw × sh area at (sx, sy) of the
// image fills the w × h area at (x, y), scaled by nearest pixel.
void DrawPicture(REALobjectStruct* graphics, REALpictureStruct* image, int32_t x, int32_t y, int32_t w, int32_t h,
                 int32_t sx, int32_t sy, int32_t sw, int32_t sh) {
  H().NoteCall("DrawPicture", graphics);
  auto* target = H().FindAs<Graphics>(graphics);
  auto* source = H().FindAs<Picture>(image);
  if (target == nullptr || source == nullptr || w <= 0 || h <= 0) return;
  if (sw <= 0) sw = source->width();
  if (sh <= 0) sh = source->height();
  for (int32_t row = 0; row < h; ++row) {
    for (int32_t column = 0; column < w; ++column) {
      const int64_t fromX = sx + static_cast<int64_t>(column) * sw / w;
      const int64_t fromY = sy + static_cast<int64_t>(row) * sh / h;
      if (fromX < 0 || fromY < 0 || fromX >= source->width() || fromY >= source->height()) continue;
      target->target()->SetPixel(x + column, y + row,
                                 source->GetPixel(static_cast<int32_t>(fromX), static_cast<int32_t>(fromY)));
    }
  }
}
void* REALLoadObjectMethod(REALobjectStruct* object, const char* declaration) {
  if (H().config().no_draw_method || H().FindAs<Graphics>(object) == nullptr || declaration == nullptr ||
      strcmp(declaration, kDrawPictureDeclaration) != 0)
    return nullptr;
  return reinterpret_cast<void*>(static_cast<DrawPictureMethod>(&DrawPicture));
}

// Memory blocks, arrays and yielding.
void* REALMemoryBlockGetPtr(REALmemoryBlockStruct* block) {
  auto* found = H().FindAs<MemoryBlock>(block);
  return found != nullptr ? found->data() : nullptr;
}
int32_t REALMemoryBlockGetSize(REALmemoryBlockStruct* block) {
  auto* found = H().FindAs<MemoryBlock>(block);
  if (found == nullptr) return 0;
  return found->size() > INT32_MAX ? INT32_MAX : static_cast<int32_t>(found->size());
}
int32_t REALGetArrayUBound(REALarrayInteger* array) {
  auto* found = H().FindAs<IntArray>(array);
  return found != nullptr ? static_cast<int32_t>(found->values().size()) - 1 : -1;
}
int32_t REALReadArrayInt(REALarrayInteger* array, int32_t index) {
  auto* found = H().FindAs<IntArray>(array);
  if (found == nullptr) return 0;
  if (index < 0 || static_cast<size_t>(index) >= found->values().size()) {
    H().Problem("array element " + std::to_string(index) + " read out of bounds");
    return 0;
  }
  return found->values()[static_cast<size_t>(index)];
}
void REALYieldToRB() {
  if (H().on_yield) H().on_yield();
}

}  // namespace
}  // namespace abi

namespace noted {
namespace {

// The object a call is logged with: its first argument, when that is a host object's handle.
template <typename T>
void* HandleOf(T first) {
  if constexpr (std::is_same_v<T, REALobjectStruct*> || std::is_same_v<T, REALpictureStruct*> ||
                std::is_same_v<T, REALmemoryBlockStruct*> || std::is_same_v<T, REALstringStruct*> ||
                std::is_same_v<T, REALarrayInteger*>)
    return first;
  else return nullptr;
}
template <typename T, typename... Rest>
void* FirstHandle(T first, Rest...) {
  return HandleOf(first);
}
void* FirstHandle() { return nullptr; }

// Each host function as the resolver hands it out: its call logged under its lookup name,
// then answered by its implementation or, where the host has it failing, as a host that can't
// do what was asked answers.
#define PIXELBRIDGE_NOTED_FUNCTION(wrapper, lookup, result, parameters)     \
  struct wrapper {                                                          \
    template <bool kFailing, typename... A>                                 \
    static result Call(A... args) {                                         \
      Host::Current()->NoteCall(lookup, FirstHandle(args...));              \
      if constexpr (kFailing) return failing::FailedAnswer<result>(lookup); \
      else return abi::wrapper(args...);                                    \
    }                                                                       \
  };
PIXELBRIDGE_DIRECT_HOST_FUNCTIONS(PIXELBRIDGE_NOTED_FUNCTION)
PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS(PIXELBRIDGE_NOTED_FUNCTION)
#undef PIXELBRIDGE_NOTED_FUNCTION

}  // namespace
}  // namespace noted

void* HostFunctionAddress(const char* name, bool failing) {
  struct Entry {
    const char* name;
    void* address;
    void* failing;
  };
#define PIXELBRIDGE_HOST_ENTRY(wrapper, lookup, result, parameters)                                  \
  {lookup, reinterpret_cast<void*>(static_cast<result(*) parameters>(&noted::wrapper::Call<false>)), \
   reinterpret_cast<void*>(static_cast<result(*) parameters>(&noted::wrapper::Call<true>))},
  static const Entry kTable[] = {PIXELBRIDGE_DIRECT_HOST_FUNCTIONS(PIXELBRIDGE_HOST_ENTRY)
                                     PIXELBRIDGE_WRAPPED_HOST_FUNCTIONS(PIXELBRIDGE_HOST_ENTRY)};
#undef PIXELBRIDGE_HOST_ENTRY
  // By name, hashed: plug-ins look their functions up anew for every host.
  static const std::unordered_map<std::string_view, const Entry*> kByName = [] {
    std::unordered_map<std::string_view, const Entry*> byName;
    for (const Entry& entry : kTable) byName[entry.name] = &entry;
    return byName;
  }();
  const auto found = kByName.find(name);
  if (found == kByName.end()) return nullptr;
  return failing ? found->second->failing : found->second->address;
}

}  // namespace refhost
