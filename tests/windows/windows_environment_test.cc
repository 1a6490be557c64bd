// What Windows answers for the reports, where no user can be asked.

#include "automation/windows_environment.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "automation/ansi.h"
#include "session/text_id.h"
#include "support/files.h"
#include "windows/server_under_test.h"

namespace ordvane::test {
namespace {

TEST(WindowsEnvironment, FindsItsFoldersAndItsLanguage) {
  const auto found = automation::make_windows_environment();
  const std::wstring own = std::filesystem::path(server_path()).parent_path().native() + L"\\tests";
  EXPECT_EQ(found->engine_folder(), automation::utf8(own.c_str(), static_cast<UINT>(own.size())));
  EXPECT_TRUE(std::filesystem::is_directory(found->log_folder())) << found->log_folder();
  EXPECT_NE(found->log_folder().back(), '\\');
  EXPECT_EQ(found->path_separator(), '\\');
  const auto told = automation::make_windows_environment({"C:\\Engine", "C:\\Logs"});
  EXPECT_EQ(told->engine_folder(), "C:\\Engine");
  EXPECT_EQ(told->log_folder(), "C:\\Logs");
  EXPECT_EQ(found->language_string(found->language_id(1)),
            "en");  // of a system in any language without texts
  EXPECT_FALSE(
      found->string_table("OrdvaneResults8", "en")->GetString(text_id::kProgressReading.number).empty());
}

TEST(WindowsEnvironment, WritesTheLogInTheSystemsEncoding) {
  const auto environment = automation::make_windows_environment();
  const std::string path = environment->log_folder() + "\\ordvane-environment-test.log";
  environment->append_line(path, "Größe €");
  environment->append_line(path, "");
  EXPECT_EQ(file_text(path), automation::to_ansi("Größe €") + "\r\n\r\n");
  environment->remove_file(path);
  EXPECT_FALSE(std::filesystem::exists(path));
  const std::string now = environment->date_and_time();
  EXPECT_NE(now.find(' '), std::string::npos) << now;
}

// Windows does not remove a file that somebody has open: its next session empties it.
TEST(WindowsEnvironment, KeepsTheLogOpenAndSharesIt) {
  const auto first = automation::make_windows_environment(), second = automation::make_windows_environment();
  const std::string path = first->log_folder() + "\\ordvane-shared-test.log";
  first->append_line(path, "of before");
  EXPECT_FALSE(DeleteFileA(path.c_str())) << "it is open";
  second->remove_file(path);
  second->append_line(path, "one");
  first->append_line(path, "two");
  EXPECT_EQ(file_text(path), "one\r\ntwo\r\n");
  first->close_file(path);
  second->close_file(path);
  EXPECT_TRUE(DeleteFileA(path.c_str()));
}

TEST(WindowsEnvironment, NeverWaitsForAUserWhoIsNotThere) {
  const auto environment = automation::make_windows_environment();
  SetEnvironmentVariableW(L"ORDVANE_QUIET", L"1");
  environment->show_message("Text", "Title");
  EXPECT_FALSE(environment->escape_pressed());

  PostThreadMessageW(GetCurrentThreadId(), WM_APP, 0, 0);
  PostQuitMessage(7);
  environment->pump_messages();
  MSG message;
  ASSERT_TRUE(PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE));
  EXPECT_EQ(message.message, static_cast<UINT>(WM_QUIT))
      << "the others are handled, this is for the host's own loop";
  EXPECT_EQ(message.wParam, 7U);
}

}  // namespace
}  // namespace ordvane::test
