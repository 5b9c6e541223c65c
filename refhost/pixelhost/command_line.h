// pixelhost's command lines: operands and --options, read strictly, and the two ways a run ends badly.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace pixelhost {

// A command line that can't be run as given: pixelhost prints the message and the usage (exit 2).
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};
// A run that failed: pixelhost prints the message, when there is one, and exits with 1.
struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class CommandLine {
 public:
  // Reads `args`: "--name value" for the options in `valued`, "--name" for those in `flags`,
  // anything else not starting with "--" as an operand.
  CommandLine(const std::vector<std::string>& args, const std::set<std::string>& valued,
              const std::set<std::string>& flags);

  const std::vector<std::string>& operands() const { return operands_; }
  bool Has(const std::string& name) const { return options_.count(name) != 0; }
  std::string Text(const std::string& name, const std::string& fallback = "") const;
  int32_t Int(const std::string& name, int32_t fallback) const;
  double Number(const std::string& name, double fallback) const;
  // A comma-separated value of exactly `count` items.
  std::vector<std::string> List(const std::string& name, size_t count) const;

 private:
  std::vector<std::string> operands_;
  std::map<std::string, std::string> options_;
};

// Whether `word` is one of the blank-separated words of `words`.
bool IsOneOf(const std::string& word, const std::string& words);

// A 32-bit integer written in decimal, nothing else; a UsageError naming `what` otherwise.
int32_t ParseInt(const std::string& text, const std::string& what);

}  // namespace pixelhost
