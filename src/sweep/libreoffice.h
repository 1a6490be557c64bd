// Recalculation by LibreOffice: the referee of what is calculated here, and the way out for what is not.
//
// Each calculator is a process of its own, on a copy of the workbook and with a profile in a private folder
// under the system's folder for temporary files. Nothing appears beside the user's file. The process ends
// with the calculator, and with the program that made it however that ends.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "sweep/calculator.h"
#include "sweep/plan.h"

namespace ordvane::sweep {

extern const char* const kWorkerProgram;  // in Python

struct LibreOfficeOptions {
  // A recalculation that takes longer has a text as its results that says so; the process is started again,
  // as it is when it crashes. A recalculation at which it crashes twice has such a text, too; when three in a
  // row do, the calculator gives up with a host::Error.
  std::chrono::milliseconds step_limit{60'000};
  std::chrono::milliseconds start_limit{180'000};  // for the program and the workbook
  std::function<bool()> cancelled;                 // asked now and then; true throws kUserCancelled
  std::string python = "/usr/bin/python3";         // with LibreOffice's module uno
};

// `model` is the workbook's; clock and random numbers stand in LibreOffice as they are frozen there. Throws
// host::Error where LibreOffice is missing or cannot open the workbook.
std::unique_ptr<Calculator> make_libreoffice(const std::filesystem::path& workbook, const calc::Model& model,
                                             const Plan& plan, const LibreOfficeOptions& options = {});

// Whether a workbook is of the format that is read here, by its name.
bool is_package(const std::filesystem::path& workbook);
// A copy of a workbook of another format as an .xlsx file, made by LibreOffice; bytes of the file. Throws
// host::Error.
std::string converted_workbook(const std::filesystem::path& workbook, const LibreOfficeOptions& options = {});

}  // namespace ordvane::sweep
