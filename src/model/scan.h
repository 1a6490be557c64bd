// The model scan: what the engine analysed, and what it saw.
//
// newScan builds one record per input or output, getData fills the value tables of one run and ranks every
// input. Reads the engine and the model's cells, and leaves the calculation mode as it is. Errors go to the
// caller; an engine that refuses to tell about an item is one (errc::kInvalidProcedureCall), named with the
// call and the item.
#pragma once

#include <cstdint>
#include <string>

#include "model/input_output.h"
#include "model/one_based.h"
#include "session/session.h"

namespace ordvane::model {

class OrdvaneScan {
 public:
  explicit OrdvaneScan(session::Session& session);

  std::string name() const { return "OrdvaneScan"; }

  // Appends the engine's items of one kind (engine::kInput or engine::kOutput) to `records`; `autoCount`
  // receives how many of them the add-in varied on its own. Returns 0.
  std::int32_t newScan(Records& records, std::int32_t kind, std::int32_t& autoCount);

  // Fills the tables of `inputs` for the one-based run `runNumber`, for each selected position in `outputs`.
  // `numIterations`: recalculations of the run. Throws errc::kUserCancelled within a second of the user's
  // wish to stop. Returns 0. The step tables ask the engine again for results that there is no room for, and
  // rank the steps when their ranks are asked for (model/step_results.h): the session is used as long as
  // `inputs` are.
  std::int32_t getData(Records& inputs, Records& outputs, const OneBased<std::int32_t>& selectedOutputs,
                       std::int32_t numIterations, std::int32_t runNumber);

 private:
  session::Session& session_;
  std::shared_ptr<const NumberRules> rules_;
};

}  // namespace ordvane::model
