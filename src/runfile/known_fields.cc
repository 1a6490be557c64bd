#include "runfile/known_fields.h"

#include <algorithm>
#include <string>
#include <utility>

#include "text/edit.h"

namespace ordvane::runfile {
namespace {

std::size_t edit_distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      diagonal = std::exchange(row[j], std::min({replaced, row[j] + 1, row[j - 1] + 1}));
    }
  }
  return row[b.size()];
}

}  // namespace

std::string_view nearest_field(std::string_view name, const std::vector<KnownField>& known) {
  constexpr std::size_t kLongestName = 64;
  if (name.size() > kLongestName) return {};
  const auto plain = [](std::string_view text) {
    std::string letters = text::lower_ascii(text);
    std::erase_if(letters,
                  [](char character) { return character == '_' || character == '-' || character == ' '; });
    return letters;
  };
  std::string_view nearest;
  std::size_t least = std::max<std::size_t>(1, name.size() / 3) + 1;
  for (const KnownField& field : known) {
    const std::size_t distance = edit_distance(plain(name), plain(field.name));
    if (distance >= least) continue;
    least = distance;
    nearest = field.name;
  }
  return nearest;
}

void refuse_unknown_fields(const JsonValue& value, const std::vector<KnownField>& known) {
  const auto is_known = [&known](const std::string& name) {
    return std::any_of(known.begin(), known.end(),
                       [&name](const KnownField& field) { return field.name == name; });
  };
  for (const auto& [name, unused] : value.data().items()) {
    if (is_known(name)) continue;
    const std::string_view nearest = nearest_field(name, known);
    if (!nearest.empty())
      value.member(name).fail("unknown field; is \"" + std::string(nearest) + "\" meant?");
    std::string all;
    for (const KnownField& field : known) all += (all.empty() ? "" : ", ") + std::string(field.name);
    value.member(name).fail("unknown field; known ones are " + all);
  }
}

}  // namespace ordvane::runfile
