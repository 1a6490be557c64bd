// The names of the files that are mapped now, for a handler of SIGBUS: whatever is cut short while it is
// mapped ends there.
#pragma once

namespace ordvane::runfile {

// The file that stands at an address, with escapes for what a terminal would obey; null: none that is known.
// May be called where a signal is handled; the name is there as long as the file is mapped.
const char* mapped_file_at(const void* address) noexcept;

}  // namespace ordvane::runfile
