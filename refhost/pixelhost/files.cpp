// Reading and writing pixelhost's files; every failure names the file.
#include "refhost/pixelhost/files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>

#if PIXELBRIDGE_WITH_LIBGD
#include "refhost/model/png_io.h"
#endif

namespace pixelhost {

std::vector<uint8_t> ReadBytes(const std::string& path, size_t most) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw Failure("cannot open " + path + ": " + strerror(errno));
  std::vector<uint8_t> bytes;
  char chunk[1 << 16];
  while (bytes.size() < most) {
    in.read(chunk, static_cast<std::streamsize>(std::min(sizeof chunk, most - bytes.size())));
    if (in.gcount() == 0) break;
    bytes.insert(bytes.end(), chunk, chunk + in.gcount());
  }
  if (in.bad()) throw Failure("cannot read " + path + ": " + strerror(errno));  // a directory, for one
  return bytes;
}

void WriteBytes(const std::string& path, const uint8_t* bytes, size_t size) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  if (out) out.write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(size));
  if (!out) throw Failure("cannot write " + path);
}

std::vector<int32_t> ReadIntegers(const std::string& path) {
  std::vector<uint8_t> bytes = ReadBytes(path);
  std::string text(bytes.begin(), bytes.end());
  for (char& c : text)
    if (c == ',' || c == '\n' || c == '\r' || c == '\t') c = ' ';
  std::vector<int32_t> values;
  for (size_t start = text.find_first_not_of(' '); start != std::string::npos;) {
    const size_t end = text.find(' ', start);
    const std::string item = text.substr(start, end - start);
    try {
      values.push_back(ParseInt(item, path));
    } catch (const UsageError&) {
      throw Failure(path + ": \"" + item + "\" is not a 32-bit integer");
    }
    start = text.find_first_not_of(' ', end);
  }
  return values;
}

#if PIXELBRIDGE_WITH_LIBGD
refhost::Picture* LoadPicture(Session& session, const std::string& path) {
  std::string error;
  refhost::Picture* picture = refhost::LoadPng(session.host(), path, session.host().HostPictureSpec(1, 1), &error);
  if (picture == nullptr) throw Failure(error);
  return picture;
}

void SavePicture(const refhost::Picture& picture, const std::string& path) {
  std::string error;
  if (!refhost::SavePng(picture, path, &error)) throw Failure(error);
}
#endif

}  // namespace pixelhost
