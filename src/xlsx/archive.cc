#include "xlsx/archive.h"

#include <libdeflate.h>
#include <zip.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <list>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "host/error.h"

namespace ordvane::xlsx {
namespace {

constexpr std::uint64_t kLargest = 0xFFFFFFFE;  // what the format's 32-bit fields hold

[[noreturn]] void refuse(const std::string& why) {
  throw host::Error(host::errc::kHostRefused, "the workbook cannot be packed: " + why);
}

// Before libzip is asked for something: it loses errors of its own now and then where memory is missing, and
// then takes an archive for none. The system keeps this one.
void begin_asking() {
  errno = 0;
}

void throw_without_memory(zip_error_t* error) {
  const int system = zip_error_code_system(error);
  const int kind = zip_error_system_type(error);
  if (errno == ENOMEM || zip_error_code_zip(error) == ZIP_ER_MEMORY ||
      (kind == ZIP_ET_ZLIB && system == Z_MEM_ERROR) || (kind == ZIP_ET_SYS && system == ENOMEM))
    throw std::bad_alloc();
}

// What libzip says of an archive that is made, and of one that is there: memory that is missing is no damage.
[[noreturn]] void not_made(zip_error_t* error) {
  throw_without_memory(error);
  refuse(zip_error_strerror(error));
}
[[noreturn]] void damaged(zip_error_t* error, const std::string& entry = "") {
  throw_without_memory(error);
  throw BadPackage((entry.empty() ? "" : entry + ": ") + zip_error_strerror(error));
}

struct Compressor {
  explicit Compressor(int level) : handle(libdeflate_alloc_compressor(level)) {
    if (handle == nullptr) throw std::bad_alloc();
  }
  ~Compressor() { libdeflate_free_compressor(handle); }
  Compressor(const Compressor&) = delete;
  Compressor& operator=(const Compressor&) = delete;
  libdeflate_compressor* handle;
};

// The fastest level for what is small: any other takes half as much time again or more, for a tenth of the
// size. Sheets are larger than others make them with less than the fourth.
const Compressor& compressor_of(std::size_t size) {
  constexpr std::size_t kLarge = 1U << 17U;
  constexpr int kFastest = 1, kFourth = 4;
  if (size < kLarge) {
    thread_local const Compressor fastest(kFastest);
    return fastest;
  }
  thread_local const Compressor fourth(kFourth);
  return fourth;
}

std::string compress_whole(const std::string& content) {
  const Compressor& compressor = compressor_of(content.size());
  const std::size_t bound = libdeflate_deflate_compress_bound(compressor.handle, content.size());
  const auto buffer = std::make_unique_for_overwrite<char[]>(bound);
  const std::size_t size =
      libdeflate_deflate_compress(compressor.handle, content.data(), content.size(), buffer.get(), bound);
  return {buffer.get(), size};
}

// Hands an entry that is compressed already to libzip, which stores such data as it is.
struct EntryReader {
  const ArchiveEntry* entry;
  std::size_t at = 0;
};

zip_int64_t describe(const EntryReader& reader, void* data, zip_uint64_t length) {
  zip_stat_t stat;
  if (length < sizeof stat) return -1;
  zip_stat_init(&stat);
  stat.valid =
      ZIP_STAT_SIZE | ZIP_STAT_COMP_SIZE | ZIP_STAT_COMP_METHOD | ZIP_STAT_CRC | ZIP_STAT_ENCRYPTION_METHOD;
  stat.size = reader.entry->size;
  stat.comp_size = reader.entry->data.size();
  stat.comp_method = ZIP_CM_DEFLATE;
  stat.crc = reader.entry->crc;
  stat.encryption_method = ZIP_EM_NONE;
  std::memcpy(data, &stat, sizeof stat);
  return sizeof stat;
}

zip_int64_t read(EntryReader& reader, void* data, zip_uint64_t length) {
  const std::size_t part = std::min<std::size_t>(length, reader.entry->data.size() - reader.at);
  std::memcpy(data, reader.entry->data.data() + reader.at, part);
  reader.at += part;
  return static_cast<zip_int64_t>(part);
}

extern "C" zip_int64_t ordvane_xlsx_entry_source(void* state, void* data, zip_uint64_t length,
                                                 zip_source_cmd_t command) {
  auto& reader = *static_cast<EntryReader*>(state);
  switch (command) {
    case ZIP_SOURCE_OPEN:
      reader.at = 0;
      return 0;
    case ZIP_SOURCE_READ:
      return read(reader, data, length);
    case ZIP_SOURCE_STAT:
      return describe(reader, data, length);
    case ZIP_SOURCE_ERROR: {
      const zip_error_t none{};
      return zip_error_to_data(&none, data, length);
    }
    case ZIP_SOURCE_SUPPORTS:
      return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE,
                                            ZIP_SOURCE_STAT, ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE, -1);
    default:
      return 0;
  }
}

using Source = std::unique_ptr<zip_source_t, decltype(&zip_source_free)>;
using Archive = std::unique_ptr<zip_t, decltype(&zip_discard)>;

// As the format counts: years from 1980, seconds in twos.
struct DosTime {
  zip_uint16_t time, date;
};

DosTime dos_time(std::chrono::sys_seconds moment) {
  using std::chrono::floor, std::chrono::days;
  constexpr std::chrono::sys_seconds kLastDate =
      std::chrono::sys_days(std::chrono::January / 1 / 2108) - std::chrono::seconds(2);
  moment = std::clamp(moment, kFirstDate, kLastDate);
  const std::chrono::sys_days day = floor<days>(moment);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(moment - day);
  const auto years = static_cast<unsigned>(static_cast<int>(date.year()) - 1980);
  const auto packed_date =
      years << 9U | static_cast<unsigned>(date.month()) << 5U | static_cast<unsigned>(date.day());
  const auto packed_time = static_cast<unsigned>(time.hours().count()) << 11U |
                           static_cast<unsigned>(time.minutes().count()) << 5U |
                           static_cast<unsigned>(time.seconds().count()) / 2;
  return {static_cast<zip_uint16_t>(packed_time), static_cast<zip_uint16_t>(packed_date)};
}

// Behind the others, or in the place of an entry.
void put(zip_t* target, EntryReader& reader, std::optional<zip_uint64_t> place = {}) {
  begin_asking();
  zip_source_t* source = zip_source_function(target, ordvane_xlsx_entry_source, &reader);
  if (source == nullptr) not_made(zip_get_error(target));
  const zip_int64_t index =
      place ? (zip_file_replace(target, *place, source, 0) == 0 ? static_cast<zip_int64_t>(*place) : -1)
            : zip_file_add(target, reader.entry->name.c_str(), source, ZIP_FL_ENC_UTF_8);
  if (index < 0) {
    zip_source_free(source);
    not_made(zip_get_error(target));
  }
  const auto position = static_cast<zip_uint64_t>(index);
  const DosTime modified = dos_time(reader.entry->modified);
  if (zip_set_file_compression(target, position, ZIP_CM_DEFLATE, 0) != 0 ||
      zip_file_set_dostime(target, position, modified.time, modified.date, 0) != 0)
    not_made(zip_get_error(target));
}

std::string contents(zip_source_t* source) {
  zip_stat_t stat;
  zip_stat_init(&stat);
  if (zip_source_stat(source, &stat) != 0 || zip_source_open(source) != 0) not_made(zip_source_error(source));
  std::string bytes(stat.size, '\0');
  const zip_int64_t count = zip_source_read(source, bytes.data(), bytes.size());
  zip_source_close(source);
  if (count < 0 || static_cast<std::size_t>(count) != bytes.size()) refuse("its archive cannot be read back");
  return bytes;
}

std::uint32_t combined_crc(std::uint32_t crc, const CompressedPiece& next) {
  return static_cast<std::uint32_t>(crc32_combine(crc, next.crc, static_cast<z_off_t>(next.size)));
}

// ---- Headers of entries that are written here ----

constexpr std::size_t kBytesAtOnce = 1U << 20U;
constexpr std::size_t kCopied = 1U << 16U;  // what is less waits for more
constexpr std::uint32_t kHeaderSignature = 0x04034B50, kDirectorySignature = 0x02014B50,
                        kEndSignature = 0x06054B50, kLargeEndSignature = 0x06064B50,
                        kLargeEndPlaceSignature = 0x07064B50;
constexpr std::uint32_t kVersion = 20, kLargeVersion = 45, kMadeOnUnix = 3U << 8U;
constexpr std::uint32_t kUtf8Names = 1U << 11U;
constexpr std::uint32_t kUsualMode = 0100666;  // a file that all may read and write
constexpr std::size_t kMostEntries = 0xFFFF;   // that the usual end of a directory can count

// Least significant byte first.
void append(std::string& out, std::uint64_t number, std::size_t bytes) {
  for (; bytes > 0; --bytes, number >>= 8U) out += static_cast<char>(number & 0xFFU);
}

// From the version to the length of the extra fields, as both headers of an entry have it.
void append_common(std::string& out, const std::string& name, const DosTime& modified, std::uint32_t crc,
                   std::uint64_t packed, std::uint64_t size) {
  const bool is_ascii = std::all_of(name.begin(), name.end(), [](unsigned char c) { return c < 0x80; });
  append(out, kVersion, 2);
  append(out, is_ascii ? 0 : kUtf8Names, 2);
  append(out, ZIP_CM_DEFLATE, 2);
  append(out, modified.time, 2);
  append(out, modified.date, 2);
  append(out, crc, 4);
  append(out, packed, 4);
  append(out, size, 4);
  append(out, name.size(), 2);
  append(out, 0, 2);  // no extra fields
}

// Where there are more entries than the usual end can count.
void append_large_end(std::string& out, std::uint64_t entries, std::uint64_t start, std::uint64_t size) {
  append(out, kLargeEndSignature, 4);
  append(out, 44, 8);  // what follows
  append(out, kMadeOnUnix | kLargeVersion, 2);
  append(out, kLargeVersion, 2);
  append(out, 0, 4 + 4);  // of one disk
  append(out, entries, 8);
  append(out, entries, 8);
  append(out, size, 8);
  append(out, start, 8);
  append(out, kLargeEndPlaceSignature, 4);
  append(out, 0, 4);
  append(out, start + size, 8);
  append(out, 1, 4);
}

}  // namespace

CompressedPiece compress(const MarkedText& content, bool last) {
  const std::string& text = content.text;
  const bool is_whole = last && content.repeats.empty();
  return {is_whole ? compress_whole(text) : deflate_with_repeats(content, last), text.size(),
          libdeflate_crc32(0, text.data(), text.size())};
}

ArchiveEntry join(std::string name, std::vector<CompressedPiece>& pieces) {
  ArchiveEntry entry;
  entry.name = std::move(name);
  std::size_t bytes = 0;
  for (const CompressedPiece& piece : pieces) bytes += piece.data.size();
  entry.data.reserve(bytes);
  for (CompressedPiece& piece : pieces) {
    entry.data += piece.data;
    entry.size += piece.size;
    entry.crc = combined_crc(entry.crc, piece);
    piece = {};
  }
  return entry;
}

struct StreamCompressor::Stream {
  Stream() {
    constexpr int kRawWindow = -15, kMemory = 8;
    if (deflateInit2(&deflate, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kRawWindow, kMemory, Z_DEFAULT_STRATEGY) !=
        Z_OK)
      throw std::bad_alloc();
  }
  ~Stream() { deflateEnd(&deflate); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  // Behind what is there.
  void append(std::string_view piece, int flush, std::string& out) {
    std::array<char, kDrainedAtOnce> drained;
    // zlib reads it only.
    deflate.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(piece.data()));
    deflate.avail_in = static_cast<uInt>(piece.size());
    do {
      deflate.next_out = reinterpret_cast<Bytef*>(drained.data());
      deflate.avail_out = static_cast<uInt>(drained.size());
      ::deflate(&deflate, flush);
      out.append(drained.data(), drained.size() - deflate.avail_out);
    } while (deflate.avail_out == 0);
  }

  static constexpr std::size_t kDrainedAtOnce = 1U << 14;
  z_stream deflate = {};
};

StreamCompressor::StreamCompressor() : stream_(std::make_unique<Stream>()) {}

StreamCompressor::~StreamCompressor() = default;

void StreamCompressor::add(std::string_view piece) {
  entry_.size += piece.size();
  entry_.crc = libdeflate_crc32(entry_.crc, piece.data(), piece.size());
  stream_->append(piece, Z_NO_FLUSH, entry_.data);
}

ArchiveEntry StreamCompressor::finish(std::string name) {
  stream_->append("", Z_FINISH, entry_.data);
  entry_.name = std::move(name);
  return std::move(entry_);
}

void ArchiveWriter::begin(std::string name, std::chrono::sys_seconds modified) {
  entries_.push_back({std::move(name), modified, position()});
  write_header(waiting_, entries_.back());
}

void ArchiveWriter::add(const CompressedPiece& piece) {
  Entry& entry = entries_.back();
  entry.packed += piece.data.size();
  entry.size += piece.size;
  entry.crc = combined_crc(entry.crc, piece);
  if (entry.size > kLargest) refuse(entry.name + " is over 4 GiB");
  if (position() + piece.data.size() > kLargest) refuse("it is over 4 GiB");
  if (piece.data.size() < kCopied) {
    waiting_ += piece.data;
    if (waiting_.size() >= kBytesAtOnce) flush();
    return;
  }
  flush();
  out_.write(piece.data);
  written_ += piece.data.size();
}

// What the header is to say of the content is known now.
void ArchiveWriter::end() {
  const Entry& entry = entries_.back();
  std::string header;
  write_header(header, entry);
  if (entry.offset >= written_)
    waiting_.replace(static_cast<std::size_t>(entry.offset - written_), header.size(), header);
  else
    out_.write_over(entry.offset, header);
}

void ArchiveWriter::finish() {
  const std::uint64_t start = position();
  for (const Entry& entry : entries_) {
    append(waiting_, kDirectorySignature, 4);
    append(waiting_, kMadeOnUnix | kVersion, 2);
    append_common(waiting_, entry.name, dos_time(entry.modified), entry.crc, entry.packed, entry.size);
    append(waiting_, 0, 2 + 2 + 2);  // no comment, first disk, no text file
    append(waiting_, kUsualMode << 16U, 4);
    append(waiting_, entry.offset, 4);
    waiting_ += entry.name;
  }
  const std::uint64_t size = position() - start;
  if (position() > kLargest) refuse("it is over 4 GiB");
  if (entries_.size() >= kMostEntries) append_large_end(waiting_, entries_.size(), start, size);
  const std::uint64_t count = std::min(entries_.size(), kMostEntries);
  append(waiting_, kEndSignature, 4);
  append(waiting_, 0, 2 + 2);  // of one disk
  append(waiting_, count, 2);
  append(waiting_, count, 2);
  append(waiting_, size, 4);
  append(waiting_, start, 4);
  append(waiting_, 0, 2);  // no comment
  flush();
}

void ArchiveWriter::write_header(std::string& out, const Entry& entry) const {
  append(out, kHeaderSignature, 4);
  append_common(out, entry.name, dos_time(entry.modified), entry.crc, entry.packed, entry.size);
  out += entry.name;
}

void ArchiveWriter::flush() {
  out_.write(waiting_);
  written_ += waiting_.size();
  waiting_.clear();
}

struct OpenArchive::Handle {
  Source buffer{nullptr, &zip_source_free};
  Archive archive{nullptr, &zip_discard};
  // What libzip reads when the archive is finished.
  std::list<ArchiveEntry> contents;
  std::list<EntryReader> readers;
};

OpenArchive::OpenArchive(std::string_view bytes) : handle_(std::make_unique<Handle>()) {
  zip_error_t error;
  zip_error_init(&error);
  begin_asking();
  // Bytes that libzip is given are freed by it in some of the cases in which it fails, and by libzip 1.7 also
  // when they are not its own; those that it has copied are always its own.
  handle_->buffer.reset(zip_source_buffer_create(nullptr, 0, 0, &error));
  if (!handle_->buffer) damaged(&error);
  zip_source_t* const buffer = handle_->buffer.get();
  if (!bytes.empty() &&
      (zip_source_begin_write(buffer) != 0 ||
       zip_source_write(buffer, bytes.data(), bytes.size()) != static_cast<zip_int64_t>(bytes.size()) ||
       zip_source_commit_write(buffer) != 0))
    damaged(zip_source_error(buffer));
  zip_source_keep(handle_->buffer.get());  // the archive takes one reference
  handle_->archive.reset(zip_open_from_source(handle_->buffer.get(), 0, &error));
  if (!handle_->archive) {
    zip_source_free(handle_->buffer.get());
    damaged(&error);
  }
  const zip_int64_t count = zip_get_num_entries(handle_->archive.get(), ZIP_FL_UNCHANGED);
  for (zip_int64_t i = 0; i < count; ++i) {
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_stat_index(handle_->archive.get(), static_cast<zip_uint64_t>(i), ZIP_FL_UNCHANGED, &stat) != 0)
      damaged(zip_get_error(handle_->archive.get()));
    entries_.push_back({stat.name, stat.size, stat.encryption_method != ZIP_EM_NONE});
  }
}

OpenArchive::~OpenArchive() = default;

namespace {

constexpr std::size_t kReadAtOnce = 1U << 16;

// Hands the entry's content over piece by piece, never more than its directory promises, until `take` wants
// no more.
template <class Take>
void unpack(zip_t* archive, std::size_t index, const OpenArchive::Entry& entry, const Take& take) {
  begin_asking();
  const std::unique_ptr<zip_file_t, decltype(&zip_fclose)> file(
      zip_fopen_index(archive, index, ZIP_FL_UNCHANGED), &zip_fclose);
  if (!file) damaged(zip_get_error(archive), entry.name);
  std::array<char, kReadAtOnce> piece;
  std::uint64_t left = entry.size;
  while (true) {
    begin_asking();
    const zip_int64_t count = zip_fread(file.get(), piece.data(), piece.size());
    if (count < 0) damaged(zip_file_get_error(file.get()), entry.name);
    if (static_cast<std::uint64_t>(count) > left || (count == 0 && left != 0))
      throw BadPackage(entry.name + ": it has another size than its directory says");
    if (count == 0) return;
    left -= static_cast<std::uint64_t>(count);
    if (!take({piece.data(), static_cast<std::size_t>(count)})) return;
  }
}

}  // namespace

std::string OpenArchive::read(std::size_t entry, std::size_t most) const {
  std::string content;
  content.reserve(std::min<std::uint64_t>(entries_[entry].size, most));
  unpack(handle_->archive.get(), entry, entries_[entry], [&](std::string_view piece) {
    content += piece;
    return content.size() < most;
  });
  return content;
}

void OpenArchive::read_through(std::size_t entry,
                               const std::function<void(std::string_view piece, bool last)>& take) const {
  unpack(handle_->archive.get(), entry, entries_[entry], [&](std::string_view piece) {
    take(piece, false);
    return true;
  });
  take("", true);
}

void OpenArchive::check(const std::function<void()>& each) const {
  for (std::size_t i = 0; i < entries_.size(); ++i)
    unpack(handle_->archive.get(), i, entries_[i], [&](std::string_view) {
      each();
      return true;
    });
}

void OpenArchive::replace(std::size_t entry, ArchiveEntry content) {
  handle_->contents.push_back(std::move(content));
  handle_->readers.push_back({&handle_->contents.back()});
  put(handle_->archive.get(), handle_->readers.back(), entry);
}

void OpenArchive::add(ArchiveEntry content) {
  handle_->contents.push_back(std::move(content));
  handle_->readers.push_back({&handle_->contents.back()});
  put(handle_->archive.get(), handle_->readers.back());
}

void OpenArchive::remove(std::size_t entry) {
  begin_asking();
  if (zip_delete(handle_->archive.get(), entry) != 0) damaged(zip_get_error(handle_->archive.get()));
}

std::string OpenArchive::finish() {
  begin_asking();
  // What is kept is copied now, so that what is wrong with it is seen now.
  if (zip_close(handle_->archive.get()) != 0) damaged(zip_get_error(handle_->archive.get()));
  static_cast<void>(handle_->archive.release());
  return contents(handle_->buffer.get());
}

}  // namespace ordvane::xlsx
