// What stands in resources/page/, compiled in by the build.
#pragma once

namespace ordvane::page {

extern const char* const kPageScript;
extern const char* const kPageScriptHash;  // SHA-256 in base 64, as content security policies have it
extern const char* const kPageStyle;
extern const char* const kGraphStyle;

}  // namespace ordvane::page
