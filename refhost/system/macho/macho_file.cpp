// Reading a Mach-O slice: the universal header, the load commands, dyld's rebase and bind
// opcodes, the exports trie and the symbol table, every read checked against the slice's end.
#include "refhost/system/macho/macho_file.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace refhost::macho {
namespace {

// What makes a slice unreadable; ReadSlice turns it into its error.
struct Unreadable : std::runtime_error {
  using std::runtime_error::runtime_error;
};

constexpr uint32_t kUniversalMagic = 0xCAFEBABE, kMagic64 = 0xFEEDFACF;
constexpr uint32_t kSegment64 = 0x19, kSymbolTable = 0x2, kDyldInfo = 0x22, kDyldInfoOnly = 0x80000022;
constexpr uint32_t kChainedFixups = 0x80000034, kExportsTrie = 0x80000033;
constexpr uint32_t kLibraryCommands[] = {0xC, 0x80000018, 0x8000001F, 0x20, 0x80000023};  // load, weak, re-export,
                                                                                          // lazy, upward
constexpr uint8_t kPointer = 1;  // the one rebase and bind type of 64-bit images

uint32_t BigEndian32(const uint8_t* p) {
  return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
}

// Bytes from..to of the slice, read in order.
class Reader {
 public:
  Reader(const std::vector<uint8_t>& bytes, uint64_t from, uint64_t size)
      : bytes_(bytes), at_(from), end_(from + size) {
    if (from > bytes.size() || size > bytes.size() - from) throw Unreadable("a table runs past the end of the slice");
  }
  bool More() const { return at_ < end_; }
  uint64_t At() const { return at_; }
  void Seek(uint64_t to) { at_ = to; }
  uint8_t Byte() {
    if (at_ >= end_) throw Unreadable("a table of opcodes or exports runs past its end");
    return bytes_[at_++];
  }
  uint64_t Uleb() {
    uint64_t value = 0;
    uint8_t byte = 0;
    for (int shift = 0; shift == 0 || (byte & 0x80); shift += 7) {
      byte = Byte();
      if (shift < 64) value |= uint64_t{byte & 0x7Fu} << shift;
    }
    return value;
  }
  int64_t Sleb() {
    uint64_t value = 0;
    uint8_t byte = 0;
    int shift = 0;
    do {
      byte = Byte();
      if (shift < 64) value |= uint64_t{byte & 0x7Fu} << shift;
      shift += 7;
    } while (byte & 0x80);
    if (shift < 64 && (byte & 0x40)) value |= ~uint64_t{0} << shift;
    return static_cast<int64_t>(value);
  }
  std::string Text() {
    std::string text;
    for (uint8_t c = Byte(); c != 0; c = Byte()) text += static_cast<char>(c);
    return text;
  }

 private:
  const std::vector<uint8_t>& bytes_;
  uint64_t at_, end_;
};

template <typename T>
T Read(const std::vector<uint8_t>& bytes, uint64_t at) {
  if (at > bytes.size() || sizeof(T) > bytes.size() - at) throw Unreadable("a load command runs past the slice's end");
  T value;
  memcpy(&value, bytes.data() + at, sizeof value);
  return value;
}

std::string Name16(const std::vector<uint8_t>& bytes, uint64_t at) {
  Read<uint64_t>(bytes, at + 8);  // the 16 bytes are there
  const char* text = reinterpret_cast<const char*>(bytes.data() + at);
  return std::string(text, strnlen(text, 16));
}

uint64_t SegmentStart(const Slice& slice, uint8_t index) {
  if (index >= slice.segments.size()) throw Unreadable("a fixup names segment " + std::to_string(index));
  return slice.segments[index].address;
}

void ReadRebases(Slice& slice, Reader in) {
  uint64_t address = 0;
  const auto rebase = [&](uint64_t times, uint64_t step) {
    for (uint64_t i = 0; i < times; ++i, address += step) slice.rebases.push_back(address);
  };
  while (in.More()) {
    const uint8_t byte = in.Byte(), immediate = byte & 0x0F;
    switch (byte & 0xF0) {
      case 0x00:  // done
        return;
      case 0x10:
        if (immediate != kPointer) throw Unreadable("a rebase of type " + std::to_string(immediate));
        break;
      case 0x20:
        address = SegmentStart(slice, immediate) + in.Uleb();
        break;
      case 0x30:
        address += in.Uleb();
        break;
      case 0x40:
        address += immediate * 8u;
        break;
      case 0x50:
        rebase(immediate, 8);
        break;
      case 0x60:
        rebase(in.Uleb(), 8);
        break;
      case 0x70:
        rebase(1, 8 + in.Uleb());
        break;
      case 0x80: {
        const uint64_t times = in.Uleb();
        rebase(times, 8 + in.Uleb());
        break;
      }
      default:
        throw Unreadable("rebase opcode " + std::to_string(byte >> 4));
    }
  }
}

// The immediate binds, or the lazy ones, whose list ends each entry with a "done".
void ReadBinds(Slice& slice, Reader in, bool lazy) {
  Bind bind;
  uint64_t address = 0;
  const auto emit = [&](uint64_t times, uint64_t step) {
    for (uint64_t i = 0; i < times; ++i, address += step) {
      bind.address = address;
      slice.binds.push_back(bind);
    }
  };
  while (in.More()) {
    const uint8_t byte = in.Byte(), immediate = byte & 0x0F;
    switch (byte & 0xF0) {
      case 0x00:
        if (!lazy) return;
        break;
      case 0x10:
        bind.library = immediate;
        break;
      case 0x20:
        bind.library = static_cast<int>(in.Uleb());
        break;
      case 0x30:  // the image itself (0), the main program (-1), a flat lookup (-2)...
        bind.library = immediate == 0 ? 0 : static_cast<int8_t>(0xF0 | immediate);
        break;
      case 0x40:
        bind.weakImport = (immediate & 1) != 0;
        bind.symbol = in.Text();
        break;
      case 0x50:
        if (immediate != kPointer) throw Unreadable("a bind of type " + std::to_string(immediate));
        break;
      case 0x60:
        bind.addend = in.Sleb();
        break;
      case 0x70:
        address = SegmentStart(slice, immediate) + in.Uleb();
        break;
      case 0x80:
        address += in.Uleb();
        break;
      case 0x90:
        emit(1, 8);
        break;
      case 0xA0:
        emit(1, 8 + in.Uleb());
        break;
      case 0xB0:
        emit(1, 8 + immediate * 8u);
        break;
      case 0xC0: {
        const uint64_t times = in.Uleb();
        emit(times, 8 + in.Uleb());
        break;
      }
      case 0xD0:
        throw Unreadable("threaded binds and rebases (arm64e), which the runner doesn't apply");
      default:
        throw Unreadable("bind opcode " + std::to_string(byte >> 4));
    }
  }
}

void ReadExports(Slice& slice, uint64_t start, uint64_t size, uint64_t node, const std::string& prefix, int depth) {
  if (depth > 128 || node >= size) throw Unreadable("a malformed exports trie");
  Reader in(slice.bytes, start, size);
  in.Seek(start + node);
  const uint64_t terminal = in.Uleb(), children = in.At() + terminal;
  if (terminal != 0 && (in.Uleb() & 0x08) == 0) slice.exports[prefix] = in.Uleb();  // not a re-export
  in.Seek(children);
  for (int count = in.Byte(); count > 0; --count) {
    const std::string edge = in.Text();
    ReadExports(slice, start, size, in.Uleb(), prefix + edge, depth + 1);
  }
}

void ReadSymbols(Slice& slice, uint64_t at) {
  const auto offset = Read<uint32_t>(slice.bytes, at + 8), count = Read<uint32_t>(slice.bytes, at + 12);
  const auto strings = Read<uint32_t>(slice.bytes, at + 16), stringsSize = Read<uint32_t>(slice.bytes, at + 20);
  Reader names(slice.bytes, strings, stringsSize);
  for (uint32_t i = 0; i < count; ++i) {
    const uint64_t entry = offset + uint64_t{i} * 16;
    const auto type = Read<uint8_t>(slice.bytes, entry + 4);
    if ((type & 0xE0) != 0 || (type & 0x0E) != 0x0E) continue;  // a debugging entry, or not defined in a section
    names.Seek(strings + Read<uint32_t>(slice.bytes, entry));
    slice.symbols.push_back({Read<uint64_t>(slice.bytes, entry + 8), names.Text()});
  }
  std::sort(slice.symbols.begin(), slice.symbols.end(),
            [](const Symbol& a, const Symbol& b) { return a.address < b.address; });
}

void ReadCommands(Slice& slice) {
  const std::vector<uint8_t>& bytes = slice.bytes;
  if (Read<uint32_t>(bytes, 0) != kMagic64) throw Unreadable("not a 64-bit Mach-O file");
  if (Read<uint32_t>(bytes, 4) != static_cast<uint32_t>(slice.cpu))
    throw Unreadable(std::string("no ") + CpuName(slice.cpu) + " slice (a file of another processor's alone)");
  const uint32_t commands = Read<uint32_t>(bytes, 16);
  uint64_t at = 32;
  uint32_t info[10] = {}, trie[2] = {};
  for (uint32_t i = 0; i < commands; ++i) {
    const uint32_t command = Read<uint32_t>(bytes, at), size = Read<uint32_t>(bytes, at + 4);
    if (size < 8) throw Unreadable("a load command of " + std::to_string(size) + " bytes");
    if (command == kSegment64) {
      slice.segments.push_back({Name16(bytes, at + 8), Read<uint64_t>(bytes, at + 24), Read<uint64_t>(bytes, at + 32),
                                Read<uint64_t>(bytes, at + 40), Read<uint64_t>(bytes, at + 48),
                                Read<uint32_t>(bytes, at + 60)});
      for (uint32_t s = 0, count = Read<uint32_t>(bytes, at + 64); s < count; ++s) {
        const uint64_t section = at + 72 + 80 * uint64_t{s};
        slice.sections.push_back({Name16(bytes, section + 16), Name16(bytes, section),
                                  Read<uint64_t>(bytes, section + 32), Read<uint64_t>(bytes, section + 40),
                                  Read<uint32_t>(bytes, section + 64) & 0xFF});
      }
    } else if (command == kDyldInfo || command == kDyldInfoOnly) {
      for (int k = 0; k < 10; ++k) info[k] = Read<uint32_t>(bytes, at + 8 + 4 * k);
    } else if (command == kExportsTrie) {
      for (int k = 0; k < 2; ++k) trie[k] = Read<uint32_t>(bytes, at + 8 + 4 * k);
    } else if (command == kChainedFixups) {
      throw Unreadable("chained fixups (LC_DYLD_CHAINED_FIXUPS), which the runner doesn't apply");
    } else if (command == kSymbolTable) {
      ReadSymbols(slice, at);
    } else if (std::find(std::begin(kLibraryCommands), std::end(kLibraryCommands), command) !=
               std::end(kLibraryCommands)) {
      Reader name(bytes, at + Read<uint32_t>(bytes, at + 8), size - Read<uint32_t>(bytes, at + 8));
      slice.libraries.push_back(name.Text());
    }
    at += size;
  }
  ReadRebases(slice, Reader(bytes, info[0], info[1]));
  ReadBinds(slice, Reader(bytes, info[2], info[3]), false);
  ReadBinds(slice, Reader(bytes, info[6], info[7]), true);  // weak binds (info[4], [5]) only merge the image's own
  if (info[9] != 0) ReadExports(slice, info[8], info[9], 0, "", 0);
  if (trie[1] != 0) ReadExports(slice, trie[0], trie[1], 0, "", 0);
}

}  // namespace

const char* CpuName(Cpu cpu) { return cpu == Cpu::kArm64 ? "arm64" : "x86_64"; }

uint64_t Slice::ImageStart() const {
  uint64_t start = UINT64_MAX;
  for (const Segment& segment : segments)
    if (segment.protection != 0) start = std::min(start, segment.address);
  return start;
}

uint64_t Slice::ImageSize() const {
  uint64_t end = 0;
  for (const Segment& segment : segments)
    if (segment.protection != 0) end = std::max(end, segment.address + segment.size);
  return end - ImageStart();
}

std::string Slice::NearestSymbol(uint64_t address) const {
  auto after = std::upper_bound(symbols.begin(), symbols.end(), address,
                                [](uint64_t a, const Symbol& symbol) { return a < symbol.address; });
  if (after == symbols.begin()) return "";
  const Symbol& symbol = *(after - 1);
  char offset[24];
  snprintf(offset, sizeof offset, "+0x%llx", static_cast<unsigned long long>(address - symbol.address));
  return symbol.name + offset;
}

uint64_t Slice::FileOffsetOf(uint64_t address) const {
  for (const Segment& segment : segments)
    if (address >= segment.address && address - segment.address < segment.fileSize)
      return segment.fileOffset + (address - segment.address);
  return 0;
}

bool ReadSlice(const std::vector<uint8_t>& file, Cpu cpu, Slice* slice, std::string* error) {
  *slice = Slice();
  slice->cpu = cpu;
  try {
    if (file.size() >= 8 && BigEndian32(file.data()) == kUniversalMagic) {
      const uint32_t count = BigEndian32(file.data() + 4);
      for (uint32_t i = 0; i < count && slice->bytes.empty(); ++i) {
        if (8 + 20 * uint64_t{i + 1} > file.size()) throw Unreadable("the universal header runs past the file's end");
        const uint8_t* entry = file.data() + 8 + 20 * i;
        if (BigEndian32(entry) != static_cast<uint32_t>(cpu)) continue;
        const uint64_t offset = BigEndian32(entry + 8), size = BigEndian32(entry + 12);
        if (offset > file.size() || size > file.size() - offset) throw Unreadable("a slice runs past the file's end");
        slice->fileOffset = offset;
        slice->bytes.assign(file.begin() + static_cast<ptrdiff_t>(offset),
                            file.begin() + static_cast<ptrdiff_t>(offset + size));
      }
      if (slice->bytes.empty()) throw Unreadable(std::string("no ") + CpuName(cpu) + " slice");
    } else {
      slice->bytes = file;
    }
    ReadCommands(*slice);
  } catch (const Unreadable& why) {
    *error = why.what();
    return false;
  }
  return true;
}

}  // namespace refhost::macho
