// Bodies of tables, written in blocks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/cells.h"
#include "host/side_by_side.h"
#include "layout/report_table.h"
#include "reports/gap_notes.h"
#include "session/session.h"

namespace ordvane::reports {

// Fills a table's body from the top, one row after another, and writes it in blocks: never cell by cell, and
// never the whole table at once.
class BodyWriter {
 public:
  // For at most `rows` rows.
  BodyWriter(layout::ReportTable& table, std::int32_t rows);
  // Begins the next row of the body; returns its number in block().
  std::int32_t next_row();
  host::CellBlock& block() { return block_; }
  // Rows begun so far.
  std::int32_t rows() const { return written_ + filled_; }
  // Writes what is left.
  void flush();

 private:
  layout::ReportTable& table_;
  host::CellBlock block_;
  std::int32_t written_ = 0;  // body rows on the sheet
  std::int32_t filled_ = 0;   // rows of the block
};

// Some rows of a body that are filled while others are.
struct BodyPiece {
  BodyPiece(std::int32_t rows, std::int32_t columns) : block(rows, columns), gaps(columns) {}
  FilledRow row(std::int32_t of_block) { return {block, of_block, first + of_block - 1, gaps}; }

  host::CellBlock block;
  GapNotes gaps;
  std::int32_t first = 1;  // the body's row that the first one of the block is
};

// Whether several threads may fill bodies.
bool fills_side_by_side(const session::Session& session);
// How many rows a piece has, and how many pieces are filled at a time.
struct PieceSizes {
  PieceSizes(std::int32_t rows, std::int32_t columns, bool side_by_side);
  std::int32_t rows;
  std::size_t threads, pieces;
};

// Fills a table's body and writes it from the top, some pieces at a time. `begin` and `end` get each piece
// before and after it is filled, both on this thread and in the order of the rows; `fill` gets it with blank
// cells, where there are threads for it on any of these. `Piece` is a BodyPiece.
template <class Piece, class Begin, class Fill, class End>
void fill_body_in_pieces(layout::ReportTable& table, std::int32_t rows, bool side_by_side, const Begin& begin,
                         const Fill& fill, const End& end) {
  const PieceSizes sizes(rows, table.columns(), side_by_side);
  std::vector<Piece> pieces;
  std::vector<const host::CellBlock*> blocks;
  pieces.reserve(sizes.pieces);
  for (std::int32_t written = 0, first = 1; first <= rows; written = first - 1) {
    blocks.clear();
    while (blocks.size() < sizes.pieces && first <= rows) {
      if (blocks.size() == pieces.size()) pieces.emplace_back(sizes.rows, table.columns());
      Piece& piece = pieces[blocks.size()];
      piece.first = first;
      if (first + sizes.rows - 1 > rows) piece.block.truncate(rows - first + 1);
      first += piece.block.rows();
      blocks.push_back(&piece.block);
      begin(piece);
    }
    host::each_side_by_side(blocks.size(), sizes.threads, [&](std::size_t i) {
      pieces[i].block.clear();
      pieces[i].gaps.clear();
      fill(pieces[i]);
    });
    for (std::size_t i = 0; i < blocks.size(); ++i) end(pieces[i]);
    table.PutBody(written + 1, blocks);
  }
}

}  // namespace ordvane::reports
