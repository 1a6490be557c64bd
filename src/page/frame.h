// What pages have in common: their head, and what browsers may do with them.
#pragma once

#include <string>

#include "page/html.h"
#include "page/svg.h"

namespace ordvane::page {

struct PageFrame {
  std::string language, title;
  Palette palette;
  std::string script_hash;  // of the one script that runs; empty: none does
};
// All before the body, which follows.
void open_page(Html& html, const PageFrame& frame);

}  // namespace ordvane::page
