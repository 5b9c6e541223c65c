// Instances, memory blocks behind guard pages, and integer arrays.
#include "refhost/model/objects.h"

#include "refhost/model/host.h"

namespace refhost {

bool Instance::GetInt(const std::string& name, int32_t* value) {
  auto found = ints.find(name);
  if (found == ints.end()) return false;
  *value = found->second;
  return true;
}

bool Instance::SetInt(const std::string& name, int32_t value) {
  ints[name] = value;
  return true;
}

bool Instance::SetString(Host& host, const std::string& name, String* value) {
  if (value != nullptr) host.Retain(value);
  auto found = strings.find(name);
  if (found != strings.end() && found->second != nullptr) host.Release(found->second);
  strings[name] = value;
  return true;
}

void Instance::ReleaseHeld(Host& host) {
  for (auto& entry : strings)
    if (entry.second != nullptr) host.Release(entry.second);
  strings.clear();
}

IntArray::IntArray(std::vector<int32_t> values) : Object("Integer()"), values_(std::move(values)) {
  handle_.elements = values_.data();
}

}  // namespace refhost
