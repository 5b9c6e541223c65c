// Files that pixelhost reads and writes: raw bytes, integer lists and (with libgd) PNGs.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "refhost/pixelhost/session.h"

namespace pixelhost {

// The file's bytes, at most `most` of them: an endless input (a device, a pipe) ends there.
std::vector<uint8_t> ReadBytes(const std::string& path, size_t most = SIZE_MAX);
void WriteBytes(const std::string& path, const uint8_t* bytes, size_t size);
// Decimal integers separated by blanks, newlines or commas.
std::vector<int32_t> ReadIntegers(const std::string& path);

#if PIXELBRIDGE_WITH_LIBGD
// A PNG of any kind, as a picture of the kind the session's host makes.
refhost::Picture* LoadPicture(Session& session, const std::string& path);
void SavePicture(const refhost::Picture& picture, const std::string& path);
#endif

}  // namespace pixelhost
