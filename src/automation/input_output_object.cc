#include "automation/input_output_object.h"

#include <memory>
#include <new>
#include <string_view>

#include "automation/wire.h"

namespace ordvane::automation {
namespace {

// Known only here: asks an object for its C++ record.
constexpr IID kRecord = {0x4591f169, 0x4327, 0x40f5, {0x93, 0x6a, 0x4b, 0x99, 0xc7, 0x68, 0xd2, 0xc9}};

constexpr std::int32_t kOutOfStackSpace = 28;

class InputOutputObject final : public AutomationObject<::DralInputOutput, _DralInputOutput> {
 public:
#define ORDVANE_PLAIN_FIELD(type, name)                              \
  HRESULT STDMETHODCALLTYPE get_##name(Wire##type* value) override { \
    return answer_client([&] { give(value, record_.name); });        \
  }                                                                  \
  HRESULT STDMETHODCALLTYPE put_##name(Wire##type value) override {  \
    return answer_client([&] { take(record_.name, value); });        \
  }
#define ORDVANE_FIELD_Boolean(name) ORDVANE_PLAIN_FIELD(Boolean, name)
#define ORDVANE_FIELD_Integer(name) ORDVANE_PLAIN_FIELD(Integer, name)
#define ORDVANE_FIELD_Long(name) ORDVANE_PLAIN_FIELD(Long, name)
#define ORDVANE_FIELD_Double(name) ORDVANE_PLAIN_FIELD(Double, name)
#define ORDVANE_FIELD_String(name) ORDVANE_PLAIN_FIELD(String, name)
// Cells of the spreadsheet: kept and handed back as the client gave them.
#define ORDVANE_FIELD_RangeRef(name)                                      \
  HRESULT STDMETHODCALLTYPE get_##name(IDispatch** value) override {      \
    return answer_client([&] { at(value) = ComPtr(name##_).release(); }); \
  }                                                                       \
  HRESULT STDMETHODCALLTYPE putref_##name(IDispatch* value) override {    \
    return answer_client([&] { name##_ = ComPtr(value); });               \
  }
#define ORDVANE_FIELD(number, type, name) ORDVANE_FIELD_##type(name)
#define ORDVANE_TABLE1(number, name, init, rule)                         \
  HRESULT STDMETHODCALLTYPE init(LONG l, LONG* result) override {        \
    return answer_client([&] { give(result, record_.init(l)); });        \
  }                                                                      \
  HRESULT STDMETHODCALLTYPE get_##name(LONG l, double* value) override { \
    return answer_client([&] { give(value, record_.name(l)); });         \
  }                                                                      \
  HRESULT STDMETHODCALLTYPE put_##name(LONG l, double value) override {  \
    return name##Put(l, value);                                          \
  }                                                                      \
  HRESULT STDMETHODCALLTYPE name##Put(LONG l, double value) override {   \
    return answer_client([&] { record_.name##Put(l, value); });          \
  }
#define ORDVANE_TABLE2(number, name, init, rule)                                 \
  HRESULT STDMETHODCALLTYPE init(LONG l, LONG j, LONG* result) override {        \
    return answer_client([&] { give(result, record_.init(l, j)); });             \
  }                                                                              \
  HRESULT STDMETHODCALLTYPE get_##name(LONG l, LONG j, double* value) override { \
    return answer_client([&] { give(value, record_.name(l, j)); });              \
  }                                                                              \
  HRESULT STDMETHODCALLTYPE put_##name(LONG l, LONG j, double value) override {  \
    if (!can_be_set(#name)) return out_of_stack_space();                         \
    return name##Put(l, j, value);                                               \
  }                                                                              \
  HRESULT STDMETHODCALLTYPE name##Put(LONG l, LONG j, double value) override {   \
    return answer_client([&] { record_.name##Put(l, j, value); });               \
  }
#define ORDVANE_TABLE3(number, name, init, rule)                                         \
  HRESULT STDMETHODCALLTYPE init(LONG l, LONG j, LONG k, LONG* result) override {        \
    return answer_client([&] { give(result, record_.init(l, j, k)); });                  \
  }                                                                                      \
  HRESULT STDMETHODCALLTYPE get_##name(LONG l, LONG j, LONG k, double* value) override { \
    return answer_client([&] { give(value, record_.name(l, j, k)); });                   \
  }                                                                                      \
  HRESULT STDMETHODCALLTYPE put_##name(LONG l, LONG j, LONG k, double value) override {  \
    return name##Put(l, &j, &k, value);                                                  \
  }                                                                                      \
  HRESULT STDMETHODCALLTYPE name##Put(LONG l, LONG* j, LONG* k, double value) override { \
    return answer_client([&] { record_.name##Put(l, at(j), at(k), value); });            \
  }
#include "model/input_output_fields.def"

#define ORDVANE_PROPERTY(type, name)                                 \
  HRESULT STDMETHODCALLTYPE get_##name(Wire##type* value) override { \
    return answer_client([&] { give(value, record_.name()); });      \
  }                                                                  \
  HRESULT STDMETHODCALLTYPE put_##name(Wire##type* value) override { \
    return answer_client([&] {                                       \
      model::DralInputOutput::type taken{};                          \
      take(taken, at(value));                                        \
      record_.set_##name(taken);                                     \
    });                                                              \
  }
  ORDVANE_PROPERTY(Double, BaseValue)
  ORDVANE_PROPERTY(Double, OriginalValue)
  ORDVANE_PROPERTY(String, SimpleName)
  ORDVANE_PROPERTY(String, QualifiedName)
#undef ORDVANE_PROPERTY
  HRESULT STDMETHODCALLTYPE get_SimpleNameShort(BSTR* value) override {
    return answer_client([&] { give(value, record_.SimpleNameShort()); });
  }

  HRESULT STDMETHODCALLTYPE NameOrQualifiedCellAddressName(OrdvaneRangeMode* mode, BSTR* name) override {
    return answer_client([&] {
      give(name, record_.NameOrQualifiedCellAddressName(static_cast<model::OrdvaneRangeMode>(at(mode))));
    });
  }

 private:
  void* implementation(REFIID id) override {
    return IsEqualIID(id, kRecord) ? &record_ : nullptr;
  }

  template <class Step>
  static HRESULT answer_client(Step&& step) noexcept {
    return answer(__uuidof(_DralInputOutput), std::forward<Step>(step));
  }

  // Setting an element of this table as a property calls itself without end; only its writer stores.
  static constexpr bool can_be_set(std::string_view table) {
    return table != "outputRankPerStep";
  }
  static HRESULT out_of_stack_space() {
    return answer_client([] { throw host::Error(kOutOfStackSpace, "Out of stack space"); });
  }

  model::DralInputOutput record_;
#define ORDVANE_OWN_Boolean(name)
#define ORDVANE_OWN_Integer(name)
#define ORDVANE_OWN_Long(name)
#define ORDVANE_OWN_Double(name)
#define ORDVANE_OWN_String(name)
#define ORDVANE_OWN_RangeRef(name) ComPtr<IDispatch> name##_;
#define ORDVANE_FIELD(number, type, name) ORDVANE_OWN_##type(name)
#include "model/input_output_fields.def"
};

}  // namespace

HRESULT create_input_output(REFIID id, void** object) {
  return create<InputOutputObject>(id, object);
}

const model::DralInputOutput* record_of(IUnknown* object) {
  void* record = nullptr;
  if (object == nullptr || FAILED(object->QueryInterface(kRecord, &record))) return nullptr;
  object->Release();  // the caller holds the object
  return static_cast<const model::DralInputOutput*>(record);
}

}  // namespace ordvane::automation
