#include "automation/cell_variants.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <vector>

namespace ordvane::automation {
namespace {

using host::CellKind;
using host::CellValue;

constexpr std::uint32_t kErrorBase = 0x800A0000;  // of spreadsheet errors as SCODEs
constexpr char kTextMark = '\'';

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}
// Of any alphabet: what is not ASCII counts as a letter.
bool is_letter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || static_cast<unsigned char>(c) >= 0x80;
}

// The truth values, in the languages in which they are written with letters of ASCII.
constexpr std::array kTruthWords = {"true",  "false", "wahr",   "falsch", "vrai",       "faux", "verdadero",
                                    "falso", "vero",  "waar",   "onwaar", "verdadeiro", "sand", "falsk",
                                    "sant",  "tosi",  "prawda", "pravda", "nepravda",   "igaz", "hamis"};

bool is_truth_word(std::string_view text) {
  return std::any_of(kTruthWords.begin(), kTruthWords.end(), [text](std::string_view word) {
    return std::equal(word.begin(), word.end(), text.begin(), text.end(),
                      [](char known, char given) { return known == (given | 0x20); });
  });
}

// Dates written with names of months, in any language: words, digits and what stands between them.
bool may_be_a_date(std::string_view text) {
  constexpr std::size_t kLongestDate = 40;
  constexpr std::string_view kWideDigits = "\xEF\xBC";  // begins the digits of East Asian widths
  if (text.size() > kLongestDate) return false;
  const bool digits =
      std::any_of(text.begin(), text.end(), is_digit) || text.find(kWideDigits) != std::string_view::npos;
  return digits && std::all_of(text.begin(), text.end(), [](char c) {
           return is_digit(c) || is_letter(c) ||
                  std::string_view(" .,-/:'").find(c) != std::string_view::npos;
         });
}

Variant text_variant(const std::string& text, bool mark) {
  return mark ? Variant(kTextMark + text) : Variant(text);
}

Variant number_variant(double number) {
  if (std::isfinite(number)) return number;
  return Variant::error(static_cast<SCODE>(kErrorBase | static_cast<std::uint32_t>(host::CellError::kNum)));
}

Variant error_variant(double error) {
  return Variant::error(static_cast<SCODE>(kErrorBase | static_cast<std::uint32_t>(error)));
}

// The elements of an array while they are read or written.
class Locked {
 public:
  explicit Locked(SAFEARRAY* array) : array_(array) {
    if (FAILED(SafeArrayAccessData(array, reinterpret_cast<void**>(&data_)))) throw std::bad_alloc();
  }
  ~Locked() { SafeArrayUnaccessData(array_); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;
  VARIANT* data() const { return data_; }

 private:
  SAFEARRAY* array_;
  VARIANT* data_ = nullptr;
};

[[noreturn]] void refuse_type() {
  throw host::Error(host::errc::kTypeMismatch, "The spreadsheet answered with something that no cell holds");
}

}  // namespace

bool may_be_read_otherwise(std::string_view text) {
  if (text.empty() || !is_letter(text.front())) return true;
  return is_truth_word(text) || may_be_a_date(text);
}

Variant cell_variant(const CellValue& value, bool mark_text) {
  switch (value.kind) {
    case CellKind::kBlank:
      return {};
    case CellKind::kNumber:
      return number_variant(value.number);
    case CellKind::kText:
      return text_variant(value.text, mark_text);
    case CellKind::kBoolean:
      return value.number != 0;
    case CellKind::kError:
      return error_variant(value.number);
  }
  return {};
}

Variant block_variant(const host::CellBlock& block, const CellTest& mark, const CellTest& left_out) {
  SAFEARRAYBOUND bounds[] = {{static_cast<ULONG>(block.rows()), 1}, {static_cast<ULONG>(block.columns()), 1}};
  SAFEARRAY* array = SafeArrayCreate(VT_VARIANT, 2, bounds);
  if (array == nullptr) throw std::bad_alloc();
  Variant result = Variant::array(array);
  const Locked elements(array);
  VARIANT* element = elements.data();  // rows run fastest
  for (std::int32_t column = 1; column <= block.columns(); ++column) {
    for (std::int32_t row = 1; row <= block.rows(); ++row, ++element) {
      const host::CellBlock::Cell& cell = block.at(row, column);
      if (cell.kind == CellKind::kNumber && std::isfinite(cell.number)) {
        element->vt = VT_R8;
        element->dblVal = cell.number;
      } else if (cell.kind == CellKind::kText) {
        if (!left_out(row, column))
          *element = text_variant(block.text(cell.text), mark(row, column)).release();
      } else if (cell.kind != CellKind::kBlank) {
        *element = cell_variant(block.value(row, column), false).release();
      }
    }
  }
  return result;
}

CellValue cell_value(const VARIANT& value) {
  switch (value.vt) {
    case VT_EMPTY:
    case VT_NULL:
      return {};
    case VT_R8:
      return value.dblVal;
    case VT_BSTR:
      return utf8(value.bstrVal);
    case VT_BOOL:
      return CellValue::boolean(value.boolVal != VARIANT_FALSE);
    case VT_ERROR:
      return static_cast<host::CellError>(value.scode & 0xFFFF);
    default:
      break;
  }
  VARIANT number;
  VariantInit(&number);
  const bool plain =
      (value.vt & (VT_ARRAY | VT_BYREF)) == 0 && value.vt != VT_DISPATCH && value.vt != VT_UNKNOWN;
  if (!plain || FAILED(VariantChangeTypeEx(&number, const_cast<VARIANT*>(&value), kEnglish, 0, VT_R8)))
    refuse_type();
  return number.dblVal;
}

host::CellBlock cell_block(const Variant& values, std::int32_t rows, std::int32_t columns) {
  host::CellBlock block(rows, columns);
  if (!values.is_array()) {
    if (rows != 1 || columns != 1) refuse_type();
    block.set(1, 1, cell_value(values.value()));
    return block;
  }
  SAFEARRAY* array = values.value().parray;
  VARTYPE type = VT_EMPTY;
  if (FAILED(SafeArrayGetVartype(array, &type)) || type != VT_VARIANT || SafeArrayGetDim(array) != 2)
    refuse_type();
  // The last dimension stands first.
  if (array->rgsabound[1].cElements != static_cast<ULONG>(rows) ||
      array->rgsabound[0].cElements != static_cast<ULONG>(columns))
    refuse_type();
  const Locked elements(array);
  const VARIANT* element = elements.data();
  for (std::int32_t column = 1; column <= columns; ++column) {
    for (std::int32_t row = 1; row <= rows; ++row, ++element) {
      if (element->vt == VT_R8)
        block.set_number(row, column, element->dblVal);
      else if (element->vt != VT_EMPTY)
        block.set(row, column, cell_value(*element));
    }
  }
  return block;
}

CellValue first_value(const Variant& values) {
  if (!values.is_array()) return cell_value(values.value());
  SAFEARRAY* array = values.value().parray;
  VARTYPE type = VT_EMPTY;
  if (FAILED(SafeArrayGetVartype(array, &type)) || type != VT_VARIANT || array->rgsabound[0].cElements == 0)
    refuse_type();
  const Locked elements(array);
  return cell_value(*elements.data());
}

}  // namespace ordvane::automation
