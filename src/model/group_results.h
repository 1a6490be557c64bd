// Results of multi-way recalculations for which there is no room: asked for in pieces when they are needed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace ordvane::model {

class GroupResults {
 public:
  static constexpr std::int32_t kPiece = 1 << 12;
  static constexpr std::size_t kMostPieces = 1 << 11;  // 64 MiB of results

  // Fills in the results of one of the outputs, counted from 1, from this recalculation on, counted from 0.
  using Ask = std::function<void(std::int32_t output, std::int32_t first, std::span<double> results)>;

  GroupResults(std::int32_t outputs, std::int32_t recalculations, Ask ask,
               std::size_t most_pieces = kMostPieces);

  // Of the multi-way recalculations, counted from 0, one that there is. Throws what asking for it throws.
  double at(std::int32_t output, std::int32_t recalculation) {
    const std::vector<double>& piece = pieces_[place(output, recalculation)];
    return (piece.empty() ? fetch(output, recalculation) : piece)[offset(recalculation)];
  }

 private:
  std::size_t place(std::int32_t output, std::int32_t recalculation) const {
    return static_cast<std::size_t>(output - 1) * pieces_of_output_ +
           static_cast<std::size_t>(recalculation / kPiece);
  }
  static std::size_t offset(std::int32_t recalculation) {
    return static_cast<std::size_t>(recalculation % kPiece);
  }
  const std::vector<double>& fetch(std::int32_t output, std::int32_t recalculation);

  std::int32_t recalculations_;
  Ask ask_;
  std::size_t most_pieces_;
  std::size_t pieces_of_output_;
  std::vector<std::vector<double>> pieces_;  // [output][piece]; empty: not asked for, or forgotten
  std::vector<std::size_t> kept_;            // which are not empty
};

}  // namespace ordvane::model
