// The Mac run tree's own: the runner that loads a slice of the Mac bundle refuses what it
// can't load with a message naming it, reports a fault of the slice's code with where it
// was, and a bundle with one instruction changed in each slice fails the case table.
#include <fstream>
#include <iterator>
#include <regex>

#include "refhost/macho_file.h"
#include "refhost/system.h"
#include "tests/support/host_fixture.h"

using refhost::macho::Cpu;

namespace {

std::vector<uint8_t> ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

Cpu SliceUnderTest() {
  const char* slice = getenv("PIXELHOST_MAC_SLICE");
  return slice != nullptr && std::string(slice) == "arm64" ? Cpu::kArm64 : Cpu::kX86_64;
}

// A file of the test's own: each slice's test runs beside the other's.
std::string TestFile(const std::string& name) {
  return testing::TempDir() + "pixelbridge-" + refhost::macho::CpuName(SliceUnderTest()) + "-" + name;
}

std::string WriteFile(const std::string& name, const std::vector<uint8_t>& bytes) {
  const std::string path = TestFile(name);
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return path;
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
    EXPECT_EQ(refhost::os::LoadPlugin(WriteFile(std::string("refused-") + c.name + ".bundle", c.file), &error),
              nullptr);
    EXPECT_NE(error.find(c.refusal), std::string::npos) << c.name << ": " << error;
  }
}

// A conversion reads its source from a wild Ptr: the host process dies, and says first which
// slice faulted, on what, and where in the image.
TEST(MacBundle, FaultsNameTheSliceTheAddressAndTheSymbol) {
  const std::string declaration = pixeltest::DeclarationOf(30);  // PtrRGBtoPictureQZV(source as Ptr, …)
  ASSERT_EQ(declaration.rfind("PtrRGBtoPictureQZV(source as Ptr", 0), 0u);
  for (const bool guardPage : {false, true}) {
    const std::string log = TestFile("fault.txt");
    const refhost::os::ProcessEnd end = refhost::os::RunChild(0, "", [&] {
      if (freopen(log.c_str(), "w", stderr) == nullptr) return 1;
      pixeltest::WithHost(pixeltest::PluginConfig(), [&](refhost::Host& host) {
        refhost::MemoryBlock* block = host.NewMemoryBlock(64);
        void* source = guardPage ? block->data() + 64 : reinterpret_cast<void*>(0x100);
        host.Call(declaration, {refhost::Arg::Ptr(source), 0, 16, 16});
      });
      return 0;
    });
    EXPECT_EQ(end.died, "signal 11");
    const std::vector<uint8_t> text = ReadFile(log);
    const std::string report(text.begin(), text.end());
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
    const uint64_t at = slice.fileOffset + slice.FileOffsetOf(plainRow->address);
    std::copy(ret.begin(), ret.end(), bundle.begin() + static_cast<ptrdiff_t>(at));
  }
  return WriteFile("broken.bundle", bundle);
}

// The case table runs in a process of its own, whose failures (not shown) are its exit status.
TEST(MacBundle, OneInstructionChangedFailsTheCaseTable) {
  const std::string broken = BrokenBundle();
  const refhost::os::ProcessEnd end = refhost::os::RunChild(0, "", [&] {
    if (freopen("/dev/null", "w", stdout) == nullptr) return 2;
    pixeltest::ExpectCaseTable(broken);
    return testing::Test::HasFailure() ? 1 : 0;
  });
  EXPECT_EQ(end.died, "");
  EXPECT_EQ(end.status, 1) << "the case table passed on " << broken;
}

}  // namespace
