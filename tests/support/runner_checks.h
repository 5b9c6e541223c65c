// What the run trees' runner tests share: files of the test's own, and the plug-in run in a
// child process until it faults, or through the case table.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace pixeltest {

std::vector<uint8_t> ReadFile(const std::string& path);
// `bytes` written to a file named `name` in the test's temporary folder; its path.
std::string WriteFile(const std::string& name, const std::vector<uint8_t>& bytes);

// A conversion reads its source from a wild Ptr (address 0x100, or a block's guard page) in a
// child process, which must die of it: what that process wrote to stderr (kept in `log`).
std::string WildPtrFaultReport(bool guardPage, const std::string& log);

// The case table on `plugin` in a child process, after `before` (nonzero: its own status),
// whose failures (not shown) are its exit status: 0 when it passed, 1 when it failed.
int CaseTableStatus(
    const std::string& plugin, const std::function<int()>& before = [] { return 0; });

}  // namespace pixeltest
