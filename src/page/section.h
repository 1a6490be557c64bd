// What a page shows of one output: its sentence, graphs and tables.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "page/views.h"

namespace ordvane::page {

inline constexpr std::size_t kMostGroups = 100;  // that the table of groups has

// How many inputs the table of inputs has in the page itself: all, or none, for a script to fill.
enum class Rows : std::uint8_t { kAll, kNone };

// `number`: of the view, unlike any other of the page.
std::string section(const Views& views, const View& view, std::size_t number, Rows rows);

// The words beside an input: results that failed, and whatever else is to be known of it; "" for none.
std::string remarks_of(const Views& views, const View& view, const embedded::Effect& effect);

}  // namespace ordvane::page
