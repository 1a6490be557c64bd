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
    std::vector<CompressedPiece> pieces;
    for (const std::string& piece : c.pieces)
      pieces.push_back(compress(piece, pieces.size() + 1 == c.pieces.size()));
    const ArchiveEntry entry = join("part", pieces);
    EXPECT_EQ(entry.size, whole.size()) << c.what;
    EXPECT_EQ(entry.crc, libdeflate_crc32(0, whole.data(), whole.size())) << c.what;
    EXPECT_TRUE(unpacked(entry) == whole) << c.what;
  }
}

// Every number of unused bits in a piece's last byte.
TEST(Archive, JoinsPiecesThatEndAnywhereInAByte) {
  for (std::size_t size = 1; size < 200; ++size) {
    std::vector<CompressedPiece> pieces{compress(rows(size), false), compress(noise(size), false),
                                        compress(std::string("end"), true)};
    EXPECT_TRUE(unpacked(join("part", pieces)) == rows(size) + noise(size) + "end") << size;
  }
}

// What is noted as repeated saves room where it is, and never changes the text.
TEST(Archive, UnpacksWhateverIsNotedAsRepeated) {
  const std::string text = rows(40000);
  const auto noted = [&](std::size_t length) {
    MarkedText marked(text);
    for (std::size_t last = 0, at = text.find("<c ", 1); at != std::string::npos;
         last = at, at = text.find("<c ", at + 1))
      marked.repeats.push_back({static_cast<std::uint32_t>(at), static_cast<std::uint16_t>(length),
                                static_cast<std::uint16_t>(at - last)});
    return marked;
  };
  MarkedText absurd(text), overlapping(std::string(1000, 'x'));
  absurd.repeats = {{0, 5, 1},   {9, 5, 20},      {50, 2, 25},  {90, 300, 25},
                    {200, 5, 0}, {300, 5, 40000}, {250, 9, 25}, {39999, 400, 25}};
  overlapping.repeats = {{10, 20, 5}, {15, 20, 5}, {40, 258, 1}, {297, 3, 297}, {298, 258, 7}, {998, 3, 9}};
  const struct {
    const char* what;
    MarkedText marked;
    std::size_t most;  // bytes
  } kCases[] = {
      {"what is the same", noted(12), text.size() * 2 / 5},
      {"more than is the same", noted(30), text.size()},
      {"overlapping", overlapping, 600},
      {"nonsense", absurd, text.size() * 11 / 10},
      {"nothing, of one letter", std::string(70000, 'x'), 70000 / 6},
      {"nothing, of no letter", std::string(), 400},
  };
  for (const auto& c : kCases) {
    std::vector<CompressedPiece> pieces{compress(c.marked, false), compress(std::string("end"), true)};
    EXPECT_LT(pieces[0].data.size(), c.most) << c.what;
    EXPECT_TRUE(unpacked(join("part", pieces)) == c.marked.text + "end") << c.what;
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
