#include "page/frame.h"

#include "page/resources.h"

namespace ordvane::page {

// The browser runs our script and no other, and loads nothing.
void open_page(Html& html, const PageFrame& frame) {
  const std::string scripts =
      frame.script_hash.empty() ? "" : " script-src 'sha256-" + frame.script_hash + "';";
  html.raw("<!DOCTYPE html>\n").open("html", {{"lang", frame.language}});
  html.open("head").single("meta", {{"charset", "utf-8"}});
  html.single("meta", {{"http-equiv", "Content-Security-Policy"},
                       {"content", "default-src 'none'; style-src 'unsafe-inline';" + scripts +
                                       " base-uri 'none'; form-action 'none'"}});
  html.single("meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}});
  html.leaf("title", frame.title);
  html.open("style").raw(properties(frame.palette)).raw(kGraphStyle).raw(kPageStyle).end();
  html.end();
}

}  // namespace ordvane::page
