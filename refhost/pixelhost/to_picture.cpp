// pixelhost to-picture: a raw file through one of the global …toPictureQZV methods into a PNG.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "refhost/model/method_names.h"
#include "refhost/pixelhost/commands.h"
#include "refhost/pixelhost/files.h"

namespace pixelhost {
namespace {

const char kSourceLayouts[] = "ARGB ABGR BGRA RGBA BGR RGB GRAY";

std::string MethodName(const std::string& layout, bool fromPtr) {
  const std::string source = fromPtr ? "Ptr" : "Memoryblock";
  return layout == "GRAY" ? source + "GrayToPictureQZV" : source + layout + "toPictureQZV";
}

// The parameters the method must have, from the layout and the options given.
std::set<std::string> SourceParams(const std::string& layout, const CommandLine& line) {
  std::set<std::string> required{"source", "offset", "width", "height"};
  if (line.Has("--dest")) required.insert("dest");
  if (line.Has("--little-endian")) required.insert("LittleEndian");
  if (line.Has("--pixel-byte-size") || layout == "GRAY") required.insert("PixelByteSize");
  if (line.Has("--tint")) required.insert({"Red", "Blue", "Green"});
  if (line.Has("--tables")) required.insert({"Red()", "Blue()", "Green()"});
  return required;
}

// A Ptr carries no size, so the file must hold every byte the method will read.
void CheckPtrSource(const std::string& layout, const CommandLine& line, size_t available) {
  const int32_t width = line.Int("--width", 0), height = line.Int("--height", 0), offset = line.Int("--offset", 0);
  const int64_t read =
      refhost::SourceBytesRead(MethodName(layout, true), offset, width, height, line.Int("--pixel-byte-size", 1));
  if (read > static_cast<int64_t>(available))  // -1 where the plug-in refuses the arguments
    throw Failure(line.operands()[1] + " holds " + std::to_string(available) + " bytes, too few for " +
                  std::to_string(width) + "x" + std::to_string(height) + " " + layout + " pixels at offset " +
                  std::to_string(offset));
}

// The bytes of its source the method reads, and no more of the input, which may be endless
// (a device): more than a memory block can hold, its size being a 32-bit number to the
// plug-in, is refused with the picture's size.
size_t SourceBytes(const std::string& layout, const CommandLine& line, bool fromPtr) {
  const int32_t width = line.Int("--width", 0), height = line.Int("--height", 0), offset = line.Int("--offset", 0);
  const int64_t read =
      refhost::SourceBytesRead(MethodName(layout, fromPtr), offset, width, height, line.Int("--pixel-byte-size", 1));
  if (read > INT32_MAX)
    throw Failure("a " + std::to_string(width) + "x" + std::to_string(height) + " " + layout + " picture at offset " +
                  std::to_string(offset) + " reads " + (read == INT64_MAX ? "more than 2^63" : std::to_string(read)) +
                  " bytes of its source, more than a memory block holds (2147483647)");
  return read < 0 ? 0 : static_cast<size_t>(read);  // -1 where the plug-in refuses the arguments
}

int RunToPicture(const CommandLine& line) {
  const std::string& layout = line.operands()[0];
  if (!IsOneOf(layout, kSourceLayouts))
    throw UsageError("unknown layout \"" + layout + "\"; to-picture knows " + kSourceLayouts);
  if (!line.Has("--width") || !line.Has("--height")) throw UsageError("--width and --height are needed");
  if (line.Has("--tint") && line.Has("--tables")) throw UsageError("--tint and --tables exclude each other");
  const bool fromPtr = line.Has("--ptr");
  std::set<std::string> optional;
  if (line.Has("--flip")) optional.insert("FlipVertically");
  Session session(line);
  refhost::Host& host = session.host();
  const refhost::RegisteredMethod& method =
      session.Need(MethodName(layout, fromPtr), SourceParams(layout, line), optional);

  const std::vector<uint8_t> bytes = ReadBytes(line.operands()[1], SourceBytes(layout, line, fromPtr));
  if (fromPtr) CheckPtrSource(layout, line, bytes.size());
  refhost::MemoryBlock* block = host.NewMemoryBlock(bytes.size());
  if (!bytes.empty()) memcpy(block->data(), bytes.data(), bytes.size());

  NamedArgs args{{"source", fromPtr ? refhost::Arg::Ptr(block->data()) : refhost::Arg(block)},
                 {"offset", line.Int("--offset", 0)},
                 {"width", line.Int("--width", 0)},
                 {"height", line.Int("--height", 0)},
                 {"FlipVertically", refhost::Arg::Bool(line.Has("--flip"))},
                 {"LittleEndian", refhost::Arg::Bool(line.Has("--little-endian"))},
                 {"PixelByteSize", line.Int("--pixel-byte-size", 1)}};
  if (line.Has("--dest")) args.emplace("dest", LoadPicture(session, line.Text("--dest")));
  const char* const channels[] = {"Red", "Blue", "Green"};  // declared order: red, green, blue
  if (line.Has("--tint")) {
    const std::vector<std::string> factors = line.List("--tint", 3);
    for (int i = 0; i < 3; ++i) args.emplace(channels[i], ParseInt(factors[i], "--tint"));
  }
  if (line.Has("--tables")) {
    const std::vector<std::string> files = line.List("--tables", 3);
    for (int i = 0; i < 3; ++i) args.emplace(std::string(channels[i]) + "()", host.NewIntArray(ReadIntegers(files[i])));
  }

  const refhost::CallResult result = session.Call(method, nullptr, args);
  ExpectClean(result);
  const auto* picture = dynamic_cast<const refhost::Picture*>(result.picture);
  if (picture == nullptr) throw Failure(method.parsed.name + " returned nil");
  SavePicture(*picture, line.operands()[2]);
  printf("%s: %dx%d picture written to %s\n", method.parsed.name.c_str(), picture->width(), picture->height(),
         line.operands()[2].c_str());
  return 0;
}

}  // namespace

Command ToPictureCommand() {
  return {"to-picture",
          "LAYOUT IN.raw OUT.png --width W --height H [--offset N] [--flip] [--little-endian] [--dest D.png]\n"
          "      [--pixel-byte-size N] [--tint R,G,B] [--tables R.txt,G.txt,B.txt] [--ptr] " +
              std::string(kHostUsage) + "\n      LAYOUT: " + kSourceLayouts,
          3,
          WithHostOptions({"--width", "--height", "--offset", "--dest", "--pixel-byte-size", "--tint", "--tables"}),
          {"--flip", "--little-endian", "--ptr"},
          RunToPicture};
}

}  // namespace pixelhost
