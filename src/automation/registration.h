// Writes the library's classes, interfaces and type library into the registry, and takes them out again.
//
// For all users when the machine's keys can be written, else for this user. What is removed is what was
// written and nothing else; the names of the classes and the type library's own entry, which both widths of
// the library share, go with the last of them.
#pragma once

#include <windows.h>

namespace ordvane::automation {

// HKEY_LOCAL_MACHINE, or HKEY_CURRENT_USER when the former cannot be written.
HKEY registration_root();
// All keys, or none.
HRESULT register_server(HKEY root);
// Succeed when nothing was there.
HRESULT unregister_server(HKEY root);
// From both roots, as far as they can be written.
HRESULT unregister_server();

}  // namespace ordvane::automation
