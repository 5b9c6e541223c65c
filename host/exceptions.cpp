// Raising host exceptions, with a fallback for every host function that may be missing.
#include "host/exceptions.h"

#include <cstring>

#include "host/host_functions.h"

namespace {
REALstringStruct* BuildMessage(const char* message) {
  if (message == nullptr) return nullptr;
  size_t length = strlen(message);
  if (length == 0) return nullptr;
  REALstringStruct* text = REALBuildString(message, static_cast<int32_t>(length));
  if (text != nullptr) REALSetStringEncoding(text, kASCIIEncoding);
  return text;
}
}  // namespace

void RaiseException(const char* className, const char* message) {
  REALstringStruct* text = BuildMessage(message);
  REALobjectStruct* exception = REALnewInstance(className);
  if (exception == nullptr) exception = REALnewInstance(kRuntimeException);
  if (exception != nullptr) {
    REALSetPropValueString(exception, "Message", text);
    REALSetPropValueInt32(exception, "ErrorNumber", 0);
    REALRaiseException(exception);
    REALUnlockObject(exception);
  }
  if (text != nullptr) REALUnlockString(text);
}
