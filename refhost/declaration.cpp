// Parsing declarations, and calling a method by the C signature its declaration gives.
#include "refhost/declaration.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <utility>

#include "host/host_types.h"

namespace refhost {
namespace {

std::string Trim(const std::string& text) {
  size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  size_t last = text.find_last_not_of(' ');
  return text.substr(first, last - first + 1);
}

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

std::optional<ParamType> TypeNamed(const std::string& name, bool array) {
  const std::string type = Lower(name);
  if (array) return type == "integer" ? std::optional<ParamType>(ParamType::IntegerArray) : std::nullopt;
  if (type == "picture") return ParamType::Picture;
  if (type == "memoryblock") return ParamType::MemoryBlock;
  if (type == "ptr") return ParamType::Ptr;
  if (type == "integer") return ParamType::Integer;
  if (type == "boolean") return ParamType::Boolean;
  return std::nullopt;
}

// The C argument a parameter type is passed as: a handle of its own type, a raw address, a
// 32-bit integer or a byte. A method is called through exactly the C type it has.
template <typename T>
struct Pointer {
  using type = T;
  static T From(uintptr_t word) { return reinterpret_cast<T>(word); }
};
template <char C>
struct CType;
template <>
struct CType<'P'> : Pointer<REALpictureStruct*> {};
template <>
struct CType<'M'> : Pointer<REALmemoryBlockStruct*> {};
template <>
struct CType<'A'> : Pointer<REALarrayInteger*> {};
template <>
struct CType<'p'> : Pointer<void*> {};
template <>
struct CType<'i'> {
  using type = int32_t;
  static int32_t From(uintptr_t word) { return static_cast<int32_t>(word); }
};
template <>
struct CType<'b'> {
  using type = signed char;
  static signed char From(uintptr_t word) { return static_cast<signed char>(word); }
};

template <typename R>
uintptr_t Word(R value) {
  if constexpr (std::is_pointer_v<R>) return reinterpret_cast<uintptr_t>(value);
  else return static_cast<uintptr_t>(value);
}

template <typename R, char... Cs, size_t... I>
uintptr_t CallWith(void* function, const uintptr_t* words, std::index_sequence<I...>) {
  using Function = R (*)(typename CType<Cs>::type...);
  return Word(reinterpret_cast<Function>(function)(CType<Cs>::From(words[I])...));
}

template <typename R, char... Cs>
uintptr_t Call(void* function, const uintptr_t* words) {
  return CallWith<R, Cs...>(function, words, std::make_index_sequence<sizeof...(Cs)>());
}

struct Shape {
  const char* params;  // one letter per parameter: P picture, M memory block, A integer array,
                       // p Ptr, i integer, b boolean byte
  char result;         // b boolean, P picture
  SignatureCall invoke;
};

using Picture = REALpictureStruct*;

// Every C signature that the methods of this plug-in family use.
const Shape kShapes[] = {
    {"PMiiiii", 'b', Call<bool, 'P', 'M', 'i', 'i', 'i', 'i', 'i'>},
    {"PMiiiiii", 'b', Call<bool, 'P', 'M', 'i', 'i', 'i', 'i', 'i', 'i'>},
    {"PMiPiiii", 'b', Call<bool, 'P', 'M', 'i', 'P', 'i', 'i', 'i', 'i'>},
    {"PMibiiiii", 'b', Call<bool, 'P', 'M', 'i', 'b', 'i', 'i', 'i', 'i', 'i'>},
    {"PMiii", 'P', Call<Picture, 'P', 'M', 'i', 'i', 'i'>},
    {"PMiiib", 'P', Call<Picture, 'P', 'M', 'i', 'i', 'i', 'b'>},
    {"Ppiii", 'P', Call<Picture, 'P', 'p', 'i', 'i', 'i'>},
    {"Ppiiib", 'P', Call<Picture, 'P', 'p', 'i', 'i', 'i', 'b'>},
    {"Miii", 'P', Call<Picture, 'M', 'i', 'i', 'i'>},
    {"Miiib", 'P', Call<Picture, 'M', 'i', 'i', 'i', 'b'>},
    {"Miiii", 'P', Call<Picture, 'M', 'i', 'i', 'i', 'i'>},
    {"Miiiiiii", 'P', Call<Picture, 'M', 'i', 'i', 'i', 'i', 'i', 'i', 'i'>},
    {"MiiiiAAA", 'P', Call<Picture, 'M', 'i', 'i', 'i', 'i', 'A', 'A', 'A'>},
    {"piii", 'P', Call<Picture, 'p', 'i', 'i', 'i'>},
    {"piiib", 'P', Call<Picture, 'p', 'i', 'i', 'i', 'b'>},
    {"piiii", 'P', Call<Picture, 'p', 'i', 'i', 'i', 'i'>},
    {"piiiiiii", 'P', Call<Picture, 'p', 'i', 'i', 'i', 'i', 'i', 'i', 'i'>},
    {"piiiiAAA", 'P', Call<Picture, 'p', 'i', 'i', 'i', 'i', 'A', 'A', 'A'>},
};

char Letter(ParamType type) {
  switch (type) {
    case ParamType::Picture:
      return 'P';
    case ParamType::MemoryBlock:
      return 'M';
    case ParamType::IntegerArray:
      return 'A';
    case ParamType::Ptr:
      return 'p';
    case ParamType::Integer:
      return 'i';
    case ParamType::Boolean:
      return 'b';
  }
  return '?';
}

}  // namespace

std::optional<Declaration> ParseDeclaration(const std::string& text, std::string* error) {
  auto fail = [&](const std::string& why) -> std::optional<Declaration> {
    if (error) *error = "bad declaration \"" + text + "\": " + why;
    return std::nullopt;
  };
  const size_t open = text.find('(');
  const size_t close = text.rfind(')');
  if (open == std::string::npos || close == std::string::npos || close < open) return fail("no parameter list");
  Declaration declaration;
  declaration.name = Trim(text.substr(0, open));
  if (declaration.name.empty()) return fail("no name");

  // Parameters are separated by commas; "Red()" is the only parenthesis inside.
  std::string list = text.substr(open + 1, close - open - 1);
  size_t start = 0;
  while (!Trim(list).empty() && start <= list.size()) {
    size_t comma = list.find(',', start);
    std::string item = Trim(list.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
    Parameter param;
    size_t equals = item.find('=');
    if (equals != std::string::npos) {
      param.default_value = Trim(item.substr(equals + 1));
      item = Trim(item.substr(0, equals));
    }
    size_t as = item.find(" as ");
    if (as == std::string::npos) return fail("parameter without type: " + item);
    param.name = Trim(item.substr(0, as));
    bool array = param.name.size() > 2 && param.name.compare(param.name.size() - 2, 2, "()") == 0;
    if (array) param.name.resize(param.name.size() - 2);
    auto type = TypeNamed(Trim(item.substr(as + 4)), array);
    if (!type) return fail("unknown type in: " + item);
    param.type = *type;
    declaration.params.push_back(param);
    if (comma == std::string::npos) break;
    start = comma + 1;
  }

  std::string tail = Trim(text.substr(close + 1));
  if (!tail.empty()) {
    if (tail.compare(0, 3, "as ") != 0) return fail("unexpected text after parameters");
    auto type = TypeNamed(Trim(tail.substr(3)), false);
    if (!type) return fail("unknown result type");
    declaration.result = type;
  }
  return declaration;
}

std::optional<Arg> DefaultArg(const Parameter& param) {
  if (!param.default_value) return std::nullopt;
  const std::string& text = *param.default_value;
  if (param.type == ParamType::Boolean) return Arg::Bool(text == "true" || text == "True");
  return Arg(static_cast<int32_t>(std::strtol(text.c_str(), nullptr, 10)));
}

SignatureCall CallBySignature(const std::vector<ParamType>& params, std::optional<ParamType> result,
                              std::string* error) {
  std::string letters;
  for (ParamType type : params) letters += Letter(type);
  const char resultLetter = !result ? 'v' : Letter(*result);
  for (const Shape& shape : kShapes)
    if (letters == shape.params && resultLetter == shape.result) return shape.invoke;
  if (error) *error = "the host has no call for parameters \"" + letters + "\" returning '" + resultLetter + "'";
  return nullptr;
}

bool InvokeBySignature(void* function, const std::vector<ParamType>& params, std::optional<ParamType> result,
                       const std::vector<uintptr_t>& words, uintptr_t* returned, std::string* error) {
  const SignatureCall call = CallBySignature(params, result, error);
  if (call == nullptr) return false;
  *returned = call(function, words.data());
  return true;
}

}  // namespace refhost
