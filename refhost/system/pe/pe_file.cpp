// Reading a PE32+ file: the headers, then each directory the Windows loader follows, every
// read checked against the file's end and named in the error when it isn't there.
#include "refhost/system/pe/pe_file.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace refhost::pe {
namespace {

// The records of the directories and the symbol table, read here alone.
struct IMAGE_IMPORT_DESCRIPTOR {
  uint32_t OriginalFirstThunk;  // the import lookup table
  uint32_t TimeDateStamp;
  uint32_t ForwarderChain;
  uint32_t Name;
  uint32_t FirstThunk;  // the import address table
};

struct IMAGE_EXPORT_DIRECTORY {
  uint32_t Characteristics;
  uint32_t TimeDateStamp;
  uint16_t MajorVersion, MinorVersion;
  uint32_t Name;
  uint32_t Base;
  uint32_t NumberOfFunctions, NumberOfNames;
  uint32_t AddressOfFunctions, AddressOfNames, AddressOfNameOrdinals;
};

struct IMAGE_BASE_RELOCATION {  // a block: the relocations of one 4 KiB page
  uint32_t VirtualAddress;
  uint32_t SizeOfBlock;  // with this header
};

#pragma pack(push, 2)
struct IMAGE_SYMBOL {
  char ShortName[8];  // or, when its first four bytes are zero, the offset of a long name in the string table
  uint32_t Value;
  int16_t SectionNumber;  // 1-based; 0 and below: undefined, absolute or a debugging entry
  uint16_t Type;
  uint8_t StorageClass;
  uint8_t NumberOfAuxSymbols;  // entries after this one that belong to it
};
#pragma pack(pop)

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "records are read as the file lays them out");
static_assert(sizeof(IMAGE_DOS_HEADER) == 64 && offsetof(IMAGE_DOS_HEADER, e_lfanew) == 0x3C);
static_assert(sizeof(IMAGE_FILE_HEADER) == 20 && sizeof(IMAGE_SECTION_HEADER) == 40);
static_assert(offsetof(IMAGE_OPTIONAL_HEADER64, ImageBase) == 24 &&
              offsetof(IMAGE_OPTIONAL_HEADER64, DataDirectory) == 112 && sizeof(IMAGE_OPTIONAL_HEADER64) == 240);
static_assert(sizeof(IMAGE_TLS_DIRECTORY64) == 40 && sizeof(IMAGE_IMPORT_DESCRIPTOR) == 20);
static_assert(sizeof(IMAGE_EXPORT_DIRECTORY) == 40 && sizeof(IMAGE_SYMBOL) == 18);

// Base relocation types by their number, as the format names them after IMAGE_REL_BASED_ (a
// number may mean one thing on one machine and another elsewhere; the ARM meaning is given).
constexpr const char* kRelocationTypes[16] = {"ABSOLUTE",     "HIGH",           "LOW",   "HIGHLOW",
                                              "HIGHADJ",      "ARM_MOV32",      nullptr, "THUMB_MOV32",
                                              "RISCV_LOW12S", "MIPS_JMPADDR16", "DIR64"};

// What makes a file unreadable; ReadPeFile turns it into its error.
struct Unreadable : std::runtime_error {
  using std::runtime_error::runtime_error;
};

std::string Hex(uint64_t value) {
  char text[24];
  snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(value));
  return text;
}

// `size` bytes at `at` are in the file, else it was cut short while `what` was being read.
void Need(const std::vector<uint8_t>& bytes, uint64_t at, uint64_t size, const std::string& what) {
  if (at > bytes.size() || size > bytes.size() - at)
    throw Unreadable("the file is cut short: " + what + " at byte " + Hex(at) + " takes " + std::to_string(size) +
                     " bytes, and the file ends at byte " + Hex(bytes.size()));
}

template <typename T>
T Read(const std::vector<uint8_t>& bytes, uint64_t at, const std::string& what) {
  Need(bytes, at, sizeof(T), what);
  T value;
  memcpy(&value, bytes.data() + at, sizeof value);
  return value;
}

// The bytes of a section in the image, and the part of them the file holds.
uint64_t ExtentOf(const IMAGE_SECTION_HEADER& section) {
  return section.VirtualSize != 0 ? section.VirtualSize : section.SizeOfRawData;
}
uint64_t RawBytesOf(const IMAGE_SECTION_HEADER& section) {
  return std::min<uint64_t>(section.SizeOfRawData, ExtentOf(section));
}

uint64_t OffsetOf(const File& file, uint64_t rva, const std::string& what) {
  const std::optional<uint64_t> offset =
      rva <= UINT32_MAX ? file.FileOffsetOf(static_cast<uint32_t>(rva)) : std::nullopt;
  if (!offset) throw Unreadable(what + " at rva " + Hex(rva) + " lies in no section's bytes in the file");
  return *offset;
}

template <typename T>
T ReadRva(const File& file, uint64_t rva, const std::string& what) {
  return Read<T>(file.bytes, OffsetOf(file, rva, what), what);
}

// A name ended by a zero byte, at byte `at` of the file or at an rva.
std::string TextIn(const std::vector<uint8_t>& bytes, uint64_t at, const std::string& what) {
  Need(bytes, at, 1, what);
  const auto* start = bytes.data() + at;
  const auto* end = static_cast<const uint8_t*>(memchr(start, 0, bytes.size() - at));
  if (end == nullptr) throw Unreadable("the file is cut short: " + what + " at byte " + Hex(at) + " has no end");
  return std::string(start, end);
}

std::string TextAt(const File& file, uint64_t rva, const std::string& what) {
  return TextIn(file.bytes, OffsetOf(file, rva, what), what);
}

std::string MachineName(uint16_t machine) {
  const std::pair<uint16_t, const char*> known[] = {
      {0x14C, "IMAGE_FILE_MACHINE_I386"}, {0x1C4, "IMAGE_FILE_MACHINE_ARMNT"}, {0x8664, "IMAGE_FILE_MACHINE_AMD64"}};
  for (const auto& [number, name] : known)
    if (number == machine) return Hex(machine) + " (" + name + ")";
  return Hex(machine);
}

void ReadHeaders(File& file) {
  if (Read<uint16_t>(file.bytes, 0, "the MS-DOS header's e_magic") != IMAGE_DOS_SIGNATURE)
    throw Unreadable("not a PE file: no MS-DOS header (\"MZ\") at byte 0");
  const auto dos = Read<IMAGE_DOS_HEADER>(file.bytes, 0, "the MS-DOS header");
  if (Read<uint32_t>(file.bytes, dos.e_lfanew, "the PE signature") != IMAGE_NT_SIGNATURE)
    throw Unreadable("not a PE file: no PE signature at byte " + Hex(dos.e_lfanew) + ", where e_lfanew points");
  const uint64_t headerAt = dos.e_lfanew + uint64_t{sizeof(IMAGE_NT_SIGNATURE)};
  file.header = Read<IMAGE_FILE_HEADER>(file.bytes, headerAt, "the COFF file header");
  if (file.header.Machine != IMAGE_FILE_MACHINE_ARM64)
    throw Unreadable("an image for machine " + MachineName(file.header.Machine) + ", not IMAGE_FILE_MACHINE_ARM64 (" +
                     Hex(IMAGE_FILE_MACHINE_ARM64) + ")");
  const uint64_t optionalAt = headerAt + sizeof(IMAGE_FILE_HEADER);
  const auto magic = Read<uint16_t>(file.bytes, optionalAt, "the optional header's Magic");
  if (magic != IMAGE_NT_OPTIONAL_HDR64_MAGIC) throw Unreadable("optional header Magic " + Hex(magic) + ": not PE32+");
  // The header ends with as many data directories as it says, up to 16.
  const uint64_t size = file.header.SizeOfOptionalHeader, fixed = offsetof(IMAGE_OPTIONAL_HEADER64, DataDirectory);
  Need(file.bytes, optionalAt, size, "the optional header");
  memcpy(&file.optional, file.bytes.data() + optionalAt, std::min<uint64_t>(size, sizeof file.optional));
  const uint32_t directories = file.optional.NumberOfRvaAndSizes;
  if (size < fixed || directories > IMAGE_NUMBEROF_DIRECTORY_ENTRIES ||
      directories * sizeof(IMAGE_DATA_DIRECTORY) > size - fixed)
    throw Unreadable("an optional header of " + std::to_string(size) + " bytes with " + std::to_string(directories) +
                     " data directories");
  const uint64_t sectionsAt = optionalAt + size;
  for (uint32_t i = 0; i < file.header.NumberOfSections; ++i) {
    Section section;
    section.header = Read<IMAGE_SECTION_HEADER>(file.bytes, sectionsAt + i * sizeof(IMAGE_SECTION_HEADER),
                                                "section header " + std::to_string(i + 1));
    section.name.assign(section.header.Name, strnlen(section.header.Name, sizeof section.header.Name));
    Need(file.bytes, section.header.PointerToRawData, RawBytesOf(section.header), "section " + section.name);
    if (section.header.VirtualAddress + ExtentOf(section.header) > file.optional.SizeOfImage)
      throw Unreadable("section " + section.name + " at rva " + Hex(section.header.VirtualAddress) +
                       " runs past the image's SizeOfImage, " + Hex(file.optional.SizeOfImage));
    file.sections.push_back(std::move(section));
  }
}

void ReadRelocations(File& file) {
  const std::optional<IMAGE_DATA_DIRECTORY> directory = file.Directory(IMAGE_DIRECTORY_ENTRY_BASERELOC);
  if (!directory) return;
  const uint64_t end = uint64_t{directory->VirtualAddress} + directory->Size;
  for (uint64_t at = directory->VirtualAddress; at < end;) {
    const auto block = ReadRva<IMAGE_BASE_RELOCATION>(file, at, "a base relocation block");
    if (block.SizeOfBlock < sizeof block || block.SizeOfBlock > end - at)
      throw Unreadable("a base relocation block of " + std::to_string(block.SizeOfBlock) + " bytes at rva " + Hex(at));
    for (uint64_t entry = at + sizeof block; entry < at + block.SizeOfBlock; entry += sizeof(uint16_t)) {
      const auto word = ReadRva<uint16_t>(file, entry, "a base relocation");
      const uint8_t type = word >> 12;
      const uint64_t rva = block.VirtualAddress + (word & 0xFFFu);
      if (type == IMAGE_REL_BASED_ABSOLUTE) continue;
      if (type != IMAGE_REL_BASED_DIR64)
        throw Unreadable("a base relocation of type " + std::to_string(type) +
                         (kRelocationTypes[type] != nullptr
                              ? std::string(" (IMAGE_REL_BASED_") + kRelocationTypes[type] + ")"
                              : "") +
                         " at rva " + Hex(rva) + ": the runner applies IMAGE_REL_BASED_DIR64 alone");
      if (rva + sizeof(uint64_t) > file.optional.SizeOfImage)
        throw Unreadable("a base relocation at rva " + Hex(rva) + ", past the image's end");
      file.relocations.push_back(static_cast<uint32_t>(rva));
    }
    at += block.SizeOfBlock;
  }
}

void ReadImports(File& file) {
  const std::optional<IMAGE_DATA_DIRECTORY> directory = file.Directory(IMAGE_DIRECTORY_ENTRY_IMPORT);
  if (!directory) return;
  for (uint64_t at = directory->VirtualAddress;; at += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
    const auto descriptor = ReadRva<IMAGE_IMPORT_DESCRIPTOR>(file, at, "an import descriptor");
    if (descriptor.Name == 0 && descriptor.FirstThunk == 0) return;  // the table's null end
    const std::string dll = TextAt(file, descriptor.Name, "an imported DLL's name");
    // The lookup table names what the address table's entries receive; the address table
    // starts as its copy, and stands in for it when it is left out.
    const uint64_t lookup = descriptor.OriginalFirstThunk != 0 ? descriptor.OriginalFirstThunk : descriptor.FirstThunk;
    for (uint64_t i = 0;; ++i) {
      const auto entry = ReadRva<uint64_t>(file, lookup + i * sizeof(uint64_t), "the import lookup table of " + dll);
      if (entry == 0) break;
      const uint64_t slot = descriptor.FirstThunk + i * sizeof(uint64_t);
      if (slot + sizeof(uint64_t) > file.optional.SizeOfImage)
        throw Unreadable("the import address table of " + dll + " runs past the image's end");
      Import import{dll, {}, static_cast<uint32_t>(slot)};
      if (entry & IMAGE_ORDINAL_FLAG64) import.function = static_cast<uint16_t>(entry);
      else  // a Hint/Name entry: the 2-byte hint, then the name
        import.function = TextAt(file, (entry & 0x7FFFFFFF) + sizeof(uint16_t), "a function imported from " + dll);
      file.imports.push_back(std::move(import));
    }
  }
}

void ReadExports(File& file) {
  const std::optional<IMAGE_DATA_DIRECTORY> directory = file.Directory(IMAGE_DIRECTORY_ENTRY_EXPORT);
  if (!directory) return;
  const auto table = ReadRva<IMAGE_EXPORT_DIRECTORY>(file, directory->VirtualAddress, "the export directory");
  for (uint64_t i = 0; i < table.NumberOfNames; ++i) {
    const auto nameRva = ReadRva<uint32_t>(file, table.AddressOfNames + 4 * i, "the export name pointer table");
    const std::string name = TextAt(file, nameRva, "an export's name");
    const auto index = ReadRva<uint16_t>(file, table.AddressOfNameOrdinals + 2 * i, "the export ordinal table");
    if (index >= table.NumberOfFunctions)
      throw Unreadable("export " + name + " is entry " + std::to_string(index) + " of an export address table of " +
                       std::to_string(table.NumberOfFunctions));
    const auto rva = ReadRva<uint32_t>(file, table.AddressOfFunctions + 4ull * index, "the export address table");
    // An address inside the export directory is a forwarder's text, "DLL.Function".
    if (rva >= directory->VirtualAddress && rva - directory->VirtualAddress < directory->Size)
      file.forwarders[name] = TextAt(file, rva, "the forwarder of export " + name);
    else file.exports[name] = rva;
  }
}

// The exports, and the definitions in the symbol table that linkers for MinGW leave in an
// image that isn't stripped.
void ReadSymbols(File& file) {
  for (const auto& [name, rva] : file.exports) file.symbols.push_back({rva, name});
  const IMAGE_FILE_HEADER& header = file.header;
  const uint64_t table = header.PointerToSymbolTable,
                 strings = table + uint64_t{header.NumberOfSymbols} * sizeof(IMAGE_SYMBOL);
  for (uint64_t i = 0; table != 0 && i < header.NumberOfSymbols; ++i) {
    const uint64_t entry = table + i * sizeof(IMAGE_SYMBOL);
    const auto symbol = Read<IMAGE_SYMBOL>(file.bytes, entry, "the symbol table");
    const uint64_t section = symbol.SectionNumber > 0 ? static_cast<uint64_t>(symbol.SectionNumber) : 0;
    i += symbol.NumberOfAuxSymbols;  // a section's or a file's own entry: not a symbol of code or data
    if (symbol.NumberOfAuxSymbols != 0 || section == 0 || section > file.sections.size() ||
        (symbol.StorageClass != IMAGE_SYM_CLASS_EXTERNAL && symbol.StorageClass != IMAGE_SYM_CLASS_STATIC))
      continue;
    uint32_t longName;
    memcpy(&longName, symbol.ShortName, sizeof longName);
    const std::string name =
        longName != 0 ? std::string(symbol.ShortName, strnlen(symbol.ShortName, sizeof symbol.ShortName))
                      : TextIn(file.bytes, strings + Read<uint32_t>(file.bytes, entry + 4, "a symbol's name"),
                               "a symbol's name in the string table");
    file.symbols.push_back({file.sections[section - 1].header.VirtualAddress + symbol.Value, name});
  }
  std::stable_sort(file.symbols.begin(), file.symbols.end(),
                   [](const Symbol& a, const Symbol& b) { return a.rva < b.rva; });
}

}  // namespace

std::string Import::FunctionName() const {
  if (const auto* name = std::get_if<std::string>(&function)) return *name;
  return "#" + std::to_string(std::get<uint16_t>(function));
}

std::optional<IMAGE_DATA_DIRECTORY> File::Directory(uint32_t index) const {
  if (index >= optional.NumberOfRvaAndSizes || optional.DataDirectory[index].Size == 0) return std::nullopt;
  return optional.DataDirectory[index];
}

std::optional<uint64_t> File::FileOffsetOf(uint32_t rva) const {
  if (rva < optional.SizeOfHeaders) return rva < bytes.size() ? std::optional<uint64_t>(rva) : std::nullopt;
  for (const Section& section : sections) {
    const uint64_t into = rva - uint64_t{section.header.VirtualAddress};
    if (rva >= section.header.VirtualAddress && into < ExtentOf(section.header))
      return into < RawBytesOf(section.header) ? std::optional<uint64_t>(section.header.PointerToRawData + into)
                                               : std::nullopt;
  }
  return std::nullopt;
}

std::optional<std::string> File::NearestSymbol(uint32_t rva) const {
  auto after = std::upper_bound(symbols.begin(), symbols.end(), rva,
                                [](uint32_t a, const Symbol& symbol) { return a < symbol.rva; });
  if (after == symbols.begin()) return std::nullopt;
  const Symbol& symbol = *(after - 1);
  const auto sectionOf = [&](uint32_t at) {
    return std::find_if(sections.begin(), sections.end(), [&](const Section& section) {
      return at >= section.header.VirtualAddress && at - section.header.VirtualAddress < ExtentOf(section.header);
    });
  };
  if (sectionOf(rva) == sections.end() || sectionOf(rva) != sectionOf(symbol.rva)) return std::nullopt;
  return symbol.name + "+" + Hex(rva - symbol.rva);
}

bool ReadPeFile(std::vector<uint8_t> bytes, File* file, std::string* error) {
  *file = File();
  file->bytes = std::move(bytes);
  try {
    ReadHeaders(*file);
    ReadRelocations(*file);
    ReadImports(*file);
    ReadExports(*file);
    if (const std::optional<IMAGE_DATA_DIRECTORY> tls = file->Directory(IMAGE_DIRECTORY_ENTRY_TLS))
      file->tls = ReadRva<IMAGE_TLS_DIRECTORY64>(*file, tls->VirtualAddress, "the TLS directory");
    ReadSymbols(*file);
  } catch (const Unreadable& why) {
    *error = why.what();
    return false;
  }
  return true;
}

}  // namespace refhost::pe
