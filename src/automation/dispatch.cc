#include "automation/dispatch.h"

#include <cstring>
#include <new>
#include <vector>

#include "automation/late_bound.h"
#include "host/error.h"

namespace ordvane::automation {
namespace {

// A VARIANT of this call, freed with it.
class Scratch : public VARIANT {
 public:
  Scratch() { VariantInit(this); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { VariantClear(this); }
};

// What a parameter takes.
struct Kind {
  VARTYPE type = VT_EMPTY;  // of a value, or of an array's elements
  bool by_reference = false;
  bool array = false;
  IID object = {};  // with VT_DISPATCH

  VARTYPE passed_type() const {
    return static_cast<VARTYPE>(type | (array ? VT_ARRAY : 0) | (by_reference ? VT_BYREF : 0));
  }
};

bool describe(ITypeInfo& info, const TYPEDESC& type, Kind& kind);

bool describe_reference(ITypeInfo& info, HREFTYPE reference, Kind& kind) {
  ComPtr<ITypeInfo> referred;
  TYPEATTR* attributes = nullptr;
  if (FAILED(info.GetRefTypeInfo(reference, referred.receive())) ||
      FAILED(referred->GetTypeAttr(&attributes)))
    return false;
  bool known = true;
  switch (attributes->typekind) {
    case TKIND_ENUM:
      kind.type = VT_I4;
      break;
    case TKIND_DISPATCH:
    case TKIND_INTERFACE:
      kind.type = VT_DISPATCH;
      kind.object = attributes->guid;
      break;
    case TKIND_ALIAS:
      known = describe(*referred.get(), attributes->tdescAlias, kind);
      break;
    default:
      known = false;
  }
  referred->ReleaseTypeAttr(attributes);
  return known;
}

bool describe(ITypeInfo& info, const TYPEDESC& type, Kind& kind) {
  switch (type.vt) {
    case VT_PTR: {
      Kind target;
      if (!describe(info, *type.lptdesc, target)) return false;
      // A pointer to an interface is the object itself.
      const bool names_interface = target.type == VT_DISPATCH && !target.array && !target.by_reference &&
                                   type.lptdesc->vt == VT_USERDEFINED;
      kind = target;
      kind.by_reference = !names_interface;
      return true;
    }
    case VT_SAFEARRAY:
      if (!describe(info, *type.lptdesc, kind)) return false;
      kind.array = true;
      return true;
    case VT_USERDEFINED:
      return describe_reference(info, type.hreftype, kind);
    case VT_DISPATCH:
      kind.object = IID_IDispatch;
      [[fallthrough]];
    case VT_I2:
    case VT_I4:
    case VT_R8:
    case VT_BOOL:
    case VT_BSTR:
      kind.type = type.vt;
      return true;
    default:
      return false;
  }
}

bool same_text(BSTR a, BSTR b) {
  const UINT length = SysStringByteLen(a);
  return length == SysStringByteLen(b) && (length == 0 || std::memcmp(a, b, length) == 0);
}

// Any number is a truth, and so are True and False, in English or as the client's language has them.
bool convert_truth(VARIANT& from, LCID language, VARIANT& out) {
  return SUCCEEDED(VariantChangeTypeEx(&out, &from, kEnglish, 0, VT_BOOL)) ||
         SUCCEEDED(VariantChangeTypeEx(&out, &from, language, VARIANT_LOCALBOOL, VT_BOOL));
}

// `from` holds no reference.
bool convert_value(VARIANT& from, VARTYPE to, LCID language, VARIANT& out) {
  if (from.vt == to) return SUCCEEDED(VariantCopy(&out, &from));
  switch (from.vt) {
    case VT_EMPTY:
      return SUCCEEDED(VariantChangeTypeEx(&out, &from, language, 0, to));
    case VT_NULL:
    case VT_ERROR:
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return false;
    default:
      if ((from.vt & VT_ARRAY) != 0) return false;
  }
  if (to == VT_BOOL) return convert_truth(from, language, out);
  Scratch back;
  if (FAILED(VariantChangeTypeEx(&out, &from, language, 0, to)) ||
      FAILED(VariantChangeTypeEx(&back, &out, language, 0, from.vt)))
    return false;
  if (from.vt == VT_BSTR) return same_text(from.bstrVal, back.bstrVal);
  return VarCmp(&from, &back, language, 0) == static_cast<HRESULT>(VARCMP_EQ);
}

bool convert_object(const VARIANT& from, REFIID wanted, VARIANT& out) {
  if (from.vt != VT_DISPATCH && from.vt != VT_UNKNOWN) return false;
  out.vt = VT_DISPATCH;
  out.pdispVal = nullptr;
  if (from.punkVal == nullptr) return true;
  void* found = nullptr;
  if (FAILED(from.punkVal->QueryInterface(wanted, &found))) {
    out.vt = VT_EMPTY;
    return false;
  }
  out.pdispVal = static_cast<IDispatch*>(found);
  return true;
}

bool convert_element(VARIANT& from, const Kind& kind, LCID language, VARIANT& out) {
  return kind.type == VT_DISPATCH ? convert_object(from, kind.object, out)
                                  : convert_value(from, kind.type, language, out);
}

// What a client hands over for an array, as Variants in their order.
class Elements {
 public:
  // Of one or two dimensions; of two, row by row. Of one that starts at 0, element 0 is left out when it is
  // Empty or Nothing.
  bool add_array(SAFEARRAY* from, VARTYPE element) {
    if (from == nullptr || SafeArrayGetDim(from) == 0) return true;
    Bounds rows, columns;
    const UINT dimensions = SafeArrayGetDim(from);
    if (dimensions > 2 || !rows.read(from, 1) || (dimensions == 2 && !columns.read(from, 2))) return false;
    if (dimensions == 1 && rows.low != 0) lower_bound_ = rows.low;
    for (LONG row = rows.low; row <= rows.high; ++row) {
      for (LONG column = columns.low; column <= columns.high; ++column) {
        LONG place[] = {row, column};
        Variant value;
        if (!read(from, element, place, *value.receive())) return false;
        if (dimensions == 1 && row == 0 && is_nothing(value.value())) continue;
        values_.push_back(std::move(value));
      }
    }
    return true;
  }

  // Of every area; Empty cells are left out. False for an object that is no range.
  bool add_cells(IDispatch* range) {
    return host::ignoring_errors([&] {
      const LateBound cells(ComPtr<IDispatch>(range), L"Range", std::make_shared<MemberNames>());
      const LateBound areas = cells.object(L"Areas", L"Areas");
      const std::int32_t count = areas.get(L"Count").whole();
      for (std::int32_t i = 1; i <= count; ++i) {
        Variant values = areas.object(L"Item", L"Range", {i}).get(L"Value2");
        if (!values.is_array())
          values_.push_back(std::move(values));
        else if (!add_array(values.value().parray, VT_VARIANT))
          throw host::Error(host::errc::kTypeMismatch, "The cells could not be read");
      }
      std::erase_if(values_, [](const Variant& value) { return value.value().vt == VT_EMPTY; });
    });
  }

  bool make(const Kind& kind, LCID language, VARIANT& out) const {
    SAFEARRAY* const made =
        SafeArrayCreateVector(kind.type, lower_bound_, static_cast<ULONG>(values_.size()));
    if (made == nullptr) return false;
    out.vt = static_cast<VARTYPE>(VT_ARRAY | kind.type);
    out.parray = made;
    LONG place = lower_bound_;
    for (const Variant& value : values_) {
      Scratch from;
      Scratch element;
      if (FAILED(VariantCopy(&from, const_cast<VARIANT*>(&value.value()))) ||
          !convert_element(from, kind, language, element))
        return false;
      void* data = kind.type == VT_DISPATCH || kind.type == VT_BSTR ? element.byref
                                                                    : static_cast<void*>(&element.llVal);
      if (FAILED(SafeArrayPutElement(made, &place, data))) return false;
      ++place;
    }
    return true;
  }

 private:
  struct Bounds {
    LONG low = 0, high = 0;
    bool read(SAFEARRAY* from, UINT dimension) {
      return SUCCEEDED(SafeArrayGetLBound(from, dimension, &low)) &&
             SUCCEEDED(SafeArrayGetUBound(from, dimension, &high));
    }
  };

  static bool is_nothing(const VARIANT& value) {
    return value.vt == VT_EMPTY || (value.vt == VT_DISPATCH && value.pdispVal == nullptr);
  }

  // `value` is Empty before.
  static bool read(SAFEARRAY* from, VARTYPE element, LONG* place, VARIANT& value) {
    if (element == VT_VARIANT) {
      Scratch taken;
      return SUCCEEDED(SafeArrayGetElement(from, place, &taken)) && SUCCEEDED(VariantCopyInd(&value, &taken));
    }
    if (FAILED(SafeArrayGetElement(from, place, &value.llVal))) return false;
    value.vt = element;
    return true;
  }

  LONG lower_bound_ = 1;
  std::vector<Variant> values_;
};

bool convert_array(VARIANT& from, const Kind& kind, LCID language, VARIANT& out) {
  const auto element = static_cast<VARTYPE>(from.vt & ~VT_ARRAY);
  const bool is_array = (from.vt & VT_ARRAY) != 0;
  if (is_array && element == kind.type && kind.type != VT_DISPATCH && from.parray != nullptr &&
      SafeArrayGetDim(from.parray) == 1)
    return SUCCEEDED(VariantCopy(&out, &from));
  Elements elements;
  if (is_array) return elements.add_array(from.parray, element) && elements.make(kind, language, out);
  return from.vt == VT_DISPATCH && elements.add_cells(from.pdispVal) && elements.make(kind, language, out);
}

// One argument on its way to the function table.
struct Passed {
  Scratch value;               // what was made of the client's argument
  VARIANT slot = {};           // what is passed: the value, or a reference to it or to the client's own
  VARIANT* written = nullptr;  // the client's reference, when what changes must be converted back to it
  LONGLONG before = 0;
};

bool convert(VARIANT& source, const Kind& kind, LCID language, Passed& passed) {
  VARIANT* given = &source;
  if (given->vt == (VT_BYREF | VT_VARIANT)) given = given->pvarVal;
  // The client's own variable, when it has the wanted kind.
  if (kind.by_reference && kind.type != VT_DISPATCH && given->vt == kind.passed_type()) {
    passed.slot = *given;
    return true;
  }

  Scratch plain;
  if (FAILED(VariantCopyInd(&plain, given))) return false;
  if (!(kind.array ? convert_array(plain, kind, language, passed.value)
                   : convert_element(plain, kind, language, passed.value)))
    return false;
  if (!kind.by_reference) {
    passed.slot = passed.value;
    return true;
  }
  passed.slot.vt = kind.passed_type();
  passed.slot.byref = &passed.value.llVal;
  const bool number =
      !kind.array && (kind.type == VT_I4 || kind.type == VT_I2 || kind.type == VT_R8 || kind.type == VT_BOOL);
  if (number && (source.vt & VT_BYREF) != 0) {
    passed.written = &source;
    passed.before = passed.value.llVal;
  }
  return true;
}

void write_back(Passed& passed, LCID language) {
  if (passed.written == nullptr || passed.value.llVal == passed.before) return;
  VARIANT& target = *passed.written;
  if (target.vt == (VT_BYREF | VT_VARIANT)) {
    VariantCopy(target.pvarVal, &passed.value);
    return;
  }
  const auto type = static_cast<VARTYPE>(target.vt & ~VT_BYREF);
  Scratch changed;
  if (FAILED(VariantChangeTypeEx(&changed, &passed.value, language, 0, type))) return;
  switch (type) {
    case VT_I1:
    case VT_UI1:
      *target.pbVal = changed.bVal;
      break;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
      *target.piVal = changed.iVal;
      break;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
      *target.plVal = changed.lVal;
      break;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_CY:
    case VT_DATE:
      *target.pllVal = changed.llVal;
      break;
    default:
      break;
  }
}

// Frees what GetFuncDesc gave.
class Function {
 public:
  explicit Function(ITypeInfo& info) : info_(info) {}
  Function(const Function&) = delete;
  Function& operator=(const Function&) = delete;
  ~Function() {
    if (description_ != nullptr) info_.ReleaseFuncDesc(description_);
  }

  // The member in the first of the roles that the call allows.
  HRESULT find(DISPID member, WORD flags) {
    ComPtr<ITypeInfo2> search;
    const HRESULT can_search = info_.QueryInterface(IID_ITypeInfo2, search.receive_void());
    if (FAILED(can_search)) return can_search;
    for (const INVOKEKIND kind :
         {INVOKE_PROPERTYGET, INVOKE_FUNC, INVOKE_PROPERTYPUT, INVOKE_PROPERTYPUTREF}) {
      UINT index = 0;
      const bool puts = (kind & (INVOKE_PROPERTYPUT | INVOKE_PROPERTYPUTREF)) != 0;
      // Scripts assign objects with and without Set.
      const bool allowed =
          puts ? (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0 : (flags & kind) != 0;
      if (allowed && SUCCEEDED(search->GetFuncIndexOfMemId(member, kind, &index)))
        return info_.GetFuncDesc(index, &description_);
    }
    return DISP_E_MEMBERNOTFOUND;
  }
  const FUNCDESC& operator*() const { return *description_; }

 private:
  ITypeInfo& info_;
  FUNCDESC* description_ = nullptr;
};

void take_error(HRESULT code, EXCEPINFO* exception) {
  ComPtr<IErrorInfo> error;
  const bool described = GetErrorInfo(0, error.receive()) == S_OK;
  if (exception == nullptr) return;
  *exception = EXCEPINFO();
  exception->scode = code;
  if (!described) return;
  error->GetSource(&exception->bstrSource);
  error->GetDescription(&exception->bstrDescription);
  error->GetHelpFile(&exception->bstrHelpFile);
  error->GetHelpContext(&exception->dwHelpContext);
}

constexpr UINT kNone = ~0U;

// Which argument of the client, as an index into rgvarg, goes to each parameter.
HRESULT match(const DISPPARAMS& given, std::vector<UINT>& places, UINT* wrong_argument) {
  if (given.cArgs > places.size() || given.cNamedArgs > given.cArgs) return DISP_E_BADPARAMCOUNT;
  for (UINT i = 0; i < given.cArgs - given.cNamedArgs; ++i) places[i] = given.cArgs - 1 - i;
  for (UINT i = 0; i < given.cNamedArgs; ++i) {
    const DISPID name = given.rgdispidNamedArgs[i];
    const std::size_t place = name == DISPID_PROPERTYPUT ? places.size() - 1 : static_cast<std::size_t>(name);
    if (place >= places.size() || places[place] != kNone) {
      if (wrong_argument != nullptr) *wrong_argument = i;
      return DISP_E_PARAMNOTFOUND;
    }
    places[place] = i;
  }
  return S_OK;
}

bool is_missing(const VARIANT& argument) {
  const VARIANT& value = argument.vt == (VT_BYREF | VT_VARIANT) ? *argument.pvarVal : argument;
  if (value.vt == (VT_BYREF | VT_ERROR)) return *value.pscode == DISP_E_PARAMNOTFOUND;
  return value.vt == VT_ERROR && value.scode == DISP_E_PARAMNOTFOUND;
}

// One call on its way to the function table: the client's arguments as the parameters want them, in their
// order, and room for the result behind them.
class Frame {
 public:
  Frame(ITypeInfo& info, const FUNCDESC& function) : info_(info), function_(function) {}

  HRESULT fill(const Members::Call& call, UINT* wrong_argument) {
    Kind result;
    const auto parameters = static_cast<std::size_t>(function_.cParams);
    const bool gives_result =
        parameters > 0 && (parameter(parameters - 1).paramdesc.wParamFlags & PARAMFLAG_FRETVAL) != 0;
    if (gives_result && !describe(info_, parameter(parameters - 1).tdesc, result)) return DISP_E_BADVARTYPE;

    passed_ = std::vector<Passed>(gives_result ? parameters - 1 : parameters);
    std::vector<UINT> places(passed_.size(), kNone);
    const HRESULT matched = match(*call.arguments, places, wrong_argument);
    if (FAILED(matched)) return matched;
    for (std::size_t i = 0; i < passed_.size(); ++i) {
      VARIANT* given = places[i] == kNone ? nullptr : &call.arguments->rgvarg[places[i]];
      const HRESULT status = pass(parameter(i), given, call.language, passed_[i]);
      if (status == DISP_E_TYPEMISMATCH && wrong_argument != nullptr)
        *wrong_argument = given == nullptr ? 0 : places[i];
      if (FAILED(status)) return status;
    }
    if (gives_result) {
      result_.vt = result.type;
      result_slot_.vt = result.passed_type();
      result_slot_.byref = &result_.llVal;
      add(result_slot_);
    }
    return S_OK;
  }

  HRESULT run(void* object, LCID language, const Members::Outcome& outcome) {
    SetErrorInfo(0, nullptr);
    Scratch returned;
    const HRESULT called =
        DispCallFunc(object, static_cast<ULONG_PTR>(function_.oVft), CC_STDCALL, VT_I4,
                     static_cast<UINT>(slots_.size()), types_.data(), slots_.data(), &returned);
    if (FAILED(called)) return called;
    if (FAILED(returned.lVal)) {
      result_.vt = VT_EMPTY;  // nothing was given
      take_error(returned.lVal, outcome.exception);
      return DISP_E_EXCEPTION;
    }
    for (Passed& argument : passed_) write_back(argument, language);
    if (outcome.result != nullptr) {
      *outcome.result = result_;
      result_.vt = VT_EMPTY;
    }
    return S_OK;
  }

 private:
  const ELEMDESC& parameter(std::size_t index) const { return function_.lprgelemdescParam[index]; }

  // `given`: the client's argument; null when there is none, which a default stands in for.
  HRESULT pass(const ELEMDESC& wanted, VARIANT* given, LCID language, Passed& passed) {
    Kind kind;
    if (!describe(info_, wanted.tdesc, kind)) return DISP_E_BADVARTYPE;
    VARIANT* source = given;
    if (given == nullptr || is_missing(*given)) {
      if ((wanted.paramdesc.wParamFlags & PARAMFLAG_FHASDEFAULT) == 0)
        return given == nullptr ? DISP_E_BADPARAMCOUNT : DISP_E_PARAMNOTOPTIONAL;
      source = &wanted.paramdesc.pparamdescex->varDefaultValue;
    }
    if (!convert(*source, kind, language, passed)) return DISP_E_TYPEMISMATCH;
    add(passed.slot);
    return S_OK;
  }

  void add(VARIANT& slot) {
    types_.push_back(slot.vt);
    slots_.push_back(&slot);
  }

  ITypeInfo& info_;
  const FUNCDESC& function_;
  std::vector<Passed> passed_;
  std::vector<VARTYPE> types_;
  std::vector<VARIANTARG*> slots_;
  Scratch result_;
  Scratch result_slot_;
};

}  // namespace

HRESULT own_type_library(ITypeLib** library) {
  HMODULE module = nullptr;
  wchar_t path[32768];
  if (!GetModuleHandleExW(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<const wchar_t*>(&own_type_library), &module) ||
      GetModuleFileNameW(module, path, ARRAYSIZE(path)) == 0)
    return HRESULT_FROM_WIN32(GetLastError());
  return LoadTypeLibEx(path, REGKIND_NONE, library);
}

HRESULT own_type_info(REFIID interface_id, ITypeInfo** info) {
  ComPtr<ITypeLib> library;
  const HRESULT loaded = own_type_library(library.receive());
  return FAILED(loaded) ? loaded : library->GetTypeInfoOfGuid(interface_id, info);
}

HRESULT Members::open(REFIID interface_id) {
  if (functions_) return S_OK;
  HRESULT status = own_type_info(interface_id, names_.receive());
  HREFTYPE function_table = 0;
  if (SUCCEEDED(status)) status = names_->GetRefTypeOfImplType(static_cast<UINT>(-1), &function_table);
  if (SUCCEEDED(status)) status = names_->GetRefTypeInfo(function_table, functions_.receive());
  return status;
}

HRESULT Members::ids_of_names(LPOLESTR* names, UINT count, DISPID* ids) {
  return DispGetIDsOfNames(names_.get(), names, count, ids);
}

HRESULT Members::invoke(void* object, const Call& call, const Outcome& outcome) {
  if (outcome.result != nullptr) VariantInit(outcome.result);
  if (call.arguments == nullptr) return E_INVALIDARG;
  try {
    Function function(*functions_.get());
    HRESULT status = function.find(call.member, call.flags);
    if (FAILED(status)) return status;
    Frame frame(*functions_.get(), *function);
    status = frame.fill(call, outcome.wrong_argument);
    return FAILED(status) ? status : frame.run(object, call.language, outcome);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (const std::exception&) {
    return E_UNEXPECTED;
  }
}

}  // namespace ordvane::automation
