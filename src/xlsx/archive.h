// The zip container: parts compressed anywhere, put together in one order.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "xlsx/byte_sink.h"
#include "xlsx/deflate.h"

namespace ordvane::xlsx {

// A package that is damaged, or is none; what() says what is wrong with it.
class BadPackage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The first moment that the format can name, and the date of what has none of its own.
inline constexpr std::chrono::sys_seconds kFirstDate = std::chrono::sys_days(std::chrono::January / 1 / 1980);

// One part, compressed (raw deflate).
struct ArchiveEntry {
  std::string name;
  std::string data;
  std::uint64_t size = 0;  // before compression
  std::uint32_t crc = 0;   // of what it was before compression
  // UTC, to two seconds. What lies before the format's first year or behind its last gets the nearest it has.
  std::chrono::sys_seconds modified = kFirstDate;
};

// A piece of a part, compressed by itself.
struct CompressedPiece {
  std::string data;
  std::uint64_t size = 0;
  std::uint32_t crc = 0;
};

// `last`: no piece of its part follows.
CompressedPiece compress(const MarkedText& content, bool last);
// The pieces in their order, which are left empty.
ArchiveEntry join(std::string name, std::vector<CompressedPiece>& pieces);

// Compresses a part that comes piece by piece, and holds what it has become only.
class StreamCompressor {
 public:
  StreamCompressor();
  ~StreamCompressor();
  StreamCompressor(const StreamCompressor&) = delete;
  StreamCompressor& operator=(const StreamCompressor&) = delete;

  void add(std::string_view piece);
  // Called once, last. The date is the first.
  ArchiveEntry finish(std::string name);

 private:
  struct Stream;
  std::unique_ptr<Stream> stream_;
  ArchiveEntry entry_;
};

// Writes an archive entry by entry, the pieces of each as they come. Throws host::Error for what is over the
// format's 4 GiB.
class ArchiveWriter {
 public:
  // `out` outlives this object.
  explicit ArchiveWriter(ByteSink& out) : out_(out) {}

  void begin(std::string name, std::chrono::sys_seconds modified);
  void add(const CompressedPiece& piece);
  void end();
  // After the last entry.
  void finish();

 private:
  struct Entry {
    std::string name;
    std::chrono::sys_seconds modified;
    std::uint64_t offset = 0;  // of its header
    std::uint64_t packed = 0, size = 0;
    std::uint32_t crc = 0;
  };

  std::uint64_t position() const { return written_ + waiting_.size(); }
  void write_header(std::string& out, const Entry& entry) const;
  void flush();

  ByteSink& out_;
  std::string waiting_;  // its headers can still be filled in where they are
  std::uint64_t written_ = 0;
  std::vector<Entry> entries_;
};

// An archive that is there, changed entry by entry. Entries that nothing is done to keep their bytes,
// compressed ones too, and their place. Throws BadPackage for what is no sound archive.
class OpenArchive {
 public:
  explicit OpenArchive(std::string_view bytes);
  ~OpenArchive();
  OpenArchive(const OpenArchive&) = delete;
  OpenArchive& operator=(const OpenArchive&) = delete;

  struct Entry {
    std::string name;
    std::uint64_t size = 0;  // before compression, as its directory has it
    bool encrypted = false;
  };
  // In their order, as they were at the beginning.
  const std::vector<Entry>& entries() const { return entries_; }
  // What the entry held at the beginning; its first `most` bytes.
  std::string read(std::size_t entry, std::size_t most = std::string::npos) const;
  // All that the entry held at the beginning, in pieces, none of which is empty but for the last.
  void read_through(std::size_t entry,
                    const std::function<void(std::string_view piece, bool last)>& take) const;
  // Reads every entry through, so that damage is found. `each` is called between parts of the work.
  void check(const std::function<void()>& each) const;

  void replace(std::size_t entry, ArchiveEntry content);
  void add(ArchiveEntry content);
  void remove(std::size_t entry);
  // The bytes with all changes made. Called once, last.
  std::string finish();

 private:
  struct Handle;
  std::unique_ptr<Handle> handle_;
  std::vector<Entry> entries_;
};

}  // namespace ordvane::xlsx
