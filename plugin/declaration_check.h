// A method record's declaration, the text the host reads, against the C++ function it calls:
// name, every parameter's type and the result, compared as the tables compile, so that a row
// whose declaration disagrees with its function doesn't build.
#pragma once

#include <cstdint>
#include <string_view>
#include <type_traits>

#include "host/host_types.h"

namespace declaration_check {

// The host's types as declarations spell them and as the functions take them.
enum class HostType { kNothing, kInteger, kBoolean, kPicture, kMemoryBlock, kPtr, kIntegerArray, kUnknown };

constexpr std::string_view Trim(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

// Declarations spell type names in either case ("Integer", "integer").
constexpr bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if ((a[i] | 0x20) != (b[i] | 0x20)) return false;
  return true;
}

constexpr HostType Named(std::string_view type) {
  if (SameName(type, "integer")) return HostType::kInteger;
  if (SameName(type, "boolean")) return HostType::kBoolean;
  if (SameName(type, "picture")) return HostType::kPicture;
  if (SameName(type, "memoryblock")) return HostType::kMemoryBlock;
  if (SameName(type, "ptr")) return HostType::kPtr;
  return HostType::kUnknown;
}

// "offset as integer", "StartLine as integer = 0", "Red() as integer" (an integer array).
constexpr HostType Declared(std::string_view parameter) {
  const size_t as = parameter.find(" as ");
  if (as == std::string_view::npos) return HostType::kUnknown;
  const std::string_view name = Trim(parameter.substr(0, as)), typed = parameter.substr(as + 4);
  const HostType type = Named(Trim(typed.substr(0, typed.find('='))));
  if (name.size() < 2 || name.substr(name.size() - 2) != "()") return type;
  return type == HostType::kInteger ? HostType::kIntegerArray : HostType::kUnknown;
}

// How the functions take each type: booleans as one signed byte, returned as bool.
template <typename T>
constexpr HostType Taken() {
  if constexpr (std::is_same_v<T, int32_t>) return HostType::kInteger;
  if constexpr (std::is_same_v<T, signed char> || std::is_same_v<T, bool>) return HostType::kBoolean;
  if constexpr (std::is_same_v<T, REALpictureStruct*>) return HostType::kPicture;
  if constexpr (std::is_same_v<T, REALmemoryBlockStruct*>) return HostType::kMemoryBlock;
  if constexpr (std::is_same_v<T, void*>) return HostType::kPtr;
  if constexpr (std::is_same_v<T, REALarrayInteger*>) return HostType::kIntegerArray;
  if constexpr (std::is_void_v<T>) return HostType::kNothing;
  return HostType::kUnknown;
}

// The function's name is the declared one, alone or followed by "_" and an overload's tag.
constexpr bool NameFits(std::string_view function, std::string_view declaration) {
  const std::string_view declared = declaration.substr(0, declaration.find('('));
  return function.substr(0, declared.size()) == declared &&
         (function.size() == declared.size() || function[declared.size()] == '_');
}

// `receiver`: a method of a class, whose function takes the instance first.
template <typename Result, typename... Params>
constexpr bool Fits(Result (*)(Params...), std::string_view declaration, bool receiver) {
  const HostType taken[] = {Taken<Params>()..., HostType::kNothing};
  size_t next = 0;
  if (receiver && taken[next++] != HostType::kPicture) return false;
  const size_t open = declaration.find('('), close = declaration.rfind(')');
  if (open == std::string_view::npos || close == std::string_view::npos || close < open) return false;
  for (std::string_view list = declaration.substr(open + 1, close - open - 1); !Trim(list).empty();) {
    const size_t comma = list.find(',');
    if (next == sizeof...(Params) || Declared(list.substr(0, comma)) != taken[next++]) return false;
    list = comma == std::string_view::npos ? std::string_view() : list.substr(comma + 1);
  }
  const std::string_view result = Trim(declaration.substr(close + 1));
  const HostType returned = result.empty()                 ? HostType::kNothing
                            : result.substr(0, 3) == "as " ? Named(Trim(result.substr(3)))
                                                           : HostType::kUnknown;
  return next == sizeof...(Params) && returned == Taken<Result>();
}

}  // namespace declaration_check
