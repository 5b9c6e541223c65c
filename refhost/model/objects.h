// The reference host's objects: what the plug-in's handles point at.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "refhost/system/guarded_buffer.h"

namespace refhost {

class Object;

// The memory a handle points at. Its first three words are laid out as an integer array
// object of older hosts, whose third word points at the elements; the last word finds the
// host's object again.
struct Handle {
  uintptr_t word0 = 0;
  uintptr_t word1 = 0;
  int32_t* elements = nullptr;
  Object* owner = nullptr;
};

class Host;

class Object {
 public:
  explicit Object(std::string className) : class_name_(std::move(className)) { handle_.owner = this; }
  virtual ~Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  const std::string& class_name() const { return class_name_; }
  int id() const { return id_; }
  int refs() const { return refs_; }
  // Pixel locks held on the object (pictures only).
  virtual int locks() const { return 0; }
  // What the plug-in receives for this object.
  void* handle() { return &handle_; }

  // Properties, as "REALGetPropValue…" and "REALSetPropValue…" reach them.
  virtual bool GetInt(const std::string& /*name*/, int32_t* /*value*/) { return false; }
  virtual bool GetBool(const std::string& /*name*/, bool* /*value*/) { return false; }
  virtual bool SetInt(const std::string& /*name*/, int32_t /*value*/) { return false; }
  virtual bool SetString(Host& /*host*/, const std::string& /*name*/, class String* /*value*/) { return false; }
  // Gives back the references this object holds on others, before it is destroyed.
  virtual void ReleaseHeld(Host& /*host*/) {}

 protected:
  Handle handle_;

 private:
  friend class Host;
  std::string class_name_;
  int id_ = 0;
  int refs_ = 1;
};

class String : public Object {
 public:
  explicit String(std::string bytes) : Object("String"), bytes_(std::move(bytes)) {}
  const std::string& bytes() const { return bytes_; }
  uint32_t encoding = 0;

 private:
  std::string bytes_;
};

// An instance of a host class made through "PluginNewInstance" (exceptions among them).
class Instance : public Object {
 public:
  using Object::Object;
  bool GetInt(const std::string& name, int32_t* value) override;
  bool SetInt(const std::string& name, int32_t value) override;
  bool SetString(Host& host, const std::string& name, String* value) override;
  void ReleaseHeld(Host& host) override;

  std::map<std::string, int32_t> ints;
  std::map<std::string, String*> strings;  // each holds one reference; null allowed
};

// A memory block whose bytes end right at an inaccessible page.
class MemoryBlock : public Object {
 public:
  MemoryBlock(size_t size, uint8_t fill) : Object("MemoryBlock"), buffer_(size, fill) {}
  uint8_t* data() { return buffer_.data(); }
  size_t size() const { return buffer_.size(); }
  bool SlackIntact() const { return buffer_.SlackIntact(); }

 private:
  GuardedBuffer buffer_;
};

// A host integer array.
class IntArray : public Object {
 public:
  explicit IntArray(std::vector<int32_t> values);
  const std::vector<int32_t>& values() const { return values_; }
  // Clears the element pointer that older hosts let plug-ins read directly.
  void HideElements() { handle_.elements = nullptr; }

 private:
  std::vector<int32_t> values_;
};

}  // namespace refhost
