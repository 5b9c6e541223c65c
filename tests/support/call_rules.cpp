// The rules every call keeps: documented exceptions only, and a failure result with each.
#include "tests/support/call_rules.h"

namespace pixeltest {
namespace {

struct Documented {
  const char* class_name;
  const char* message;
};

// Spelled out here rather than taken from the plug-in, so that a changed message shows.
const Documented kDocumented[] = {
    {"NilObjectException", "Picture is nil"},
    {"NilObjectException", "Mask Picture is nil"},
    {"NilObjectException", "Memoryblock is nil"},
    {"UnsupportedOperationException", "width is too small. Must be >0."},
    {"UnsupportedOperationException", "height is too small. Must be >0."},
    {"UnsupportedOperationException", "offset is too small. Must be >=0."},
    {"UnsupportedOperationException", "PixelByteSize is too small. Must be >0."},
    {"OutOfBoundsException", "Memoryblock is too small."},
};

}  // namespace

bool IsDocumentedException(const refhost::RaisedException& exception) {
  const bool fallback = exception.class_name == "RuntimeException";
  for (const Documented& documented : kDocumented) {
    if (!fallback && exception.class_name != documented.class_name) continue;
    if (!exception.message || *exception.message == documented.message) return true;
  }
  return false;
}

std::vector<std::string> BrokenRules(const refhost::CallResult& result) {
  std::vector<std::string> broken;
  if (!result.called) broken.push_back("the call didn't run: " + result.error);
  if (result.exceptions.size() > 1) broken.push_back(std::to_string(result.exceptions.size()) + " exceptions raised");
  for (const refhost::RaisedException& exception : result.exceptions) {
    if (!IsDocumentedException(exception))
      broken.push_back("undocumented exception " + exception.class_name + ": " + exception.message.value_or("(none)"));
    if (exception.error_number.value_or(0) != 0) broken.push_back("ErrorNumber is not 0");
  }
  if (!result.exceptions.empty() && !Failed(result)) broken.push_back("raised an exception but didn't fail");
  return broken;
}

std::string NameLetters(const std::string& method) {
  if (method.find("Gray") != std::string::npos) return "Gray";
  const size_t start = method.rfind("Copy", 0) == 0 ? 4 : method.rfind("Ptr", 0) == 0 ? 3 : std::string("Memoryblock").size();
  return method.substr(start, method.find("to", start) - start);
}

int64_t SourceBytesRead(const std::string& method, int64_t offset, int64_t width, int64_t height,
                        int64_t pixelByteSize) {
  const bool gray = NameLetters(method) == "Gray";
  if (offset < 0 || width < 1 || height < 1 || (gray && pixelByteSize < 1)) return -1;
  // offset + count × step + last, or INT64_MAX when that doesn't fit.
  auto extent = [offset](int64_t count, int64_t step, int64_t last) {
    return count > (INT64_MAX - offset - last) / step ? INT64_MAX : offset + count * step + last;
  };
  // Gray samples lie PixelByteSize apart and only their first byte is read.
  if (gray) return extent(width * height - 1, pixelByteSize, 1);
  return extent(width * height, static_cast<int64_t>(NameLetters(method).size()), 0);
}

}  // namespace pixeltest
