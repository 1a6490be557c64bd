// The texts of the reports by name: text_id::kTornadoTitle for the text tornado.title of resources/texts.txt.
#pragma once

#include <compare>
#include <cstdint>

namespace ordvane::session {

// A text with so many places, all of which who asks for it fills.
template <int places>
struct TextId {
  std::int16_t number;  // in the host's string table
  constexpr auto operator<=>(const TextId&) const = default;
};

}  // namespace ordvane::session

namespace ordvane::text_id {

#define ORDVANE_TEXT(constant, name, number, places) \
  inline constexpr session::TextId<places> constant{number};
#include "session/texts.def"
#undef ORDVANE_TEXT

}  // namespace ordvane::text_id
