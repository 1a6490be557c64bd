// The model scan: what the engine analysed, and what it saw.
//
// newScan builds one record per input or output, getData fills the value tables of one run, ranks every input
// and, where it is asked to, every recalculation. Reads the engine and the model's cells; keeps nothing
// between calls, and leaves the calculation mode as it is. Errors go to the caller; an engine that refuses to
// tell about an item is one (errc::kInvalidProcedureCall), named with the call and the item.
#pragma once

#include <cstdint>
#include <string>

#include "model/input_output.h"
#include "model/one_based.h"
#include "session/session.h"

namespace ordvane::model {

// Whether each recalculation gets its rank among all of them: takes longer than all the rest.
enum class StepRanks { kWanted, kLeftOut };

class OrdvaneScan {
 public:
  explicit OrdvaneScan(session::Session& session);

  std::string name() const { return "OrdvaneScan"; }

  // Appends the engine's items of one kind (engine::kInput or engine::kOutput) to `records`; `autoCount`
  // receives how many of them the add-in varied on its own. Returns 0.
  std::int32_t newScan(Records& records, std::int32_t kind, std::int32_t& autoCount);

  // Fills the tables of `inputs` for the one-based run `runNumber`, for each selected position in `outputs`.
  // `numIterations`: recalculations of the run. Throws errc::kUserCancelled within a second of the user's
  // wish to stop. Changes in parts of the base value are not kept, being computed faster than looked up.
  // Returns 0.
  std::int32_t getData(Records& inputs, Records& outputs, const OneBased<std::int32_t>& selectedOutputs,
                       std::int32_t numIterations, std::int32_t runNumber,
                       StepRanks ranks = StepRanks::kWanted);

 private:
  session::Session& session_;
  std::shared_ptr<const NumberRules> rules_;
};

}  // namespace ordvane::model
