// An owned VARIANT, and what it converts to and from on the client's side of automation.
#pragma once

#include <oaidl.h>
#include <oleauto.h>
#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "automation/com_values.h"

namespace ordvane::automation {

// The language of everything that is said to the spreadsheet: its English one.
inline constexpr LCID kEnglish = 1033;

class Variant {
 public:
  Variant() noexcept { VariantInit(&value_); }  // Empty
  Variant(double number) noexcept;              // NOLINT: arguments are written as plain values
  Variant(std::int32_t number) noexcept;        // NOLINT
  Variant(std::int16_t number) noexcept;        // NOLINT
  Variant(bool truth) noexcept;                 // NOLINT
  Variant(std::string_view text);               // NOLINT
  Variant(const std::string& text) : Variant(std::string_view(text)) {}  // NOLINT
  Variant(const char* text) : Variant(std::string_view(text)) {}         // NOLINT
  Variant(IDispatch* object) noexcept;                                   // NOLINT: shares it
  template <class Constant>
  requires std::is_enum_v<Constant> Variant(Constant constant)
  noexcept : Variant(static_cast<std::int32_t>(constant)) {}  // NOLINT
  // An argument that is left out.
  static Variant missing() noexcept;
  static Variant error(SCODE code) noexcept;
  // Takes over the array, whose elements are VARIANTs.
  static Variant array(SAFEARRAY* array) noexcept;

  Variant(Variant&& other) noexcept : value_(other.release()) {}
  Variant& operator=(Variant&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;
  ~Variant() { VariantClear(&value_); }

  const VARIANT& value() const { return value_; }
  // The caller takes it over.
  VARIANT release() noexcept { return std::exchange(value_, Variant().value_); }
  // Where a function puts its result; what was there is freed.
  VARIANT* receive();

  bool is_array() const { return (value_.vt & VT_ARRAY) != 0; }
  bool is_object() const { return value_.vt == VT_DISPATCH; }
  // Null is what the spreadsheet answers where cells differ.
  bool is_null() const { return value_.vt == VT_NULL; }

  // Converted as the English language does. Throw error 13 for what cannot be converted.
  double number() const;
  std::int32_t whole() const;
  bool truth() const;
  std::string text() const;  // Empty and Null are the empty text
  // Null for Nothing, Empty and Null.
  ComPtr<IDispatch> object() const;

 private:
  Variant converted(VARTYPE type) const;

  VARIANT value_;
};

}  // namespace ordvane::automation
