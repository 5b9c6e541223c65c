// The Windows on ARM64 run tree's own: the runner refuses a DLL it can't load with a message
// naming why, reports a fault of the DLL's code with where it was, runs the DLL away from its
// preferred base as well as at it, and a DLL with its table lookups changed fails the case table.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <regex>

#include "refhost/system/pe/pe_file.h"
#include "refhost/system/system.h"
#include "tests/support/runner_checks.h"

namespace pe = refhost::pe;
using pixeltest::ReadFile;

namespace {

std::string WriteFile(const std::string& name, const std::vector<uint8_t>& bytes) {
  return pixeltest::WriteFile("pixelbridge-winarm64-" + name, bytes);
}

pe::File Read(const std::vector<uint8_t>& bytes) {
  pe::File file;
  std::string error;
  EXPECT_TRUE(pe::ReadPeFile(bytes, &file, &error)) << error;
  return file;
}

template <typename T>
void Put(std::vector<uint8_t>& bytes, uint64_t at, T value) {
  memcpy(bytes.data() + at, &value, sizeof value);
}

TEST(WinDll, WhatTheRunnerCantLoadIsRefusedByName) {
  const std::vector<uint8_t> dll = ReadFile(PIXELBRIDGE_PLUGIN);
  const pe::File file = Read(dll);
  std::vector<uint8_t> import = dll, amd64 = dll, highlow = dll;
  const auto strlenAt = std::search(import.begin(), import.end(), "strlen", "strlen" + 7);
  ASSERT_NE(strlenAt, import.end());
  strlenAt[5] = 'm';
  Put<uint16_t>(amd64, *reinterpret_cast<const uint32_t*>(dll.data() + 0x3C) + 4, 0x8664);
  const uint32_t relocations = file.Directory(pe::IMAGE_DIRECTORY_ENTRY_BASERELOC)->VirtualAddress;
  const uint64_t firstEntry = file.FileOffsetOf(relocations).value() + 8;
  uint16_t entry;
  memcpy(&entry, dll.data() + firstEntry, sizeof entry);
  Put<uint16_t>(highlow, firstEntry, (entry & 0x0FFF) | 0x3000);  // IMAGE_REL_BASED_HIGHLOW
  const std::pair<std::vector<uint8_t>, std::string> cases[] = {
      {import, "it imports strlem from msvcrt.dll, which the runner doesn't serve"},
      {amd64, "an image for machine 0x8664 (IMAGE_FILE_MACHINE_AMD64)"},
      {highlow, "a base relocation of type 3 (IMAGE_REL_BASED_HIGHLOW)"},
      {std::vector<uint8_t>(dll.begin(), dll.begin() + 4096), "the file is cut short"},
      {std::vector<uint8_t>(64, 'x'), "not a PE file"},
  };
  size_t refused = 0;
  for (const auto& [bytes, why] : cases) {
    std::string error;
    const std::string path = WriteFile("refused-" + std::to_string(refused++) + ".dll", bytes);
    EXPECT_EQ(refhost::os::LoadPlugin(path, &error), nullptr);
    std::remove(path.c_str());
    EXPECT_NE(error.find(why), std::string::npos) << error;
  }
  EXPECT_EQ(refused, std::size(cases));
}

// A conversion reads its source from a wild Ptr: the host process dies, and says first that
// the DLL faulted, on what, and where in the image (the DLL is stripped: its one export is the
// nearest symbol there is, when one lies before the pc).
TEST(WinDll, FaultsNameTheDllTheAddressAndTheOffset) {
  int faults = 0;
  for (const bool guardPage : {false, true}) {
    const std::string report =
        pixeltest::WildPtrFaultReport(guardPage, testing::TempDir() + "pixelbridge-winarm64-fault.txt");
    const std::string expected = std::string("the ARM64 DLL .*pixelbridge.dll faulted: .* at 0x[0-9a-f]+, ") +
                                 (guardPage ? "an inaccessible page \\(a guard page\\)" : "a null pointer") +
                                 "; pc 0x[0-9a-f]+, offset 0x[0-9a-f]+ in the image(, in \\w+\\+0x[0-9a-f]+)?\n";
    EXPECT_TRUE(std::regex_search(report, std::regex(expected))) << report;
    ++faults;
  }
  EXPECT_EQ(faults, 2);
}

// Every NEON table lookup (tbl, one register) of the code made a move of its table: the
// kernels that reorder bytes with them copy instead.
std::string BrokenDll() {
  std::vector<uint8_t> dll = ReadFile(PIXELBRIDGE_PLUGIN);
  const pe::File file = Read(dll);
  int changed = 0;
  for (const pe::Section& section : file.sections) {
    if ((section.header.Characteristics & pe::IMAGE_SCN_MEM_EXECUTE) == 0) continue;
    const uint64_t start = section.header.PointerToRawData, end = start + section.header.SizeOfRawData;
    for (uint64_t at = start; at + 4 <= end; at += 4) {
      uint32_t word;
      memcpy(&word, dll.data() + at, 4);
      if ((word & 0xFFE0FC00) != 0x4E000000) continue;  // tbl Vd.16B, {Vn.16B}, Vm.16B
      const uint32_t table = word >> 5 & 31, to = word & 31;
      Put<uint32_t>(dll, at, 0x4EA01C00 | table << 16 | table << 5 | to);  // mov Vd.16B, Vn.16B
      ++changed;
    }
  }
  EXPECT_GT(changed, 0);
  return WriteFile("broken.dll", dll);
}

// The shipped DLL, loaded away from its preferred base (taken first), passes the case table;
// the broken one fails it.
TEST(WinDll, CaseTableHoldsRelocatedAndCatchesABrokenDll) {
  const uint64_t preferred = Read(ReadFile(PIXELBRIDGE_PLUGIN)).optional.ImageBase;
  const auto takePreferredBase = [preferred] {
    void* taken = mmap(reinterpret_cast<void*>(preferred), 0x10000, PROT_NONE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    return taken == reinterpret_cast<void*>(preferred) ? 0 : 3;
  };
  EXPECT_EQ(pixeltest::CaseTableStatus(PIXELBRIDGE_PLUGIN, takePreferredBase), 0);
  const std::string broken = BrokenDll();
  EXPECT_EQ(pixeltest::CaseTableStatus(broken), 1) << "the case table passed on " << broken;
  std::remove(broken.c_str());
}

}  // namespace
