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

// A piece of a part, compressed by itself.
struct CompressedPiece {
  std::string data;
  std::uint64_t size = 0;
  std::uint32_t crc = 0;
};

// Levels 1 (fastest) to 12 (smallest); others are brought into that range. `last`: no piece of its part
// follows.
CompressedPiece compress(const std::string& content, int level, bool last);
// The pieces in their order, which are left empty.
ArchiveEntry join(std::string name, std::vector<CompressedPiece>& pieces);

// The archive, entries in the given order, all dated 1980-01-01. Throws host::Error for what is over the
// format's 4 GiB.
std::string archive(const std::vector<ArchiveEntry>& entries);

}  // namespace ordvane::xlsx
