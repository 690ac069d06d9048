// Helpers for reading and writing records as JSON objects whose keys are the field names in
// declaration order. Reading is lenient: a missing key (or null for an optional) keeps the
// field's default; a value of the wrong type throws RecordError naming the key.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace trivo {

using Json = nlohmann::ordered_json;

// A JSON value that cannot be read as the record it should hold.
class RecordError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

namespace json {

template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {};

// Writes one field; an absent optional is written as null.
template <class T>
void put(Json& j, const char* key, const T& value) {
  if constexpr (IsOptional<T>::value) {
    if (value) {
      put(j, key, *value);
    } else {
      j[key] = nullptr;
    }
  } else {
    j[key] = value;
  }
}

// Reads a whole value, turning the JSON library's type errors into RecordError.
template <class T>
T as(const Json& j, const char* what) {
  // Converting a fractional or huge floating-point value to an integer is undefined, so integer
  // fields accept whole numbers only.
  if constexpr (std::is_same_v<T, std::int64_t>) {
    if (!j.is_number_integer() ||
        (j.is_number_unsigned() &&
         j.get<std::uint64_t>() > static_cast<std::uint64_t>(INT64_MAX))) {
      throw RecordError(std::string("\"") + what + "\" must be a whole number");
    }
  }
  try {
    return j.get<T>();
  } catch (const RecordError&) {
    throw;
  } catch (const nlohmann::json::exception& e) {
    throw RecordError(std::string("\"") + what + "\" has the wrong type: " + e.what());
  }
}

// Reads one field if present; keeps the current value when the key is missing or null.
template <class T>
void take(const Json& j, const char* key, T& value) {
  auto it = j.find(key);
  if (it == j.end() || it->is_null()) {
    if constexpr (IsOptional<T>::value) {
      if (it != j.end()) value.reset();
    }
    return;
  }
  if constexpr (IsOptional<T>::value) {
    value = as<typename T::value_type>(*it, key);
  } else {
    value = as<T>(*it, key);
  }
}

// Checks that a record's JSON is an object before its fields are read.
inline void requireObject(const Json& j, const char* record) {
  if (!j.is_object()) {
    throw RecordError(std::string(record) + " must be a JSON object");
  }
}

// Enums whose cases are numbered 0, 1, 2… in declaration order are written as their case
// names (or raw strings), looked up in `names` by position.
template <class E>
Json enumName(E value, std::span<const std::string_view> names) {
  return std::string(names[static_cast<std::size_t>(value)]);
}

template <class E>
E enumFromName(const Json& j, std::span<const std::string_view> names, const char* what) {
  if (!j.is_string()) throw RecordError(std::string(what) + " must be a string");
  const auto& text = j.get_ref<const std::string&>();
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i] == text) return static_cast<E>(i);
  }
  throw RecordError(std::string(what) + " \"" + text + "\" is not one of its cases");
}

// Looks up a case by name; nothing for an unknown name.
template <class E>
std::optional<E> enumFromString(std::string_view text, std::span<const std::string_view> names) {
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i] == text) return static_cast<E>(i);
  }
  return std::nullopt;
}

}  // namespace json
}  // namespace trivo
