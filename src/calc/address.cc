#include "calc/address.h"

#include <algorithm>

#include "text/cell_names.h"

namespace ordvane::calc {
namespace {

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

}  // namespace

AddressEnd read_address_end(std::string_view text) {
  AddressEnd end;
  std::size_t at = 0;
  const auto dollar = [&] { return at < text.size() && text[at] == '$' ? (++at, true) : false; };
  bool fixed = dollar();
  if (at < text.size() && !is_digit(text[at])) {
    end.fixed_column = fixed;
    end.column = text::read_column(text, at) - 1;
    if (end.column < 0) return {};
    fixed = dollar();
    if (at == text.size() || !is_digit(text[at])) {
      if (fixed) return {};
      end.length = at;
      return end;
    }
  }
  end.fixed_row = fixed;
  end.row = text::read_row(text, at) - 1;
  if (end.row < 0) return {};
  end.length = at;
  return end;
}

std::optional<Reference> block_of(std::string_view text) {
  const AddressEnd first = read_address_end(text);
  if (first.length == 0 || first.row < 0 || first.column < 0) return std::nullopt;
  text.remove_prefix(first.length);
  AddressEnd last = first;
  if (!text.empty()) {
    if (text[0] != ':') return std::nullopt;
    last = read_address_end(text.substr(1));
    if (last.length + 1 != text.size() || last.row < 0 || last.column < 0) return std::nullopt;
  }
  Reference block;
  block.row = std::min(first.row, last.row);
  block.last_row = std::max(first.row, last.row);
  block.column = std::min(first.column, last.column);
  block.last_column = std::max(first.column, last.column);
  return block;
}

std::string cell_name(std::int32_t row, std::int32_t column) {
  return text::cell_name(row + 1, column + 1);
}

std::string quoted_sheet(std::string_view name) {
  const bool plain = !name.empty() && !is_digit(name[0]) && std::all_of(name.begin(), name.end(), [](char c) {
    return is_digit(c) || c == '_' || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
           static_cast<unsigned char>(c) >= 0x80;
  });
  if (plain && read_address_end(name).length != name.size()) return std::string(name);
  std::string quoted = "'";
  for (const char c : name) {
    if (c == '\'') quoted += '\'';
    quoted += c;
  }
  return quoted + "'";
}

}  // namespace ordvane::calc
