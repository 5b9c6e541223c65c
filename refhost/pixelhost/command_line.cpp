// Strict reading of pixelhost's command lines.
#include "refhost/pixelhost/command_line.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>

namespace pixelhost {

CommandLine::CommandLine(const std::vector<std::string>& args, const std::set<std::string>& valued,
                         const std::set<std::string>& flags) {
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg.compare(0, 2, "--") != 0) {
      operands_.push_back(arg);
      continue;
    }
    const bool takesValue = valued.count(arg) != 0;
    if (!takesValue && flags.count(arg) == 0) throw UsageError("unknown option " + arg);
    if (options_.count(arg) != 0) throw UsageError(arg + " given twice");
    if (takesValue && i + 1 == args.size()) throw UsageError(arg + " needs a value");
    options_[arg] = takesValue ? args[++i] : "";
  }
}

std::string CommandLine::Text(const std::string& name, const std::string& fallback) const {
  auto found = options_.find(name);
  return found != options_.end() ? found->second : fallback;
}

int32_t CommandLine::Int(const std::string& name, int32_t fallback) const {
  return Has(name) ? ParseInt(Text(name), name) : fallback;
}

double CommandLine::Number(const std::string& name, double fallback) const {
  if (!Has(name)) return fallback;
  const std::string text = Text(name);
  char* end = nullptr;
  errno = 0;
  const double value = strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || errno != 0) throw UsageError(name + " wants a number, not \"" + text + "\"");
  return value;
}

std::vector<std::string> CommandLine::List(const std::string& name, size_t count) const {
  std::vector<std::string> items;
  const std::string text = Text(name);
  for (size_t start = 0;;) {
    const size_t comma = text.find(',', start);
    items.push_back(text.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  if (items.size() != count) throw UsageError(name + " wants " + std::to_string(count) + " comma-separated values");
  return items;
}

bool IsOneOf(const std::string& word, const std::string& words) {
  return !word.empty() && word.find(' ') == std::string::npos &&
         (" " + words + " ").find(" " + word + " ") != std::string::npos;
}

int32_t ParseInt(const std::string& text, const std::string& what) {
  char* end = nullptr;
  errno = 0;
  const long long value = strtoll(text.c_str(), &end, 10);
  if (text.empty() || isspace(static_cast<unsigned char>(text[0])) || *end != '\0' || errno != 0 || value < INT32_MIN ||
      value > INT32_MAX)
    throw UsageError(what + " wants a 32-bit integer, not \"" + text + "\"");
  return static_cast<int32_t>(value);
}

}  // namespace pixelhost
