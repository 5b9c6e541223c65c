// Method declarations as the host reads them, and calls through them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace refhost {

class Object;

enum class ParamType { Picture, MemoryBlock, Ptr, Integer, Boolean, IntegerArray };

struct Parameter {
  std::string name;
  ParamType type = ParamType::Integer;
  std::optional<std::string> default_value;
};

struct Declaration {
  std::string name;
  std::vector<Parameter> params;
  std::optional<ParamType> result;  // none for a method without result
};

// Parses "Name(a as integer, b() as integer, c as boolean=false) as picture".
std::optional<Declaration> ParseDeclaration(const std::string& text, std::string* error);

// One argument of a call: an object (or nil), a raw pointer, an integer or a boolean byte.
struct Arg {
  enum class Kind { Object, Pointer, Integer, Boolean };
  Kind kind = Kind::Object;
  Object* object = nullptr;
  void* pointer = nullptr;
  int32_t integer = 0;

  Arg(Object* value) : kind(Kind::Object), object(value) {}    // NOLINT: implicit by design
  Arg(std::nullptr_t) : kind(Kind::Object) {}                  // NOLINT
  Arg(int32_t value) : kind(Kind::Integer), integer(value) {}  // NOLINT
  static Arg Ptr(void* value) {
    Arg arg(nullptr);
    arg.kind = Kind::Pointer;
    arg.pointer = value;
    return arg;
  }
  // A boolean as the byte the host passes; any non-zero byte is true.
  static Arg Bool(int value) {
    Arg arg(value);
    arg.kind = Kind::Boolean;
    return arg;
  }
};

// The argument a parameter takes when the caller leaves it out; none without a default.
std::optional<Arg> DefaultArg(const Parameter& param);

// How a function of the C signature that the parameter types give is called with `words`
// (one per parameter, receiver first); null, with an error, for a signature the host can't make.
using SignatureCall = uintptr_t (*)(void* function, const uintptr_t* words);
SignatureCall CallBySignature(const std::vector<ParamType>& params, std::optional<ParamType> result,
                              std::string* error);

// Calls `function` with `words` (one per parameter, receiver first) by the C signature that
// the parameter types give. False, with an error, for a signature the host can't make.
bool InvokeBySignature(void* function, const std::vector<ParamType>& params, std::optional<ParamType> result,
                       const std::vector<uintptr_t>& words, uintptr_t* returned, std::string* error);

}  // namespace refhost
