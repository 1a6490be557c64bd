#include "model/group_results.h"

#include <algorithm>
#include <utility>

#include "host/error.h"

namespace ordvane::model {

GroupResults::GroupResults(std::int32_t outputs, std::int32_t recalculations, Ask ask,
                           std::size_t most_pieces)
    : recalculations_(recalculations),
      ask_(std::move(ask)),
      most_pieces_(most_pieces),
      pieces_of_output_(static_cast<std::size_t>((std::int64_t{recalculations} + kPiece - 1) / kPiece)) {
  host::allocating([&] {
    pieces_.resize(static_cast<std::size_t>(outputs) * pieces_of_output_);
    kept_.reserve(std::min(most_pieces_, pieces_.size()));
  });
}

// Where there is no more room, all are forgotten: what is looked at next mostly lies together.
const std::vector<double>& GroupResults::fetch(std::int32_t output, std::int32_t recalculation) {
  const std::int32_t first = recalculation / kPiece * kPiece;
  std::vector<double> results;
  host::allocating(
      [&] { results.resize(static_cast<std::size_t>(std::min(kPiece, recalculations_ - first))); });
  ask_(output, first, results);
  if (kept_.size() >= most_pieces_) {
    for (const std::size_t kept : kept_) pieces_[kept] = {};
    kept_.clear();
  }
  const std::size_t at = place(output, recalculation);
  kept_.push_back(at);
  pieces_[at] = std::move(results);
  return pieces_[at];
}

}  // namespace ordvane::model
