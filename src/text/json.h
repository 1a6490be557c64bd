// JSON values. Unlike those of common libraries they are given back without taking memory for it, so that a
// lack of memory ends in an error wherever it comes. Standard library alone.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace ordvane::text {

class JsonPiece;

// null, true or false, a whole number, another number, a text, an array or an object. Values that stand in
// each other are given back one inside the other: whoever makes them of input limits how deep they stand.
class Json {
 public:
  using Array = std::vector<Json>;
  // In the order in which they were added. Those of many fields are slow to search.
  using Object = std::vector<std::pair<std::string, Json>>;

  // A value is not of the kind that was asked for, or not there.
  class Mismatch : public std::domain_error {
   public:
    using std::domain_error::domain_error;
  };

  Json() = default;
  Json(std::nullptr_t) {}
  Json(std::same_as<bool> auto value) : value_(value) {}
  Json(std::integral auto value) requires(!std::same_as<decltype(value), bool>)
      : value_(static_cast<std::int64_t>(value)) {}
  Json(double value) : value_(value) {}
  Json(std::string value) : value_(std::make_unique<std::string>(std::move(value))) {}
  Json(std::string_view value) : Json(std::string(value)) {}
  Json(const char* value) : Json(std::string(value)) {}
  template <class T>
  Json(const std::vector<T>& values) : Json(Array(values.begin(), values.end())) {}
  Json(Array values) : value_(std::make_unique<Array>(std::move(values))) {}
  // An object of pieces that all are a text and a value, otherwise an array.
  Json(std::initializer_list<JsonPiece> pieces);

  Json(const Json& other);
  Json(Json&& other) noexcept : value_(std::exchange(other.value_, {})) {}
  Json& operator=(Json other) noexcept {
    value_.swap(other.value_);
    return *this;
  }
  ~Json() = default;

  static Json array() { return Array(); }
  static Json object();

  bool is_null() const { return holds<std::monostate>(); }
  bool is_boolean() const { return holds<bool>(); }
  bool is_number() const { return holds<std::int64_t>() || is_number_float(); }
  bool is_number_float() const { return holds<double>(); }
  bool is_string() const { return holds<Owned<std::string>>(); }
  bool is_array() const { return holds<Owned<Array>>(); }
  bool is_object() const { return holds<Owned<Object>>(); }

  // Of one of the kinds that are asked for. Throw Mismatch.
  bool boolean() const;
  std::int64_t integer() const;  // a number that is whole
  double number() const;
  const std::string& string() const;

  // Elements of an array, fields of an object; 0 for all others.
  std::size_t size() const;
  bool empty() const { return size() == 0; }
  // The elements of an array, none for all others.
  const Json* begin() const { return is_array() ? elements().data() : nullptr; }
  const Json* end() const { return begin() + (is_array() ? elements().size() : 0); }
  Json* begin() { return const_cast<Json*>(std::as_const(*this).begin()); }
  Json* end() { return const_cast<Json*>(std::as_const(*this).end()); }
  const Json& front() const { return elements().front(); }
  const Json& operator[](std::size_t index) const { return elements()[index]; }
  Json& operator[](std::size_t index) { return begin()[index]; }
  // The fields of an object, none for all others.
  const Object& items() const;
  // nullptr where there is none.
  const Json* find(std::string_view field) const;
  Json* find(std::string_view field) { return const_cast<Json*>(std::as_const(*this).find(field)); }
  bool contains(std::string_view field) const { return find(field) != nullptr; }
  // Throw Mismatch.
  const Json& at(std::string_view field) const;
  Json& at(std::string_view field) { return const_cast<Json&>(std::as_const(*this).at(field)); }

  // null becomes an object or an array as soon as something is put into it.
  Json& operator[](std::string_view field);  // made where it is not there
  // A field that is not there yet.
  Json& add(std::string field, Json value);
  Json& push_back(Json value);
  Json& emplace_back(Json value = {}) { return push_back(std::move(value)); }
  // Sets the fields of another object.
  void update(Json other);

  bool operator==(const Json& other) const;

  // On one line, or with so many blanks before each level. Bytes that are no UTF-8 are replaced; numbers that
  // are none are null.
  std::string dump(int indent = -1) const;

 private:
  template <class T>
  using Owned = std::unique_ptr<T>;
  using Value = std::variant<std::monostate, bool, std::int64_t, double, Owned<std::string>, Owned<Array>,
                             Owned<Object>>;

  template <class T>
  bool holds() const {
    return std::holds_alternative<T>(value_);
  }
  const Array& elements() const { return *std::get<Owned<Array>>(value_); }
  Object& fields();
  void append_to(std::string& text, int indent, std::size_t before) const;

  Value value_;
};

// An element between braces: lets them be moved.
class JsonPiece {
 public:
  template <class T>  // a piece is not convertible, so that copies do not come here: NOLINTNEXTLINE
  requires std::convertible_to<T, Json> JsonPiece(T&& value) : value_(std::forward<T>(value)) {}
  JsonPiece(std::initializer_list<JsonPiece> pieces) : value_(pieces) {}

 private:
  friend Json;
  mutable Json value_;
};

}  // namespace ordvane::text
