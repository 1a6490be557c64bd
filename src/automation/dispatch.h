// Late-bound calls: finds a member in the type library, converts the client's arguments, and calls the
// interface's function table.
//
// Arguments come as scripts have them: integers of any width, arrays of Variants, by value or by reference.
// An argument is taken when converting it back would give the same value (and an Empty one as 0 or "", True
// as -1 where a number is wanted); any number, and "True" or "False", where a Boolean is wanted. Everything
// else is DISP_E_TYPEMISMATCH with the argument's number. What a method changes behind a reference is written
// back.
//
// For an array there may come one of any elements that are taken each, of one or two dimensions, or a range
// of cells, of which Empty ones are left out. What starts at 0 counts from 1 for the callee. Clients that
// count from 1 themselves leave element 0 Empty or Nothing; it is then left out.
#pragma once

#include <oaidl.h>
#include <oleauto.h>
#include <windows.h>

#include "automation/com_values.h"

namespace ordvane::automation {

// The type library inside this module.
HRESULT own_type_library(ITypeLib** library);
HRESULT own_type_info(REFIID interface_id, ITypeInfo** info);

// The members of one interface. Opened on first use; not shared between threads.
class Members {
 public:
  struct Call {
    DISPID member;
    LCID language;
    WORD flags;
    DISPPARAMS* arguments;
  };
  struct Outcome {
    VARIANT* result;       // may be null
    EXCEPINFO* exception;  // may be null
    UINT* wrong_argument;  // may be null
  };

  HRESULT open(REFIID interface_id);
  HRESULT ids_of_names(LPOLESTR* names, UINT count, DISPID* ids);
  HRESULT invoke(void* object, const Call& call, const Outcome& outcome);

 private:
  ComPtr<ITypeInfo> names_;      // the interface as late-bound clients see it
  ComPtr<ITypeInfo> functions_;  // its function table
};

}  // namespace ordvane::automation
