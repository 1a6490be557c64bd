#include "type_library_text.h"

#include <map>
#include <sstream>
#include <stdexcept>

#include "automation/com_values.h"

namespace ordvane::acceptance {
namespace {

using automation::ComPtr;

std::string name_of(ITypeInfo& type, MEMBERID member) {
  BSTR name = nullptr;
  type.GetDocumentation(member, &name, nullptr, nullptr, nullptr);
  std::string result = automation::utf8(name);
  SysFreeString(name);
  return result;
}

std::string text_of(ITypeInfo& owner, const TYPEDESC& type) {
  switch (type.vt) {
    case VT_PTR:
      return text_of(owner, *type.lptdesc) + "&";
    case VT_SAFEARRAY:
      return text_of(owner, *type.lptdesc) + "()";
    case VT_USERDEFINED: {
      ComPtr<ITypeInfo> referred;
      owner.GetRefTypeInfo(type.hreftype, referred.receive());
      return name_of(*referred.get(), MEMBERID_NIL);
    }
    default: {
      static const std::map<VARTYPE, const char*> kKinds = {{VT_BOOL, "Boolean"}, {VT_I2, "Integer"},
                                                            {VT_I4, "Long"},      {VT_R8, "Double"},
                                                            {VT_BSTR, "String"},  {VT_DISPATCH, "Object"}};
      const auto found = kKinds.find(type.vt);
      return found == kKinds.end() ? "?" : found->second;
    }
  }
}

std::string text_of(ITypeInfo& type, const FUNCDESC& function) {
  static const std::map<INVOKEKIND, const char*> kRoles = {{INVOKE_FUNC, "call"},
                                                           {INVOKE_PROPERTYGET, "get"},
                                                           {INVOKE_PROPERTYPUT, "put"},
                                                           {INVOKE_PROPERTYPUTREF, "set"}};
  std::ostringstream text;
  text << std::hex << function.memid << std::dec << ' ' << kRoles.at(function.invkind) << ' '
       << name_of(type, function.memid) << '(';
  std::string result;
  for (int i = 0; i < function.cParams; ++i) {
    const ELEMDESC& parameter = function.lprgelemdescParam[i];
    const USHORT flags = parameter.paramdesc.wParamFlags;
    const std::string kind = text_of(type, parameter.tdesc);
    if ((flags & PARAMFLAG_FRETVAL) != 0) {
      result = " " + kind;
      continue;
    }
    const bool reference = parameter.tdesc.vt == VT_PTR;
    const USHORT expected = reference ? PARAMFLAG_FIN | PARAMFLAG_FOUT : PARAMFLAG_FIN;
    text << (i == 0 ? "" : ", ") << kind << ((flags & 3) == expected ? "" : " (wrong direction)");
    if ((flags & PARAMFLAG_FHASDEFAULT) != 0)
      text << '=' << parameter.paramdesc.pparamdescex->varDefaultValue.lVal;
  }
  text << ')' << result;
  if (function.callconv != CC_STDCALL) text << " (wrong calling convention)";
  return text.str();
}

// The function table of a dual interface, a line a member.
std::string members_of(ITypeInfo& dispatch) {
  HREFTYPE reference = 0;
  ComPtr<ITypeInfo> table;
  if (FAILED(dispatch.GetRefTypeOfImplType(static_cast<UINT>(-1), &reference)) ||
      FAILED(dispatch.GetRefTypeInfo(reference, table.receive())))
    return "  (no function table)\n";
  TYPEATTR* attributes = nullptr;
  table->GetTypeAttr(&attributes);
  const UINT count = attributes->cFuncs;
  table->ReleaseTypeAttr(attributes);
  std::string lines;
  for (UINT i = 0; i < count; ++i) {
    FUNCDESC* function = nullptr;
    table->GetFuncDesc(i, &function);
    lines += "  " + text_of(*table.get(), *function);
    if (static_cast<std::size_t>(function->oVft) != (7 + i) * sizeof(void*)) lines += " (wrong place)";
    lines += '\n';
    table->ReleaseFuncDesc(function);
  }
  return lines;
}

// Constants of an enumeration and fields of a record.
std::string variables_of(ITypeInfo& type, UINT count) {
  std::string lines;
  for (UINT i = 0; i < count; ++i) {
    VARDESC* member = nullptr;
    type.GetVarDesc(i, &member);
    lines += "  " + name_of(type, member->memid);
    lines += member->varkind == VAR_CONST ? " = " + std::to_string(member->lpvarValue->lVal)
                                          : " " + text_of(type, member->elemdescVar.tdesc);
    lines += '\n';
    type.ReleaseVarDesc(member);
  }
  return lines;
}

std::string default_interface_of(ITypeInfo& type) {
  HREFTYPE reference = 0;
  ComPtr<ITypeInfo> implemented;
  type.GetRefTypeOfImplType(0, &reference);
  type.GetRefTypeInfo(reference, implemented.receive());
  return "  " + name_of(*implemented.get(), MEMBERID_NIL) + "\n";
}

std::string text_of(ITypeInfo& type) {
  TYPEATTR* attributes = nullptr;
  type.GetTypeAttr(&attributes);
  const std::string name = name_of(type, MEMBERID_NIL) + "\n";
  const bool dual = (attributes->wTypeFlags & TYPEFLAG_FDUAL) != 0;
  const bool creatable = (attributes->wTypeFlags & TYPEFLAG_FCANCREATE) != 0;
  std::string text;
  switch (attributes->typekind) {
    case TKIND_DISPATCH:
      text = (dual ? "dual interface " : "interface ") + name + members_of(type);
      break;
    case TKIND_COCLASS:
      text = (creatable ? "creatable class " : "class ") + name + default_interface_of(type);
      break;
    default:
      text = (attributes->typekind == TKIND_ENUM ? "enumeration " : "record ") + name +
             variables_of(type, attributes->cVars);
  }
  type.ReleaseTypeAttr(attributes);
  return text;
}

}  // namespace

std::string text_of_type_library(const std::filesystem::path& file) {
  ComPtr<ITypeLib> library;
  if (FAILED(LoadTypeLibEx(file.c_str(), REGKIND_NONE, library.receive())))
    throw std::runtime_error("there is no type library in " + file.filename().string());
  std::string text;
  for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
    ComPtr<ITypeInfo> type;
    library->GetTypeInfo(i, type.receive());
    text += text_of(*type.get());
  }
  return text;
}

}  // namespace ordvane::acceptance
