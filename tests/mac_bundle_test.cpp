// The Mac run tree's own: the runner that loads a slice of the Mac bundle refuses what it
// can't load with a message naming it, reports a fault of the slice's code with where it
// was, and a bundle with one instruction changed in each slice fails the case table.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <regex>

#include "refhost/system/macho/macho_file.h"
#include "refhost/system/system.h"
#include "tests/support/runner_checks.h"

using pixeltest::ReadFile;
using refhost::macho::Cpu;

namespace {

Cpu SliceUnderTest() {
  const char* slice = getenv("PIXELHOST_MAC_SLICE");
  return slice != nullptr && std::string(slice) == "arm64" ? Cpu::kArm64 : Cpu::kX86_64;
}

// A file of the test's own: each slice's test runs beside the other's.
std::string TestFile(const std::string& name) {
  return std::string("pixelbridge-") + refhost::macho::CpuName(SliceUnderTest()) + "-" + name;
}

std::string WriteFile(const std::string& name, const std::vector<uint8_t>& bytes) {
  return pixeltest::WriteFile(TestFile(name), bytes);
}

refhost::macho::Slice SliceOf(const std::vector<uint8_t>& file, Cpu cpu) {
  refhost::macho::Slice slice;
  std::string error;
  EXPECT_TRUE(refhost::macho::ReadSlice(file, cpu, &slice, &error)) << error;
  return slice;
}

// Every copy of `from` in the file's bytes made `to` (as long).
std::vector<uint8_t> Replaced(std::vector<uint8_t> file, const std::string& from, const std::string& to) {
  const std::vector<uint8_t> bytes(from.begin(), from.end());
  for (auto at = file.begin(); (at = std::search(at, file.end(), bytes.begin(), bytes.end())) != file.end();)
    at = std::copy(to.begin(), to.end(), at);
  return file;
}

// A thin x86_64 bundle of one segment (__DATA at 0x1000, segment 0), loading libSystem, with
// these rebase, bind and lazy-bind opcodes and exports trie.
std::vector<uint8_t> MachO(const std::string& rebases, const std::string& binds, const std::string& lazy,
                           const std::string& trie) {
  const std::string library = "/usr/lib/libSystem.B.dylib";
  const uint32_t commandBytes = 72 + 48 + 24 + 32, tables = 32 + commandBytes;
  std::vector<uint32_t> words = {0xFEEDFACF, 0x01000007, 3, 8, 3, commandBytes, 0, 0, 0x19, 72};
  const auto add = [&](std::initializer_list<uint32_t> more) { words.insert(words.end(), more); };
  add({0x41445F5F, 0x4154, 0, 0, 0x1000, 0, 0x1000, 0, 0, 0, 0, 0, 3, 3, 0, 0});  // "__DATA", vmaddr, vmsize, prot
  const auto size = [](const std::string& table) { return static_cast<uint32_t>(table.size()); };
  const uint32_t bindsAt = tables + size(rebases), lazyAt = bindsAt + size(binds), trieAt = lazyAt + size(lazy);
  add({0x80000022, 48, tables, size(rebases), bindsAt, size(binds), 0, 0, lazyAt, size(lazy), trieAt, size(trie)});
  add({0xC, 56, 24, 2, 0, 0});
  std::vector<uint8_t> file(words.size() * 4);
  memcpy(file.data(), words.data(), file.size());
  file.insert(file.end(), library.begin(), library.end());
  file.resize(32 + commandBytes);
  for (const std::string* table : {&rebases, &binds, &lazy, &trie})
    file.insert(file.end(), table->begin(), table->end());
  return file;
}

TEST(MacBundle, ReaderFollowsDyldsOpcodesAndTrie) {
  using std::string_literals::operator""s;
  const std::string rebases = "\x11\x20\x10\x52\x82\x02\x08\x00"s;  // 2 pointers at 0x1010, 2 more 16 apart
  const std::string binds = "\x11\x40_a\0\x51\x70\x40\x90\x60\x78\x41_b\0\xB1\x00"s;  // _a; _b - 8, weak
  const std::string lazy = "\x70\x60\x11\x40_c\0\x90\x00\x70\x68\x40_d\0\x90\x00"s;   // a done ends each
  const std::string trie = "\x00\x01_main\0\x09\x02\x00\x20\x00"s;                    // _main at 0x20
  refhost::macho::Slice slice;
  std::string error;
  ASSERT_TRUE(refhost::macho::ReadSlice(MachO(rebases, binds, lazy, trie), Cpu::kX86_64, &slice, &error)) << error;
  EXPECT_EQ(slice.rebases, (std::vector<uint64_t>{0x1010, 0x1018, 0x1020, 0x1030}));
  std::vector<std::string> bound;
  for (const auto& bind : slice.binds)
    bound.push_back(bind.symbol + "@" + std::to_string(bind.address) + "+" + std::to_string(bind.addend) + ":" +
                    std::to_string(bind.library) + (bind.weakImport ? " weak" : ""));
  EXPECT_EQ(bound, (std::vector<std::string>{"_a@4160+0:1", "_b@4168+-8:1 weak", "_c@4192+0:1", "_d@4200+0:1"}));
  EXPECT_EQ(slice.exports, (std::map<std::string, uint64_t>{{"_main", 0x20}}));
  EXPECT_EQ(slice.libraries, std::vector<std::string>{"/usr/lib/libSystem.B.dylib"});
  const std::pair<std::string, std::string> malformed[] = {{"\x90"s, "rebase opcode 9"},
                                                           {"\x12"s, "a rebase of type 2"},
                                                           {"\x25\x00"s, "a fixup names segment 5"},
                                                           {"\x20\x80"s, "runs past its end"},
                                                           {"\x20\x00\xD0"s, "threaded binds"}};
  for (const auto& [opcodes, why] : malformed) {
    const bool bind = opcodes.find('\xD0') != std::string::npos;
    EXPECT_FALSE(refhost::macho::ReadSlice(MachO(bind ? "" : opcodes, bind ? opcodes : "", "", ""), Cpu::kX86_64,
                                           &slice, &error));
    EXPECT_NE(error.find(why), std::string::npos) << error;
  }
}

TEST(MacBundle, WhatTheRunnerCantLoadIsRefusedByName) {
  const std::vector<uint8_t> bundle = ReadFile(PIXELBRIDGE_PLUGIN);
  const Cpu cpu = SliceUnderTest(), other = cpu == Cpu::kArm64 ? Cpu::kX86_64 : Cpu::kArm64;
  struct Case {
    const char* name;
    std::vector<uint8_t> file;
    std::string refusal;
  };
  const std::string dyldInfoOnly("\x22\x00\x00\x80", 4), chainedFixups("\x34\x00\x00\x80", 4);
  const Case cases[] = {
      {"chained", Replaced(bundle, dyldInfoOnly, chainedFixups), "chained fixups (LC_DYLD_CHAINED_FIXUPS)"},
      {"import", Replaced(bundle, std::string("_strlen", 8), std::string("_strlem", 8)),
       "imports _strlem from /usr/lib/libSystem.B.dylib, which the runner doesn't serve"},
      {"thin", SliceOf(bundle, other).bytes, std::string("no ") + refhost::macho::CpuName(cpu) + " slice"},
      {"text", std::vector<uint8_t>(64, 'x'), "not a 64-bit Mach-O file"},
      {"cut", std::vector<uint8_t>(bundle.begin(), bundle.begin() + 4096), "past the file's end"},
  };
  for (const Case& c : cases) {
    std::string error;
    const std::string path = WriteFile(std::string("refused-") + c.name + ".bundle", c.file);
    EXPECT_EQ(refhost::os::LoadPlugin(path, &error), nullptr);
    std::remove(path.c_str());
    EXPECT_NE(error.find(c.refusal), std::string::npos) << c.name << ": " << error;
  }
}

// A conversion reads its source from a wild Ptr: the host process dies, and says first which
// slice faulted, on what, and where in the image.
TEST(MacBundle, FaultsNameTheSliceTheAddressAndTheSymbol) {
  for (const bool guardPage : {false, true}) {
    const std::string report = pixeltest::WildPtrFaultReport(guardPage, testing::TempDir() + TestFile("fault.txt"));
    const std::string expected = std::string("the ") + refhost::macho::CpuName(SliceUnderTest()) +
                                 " slice of .*pixelbridge.bundle faulted: .* at 0x[0-9a-f]+, " +
                                 (guardPage ? "an inaccessible page \\(a guard page\\)" : "a null pointer") +
                                 "; pc 0x[0-9a-f]+, offset 0x[0-9a-f]+ in the image, in _\\w+\\+0x[0-9a-f]+\n";
    EXPECT_TRUE(std::regex_search(report, std::regex(expected))) << report;
  }
}

// The plain row's first instruction made a return in both slices: every processor runs it
// for samples two bytes apart, and the case table has such calls.
std::string BrokenBundle() {
  std::vector<uint8_t> bundle = ReadFile(PIXELBRIDGE_PLUGIN);
  const struct {
    Cpu cpu;
    std::string ret;
  } slices[] = {{Cpu::kX86_64, "\xC3"}, {Cpu::kArm64, "\xC0\x03\x5F\xD6"}};
  for (const auto& [cpu, ret] : slices) {
    const refhost::macho::Slice slice = SliceOf(bundle, cpu);
    const auto plainRow = std::find_if(slice.symbols.begin(), slice.symbols.end(), [](const auto& symbol) {
      return symbol.name.find("9MapPixels") != std::string::npos;
    });
    EXPECT_NE(plainRow, slice.symbols.end());
    const uint64_t at = slice.fileOffset + slice.FileOffsetOf(plainRow->address).value();
    std::copy(ret.begin(), ret.end(), bundle.begin() + static_cast<ptrdiff_t>(at));
  }
  return WriteFile("broken.bundle", bundle);
}

TEST(MacBundle, OneInstructionChangedFailsTheCaseTable) {
  const std::string broken = BrokenBundle();
  EXPECT_EQ(pixeltest::CaseTableStatus(broken), 1) << "the case table passed on " << broken;
  std::remove(broken.c_str());
}

}  // namespace
