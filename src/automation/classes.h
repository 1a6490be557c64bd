// The public classes of the library, by their names in the type library.
#pragma once

#include <windows.h>

#include <array>

namespace ordvane::automation {

struct PublicClass {
  CLSID id;
  const wchar_t* name;
  const wchar_t* description;
  HRESULT (*create)(REFIID, void**);  // null: registered, but not for clients to make
};

const std::array<PublicClass, 4>& public_classes();
// The dual interfaces of those classes.
struct PublicInterface {
  IID id;
  const wchar_t* name;
};
const std::array<PublicInterface, 4>& public_interfaces();

inline constexpr const wchar_t* kLibraryName = L"OrdvaneResults8";
inline constexpr WORD kLibraryMajor = 8;
inline constexpr WORD kLibraryMinor = 0;
const GUID& library_id();

}  // namespace ordvane::automation
