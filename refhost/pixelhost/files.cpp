// Reading and writing pixelhost's files; every failure names the file.
#include "refhost/pixelhost/files.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#if PIXELBRIDGE_WITH_LIBGD
#include "refhost/model/png_io.h"
#endif

namespace pixelhost {

std::vector<uint8_t> ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw Failure("cannot open " + path + ": " + strerror(errno));
  try {
    return std::vector<uint8_t>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  } catch (const std::ios_base::failure&) {  // a directory, for one
    throw Failure("cannot read " + path + ": " + strerror(errno));
  }
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
