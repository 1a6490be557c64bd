#include "ordvane/error.h"

#include <filesystem>
#include <new>

#include "host/error.h"
#include "library/errors.h"
#include "ordvane/version.h"
#include "runfile/run.h"
#include "sweep/asked_model.h"
#include "text/system_reasons.h"
#include "xlsx/file_system.h"
#include "xlsx/package_reader.h"

namespace ordvane {

Error::Error(ErrorCode code, const std::string& what) : std::runtime_error(what), code_(code) {}

Error::~Error() = default;

const char* code_name(ErrorCode code) noexcept {
  switch (code) {
    case ErrorCode::kInvalidArgument:
      return "invalid_argument";
    case ErrorCode::kBadRun:
      return "bad_run";
    case ErrorCode::kBadWorkbook:
      return "bad_workbook";
    case ErrorCode::kFileExists:
      return "file_exists";
    case ErrorCode::kFile:
      return "file";
    case ErrorCode::kCancelled:
      return "cancelled";
    case ErrorCode::kNothingToReport:
      return "nothing_to_report";
    case ErrorCode::kOutOfMemory:
      return "out_of_memory";
    case ErrorCode::kFailed:
      return "failed";
    case ErrorCode::kNotCalculated:
      return "not_calculated";
  }
  return "unknown";
}

const char* version() noexcept {
  return ORDVANE_VERSION;
}

namespace library {
namespace {

ErrorCode code_of(const host::Error& error) {
  switch (error.code()) {
    case host::errc::kUserCancelled:
      return ErrorCode::kCancelled;
    case host::errc::kNothingToReport:
      return ErrorCode::kNothingToReport;
    case host::errc::kOutOfMemory:
      return ErrorCode::kOutOfMemory;
    default:
      return ErrorCode::kFailed;
  }
}

}  // namespace

void rethrow_as_error() {
  try {
    throw;
  } catch (const Error&) {
    throw;
  } catch (const runfile::BadRun& error) {
    throw Error(ErrorCode::kBadRun, error.what());
  } catch (const sweep::NotCalculated& error) {
    throw Error(ErrorCode::kNotCalculated, error.what());
  } catch (const xlsx::BadWorkbook& error) {
    throw Error(ErrorCode::kBadWorkbook, error.what());
  } catch (const xlsx::FileError& error) {
    throw Error(error.is_there_already() ? ErrorCode::kFileExists : ErrorCode::kFile, error.what());
  } catch (const host::Error& error) {
    throw Error(code_of(error), error.what());
  } catch (const std::filesystem::filesystem_error& error) {
    throw Error(ErrorCode::kFile,
                error.path1().string() + ": cannot be used: " + text::system_reason(error.code()));
  } catch (const std::bad_alloc&) {
    throw Error(ErrorCode::kOutOfMemory, "out of memory");
  } catch (const std::exception& error) {
    throw Error(ErrorCode::kFailed, error.what());
  } catch (...) {
    throw Error(ErrorCode::kFailed, "an unknown error");
  }
}

}  // namespace library
}  // namespace ordvane
