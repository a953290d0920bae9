// The enumerations of the model are stored and sent by their raw strings.
// fromRawValue gives the value of T (a class with all() and raw()) whose raw
// string is `raw`, so each enumeration keeps one table and nothing more.
#pragma once

#include <optional>
#include <string_view>

namespace brindlemoor::internal {

// The words of one value, in the table an enumeration keeps by value.
struct Names {
  std::string_view raw, title, symbol;
};

template <class T>
std::optional<T> fromRawValue(std::string_view raw) {
  for (T value : T::all()) {
    if (value.raw() == raw) return value;
  }
  return std::nullopt;
}

}  // namespace brindlemoor::internal
