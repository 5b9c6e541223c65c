// pixelhost to-memory: a PNG through one of the picture's Copy…toMemoryblockQZV methods into
// a raw file.
#include <algorithm>
#include <climits>
#include <cstdio>

#include "refhost/pixelhost/commands.h"
#include "refhost/pixelhost/files.h"

namespace pixelhost {
namespace {

const char kCopyLayouts[] = "ARGB ABGR RGBA BGRA RGB BGR XRGB XBGR RGBX BGRX R G B";

// The parameters the method must have, from the layout and the options given.
std::set<std::string> CopyParams(const std::string& layout, const CommandLine& line) {
  const bool alphaLayout = layout.size() == 4 && layout.find('X') == std::string::npos;
  std::set<std::string> required{"destination", "offset"};
  if (line.Has("--mask")) required.insert("MaskForAlpha");
  else if (line.Has("--alpha") || alphaLayout) required.insert("AlphaValue");
  if (line.Has("--little-endian")) required.insert("LittleEndian");
  if (line.Has("--pixel-byte-size") || layout.size() == 1) required.insert("PixelByteSize");
  return required;
}

// Room for the lines the copy writes: the first at `offset`, one pitch apart. The measured
// picture (the mask, when there is one) gives the lines and the pixels per line.
size_t BlockSize(const refhost::Picture& measured, int64_t bytesPerPixel, const CommandLine& line) {
  const int64_t height = measured.height();
  const int64_t first = std::min<int64_t>(std::max(line.Int("--start-line", 0), 0), height - 1);
  const int64_t endLine = line.Int("--end-line", -1);
  const int64_t last = endLine < 0 ? height - 1 : std::min(endLine, height - 1);
  const int64_t lineBytes = measured.width() * bytesPerPixel;
  const int64_t pitch = std::max<int64_t>(lineBytes, line.Int("--dest-row-bytes", 0));
  const int64_t size = std::max(line.Int("--offset", 0), 0) + std::max<int64_t>(last - first + 1, 0) * pitch;
  if (size > INT32_MAX) throw Failure("the lines asked for need more than a memory block can hold");
  return static_cast<size_t>(size);
}

int RunToMemory(const CommandLine& line) {
  const std::string& layout = line.operands()[0];
  if (!IsOneOf(layout, kCopyLayouts))
    throw UsageError("unknown layout \"" + layout + "\"; to-memory knows " + kCopyLayouts);
  if (line.Has("--alpha") && line.Has("--mask")) throw UsageError("--alpha and --mask exclude each other");
  Session session(line);
  const refhost::RegisteredMethod& method =
      session.Need("Copy" + layout + "toMemoryblockQZV", CopyParams(layout, line));

  refhost::Picture* picture = LoadPicture(session, line.operands()[1]);
  refhost::Picture* mask = line.Has("--mask") ? LoadPicture(session, line.Text("--mask")) : nullptr;
  const int32_t pixelByteSize = line.Int("--pixel-byte-size", 1);
  const int64_t bytesPerPixel = layout.size() == 1 ? std::max(pixelByteSize, 1) : static_cast<int64_t>(layout.size());
  refhost::MemoryBlock* block = session.host().NewMemoryBlock(BlockSize(mask ? *mask : *picture, bytesPerPixel, line));

  NamedArgs args{{"destination", block},
                 {"offset", line.Int("--offset", 0)},
                 {"AlphaValue", line.Int("--alpha", 255)},
                 {"MaskForAlpha", mask},
                 {"LittleEndian", refhost::Arg::Bool(line.Has("--little-endian"))},
                 {"PixelByteSize", pixelByteSize}};
  const std::pair<const char*, const char*> passedOn[] = {{"--start-line", "StartLine"},
                                                          {"--end-line", "EndLine"},
                                                          {"--yield", "Yield"},
                                                          {"--dest-row-bytes", "DestRowBytes"}};
  for (const auto& option : passedOn)
    if (line.Has(option.first)) args.emplace(option.second, line.Int(option.first, 0));

  const refhost::CallResult result = session.Call(method, picture, args);
  ExpectClean(result);
  if (!result.boolean) throw Failure(method.parsed.name + " returned false");
  WriteBytes(line.operands()[2], block->data(), block->size());
  printf("%s: %dx%d picture, %zu bytes written to %s\n", method.parsed.name.c_str(), picture->width(),
         picture->height(), block->size(), line.operands()[2].c_str());
  return 0;
}

}  // namespace

Command ToMemoryCommand() {
  return {"to-memory",
          "LAYOUT IN.png OUT.raw [--alpha N | --mask M.png] [--offset N] [--start-line N] [--end-line N]\n"
          "      [--dest-row-bytes N] [--pixel-byte-size N] [--yield N] [--little-endian] " +
              std::string(kHostUsage) + "\n      LAYOUT: " + kCopyLayouts,
          3,
          WithHostOptions({"--alpha", "--mask", "--offset", "--start-line", "--end-line", "--dest-row-bytes",
                           "--pixel-byte-size", "--yield"}),
          {"--little-endian"},
          RunToMemory};
}

}  // namespace pixelhost
