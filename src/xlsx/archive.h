// The zip container: parts compressed anywhere, put together in one order with one date.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ordvane::xlsx {

// One part, compressed (raw deflate).
struct ArchiveEntry {
  std::string name;
  std::string data;
  std::uint64_t size = 0;  // before compression
  std::uint32_t crc = 0;   // of what it was before compression
};

// Levels 1 (fastest) to 12 (smallest); others are brought into that range.
ArchiveEntry compress(std::string name, std::string content, int level);

// The archive, entries in the given order, all dated 1980-01-01. Throws host::Error for what is over the
// format's 4 GiB.
std::string archive(const std::vector<ArchiveEntry>& entries);

}  // namespace ordvane::xlsx
