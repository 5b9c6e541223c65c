// The rules every call of a registered method keeps, whatever its arguments and host:
// shared by the fault tests and the fuzzer, so free of any test framework.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "refhost/host.h"

namespace pixeltest {

// One of the plug-in's exception classes with its own message, or "RuntimeException" with
// any of them (the host couldn't make the class). No message when the host couldn't build
// or set one.
bool IsDocumentedException(const refhost::RaisedException& exception);

// False or nil: what a method returns when it didn't do its work.
inline bool Failed(const refhost::CallResult& result) { return !result.boolean && result.picture == nullptr; }

// What a call broke of these rules: it ran, raised at most one exception, a documented one,
// and returned its failure result when it raised. Reference and lock problems, which the
// host reports itself, are not repeated here.
std::vector<std::string> BrokenRules(const refhost::CallResult& result);

// The bytes of a pixel as the method's name spells them, first byte first:
// "CopyRGBAtoMemoryblockQZV" gives "RGBA", "PtrRtoPictureQZV" "R", the gray methods "Gray".
std::string NameLetters(const std::string& method);

// The bytes from a source's start that a memory-to-picture method named `method` reads for
// these arguments, which its caller must supply (a Ptr carries no size); -1 when the
// arguments are refused before anything is read.
int64_t SourceBytesRead(const std::string& method, int64_t offset, int64_t width, int64_t height,
                        int64_t pixelByteSize);

}  // namespace pixeltest
