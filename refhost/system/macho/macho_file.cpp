// Reading a Mach-O slice: the universal header, the load commands, dyld's rebase and bind
// opcodes, the exports trie and the symbol table, every read checked against the slice's end.
#include "refhost/system/macho/macho_file.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "refhost/system/macho/macho_format.h"

namespace refhost::macho {
namespace {

// What makes a slice unreadable; ReadSlice turns it into its error.
struct Unreadable : std::runtime_error {
  using std::runtime_error::runtime_error;
};

using namespace format;  // NOLINT: the format's own names, read as its description writes them

constexpr uint32_t kLibraryCommands[] = {LC_LOAD_DYLIB, LC_LOAD_WEAK_DYLIB, LC_REEXPORT_DYLIB, LC_LAZY_LOAD_DYLIB,
                                         LC_LOAD_UPWARD_DYLIB};

uint32_t FromBigEndian(uint32_t value) { return __builtin_bswap32(value); }

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

// The record `what` (a load command, a section, a symbol...) at `at` in `bytes`.
template <typename T>
T Read(const std::vector<uint8_t>& bytes, uint64_t at, const char* what) {
  if (at > bytes.size() || sizeof(T) > bytes.size() - at)
    throw Unreadable(std::string(what) + " runs past the slice's end");
  T value;
  memcpy(&value, bytes.data() + at, sizeof value);
  return value;
}

std::string Name16(const char (&name)[16]) { return std::string(name, strnlen(name, sizeof name)); }

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
    const uint8_t byte = in.Byte(), immediate = byte & REBASE_IMMEDIATE_MASK;
    switch (byte & REBASE_OPCODE_MASK) {
      case REBASE_OPCODE_DONE:
        return;
      case REBASE_OPCODE_SET_TYPE_IMM:
        if (immediate != REBASE_TYPE_POINTER) throw Unreadable("a rebase of type " + std::to_string(immediate));
        break;
      case REBASE_OPCODE_SET_SEGMENT_AND_OFFSET_ULEB:
        address = SegmentStart(slice, immediate) + in.Uleb();
        break;
      case REBASE_OPCODE_ADD_ADDR_ULEB:
        address += in.Uleb();
        break;
      case REBASE_OPCODE_ADD_ADDR_IMM_SCALED:
        address += immediate * 8u;
        break;
      case REBASE_OPCODE_DO_REBASE_IMM_TIMES:
        rebase(immediate, 8);
        break;
      case REBASE_OPCODE_DO_REBASE_ULEB_TIMES:
        rebase(in.Uleb(), 8);
        break;
      case REBASE_OPCODE_DO_REBASE_ADD_ADDR_ULEB:
        rebase(1, 8 + in.Uleb());
        break;
      case REBASE_OPCODE_DO_REBASE_ULEB_TIMES_SKIPPING_ULEB: {
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
    const uint8_t byte = in.Byte(), immediate = byte & BIND_IMMEDIATE_MASK;
    switch (byte & BIND_OPCODE_MASK) {
      case BIND_OPCODE_DONE:
        if (!lazy) return;
        break;
      case BIND_OPCODE_SET_DYLIB_ORDINAL_IMM:
        bind.library = immediate;
        break;
      case BIND_OPCODE_SET_DYLIB_ORDINAL_ULEB:
        bind.library = static_cast<int>(in.Uleb());
        break;
      case BIND_OPCODE_SET_DYLIB_SPECIAL_IMM:  // the image itself (0), the main program (-1), a flat lookup (-2)...
        bind.library = immediate == 0 ? 0 : static_cast<int8_t>(BIND_OPCODE_MASK | immediate);
        break;
      case BIND_OPCODE_SET_SYMBOL_TRAILING_FLAGS_IMM:
        bind.weakImport = (immediate & BIND_SYMBOL_FLAGS_WEAK_IMPORT) != 0;
        bind.symbol = in.Text();
        break;
      case BIND_OPCODE_SET_TYPE_IMM:
        if (immediate != BIND_TYPE_POINTER) throw Unreadable("a bind of type " + std::to_string(immediate));
        break;
      case BIND_OPCODE_SET_ADDEND_SLEB:
        bind.addend = in.Sleb();
        break;
      case BIND_OPCODE_SET_SEGMENT_AND_OFFSET_ULEB:
        address = SegmentStart(slice, immediate) + in.Uleb();
        break;
      case BIND_OPCODE_ADD_ADDR_ULEB:
        address += in.Uleb();
        break;
      case BIND_OPCODE_DO_BIND:
        emit(1, 8);
        break;
      case BIND_OPCODE_DO_BIND_ADD_ADDR_ULEB:
        emit(1, 8 + in.Uleb());
        break;
      case BIND_OPCODE_DO_BIND_ADD_ADDR_IMM_SCALED:
        emit(1, 8 + immediate * 8u);
        break;
      case BIND_OPCODE_DO_BIND_ULEB_TIMES_SKIPPING_ULEB: {
        const uint64_t times = in.Uleb();
        emit(times, 8 + in.Uleb());
        break;
      }
      case BIND_OPCODE_THREADED:
        throw Unreadable("threaded binds and rebases (arm64e), which the runner doesn't apply");
      default:
        throw Unreadable("bind opcode " + std::to_string(byte >> 4));
    }
  }
}

// A node: the size of its export's information (0: none), the information (flags, then the
// address unless the export is another library's), then its children, each an edge's text
// and the child's offset.
void ReadExports(Slice& slice, uint64_t start, uint64_t size, uint64_t node, const std::string& prefix, int depth) {
  if (depth > 128 || node >= size) throw Unreadable("a malformed exports trie");
  Reader in(slice.bytes, start, size);
  in.Seek(start + node);
  const uint64_t terminal = in.Uleb(), children = in.At() + terminal;
  if (terminal != 0 && (in.Uleb() & EXPORT_SYMBOL_FLAGS_REEXPORT) == 0) slice.exports[prefix] = in.Uleb();
  in.Seek(children);
  for (int count = in.Byte(); count > 0; --count) {
    const std::string edge = in.Text();
    ReadExports(slice, start, size, in.Uleb(), prefix + edge, depth + 1);
  }
}

void ReadSymbols(Slice& slice, const symtab_command& table) {
  Reader names(slice.bytes, table.stroff, table.strsize);
  for (uint32_t i = 0; i < table.nsyms; ++i) {
    const auto entry = Read<nlist_64>(slice.bytes, table.symoff + uint64_t{i} * sizeof(nlist_64), "the symbol table");
    if ((entry.n_type & N_STAB) != 0 || (entry.n_type & N_TYPE) != N_SECT) continue;  // debugging, or not defined here
    names.Seek(table.stroff + uint64_t{entry.n_strx});
    slice.symbols.push_back({entry.n_value, names.Text()});
  }
  std::sort(slice.symbols.begin(), slice.symbols.end(),
            [](const Symbol& a, const Symbol& b) { return a.address < b.address; });
}

void ReadSegment(Slice& slice, uint64_t at) {
  const auto segment = Read<segment_command_64>(slice.bytes, at, "a segment command");
  slice.segments.push_back({Name16(segment.segname), segment.vmaddr, segment.vmsize, segment.fileoff, segment.filesize,
                            static_cast<uint32_t>(segment.initprot)});
  for (uint32_t s = 0; s < segment.nsects; ++s) {
    const auto section =
        Read<section_64>(slice.bytes, at + sizeof segment + uint64_t{s} * sizeof(section_64), "a section");
    slice.sections.push_back(
        {Name16(section.segname), Name16(section.sectname), section.addr, section.size, section.flags & SECTION_TYPE});
  }
}

void ReadCommands(Slice& slice) {
  const std::vector<uint8_t>& bytes = slice.bytes;
  if (Read<uint32_t>(bytes, 0, "the header") != MH_MAGIC_64) throw Unreadable("not a 64-bit Mach-O file");
  const auto header = Read<mach_header_64>(bytes, 0, "the header");
  if (header.cputype != static_cast<uint32_t>(slice.cpu))
    throw Unreadable(std::string("no ") + CpuName(slice.cpu) + " slice (a file of another processor's alone)");
  uint64_t at = sizeof header;
  dyld_info_command info{};
  linkedit_data_command trie{};
  for (uint32_t i = 0; i < header.ncmds; ++i) {
    const auto command = Read<load_command>(bytes, at, "a load command");
    if (command.cmdsize < sizeof command)
      throw Unreadable("a load command of " + std::to_string(command.cmdsize) + " bytes");
    if (command.cmd == LC_SEGMENT_64) {
      ReadSegment(slice, at);
    } else if (command.cmd == LC_DYLD_INFO || command.cmd == LC_DYLD_INFO_ONLY) {
      info = Read<dyld_info_command>(bytes, at, "the dyld information command");
    } else if (command.cmd == LC_DYLD_EXPORTS_TRIE) {
      trie = Read<linkedit_data_command>(bytes, at, "the exports trie command");
    } else if (command.cmd == LC_DYLD_CHAINED_FIXUPS) {
      throw Unreadable("chained fixups (LC_DYLD_CHAINED_FIXUPS), which the runner doesn't apply");
    } else if (command.cmd == LC_SYMTAB) {
      ReadSymbols(slice, Read<symtab_command>(bytes, at, "the symbol table command"));
    } else if (std::find(std::begin(kLibraryCommands), std::end(kLibraryCommands), command.cmd) !=
               std::end(kLibraryCommands)) {
      const auto library = Read<dylib_command>(bytes, at, "a library command");
      Reader name(bytes, at + library.dylib.name.offset, command.cmdsize - library.dylib.name.offset);
      slice.libraries.push_back(name.Text());
    }
    at += command.cmdsize;
  }
  ReadRebases(slice, Reader(bytes, info.rebase_off, info.rebase_size));
  ReadBinds(slice, Reader(bytes, info.bind_off, info.bind_size), false);
  ReadBinds(slice, Reader(bytes, info.lazy_bind_off, info.lazy_bind_size),
            true);  // weak binds only merge the image's own
  if (info.export_size != 0) ReadExports(slice, info.export_off, info.export_size, 0, "", 0);
  if (trie.datasize != 0) ReadExports(slice, trie.dataoff, trie.datasize, 0, "", 0);
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

std::optional<uint64_t> Slice::FileOffsetOf(uint64_t address) const {
  for (const Segment& segment : segments)
    if (address >= segment.address && address - segment.address < segment.fileSize)
      return segment.fileOffset + (address - segment.address);
  return std::nullopt;
}

bool ReadSlice(const std::vector<uint8_t>& file, Cpu cpu, Slice* slice, std::string* error) {
  *slice = Slice();
  slice->cpu = cpu;
  try {
    fat_header universal{};
    if (file.size() >= sizeof universal) memcpy(&universal, file.data(), sizeof universal);
    if (FromBigEndian(universal.magic) == FAT_MAGIC) {
      for (uint32_t i = 0; i < FromBigEndian(universal.nfat_arch) && slice->bytes.empty(); ++i) {
        const uint64_t at = sizeof universal + uint64_t{i} * sizeof(fat_arch);
        if (at + sizeof(fat_arch) > file.size()) throw Unreadable("the universal header runs past the file's end");
        fat_arch entry;
        memcpy(&entry, file.data() + at, sizeof entry);
        if (FromBigEndian(entry.cputype) != static_cast<uint32_t>(cpu)) continue;
        const uint64_t offset = FromBigEndian(entry.offset), size = FromBigEndian(entry.size);
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
