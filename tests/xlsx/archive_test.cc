// Pieces that are compressed by themselves unpack as one.
#include "xlsx/archive.h"

#include <gtest/gtest.h>
#include <libdeflate.h>

#include <random>

#include "host/error.h"

namespace ordvane::xlsx {
namespace {

std::string unpacked(const ArchiveEntry& entry) {
  libdeflate_decompressor* decompressor = libdeflate_alloc_decompressor();
  std::string content(entry.size, '\0');
  const libdeflate_result result = libdeflate_deflate_decompress(
      decompressor, entry.data.data(), entry.data.size(), content.data(), content.size(), nullptr);
  libdeflate_free_decompressor(decompressor);
  return result == LIBDEFLATE_SUCCESS ? content : "does not unpack";
}

std::string noise(std::size_t size) {
  std::mt19937 random(static_cast<unsigned>(size));
  std::string text;
  while (text.size() < size) text += static_cast<char>(random());
  return text;
}

std::string rows(std::size_t size) {
  std::mt19937 random(static_cast<unsigned>(size));
  std::string text;
  while (text.size() < size) text += "<c s=\"1\"><v>" + std::to_string(random()) + "</v></c>";
  return text;
}

TEST(Archive, JoinsPieces) {
  const struct {
    const char* what;
    std::vector<std::string> pieces;
  } kCases[] = {
      {"one", {rows(1000)}},
      {"empty ones", {"", "", ""}},
      {"short ones", {"a", "bc", "", "d"}},
      {"of many blocks", {rows(900000), rows(400000), rows(10)}},
      {"incompressible ones", {noise(200000), noise(1), noise(70000)}},
      {"one byte again and again", {std::string(500000, 'x'), std::string(258, 'y'), rows(50000)}},
  };
  for (const auto& c : kCases) {
    std::string whole;
    for (const std::string& piece : c.pieces) whole += piece;
    for (const int level : {1, 2, 4, 6, 9, 12}) {
      std::vector<CompressedPiece> pieces;
      for (const std::string& piece : c.pieces)
        pieces.push_back(compress(piece, level, pieces.size() + 1 == c.pieces.size()));
      const ArchiveEntry entry = join("part", pieces);
      EXPECT_EQ(entry.size, whole.size()) << c.what;
      EXPECT_EQ(entry.crc, libdeflate_crc32(0, whole.data(), whole.size())) << c.what;
      EXPECT_TRUE(unpacked(entry) == whole) << c.what << ", level " << level;
    }
  }
}

// Every number of unused bits in a piece's last byte.
TEST(Archive, JoinsPiecesThatEndAnywhereInAByte) {
  for (std::size_t size = 1; size < 200; ++size) {
    std::vector<CompressedPiece> pieces{compress(rows(size), 6, false), compress(noise(size), 6, false),
                                        compress("end", 6, true)};
    EXPECT_TRUE(unpacked(join("part", pieces)) == rows(size) + noise(size) + "end") << size;
  }
}

// The sizes alone tell: nothing of that size is made here.
TEST(Archive, RefusesWhatIsOverTheFormatsSize) {
  StringSink out;
  ArchiveWriter archive(out);
  archive.begin("part", kFirstDate);
  EXPECT_THROW(archive.add({"x", 0xFFFFFFFF, 0}), host::Error);
}

}  // namespace
}  // namespace ordvane::xlsx
