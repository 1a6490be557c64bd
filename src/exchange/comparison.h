// Two runs of a model, item by item: what was added, what is gone, what moved and by how much.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "embedded/report_job.h"
#include "exchange/rows.h"
#include "runfile/run.h"

namespace ordvane::exchange {

enum class Fate : std::uint8_t { kSame, kRenamed, kRelocated, kAdded, kGone };

// An input or output as it was and as it is; null where it is not in that run.
struct ItemPair {
  const runfile::Item *before = nullptr, *now = nullptr;
  std::string name_before, name;  // as reports show them; of one that is gone, `name` is what it was
  Fate fate = Fate::kSame;

  const runfile::Item& item() const { return now ? *now : *before; }
};

// A figure of both runs; none where a run does not give it.
struct FigurePair {
  std::optional<double> before, now;

  // Figures that differ by more than calculating leaves behind, or of which one is missing.
  bool differs() const;
  // now - before; none without both.
  std::optional<double> change() const;
  // The same in parts of the size of `before`; none where that is 0, too.
  std::optional<double> share() const;
  // A figure that was 0 or missing and is not, or the other way round, moved more than any share.
  bool moved_more_than(double share) const;
};

struct ComparedInput {
  std::size_t input = 0;  // position in Comparison::inputs
  std::optional<std::int32_t> rank_before, rank;
  FigurePair low, high, swing;  // of the output
  // Values of the input at which the output reaches its target; ascending.
  std::vector<double> break_even_before, break_even;
};

struct ComparedOutput {
  ItemPair item;
  FigurePair base;
  // By rank, those that are gone behind by the rank they had. Empty where one run does not have the output.
  std::vector<ComparedInput> inputs;
};

struct InputPair {
  ItemPair item;
  FigurePair base;
};

struct Comparison {
  std::shared_ptr<const runfile::Run> before, now;
  std::vector<InputPair> inputs;        // in the order of the run that is now, those that are gone behind
  std::vector<ComparedOutput> outputs;  // the same
  std::vector<embedded::OutputRanking> rankings;  // of the run that is now, in the order of its outputs
};

// What an output of the run that is now is to reach.
double target_of(const Comparison& comparison, const ComparedOutput& output);

// Items are the same that have the same name and cell; of the others, those of the same name; of the rest,
// those in the same cell. `simulation`: of both runs, counted from 1.
Comparison compare(std::shared_ptr<const runfile::Run> before, std::shared_ptr<const runfile::Run> now,
                   std::int32_t simulation);

// Rank, swing, ends and break-evens are those that were; of an output, also its base value.
bool is_as_before(const ComparedInput& input);
bool is_as_before(const ComparedOutput& output);

// What moved more than a share: base values and swings by their own size, ranks by the number of inputs that
// were ranked. Items that were added or are gone did. A line each.
std::vector<std::string> moved_more_than(const Comparison& comparison, double share);

// JSON, format "ordvane-diff".
Json comparison_document(const Comparison& comparison);

}  // namespace ordvane::exchange
