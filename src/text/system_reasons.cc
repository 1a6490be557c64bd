#include "text/system_reasons.h"

namespace ordvane::text {
namespace {

struct Reason {
  std::errc error;
  const char* words;
};
constexpr Reason kReasons[] = {
    {std::errc::no_such_file_or_directory, "there is no such file or folder"},
    {std::errc::permission_denied, "this user may not"},
    {std::errc::operation_not_permitted, "the system does not allow it"},
    {std::errc::read_only_file_system, "the disk that it is on can only be read"},
    {std::errc::no_space_on_device, "the disk is full"},
    {std::errc::file_too_large, "it would be larger than files may be here"},
    {std::errc::is_a_directory, "it is a folder"},
    {std::errc::not_a_directory, "on the way to it is a file where a folder is expected"},
    {std::errc::file_exists, "it is there already"},
    {std::errc::filename_too_long, "its name is too long"},
    {std::errc::too_many_symbolic_link_levels, "its links lead in a circle"},
    {std::errc::too_many_files_open, "too many files are open"},
    {std::errc::too_many_files_open_in_system, "too many files are open"},
    {std::errc::device_or_resource_busy, "it is in use"},
    {std::errc::text_file_busy, "it is in use"},
    {std::errc::io_error, "the disk failed"},
    {std::errc::not_enough_memory, "out of memory"},
    {std::errc::broken_pipe, "nobody reads it any more"},
    {std::errc::invalid_argument, "it is no file that can be replaced"},
};

}  // namespace

std::string system_reason(int error) {
  return system_reason(std::error_code(error, std::generic_category()));
}

std::string system_reason(const std::error_code& error) {
  for (const Reason& reason : kReasons)
    if (error == reason.error) return reason.words;
  return error.message();
}

}  // namespace ordvane::text
