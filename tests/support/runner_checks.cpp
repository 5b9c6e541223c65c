// The run trees' shared checks, each in a process of its own.
#include "tests/support/runner_checks.h"

#include <cstdio>
#include <fstream>
#include <iterator>

#include "refhost/system/system.h"
#include "tests/support/host_fixture.h"

namespace pixeltest {

std::vector<uint8_t> ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string WriteFile(const std::string& name, const std::vector<uint8_t>& bytes) {
  const std::string path = testing::TempDir() + name;
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return path;
}

std::string WildPtrFaultReport(bool guardPage, const std::string& log) {
  const std::string declaration = DeclarationOf(30);  // PtrRGBtoPictureQZV(source as Ptr, …)
  EXPECT_EQ(declaration.rfind("PtrRGBtoPictureQZV(source as Ptr", 0), 0u);
  const refhost::os::ProcessEnd end = refhost::os::RunChild(0, "", [&] {
    if (freopen(log.c_str(), "w", stderr) == nullptr) return 1;
    WithHost(PluginConfig(), [&](refhost::Host& host) {
      refhost::MemoryBlock* block = host.NewMemoryBlock(64);
      void* source = guardPage ? block->data() + 64 : reinterpret_cast<void*>(0x100);
      host.Call(declaration, {refhost::Arg::Ptr(source), 0, 16, 16});
    });
    return 0;
  });
  EXPECT_EQ(end.died, "signal 11");
  const std::vector<uint8_t> text = ReadFile(log);
  std::remove(log.c_str());
  return std::string(text.begin(), text.end());
}

int CaseTableStatus(const std::string& plugin, const std::function<int()>& before) {
  const refhost::os::ProcessEnd end = refhost::os::RunChild(0, "", [&] {
    if (freopen("/dev/null", "w", stdout) == nullptr) return 2;
    if (const int status = before(); status != 0) return status;
    ExpectCaseTable(plugin);
    return testing::Test::HasFailure() ? 1 : 0;
  });
  EXPECT_EQ(end.died, "");
  return end.status;
}

}  // namespace pixeltest
