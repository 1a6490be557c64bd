// The type library as clients read it, against the published interface, type_library.txt: order, names, ids,
// roles, kinds.

#include "type_library_text.h"
#include "windows/server_under_test.h"
#include "windows/texts.h"

namespace ordvane::test {
namespace {

TEST(TypeLibrary, IsThePublishedOne) {
  const std::filesystem::path sources =
      std::filesystem::path(server_path()).root_name() / std::filesystem::path(ORDVANE_SOURCE_DIR);
  const std::string text = acceptance::text_of_type_library(server_path());
  EXPECT_EQ(first_difference(text, file_text(sources / "tests/windows/type_library.txt")), "") << text;
}

}  // namespace
}  // namespace ordvane::test
