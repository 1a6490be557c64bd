#include "tracer.h"

#include <algorithm>
#include <fstream>
#include <set>

#include "automation/variant.h"
#include "measure.h"

namespace ordvane::acceptance {
namespace {

using automation::ComPtr;

constexpr HRESULT kRefusedByExcel = static_cast<HRESULT>(0x800A03EC);
// {5E9E2F0C-6B1D-4C85-9A64-2F7B1D0C4E11}: asks whether an object is one of these.
const IID kIdentity = {0x5e9e2f0c, 0x6b1d, 0x4c85, {0x9a, 0x64, 0x2f, 0x7b, 0x1d, 0x0c, 0x4e, 0x11}};

std::string text_of(const VARIANT& value) {
  switch (value.vt) {
    case VT_EMPTY:
      return "Empty";
    case VT_NULL:
      return "Null";
    case VT_DISPATCH:
      return value.pdispVal == nullptr ? "Nothing" : "an object";
    case VT_ERROR:
      return value.scode == DISP_E_PARAMNOTFOUND ? "" : "an error";
    default:
      break;
  }
  if ((value.vt & VT_ARRAY) != 0) {
    std::string size;
    const SAFEARRAY* array = (value.vt & VT_BYREF) != 0 ? *value.pparray : value.parray;
    for (UINT d = array->cDims; d > 0; --d)
      size += (size.empty() ? "" : " x ") + std::to_string(array->rgsabound[d - 1].cElements);
    return "array " + size;
  }
  automation::Variant copy;
  if (FAILED(VariantChangeType(copy.receive(), const_cast<VARIANT*>(&value), 0, VT_BSTR))) return "?";
  std::string text = automation::utf8(copy.value().bstrVal);
  if (text.size() > 60) text = text.substr(0, 57) + "...";
  return value.vt == VT_BSTR ? '"' + text + '"' : text;
}

class TracedObject final : public IDispatch {
 public:
  TracedObject(Tracer& tracer, IDispatch* inner, std::string name)
      : tracer_(tracer), inner_(inner), name_(std::move(name)) {
    ++tracer_.live_objects;
  }
  TracedObject(const TracedObject&) = delete;
  TracedObject& operator=(const TracedObject&) = delete;

  IDispatch* inner() const { return inner_.get(); }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (!IsEqualIID(id, IID_IUnknown) && !IsEqualIID(id, IID_IDispatch) && !IsEqualIID(id, kIdentity))
      return E_NOINTERFACE;
    *object = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override { return inner_->GetTypeInfoCount(count); }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID language, ITypeInfo** info) override {
    return inner_->GetTypeInfo(index, language, info);
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID language,
                                          DISPID* ids) override {
    const HRESULT status = inner_->GetIDsOfNames(reserved, names, count, language, ids);
    if (SUCCEEDED(status)) tracer_.names[ids[0]] = utf8_of(std::wstring(names[0]));
    return status;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID reserved, LCID language, WORD flags, DISPPARAMS* given,
                                   VARIANT* result, EXCEPINFO* exception, UINT* wrong) override {
    TracedCall call;
    call.run = tracer_.run();
    call.member = name_ + "." + member_name(id);
    call.role = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0 ? 'p' : 'c';
    std::vector<VARIANT> arguments(given->rgvarg, given->rgvarg + given->cArgs);
    for (VARIANT& argument : arguments) {
      call.arguments = text_of(argument) + (call.arguments.empty() ? "" : ", ") + call.arguments;
      unwrap(argument);
    }
    EXCEPINFO own = {};
    EXCEPINFO& said = exception != nullptr ? *exception : own;
    const bool refuse = tracer_.before_call && tracer_.before_call(++tracer_.calls_of_run);
    if (!tracer_.before_call) ++tracer_.calls_of_run;
    DISPPARAMS passed = {arguments.data(), given->rgdispidNamedArgs, given->cArgs, given->cNamedArgs};
    const Stopwatch watch;
    call.status =
        refuse ? refused(said) : inner_->Invoke(id, reserved, language, flags, &passed, result, &said, wrong);
    call.seconds = watch.seconds();
    if (FAILED(call.status)) call.answer = answer_of(call.status, said);
    if (SUCCEEDED(call.status) && result != nullptr) wrap(*result, call.member);
    const HRESULT status = call.status;
    tracer_.calls.push_back(std::move(call));
    return status;
  }

 private:
  ~TracedObject() { --tracer_.live_objects; }

  std::string member_name(DISPID id) const {
    const auto known = tracer_.names.find(id);
    return known != tracer_.names.end() ? known->second
           : id == DISPID_VALUE         ? "(default)"
                                        : std::to_string(id);
  }

  // Excel gets its own objects back. Arguments are borrowed, so that nothing is counted.
  static void unwrap(VARIANT& argument) {
    if (argument.vt == (VT_BYREF | VT_VARIANT) && argument.pvarVal->vt == VT_DISPATCH)
      argument = *argument.pvarVal;
    if (argument.vt != VT_DISPATCH || argument.pdispVal == nullptr) return;
    ComPtr<IUnknown> same;
    if (SUCCEEDED(argument.pdispVal->QueryInterface(kIdentity, same.receive_void())))
      argument.pdispVal = static_cast<TracedObject*>(argument.pdispVal)->inner();
  }

  void wrap(VARIANT& result, const std::string& member) const {
    if (result.vt != VT_DISPATCH || result.pdispVal == nullptr) return;
    const std::string last = member.substr(member.find_last_of('.') + 1);
    // What a collection hands out is one of it: "Worksheets.Item" and "Worksheets.Add" give a "Worksheets()".
    static const std::set<std::string> kMembersOfCollections = {"Item", "Add", "(default)", "NewSeries"};
    const std::string name =
        kMembersOfCollections.contains(last) && !name_.ends_with("()") ? name_ + "()" : last;
    IDispatch* const inner = result.pdispVal;
    result.pdispVal = new TracedObject(tracer_, inner, name);
    inner->Release();
  }

  static HRESULT refused(EXCEPINFO& said) {
    said = {};
    said.scode = kRefusedByExcel;
    said.bstrDescription = SysAllocString(L"Refused by the acceptance kit");
    said.bstrSource = SysAllocString(L"Microsoft Excel");
    return DISP_E_EXCEPTION;
  }

  static std::string answer_of(HRESULT status, const EXCEPINFO& said) {
    if (status != DISP_E_EXCEPTION) return code_text(status);
    return code_text(said.scode != 0 ? said.scode : said.wCode) + " " +
           automation::utf8(said.bstrDescription);
  }

  Tracer& tracer_;
  ComPtr<IDispatch> inner_;
  std::string name_;
  ULONG references_ = 1;
};

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) result += c == '"' ? "\"\"" : std::string(1, c);
  return result + '"';
}

}  // namespace

ComPtr<IDispatch> Tracer::wrap(IDispatch* object, const std::string& name) {
  ComPtr<IDispatch> made;
  *made.receive() = new TracedObject(*this, object, name);
  return made;
}

void Tracer::begin(const std::string& run) {
  run_ = run;
  calls_of_run = 0;
  before_call = nullptr;
}

RunCost Tracer::cost_of_run(const std::string& run) const {
  RunCost cost;
  cost.name = run;
  for (const TracedCall& call : calls) {
    if (call.run != run) continue;
    ++cost.calls;
    cost.refused += FAILED(call.status) ? 1 : 0;
    cost.seconds_in_excel += call.seconds;
  }
  return cost;
}

void Tracer::summarize(Results& results) const {
  std::map<std::string, MemberCost> members;
  for (const TracedCall& call : calls) {
    const std::string name = call.member + (call.role == 'p' ? " =" : "");
    MemberCost& member = members[name];
    member.member = name;
    ++member.calls;
    member.seconds += call.seconds;
    member.slowest = std::max(member.slowest, call.seconds);
    if (SUCCEEDED(call.status)) continue;
    ++member.refused;
    if (results.refused.size() < 200)
      results.refused.push_back({call.run, name, call.arguments, call.answer});
  }
  for (auto& [name, member] : members) results.members.push_back(std::move(member));
  std::sort(results.members.begin(), results.members.end(),
            [](const MemberCost& a, const MemberCost& b) { return a.seconds > b.seconds; });
}

void Tracer::write(const std::filesystem::path& file) const {
  std::ofstream output(file, std::ios::binary);
  output << "run,member,role,arguments,status,answer,microseconds\n";
  for (const TracedCall& call : calls)
    output << quoted(call.run) << ',' << quoted(call.member) << ',' << (call.role == 'p' ? "put" : "call")
           << ',' << quoted(call.arguments) << ',' << code_text(call.status) << ',' << quoted(call.answer)
           << ',' << static_cast<long long>(call.seconds * 1e6) << '\n';
}

}  // namespace ordvane::acceptance
