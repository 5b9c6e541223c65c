// The Windows on ARM64 runner's reading of PE files, on a DLL the test makes: one section
// holding every directory the runner follows, read back, and each file it can't read refused
// with a message that says what and where.
#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "refhost/system/pe/pe_file.h"

namespace pe = refhost::pe;

namespace {

// Headers in the file's first 0x200 bytes; the section .data at rva 0x1000, its 0x400 bytes
// at byte 0x200, zero-filled up to 0x500; then the symbol table and its strings.
constexpr uint32_t kSectionRva = 0x1000, kSectionAt = 0x200, kSymbolsAt = 0x600;

struct TinyDll {
  std::vector<uint8_t> bytes = std::vector<uint8_t>(0x700);

  template <typename T>
  void Put(uint64_t at, const T& value) {
    memcpy(bytes.data() + at, &value, sizeof value);
  }
  void PutText(uint64_t at, const std::string& text) { memcpy(bytes.data() + at, text.c_str(), text.size() + 1); }
  uint64_t In(uint32_t rva) { return rva - kSectionRva + kSectionAt; }

  TinyDll() {
    Put<uint16_t>(0, pe::IMAGE_DOS_SIGNATURE);
    Put<uint32_t>(0x3C, 0x40);
    Put<uint32_t>(0x40, pe::IMAGE_NT_SIGNATURE);
    Put(0x44, pe::IMAGE_FILE_HEADER{pe::IMAGE_FILE_MACHINE_ARM64, 1, 0, kSymbolsAt, 3, 240, 0x2022});
    pe::IMAGE_OPTIONAL_HEADER64 optional{};
    optional.Magic = pe::IMAGE_NT_OPTIONAL_HDR64_MAGIC;
    optional.ImageBase = 0x180000000;
    optional.SizeOfImage = 0x2000;
    optional.SizeOfHeaders = kSectionAt;
    optional.NumberOfRvaAndSizes = pe::IMAGE_NUMBEROF_DIRECTORY_ENTRIES;
    optional.DataDirectory[pe::IMAGE_DIRECTORY_ENTRY_IMPORT] = {0x1000, 40};
    optional.DataDirectory[pe::IMAGE_DIRECTORY_ENTRY_EXPORT] = {0x1200, 0x80};
    optional.DataDirectory[pe::IMAGE_DIRECTORY_ENTRY_BASERELOC] = {0x1280, 12};
    optional.DataDirectory[pe::IMAGE_DIRECTORY_ENTRY_TLS] = {0x12A0, 40};
    Put(0x58, optional);
    Put(0x148, pe::IMAGE_SECTION_HEADER{{'.', 'd', 'a', 't', 'a'},
                                        0x500,
                                        kSectionRva,
                                        0x400,
                                        kSectionAt,
                                        0,
                                        0,
                                        0,
                                        0,
                                        pe::IMAGE_SCN_MEM_READ | pe::IMAGE_SCN_MEM_WRITE});
    // Imports: Sleep by name and ordinal 7 from KERNEL32.dll, into the address table at 0x1140.
    Put(In(0x1000), std::array<uint32_t, 5>{0x1100, 0, 0, 0x1180, 0x1140});
    Put(In(0x1100), std::array<uint64_t, 2>{0x1190, pe::IMAGE_ORDINAL_FLAG64 | 7});
    PutText(In(0x1180), "KERNEL32.dll");
    PutText(In(0x1192), "Sleep");  // after its 2-byte hint
    // Exports: Entry at 0x1300, and Forwarded, whose address inside the directory is its forwarder.
    Put(In(0x1200), std::array<uint32_t, 10>{0, 0, 0, 0, 1, 2, 2, 0x1230, 0x1238, 0x1240});
    Put(In(0x1230), std::array<uint32_t, 4>{0x1300, 0x1250, 0x1260, 0x1268});
    Put(In(0x1240), std::array<uint16_t, 2>{0, 1});
    PutText(In(0x1250), "NTDLL.RtlZero");
    PutText(In(0x1260), "Entry");
    PutText(In(0x1268), "Forwarded");
    // Base relocations: the 64-bit word at 0x1008, then padding.
    Put(In(0x1280), std::array<uint32_t, 3>{0x1000, 12, 0xA008});
    Put(In(0x12A0), pe::IMAGE_TLS_DIRECTORY64{0x180001300, 0x180001310, 0x180001320, 0x180001328, 16, 0});
    // Symbols: the section's own entry with its auxiliary one, and a long name defined at 0x1310.
    PutText(kSymbolsAt, ".data");
    Put<uint16_t>(kSymbolsAt + 12, 1);
    Put<uint16_t>(kSymbolsAt + 16, pe::IMAGE_SYM_CLASS_STATIC | 1 << 8);
    Put(kSymbolsAt + 36, std::array<uint32_t, 3>{0, 4, 0x310});
    Put<uint16_t>(kSymbolsAt + 48, 1);
    Put<uint8_t>(kSymbolsAt + 52, pe::IMAGE_SYM_CLASS_EXTERNAL);
    PutText(kSymbolsAt + 58, "LongSymbolName");  // in the string table, past its size
  }
};

std::string Refusal(const std::vector<uint8_t>& bytes) {
  pe::File file;
  std::string error;
  EXPECT_FALSE(pe::ReadPeFile(bytes, &file, &error));
  return error;
}

TEST(PeFile, ReadsWhatTheLoaderFollows) {
  pe::File file;
  std::string error;
  ASSERT_TRUE(pe::ReadPeFile(TinyDll().bytes, &file, &error)) << error;
  ASSERT_EQ(file.sections.size(), 1u);
  EXPECT_EQ(file.sections[0].name, ".data");
  EXPECT_EQ(file.relocations, std::vector<uint32_t>{0x1008});
  std::vector<std::string> imports;
  for (const pe::Import& import : file.imports)
    imports.push_back(import.dll + "!" + import.FunctionName() + "@" + std::to_string(import.slot));
  EXPECT_EQ(imports, (std::vector<std::string>{"KERNEL32.dll!Sleep@4416", "KERNEL32.dll!#7@4424"}));
  EXPECT_EQ(file.exports, (std::map<std::string, uint32_t>{{"Entry", 0x1300}}));
  EXPECT_EQ(file.forwarders, (std::map<std::string, std::string>{{"Forwarded", "NTDLL.RtlZero"}}));
  ASSERT_TRUE(file.tls.has_value());
  EXPECT_EQ(file.tls->AddressOfIndex, 0x180001320u);
  EXPECT_EQ(file.tls->AddressOfCallBacks, 0x180001328u);
  EXPECT_EQ(file.tls->SizeOfZeroFill, 16u);
  EXPECT_EQ(file.FileOffsetOf(0x1010), std::optional<uint64_t>(0x210));
  EXPECT_EQ(file.FileOffsetOf(0x1450), std::nullopt);  // zero fill
  EXPECT_EQ(file.NearestSymbol(0x1308), "Entry+0x8");
  EXPECT_EQ(file.NearestSymbol(0x1318), "LongSymbolName+0x8");
  EXPECT_EQ(file.NearestSymbol(0x1800), std::nullopt);  // past the section
}

TEST(PeFile, RefusesWhatItCantReadByName) {
  TinyDll cut, amd64, highlow, outside;
  cut.bytes.resize(0x100);
  amd64.Put<uint16_t>(0x44, 0x8664);
  highlow.Put<uint16_t>(highlow.In(0x1288), 0x3008);
  outside.Put<uint64_t>(outside.In(0x1100), 0x9000);
  const std::vector<uint8_t> text(100, 'x');
  const std::pair<std::vector<uint8_t>, std::string> cases[] = {
      {cut.bytes,
       "the file is cut short: the optional header at byte 0x58 takes 240 bytes, and the file ends at byte 0x100"},
      {text, "not a PE file: no MS-DOS header"},
      {amd64.bytes, "an image for machine 0x8664 (IMAGE_FILE_MACHINE_AMD64), not IMAGE_FILE_MACHINE_ARM64 (0xaa64)"},
      {highlow.bytes, "a base relocation of type 3 (IMAGE_REL_BASED_HIGHLOW) at rva 0x1008"},
      {outside.bytes, "a function imported from KERNEL32.dll at rva 0x9002 lies in no section's bytes in the file"},
  };
  size_t refused = 0;
  for (const auto& [bytes, why] : cases) {
    const std::string error = Refusal(bytes);
    EXPECT_NE(error.find(why), std::string::npos) << error;
    ++refused;
  }
  EXPECT_EQ(refused, std::size(cases));
}

}  // namespace
