// What the script of a page works with, as JSON: resources/page/page.js says how it is read.
#pragma once

#include <string>
#include <vector>

#include "page/views.h"

namespace ordvane::page {

// `sections`: of views that the page does not hold as elements, "" for those it does. The text can stand in a
// script element.
std::string page_data(const Views& views, const std::vector<std::string>& sections);

}  // namespace ordvane::page
