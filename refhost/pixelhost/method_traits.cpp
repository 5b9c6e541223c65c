// Reading what a method does from its registered declaration.
#include "refhost/pixelhost/method_traits.h"

#include <algorithm>
#include <cstdio>

#include "refhost/model/method_names.h"
#include "refhost/pixelhost/session.h"

namespace pixelhost {
namespace {

// The parameters every method of a family has.
const char kCommonParams[] = "destination offset StartLine EndLine Yield DestRowBytes source width height";

}  // namespace

bool MethodTraits::Has(const std::string& key) const {
  return std::find(extras.begin(), extras.end(), key) != extras.end();
}

std::string MethodTraits::Bytes() const {
  if (Has("LittleEndian")) return "BGRA";  // ARGB words stored little-endian, alpha in range
  if (layout.size() == 1 || layout == "Gray") return layout.substr(0, 1) + std::string(kStride - 1, 'X');
  return layout;
}

std::string MethodTraits::Label() const {
  std::string label = method->parsed.name;
  for (size_t i = 0; i < extras.size(); ++i) label += (i == 0 ? " [" : " ") + extras[i];
  return extras.empty() ? label : label + "]";
}

std::string MethodTraits::FileName(int number) const {
  char prefix[8];
  snprintf(prefix, sizeof prefix, "%02d-", number);
  std::string name = prefix + method->parsed.name;
  for (std::string extra : extras) {
    if (extra.size() > 2 && extra.compare(extra.size() - 2, 2, "()") == 0) extra.replace(extra.size() - 2, 2, "Table");
    name += "-" + extra;
  }
  return name + ".png";
}

std::optional<MethodTraits> TraitsOf(const refhost::RegisteredMethod& method) {
  MethodTraits traits;
  traits.method = &method;
  traits.layout = refhost::LayoutWord(method.parsed.name);
  if (traits.layout.empty()) return std::nullopt;
  traits.toMemory = method.parsed.name.rfind("Copy", 0) == 0;
  traits.fromPtr = method.parsed.name.rfind("Ptr", 0) == 0;
  for (const refhost::Parameter& param : method.parsed.params)
    if (!IsOneOf(param.name, kCommonParams)) traits.extras.push_back(ParamKey(param));
  return traits;
}

}  // namespace pixelhost
