// Drives the library as its clients do, with a recorded run behind the engine's stand-in.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "excel.h"
#include "office/book.h"
#include "runfile/run.h"
#include "tracer.h"

namespace ordvane::acceptance {

enum class Binding { kEarly, kLate, kScript };

struct Plan {
  std::string name;  // of the run, in tables
  Binding binding = Binding::kEarly;
  bool everything = true;                                  // every report, else tornados alone
  std::function<bool(std::size_t)> before_call = nullptr;  // Tracer::before_call
};

struct Outcome {
  std::string error;  // what reached the client; empty: none
  std::int32_t result = -1;
  double seconds = 0;
  // Objects of Excel that were still held after Terminate, while the client kept its own.
  long held_after_terminate = 0;
};

Outcome drive(Tracer& tracer, const Excel& excel, std::int32_t outputs, const Plan& plan);

// Names the run that the engine's stand-in answers from.
void give_run(const std::filesystem::path& run);

// The workbook that the same plan gives without Excel, made by this program itself.
std::shared_ptr<const office::BookModel> expected_workbook(const std::shared_ptr<runfile::Run>& run,
                                                           bool everything,
                                                           const std::filesystem::path& log_folder);

}  // namespace ordvane::acceptance
