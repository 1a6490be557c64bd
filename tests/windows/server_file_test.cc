// The file itself: four undecorated exports, the system's libraries and no others beside it.

#include <algorithm>
#include <set>

#include "windows/server_under_test.h"

namespace ordvane::test {
namespace {

// The image as the loader mapped it.
class Image {
 public:
  explicit Image(HMODULE module) : base_(reinterpret_cast<const BYTE*>(module)) {}

  template <class T>
  const T* at(DWORD offset) const {
    return reinterpret_cast<const T*>(base_ + offset);
  }
  DWORD directory(int index) const {
    const auto* headers = at<IMAGE_NT_HEADERS>(static_cast<DWORD>(at<IMAGE_DOS_HEADER>(0)->e_lfanew));
    return headers->OptionalHeader.DataDirectory[index].VirtualAddress;
  }

 private:
  const BYTE* base_;
};

TEST(ServerFile, ExportsTheFourStandardFunctions) {
  const Server server;
  const Image image(server.module());
  const auto* exports = image.at<IMAGE_EXPORT_DIRECTORY>(image.directory(IMAGE_DIRECTORY_ENTRY_EXPORT));
  std::set<std::string> names;
  for (DWORD i = 0; i < exports->NumberOfNames; ++i)
    names.insert(image.at<char>(image.at<DWORD>(exports->AddressOfNames)[i]));
  EXPECT_EQ(exports->NumberOfFunctions, 4U);
  EXPECT_EQ(names, (std::set<std::string>{"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer",
                                          "DllUnregisterServer"}));
}

TEST(ServerFile, NeedsNothingButTheSystem) {
  const Server server;
  const Image image(server.module());
  const std::set<std::string> system = {"advapi32.dll", "kernel32.dll", "msvcrt.dll",
                                        "ole32.dll",    "oleaut32.dll", "user32.dll"};
  int libraries = 0;
  for (const auto* import = image.at<IMAGE_IMPORT_DESCRIPTOR>(image.directory(IMAGE_DIRECTORY_ENTRY_IMPORT));
       import->Name != 0; ++import, ++libraries) {
    std::string name = image.at<char>(import->Name);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    EXPECT_EQ(system.count(name), 1U) << name;
  }
  EXPECT_GT(libraries, 2);
}

}  // namespace
}  // namespace ordvane::test
