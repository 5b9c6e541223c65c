// Parsing declarations, and calling a method by the C signature its declaration gives.
#include "refhost/model/declaration.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <type_traits>
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

// The C result a method returns: 'b' a boolean (as host functions and Copy… methods return
// one), 'P' a picture's handle.
template <char C>
struct CResult;
template <>
struct CResult<'b'> {
  using type = bool;
};
template <>
struct CResult<'P'> {
  using type = REALpictureStruct*;
};

template <char R, char... Cs, size_t... I>
uintptr_t CallWith(void* function, const uintptr_t* words, std::index_sequence<I...>) {
  using Function = typename CResult<R>::type (*)(typename CType<Cs>::type...);
  return Word(reinterpret_cast<Function>(function)(CType<Cs>::From(words[I])...));
}

template <char R, char... Cs>
uintptr_t Call(void* function, const uintptr_t* words) {
  return CallWith<R, Cs...>(function, words, std::make_index_sequence<sizeof...(Cs)>());
}

using Invoker = uintptr_t (*)(void*, const uintptr_t*);
struct Signature {
  const char* params;  // one letter per parameter: P picture, M memory block, A integer array,
                       // p Ptr, i integer, b boolean byte
  char result;         // b boolean, P picture
  Invoker invoke;
};

template <char... Cs>
constexpr char kLetters[] = {Cs..., '\0'};

// A signature written once: the result's letter, then the parameters'.
template <char R, char... Cs>
constexpr Signature kReturning = {kLetters<Cs...>, R, &Call<R, Cs...>};

// Every C signature that the methods of this plug-in family use.
const Signature kSignatures[] = {
    kReturning<'b', 'P', 'M', 'i', 'i', 'i', 'i', 'i'>,
    kReturning<'b', 'P', 'M', 'i', 'i', 'i', 'i', 'i', 'i'>,
    kReturning<'b', 'P', 'M', 'i', 'P', 'i', 'i', 'i', 'i'>,
    kReturning<'b', 'P', 'M', 'i', 'b', 'i', 'i', 'i', 'i', 'i'>,
    kReturning<'P', 'P', 'M', 'i', 'i', 'i'>,
    kReturning<'P', 'P', 'M', 'i', 'i', 'i', 'b'>,
    kReturning<'P', 'P', 'p', 'i', 'i', 'i'>,
    kReturning<'P', 'P', 'p', 'i', 'i', 'i', 'b'>,
    kReturning<'P', 'M', 'i', 'i', 'i'>,
    kReturning<'P', 'M', 'i', 'i', 'i', 'b'>,
    kReturning<'P', 'M', 'i', 'i', 'i', 'i'>,
    kReturning<'P', 'M', 'i', 'i', 'i', 'i', 'i', 'i', 'i'>,
    kReturning<'P', 'M', 'i', 'i', 'i', 'i', 'A', 'A', 'A'>,
    kReturning<'P', 'p', 'i', 'i', 'i'>,
    kReturning<'P', 'p', 'i', 'i', 'i', 'b'>,
    kReturning<'P', 'p', 'i', 'i', 'i', 'i'>,
    kReturning<'P', 'p', 'i', 'i', 'i', 'i', 'i', 'i', 'i'>,
    kReturning<'P', 'p', 'i', 'i', 'i', 'i', 'A', 'A', 'A'>,
};

// Runs `f` on the letter of a parameter type (as a std::integral_constant, so that `f` may
// take its CType): the one place a parameter type meets its letter.
template <typename F>
auto WithLetter(ParamType type, F f) {
  switch (type) {
    case ParamType::Picture:
      return f(std::integral_constant<char, 'P'>());
    case ParamType::MemoryBlock:
      return f(std::integral_constant<char, 'M'>());
    case ParamType::IntegerArray:
      return f(std::integral_constant<char, 'A'>());
    case ParamType::Ptr:
      return f(std::integral_constant<char, 'p'>());
    case ParamType::Integer:
      return f(std::integral_constant<char, 'i'>());
    case ParamType::Boolean:
      return f(std::integral_constant<char, 'b'>());
  }
  abort();  // no other value
}

char Letter(ParamType type) {
  return WithLetter(type, [](auto letter) { return decltype(letter)::value; });
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

std::vector<uint8_t> ArgumentBytes(const std::vector<ParamType>& params) {
  std::vector<uint8_t> bytes;
  for (ParamType type : params)
    bytes.push_back(
        WithLetter(type, [](auto letter) -> uint8_t { return sizeof(typename CType<decltype(letter)::value>::type); }));
  return bytes;
}

bool InvokeBySignature(void* function, const std::vector<ParamType>& params, std::optional<ParamType> result,
                       const std::vector<uintptr_t>& words, uintptr_t* returned, std::string* error) {
  std::string letters;
  for (ParamType type : params) letters += Letter(type);
  const char resultLetter = !result ? 'v' : Letter(*result);
  for (const Signature& signature : kSignatures) {
    if (letters == signature.params && resultLetter == signature.result) {
      *returned = signature.invoke(function, words.data());
      return true;
    }
  }
  if (error) *error = "the host has no call for parameters \"" + letters + "\" returning '" + resultLetter + "'";
  return false;
}

}  // namespace refhost
