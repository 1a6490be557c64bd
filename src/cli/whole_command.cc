#include "cli/whole_command.h"

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <new>

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/terminal.h"
#include "host/error.h"
#include "host/side_by_side.h"
#include "text/system_reasons.h"
#include "xlsx/package_reader.h"

namespace ordvane::cli {
namespace {

// Takes no memory, which may be what is missing.
int failed(int code, const char* message) {
  std::cerr << "ordvane: " << message << '\n';
  return code;
}

int run_command(int argc, char** argv) {
  try {
    const host::HelperThreads helpers;
    const int code = Arguments().run(argc, argv);
    // A full disk behind a redirection is a failure too.
    std::cout.flush();
    if (!std::cout || std::fflush(stdout) != 0) return failed(kFailed, "cannot write to standard output");
    return code;
  } catch (const BadArguments& error) {
    for (const std::string& problem : error.problems()) failed(kBadInput, problem.c_str());
    return kBadInput;
  } catch (const xlsx::BadWorkbook& error) {
    return failed(kBadInput, error.what());
  } catch (const host::Error& error) {
    return failed(kFailed, error.what());
  } catch (const std::filesystem::filesystem_error& error) {
    return failed(kFailed, (printable(error.path1().string()) +
                            ": cannot be used: " + text::system_reason(error.code()))
                               .c_str());
  } catch (const std::bad_alloc&) {
    return failed(kFailed, "out of memory");
  } catch (const std::exception& error) {
    return failed(kFailed, error.what());
  }
}

}  // namespace

int run_whole_command(int argc, char** argv) noexcept {
  try {
    return run_command(argc, argv);
  } catch (...) {  // saying what is wrong took more than there is
    return failed(kFailed, "out of memory");
  }
}

}  // namespace ordvane::cli
