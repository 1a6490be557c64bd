// The ordvane command: reads the arguments, runs the command, turns what goes wrong into messages and exit
// codes.
#include <clocale>
#include <cstdio>
#include <iostream>

#include "cli/arguments.h"
#include "cli/commands.h"
#include "host/error.h"
#include "xlsx/package_reader.h"

namespace ordvane::cli {
namespace {

int failed(int code, const std::string& message) {
  std::cerr << "ordvane: " << message << '\n';
  return code;
}

int guarded(int argc, char** argv) {
  try {
    const int code = Arguments().run(argc, argv);
    // A full disk behind a redirection is a failure too.
    std::cout.flush();
    if (!std::cout || std::fflush(stdout) != 0) return failed(kFailed, "cannot write to standard output");
    return code;
  } catch (const BadArguments& error) {
    for (const std::string& problem : error.problems()) failed(kBadInput, problem);
    return kBadInput;
  } catch (const xlsx::BadWorkbook& error) {
    return failed(kBadInput, error.what());
  } catch (const host::Error& error) {
    return failed(kFailed, error.description());
  } catch (const std::bad_alloc&) {
    return failed(kFailed, "out of memory");
  } catch (const std::exception& error) {
    return failed(kFailed, error.what());
  }
}

}  // namespace
}  // namespace ordvane::cli

int main(int argc, char** argv) {
  // Characters and dates as the user has them; numbers are written the same everywhere.
  std::setlocale(LC_CTYPE, "");
  std::setlocale(LC_TIME, "");
  return ordvane::cli::guarded(argc, argv);
}
