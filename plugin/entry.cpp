// The entry point: learn the host's version, adapt the records to it and register them.
#include <climits>
#include <cstdlib>
#include <cstring>

#include "host/host_function_list.h"
#include "platform/allocation.h"
#include "plugin/registration.h"

int32_t CurrentREALControlVersion = 0;

namespace {
constexpr RecordWord kUnfixedFlagBits = 0x1C0000;  // bits 18, 19 and 20
constexpr RecordWord kUnfixedFlag18 = 0x40000;
constexpr RecordWord kUnfixedFlag19 = 0x80000;
constexpr RecordWord kFlag2 = 0x4;
constexpr RecordWord kFlag3 = 0x8;
constexpr double kFirstHostWithMovedFlags = 2010.029;

int32_t ChooseControlVersion(double version) {
  if (version >= 2013.03) return 12;
  if (version >= 2013.0) return 11;
  if (version >= 2012.0) return 10;
  return 9;
}

// Hosts from 2010.029 read bits 18 and 19 at bits 2 and 3; no host reads bits 18 to 20.
void FixFlags(RecordWord& flags) {
  if (rbversion >= kFirstHostWithMovedFlags) {
    if (flags & kUnfixedFlag18) flags |= kFlag2;
    if (flags & kUnfixedFlag19) flags |= kFlag3;
  }
  flags &= ~kUnfixedFlagBits;
}

template <typename Record>
void FixListFlags(Record* list, intptr_t count) {
  if (list == nullptr) return;
  for (intptr_t i = 0; i < count; ++i) FixFlags(list[i].flags);
}

void FixAllFlags() {
  FixFlags(pictureClass.flags);
  FixListFlags(pictureClass.methods, pictureClass.methodCount);
  FixListFlags(pictureClass.secondMethods, pictureClass.secondMethodCount);
  FixListFlags(pictureClass.properties, pictureClass.propertyCount);
  FixListFlags(pictureClass.secondProperties, pictureClass.secondPropertyCount);
  FixListFlags(globalMethods, kGlobalMethodCount);
}

// A list of `count` records of `fromWords` words, each cut to its first `toWords` words in a
// new zero-filled array. The array is made only for a non-empty list whose new size lies
// between 1 and 2^31 − 1 bytes; *failed tells a refused allocation from an empty list.
RecordWord* CutRecords(const void* list, intptr_t count, size_t fromWords, size_t toWords, bool* failed) {
  if (list == nullptr || count == 0) return nullptr;
  const int64_t recordBytes = static_cast<int64_t>(toWords * sizeof(RecordWord));
  if (count < 0 || count > INT32_MAX / recordBytes) return nullptr;
  auto* cut = static_cast<RecordWord*>(PlatformCalloc(static_cast<size_t>(count), toWords * sizeof(RecordWord)));
  if (cut == nullptr) {
    *failed = true;
    return nullptr;
  }
  const auto* from = static_cast<const RecordWord*>(list);
  for (intptr_t i = 0; i < count; ++i) memcpy(cut + i * toWords, from + i * fromWords, toWords * sizeof(RecordWord));
  return cut;
}

constexpr size_t kVersion9WordsPerProperty = 10;

RecordWord* CutProperties(const REALproperty* list, intptr_t count, bool* failed) {
  return CutRecords(list, count, kWordsPerProperty, kVersion9WordsPerProperty, failed);
}

// Rewrites pictureClass in the layout of version-9 hosts. When an array can't be allocated
// the class is left as it was and false is returned: it then isn't registered at all.
bool ConvertClassToVersion9() {
  const REALclassDefinition& from = pictureClass;
  auto* to = static_cast<REALclassDefinition*>(PlatformCalloc(1, sizeof(REALclassDefinition)));
  if (to == nullptr) return false;
  bool failed = false;
  to->version = 9;
  to->name = from.name;
  memcpy(to->carried2, from.carried2, sizeof to->carried2);
  to->properties = reinterpret_cast<REALproperty*>(CutProperties(from.properties, from.propertyCount, &failed));
  to->propertyCount = from.propertyCount;
  to->methods = reinterpret_cast<REALmethodDefinition*>(
      CutRecords(from.methods, from.methodCount, kWordsPerMethod, kVersion9WordsPerMethod, &failed));
  to->methodCount = from.methodCount;
  to->records4 = CutRecords(from.records4, from.records4Count, 4, 2, &failed);
  to->records4Count = from.records4Count;
  memcpy(to->carried13, from.carried13, sizeof to->carried13);
  to->records5 = CutRecords(from.records5, from.records5Count, 5, 3, &failed);
  to->records5Count = from.records5Count;
  to->flags = from.flags;
  to->secondProperties =
      reinterpret_cast<REALproperty*>(CutProperties(from.secondProperties, from.secondPropertyCount, &failed));
  to->secondPropertyCount = from.secondPropertyCount;
  to->secondMethods = reinterpret_cast<REALmethodDefinition*>(
      CutRecords(from.secondMethods, from.secondMethodCount, kWordsPerMethod, kVersion9WordsPerMethod, &failed));
  to->secondMethodCount = from.secondMethodCount;

  if (failed) {
    free(to->properties);
    free(to->methods);
    free(to->records4);
    free(to->records5);
    free(to->secondProperties);
    free(to->secondMethods);
    free(to);
    return false;
  }
  // Each four-word record learns where its two-word copy lives.
  for (intptr_t i = 0; to->records4 != nullptr && i < from.records4Count; ++i)
    from.records4[i * 4 + 1] = reinterpret_cast<RecordWord>(to->records4 + i * 2);
  pictureClass = *to;
  free(to);
  return true;
}

void RegisterPictureClass() {
  if (CurrentREALControlVersion > 9) {
    pictureClass.version = static_cast<RecordWord>(CurrentREALControlVersion);
  } else if (!ConvertClassToVersion9()) {
    return;
  }
  REALRegisterClassExtension(&pictureClass);
}
}  // namespace

RecordWord* FixProperties(const REALproperty* list, intptr_t count) {
  bool failed = false;
  return CutProperties(list, count, &failed);
}

extern "C" void REALPluginMain(HostResolver resolver) {
  gResolver = resolver;
  if (resolver == nullptr) return;
#define PIXELBRIDGE_ASK(wrapper, lookup, result, parameters) \
  const auto wrapper = reinterpret_cast<result(*) parameters>(resolver(lookup));
  // The host functions asked for here, once each, typed as the host's list has them.
  PIXELBRIDGE_DIRECT_HOST_FUNCTIONS(PIXELBRIDGE_ASK)
#undef PIXELBRIDGE_ASK
  if (REALGetRBVersion != nullptr) rbversion = REALGetRBVersion();
  CurrentREALControlVersion = ChooseControlVersion(rbversion);
  // A host without it can still take the records; it just isn't told their version.
  if (RegisterPluginVersion != nullptr) RegisterPluginVersion(CurrentREALControlVersion);
  FixAllFlags();
  RegisterPictureClass();
  for (REALmethodDefinition& method : globalMethods) REALRegisterMethod(&method);
}
