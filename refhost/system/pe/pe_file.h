// A 64-bit ARM Windows DLL (PE32+) as the Windows loader sees it, read from its file: the
// headers, the sections, the base relocations, the imports into the import address table,
// the exports by name, the thread-local storage directory and the symbols that name a pc.
// Reading only: nothing here maps or runs anything. Records and constants carry the names
// Microsoft's PE format documentation gives them.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace refhost::pe {

constexpr uint16_t IMAGE_DOS_SIGNATURE = 0x5A4D;     // "MZ"
constexpr uint32_t IMAGE_NT_SIGNATURE = 0x00004550;  // "PE\0\0"
constexpr uint16_t IMAGE_FILE_MACHINE_ARM64 = 0xAA64;
constexpr uint16_t IMAGE_NT_OPTIONAL_HDR64_MAGIC = 0x20B;  // PE32+

// The data directories' indices.
constexpr uint32_t IMAGE_DIRECTORY_ENTRY_EXPORT = 0, IMAGE_DIRECTORY_ENTRY_IMPORT = 1,
                   IMAGE_DIRECTORY_ENTRY_BASERELOC = 5, IMAGE_DIRECTORY_ENTRY_TLS = 9,
                   IMAGE_NUMBEROF_DIRECTORY_ENTRIES = 16;

// A section's characteristics.
constexpr uint32_t IMAGE_SCN_MEM_EXECUTE = 0x20000000, IMAGE_SCN_MEM_READ = 0x40000000,
                   IMAGE_SCN_MEM_WRITE = 0x80000000;

// Base relocation types: the high 4 bits of an entry, its low 12 the offset in the block's page.
constexpr uint8_t IMAGE_REL_BASED_ABSOLUTE = 0;  // padding: applies nothing
constexpr uint8_t IMAGE_REL_BASED_DIR64 = 10;    // the 64-bit word moves with the image

// An import lookup entry with this bit imports by the ordinal in its low 16 bits.
constexpr uint64_t IMAGE_ORDINAL_FLAG64 = 0x8000000000000000;

// A symbol table entry's storage classes that name code or data of the image.
constexpr uint8_t IMAGE_SYM_CLASS_EXTERNAL = 2, IMAGE_SYM_CLASS_STATIC = 3;

// The records as the file holds them (little-endian, naturally aligned).
struct IMAGE_DOS_HEADER {  // the MS-DOS stub's header
  uint16_t e_magic;
  uint16_t e_cblp_to_e_res2[29];  // what MS-DOS reads
  uint32_t e_lfanew;              // the file offset of the PE signature
};

struct IMAGE_FILE_HEADER {
  uint16_t Machine;
  uint16_t NumberOfSections;
  uint32_t TimeDateStamp;
  uint32_t PointerToSymbolTable;
  uint32_t NumberOfSymbols;
  uint16_t SizeOfOptionalHeader;
  uint16_t Characteristics;
};

struct IMAGE_DATA_DIRECTORY {
  uint32_t VirtualAddress;
  uint32_t Size;
};

struct IMAGE_OPTIONAL_HEADER64 {
  uint16_t Magic;
  uint8_t MajorLinkerVersion, MinorLinkerVersion;
  uint32_t SizeOfCode, SizeOfInitializedData, SizeOfUninitializedData;
  uint32_t AddressOfEntryPoint;
  uint32_t BaseOfCode;
  uint64_t ImageBase;
  uint32_t SectionAlignment, FileAlignment;
  uint16_t MajorOperatingSystemVersion, MinorOperatingSystemVersion;
  uint16_t MajorImageVersion, MinorImageVersion;
  uint16_t MajorSubsystemVersion, MinorSubsystemVersion;
  uint32_t Win32VersionValue;
  uint32_t SizeOfImage, SizeOfHeaders;
  uint32_t CheckSum;
  uint16_t Subsystem, DllCharacteristics;
  uint64_t SizeOfStackReserve, SizeOfStackCommit, SizeOfHeapReserve, SizeOfHeapCommit;
  uint32_t LoaderFlags;
  uint32_t NumberOfRvaAndSizes;
  IMAGE_DATA_DIRECTORY DataDirectory[IMAGE_NUMBEROF_DIRECTORY_ENTRIES];
};

struct IMAGE_SECTION_HEADER {
  char Name[8];  // not terminated when all 8 are used
  uint32_t VirtualSize;
  uint32_t VirtualAddress;
  uint32_t SizeOfRawData;
  uint32_t PointerToRawData;
  uint32_t PointerToRelocations, PointerToLinenumbers;
  uint16_t NumberOfRelocations, NumberOfLinenumbers;
  uint32_t Characteristics;
};

struct IMAGE_TLS_DIRECTORY64 {  // addresses as at ImageBase: they move with the image
  uint64_t StartAddressOfRawData;
  uint64_t EndAddressOfRawData;
  uint64_t AddressOfIndex;      // where the loader writes the DLL's TLS slot (_tls_index)
  uint64_t AddressOfCallBacks;  // a null-terminated array of PIMAGE_TLS_CALLBACK
  uint32_t SizeOfZeroFill;
  uint32_t Characteristics;
};

struct Section {
  std::string name;
  IMAGE_SECTION_HEADER header;
};

// A function the image takes from a DLL: the loader writes its address into the import
// address table entry at `slot` (an RVA).
struct Import {
  std::string dll;
  std::variant<std::string, uint16_t> function;  // by name, or by ordinal
  uint32_t slot = 0;

  std::string FunctionName() const;  // its name, or "#" and its ordinal
};

// A name and an RVA: an export or an entry of the symbol table.
struct Symbol {
  uint32_t rva = 0;
  std::string name;
};

struct File {
  std::vector<uint8_t> bytes;
  IMAGE_FILE_HEADER header{};
  IMAGE_OPTIONAL_HEADER64 optional{};
  std::vector<Section> sections;
  std::vector<uint32_t> relocations;              // RVAs of the IMAGE_REL_BASED_DIR64 words
  std::vector<Import> imports;                    // in the import directory's order
  std::map<std::string, uint32_t> exports;        // name to RVA
  std::map<std::string, std::string> forwarders;  // name to "DLL.Function", served by another DLL
  std::optional<IMAGE_TLS_DIRECTORY64> tls;
  std::vector<Symbol> symbols;  // exports and the symbol table's definitions, by RVA

  // The directory's place in the image, when the image has one.
  std::optional<IMAGE_DATA_DIRECTORY> Directory(uint32_t index) const;
  // Where the byte at `rva` lies in the file: in the headers or a section's raw data (none in
  // a section's zero fill or outside every section).
  std::optional<uint64_t> FileOffsetOf(uint32_t rva) const;
  // "REALPluginMain+0x1c", the symbol at or before `rva` in its section.
  std::optional<std::string> NearestSymbol(uint32_t rva) const;
};

// Reads `bytes` as a PE32+ image for 64-bit ARM; false with what is wrong and where in
// `error`: a file cut short, not a PE file, another machine, a relocation type the runner
// doesn't apply, a table that points outside the file.
bool ReadPeFile(std::vector<uint8_t> bytes, File* file, std::string* error);

}  // namespace refhost::pe
