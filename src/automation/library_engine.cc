#include "automation/library_engine.h"

#include <windows.h>

#include <array>
#include <cwchar>
#include <span>
#include <string>
#include <tuple>
#include <type_traits>

#include "automation/ansi.h"
#include "automation/com_values.h"
#include "automation/engine_arguments.h"
#include "automation/floating_point.h"
#include "host/error.h"

namespace ordvane::automation {
namespace {

using engine::Engine;

// The entry points. Their arguments are those of the engine interface, in its order.
#define ORDVANE_ENGINE_ENTRY_POINTS(ENTRY)   \
  ENTRY(DrllibInitLibraryVB)                 \
  ENTRY(DrllibFreeLibraryVB)                 \
  ENTRY(DRL4_Init)                           \
  ENTRY(DRL4_GetSimStats)                    \
  ENTRY(DRL4_GetNumInputsAndOutputs)         \
  ENTRY(DRL4_GetNumInputsWithSavedSamples)   \
  ENTRY(DRL4_GetVaryMultis)                  \
  ENTRY(DRL4_GetUsedVaryMultis)              \
  ENTRY(DRL4_GetVaryCountList)               \
  ENTRY(DRL4_GetDoubleInputOrOutputData)     \
  ENTRY(DRL4_DoubleIsNaN)                    \
  ENTRY(DRL4_DoubleIsError)                  \
  ENTRY(DRL4_GetSamplingType)                \
  ENTRY(DRL4_SetSamplingType)                \
  ENTRY(DRL7_GetOrderedInputInfoVB)          \
  ENTRY(DRL7_GetOrderedOutputInfoVB)         \
  ENTRY(DRL7_GetWorkbookWithInputOrOutputVB) \
  ENTRY(DRL7_GetSheetWithInputOrOutputVB)    \
  ENTRY(DRL7_GetCellWithInputOrOutputVB)

#define ENTRY(name) name,
enum class EntryPoint : std::size_t { ORDVANE_ENGINE_ENTRY_POINTS(ENTRY) kCount };
#undef ENTRY
#define ENTRY(name) #name,
constexpr const char* kNames[] = {ORDVANE_ENGINE_ENTRY_POINTS(ENTRY)};
#undef ENTRY

std::string system_message(DWORD error) {
  wchar_t* wide = nullptr;
  const DWORD units = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
      error, 0, reinterpret_cast<wchar_t*>(&wide), 0, nullptr);
  std::string text = utf8(wide, units);
  LocalFree(wide);
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == '.')) text.pop_back();
  return text.empty() ? "error " + std::to_string(error) : text;
}

// The copy of a library that this process has: the run is in that one, wherever its file lies.
HMODULE loaded_already(const wchar_t* path) {
  const wchar_t* const last = std::wcsrchr(path, L'\\');
  HMODULE module = nullptr;
  for (const wchar_t* name : {path, last ? last + 1 : path})
    if (*name != L'\0' && GetModuleHandleExW(0, name, &module)) break;
  return module;
}

class LibraryEngine final : public Engine {
 public:
  std::uint32_t last_error() const { return last_error_; }

  void load_library(const std::string& path) override {
    path_ = path;
    addresses_ = {};
    const Bstr wide(path);
    module_ = loaded_already(wide.get());
    // What the library itself needs is looked for beside it.
    if (module_ == nullptr) module_ = LoadLibraryExW(wide.get(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    load_error_ = module_ ? 0 : GetLastError();
  }

  // Each follows the interface; the pair of its name and its arguments is all that there is to say.
#define CALL(name, ...) return call(EntryPoint::name, &Engine::name, __VA_ARGS__)
  std::int32_t DrllibInitLibraryVB(const std::string& text1, const std::string& text2, std::int32_t& a,
                                   std::int32_t& b, std::int32_t& c, std::int32_t& d) override {
    CALL(DrllibInitLibraryVB, text1, text2, a, b, c, d);
  }
  std::int32_t DrllibFreeLibraryVB(std::int32_t a, std::int32_t& b, std::int32_t c, std::int32_t& d,
                                   std::int32_t& e, std::int32_t& f, std::int32_t& g,
                                   std::string& h) override {
    CALL(DrllibFreeLibraryVB, a, b, c, d, e, f, g, h);
  }
  std::int32_t DRL4_Init(std::int32_t hVars) override {
    CALL(DRL4_Init, hVars);
  }
  std::int32_t DRL4_GetSimStats(std::int32_t hVars, std::int32_t& numberOfSimulations,
                                std::int32_t& numberOfIterations) override {
    CALL(DRL4_GetSimStats, hVars, numberOfSimulations, numberOfIterations);
  }
  std::int32_t DRL4_GetNumInputsAndOutputs(std::int32_t hVars, std::int32_t mode, std::int32_t& numInputs,
                                           std::int32_t& numOutputs) override {
    CALL(DRL4_GetNumInputsAndOutputs, hVars, mode, numInputs, numOutputs);
  }
  std::int32_t DRL4_GetNumInputsWithSavedSamples(std::int32_t hVars, std::int32_t& numInputs) override {
    CALL(DRL4_GetNumInputsWithSavedSamples, hVars, numInputs);
  }
  std::int32_t DRL4_GetVaryMultis(std::int32_t hVars, std::span<std::int32_t> list, std::int32_t& a,
                                  std::int32_t& b, std::int32_t& c) override {
    CALL(DRL4_GetVaryMultis, hVars, list, a, b, c);
  }
  std::int32_t DRL4_GetUsedVaryMultis(std::int32_t hVars, std::int32_t first, std::int32_t count,
                                      std::span<std::int32_t> members, std::int32_t membersPerGroup,
                                      std::int32_t stepsPerGroup, std::span<std::int32_t> steps) override {
    CALL(DRL4_GetUsedVaryMultis, hVars, first, count, members, membersPerGroup, stepsPerGroup, steps);
  }
  std::int32_t DRL4_GetVaryCountList(std::int32_t hVars, std::span<std::int16_t> list,
                                     std::int32_t count) override {
    CALL(DRL4_GetVaryCountList, hVars, list, count);
  }
  std::int32_t DRL4_GetDoubleInputOrOutputData(std::int32_t hVars, std::int32_t kind, std::int32_t index,
                                               std::int32_t run, std::int32_t first, std::int32_t last,
                                               std::span<double> data, std::int32_t whole) override {
    CALL(DRL4_GetDoubleInputOrOutputData, hVars, kind, index, run, first, last, data, whole);
  }
  std::int32_t DRL4_DoubleIsNaN(double value) override {
    CALL(DRL4_DoubleIsNaN, value);
  }
  std::int32_t DRL4_DoubleIsError(double value) override {
    CALL(DRL4_DoubleIsError, value);
  }
  std::int32_t DRL4_GetSamplingType(std::int32_t hVars) override {
    CALL(DRL4_GetSamplingType, hVars);
  }
  std::int32_t DRL4_SetSamplingType(std::int32_t hVars, std::int32_t type) override {
    CALL(DRL4_SetSamplingType, hVars, type);
  }
  // NOLINTBEGIN(readability-function-size): arguments of the engine's exports
  std::int32_t DRL7_GetOrderedInputInfoVB(std::int32_t hVars, std::int16_t sessionFlag, std::int32_t index,
                                          std::string& name, std::string& alternativeName,
                                          std::string& formula, std::int32_t& functionStart,
                                          std::int32_t& functionStop, std::int16_t& useDefaultName,
                                          std::int32_t& bookIndex, std::int32_t& sheetIndex,
                                          std::int32_t& cellIndex, std::int32_t& formulaIndex,
                                          std::int16_t& inCellIndex, std::int16_t& isLocked,
                                          std::int16_t& isMulti, std::int16_t& rangeType, double& minChange,
                                          double& maxChange, std::int16_t& distForRange) override {
    CALL(DRL7_GetOrderedInputInfoVB, hVars, sessionFlag, index, name, alternativeName, formula, functionStart,
         functionStop, useDefaultName, bookIndex, sheetIndex, cellIndex, formulaIndex, inCellIndex, isLocked,
         isMulti, rangeType, minChange, maxChange, distForRange);
  }
  std::int32_t DRL7_GetOrderedOutputInfoVB(
      std::int32_t hVars, std::int16_t sessionFlag, std::int32_t index, std::string& name,
      std::string& alternativeName, std::string& formula, std::int32_t& functionStart,
      std::int32_t& functionStop, std::int16_t& useDefaultName, std::int32_t& bookIndex,
      std::int32_t& sheetIndex, std::int32_t& cellIndex, std::int32_t& formulaIndex,
      std::int16_t& inCellIndex, std::int16_t& isLocked, std::int16_t& dateFlag, std::string& outputRangeName,
      std::int32_t& outputRangeIndex, std::int32_t& dralOutputIndex) override {
    CALL(DRL7_GetOrderedOutputInfoVB, hVars, sessionFlag, index, name, alternativeName, formula,
         functionStart, functionStop, useDefaultName, bookIndex, sheetIndex, cellIndex, formulaIndex,
         inCellIndex, isLocked, dateFlag, outputRangeName, outputRangeIndex, dralOutputIndex);
  }
  std::int32_t DRL7_GetWorkbookWithInputOrOutputVB(std::int32_t hVars, std::int16_t sessionFlag,
                                                   std::int32_t kind, std::int32_t bookIndex,
                                                   std::int32_t& sheetsInBook,
                                                   std::string& workbook) override {
    CALL(DRL7_GetWorkbookWithInputOrOutputVB, hVars, sessionFlag, kind, bookIndex, sheetsInBook, workbook);
  }
  std::int32_t DRL7_GetSheetWithInputOrOutputVB(std::int32_t hVars, std::int16_t sessionFlag,
                                                std::int32_t kind, std::int32_t bookIndex,
                                                std::int32_t sheetIndex, std::string& sheet) override {
    CALL(DRL7_GetSheetWithInputOrOutputVB, hVars, sessionFlag, kind, bookIndex, sheetIndex, sheet);
  }
  std::int32_t DRL7_GetCellWithInputOrOutputVB(std::int32_t hVars, std::int16_t sessionFlag,
                                               std::int32_t kind, std::int32_t bookIndex,
                                               std::int32_t sheetIndex, std::int32_t cellIndex,
                                               std::int32_t formulaIndex, std::int16_t inCellIndex,
                                               std::string& cellAddress, std::string& rangeAddress,
                                               std::int32_t& itemsInCell) override {
    CALL(DRL7_GetCellWithInputOrOutputVB, hVars, sessionFlag, kind, bookIndex, sheetIndex, cellIndex,
         formulaIndex, inCellIndex, cellAddress, rangeAddress, itemsInCell);
  }
  // NOLINTEND(readability-function-size)
#undef CALL

 private:
  template <class... P>
  std::int32_t call(EntryPoint entry, std::int32_t (Engine::*)(P...), std::type_identity_t<P>... values) {
    using Function = std::int32_t(__stdcall*)(typename EngineArgument<P>::Passed...);
    const auto function = reinterpret_cast<Function>(address(entry));
    std::tuple<EngineArgument<P>...> arguments(values...);
    const FloatingPointState own;
    return std::apply(
        [&](auto&... each) {
          const std::int32_t result = function(each.passed()...);
          last_error_ = GetLastError();
          (each.take_back(), ...);
          return result;
        },
        arguments);
  }

  void* address(EntryPoint entry) {
    void*& known = addresses_[static_cast<std::size_t>(entry)];
    if (known) return known;
    const char* name = kNames[static_cast<std::size_t>(entry)];
    if (!module_)
      throw host::Error(host::errc::kFileNotFound,
                        "Cannot load the engine library '" + path_ +
                            "': " + (path_.empty() ? "no file was named" : system_message(load_error_)));
    known = reinterpret_cast<void*>(GetProcAddress(module_, name));
    if (!known)
      throw host::Error(host::errc::kEntryPointNotFound,
                        "The engine library '" + path_ + "' has no entry point " + name);
    return known;
  }

  std::string path_;
  HMODULE module_ = nullptr;  // counted once a load and never given back
  DWORD load_error_ = 0;
  DWORD last_error_ = 0;
  std::array<void*, static_cast<std::size_t>(EntryPoint::kCount)> addresses_ = {};
};

}  // namespace

std::shared_ptr<Engine> make_library_engine() {
  return std::make_shared<LibraryEngine>();
}

std::uint32_t last_system_error(const Engine& engine) {
  const auto* library = dynamic_cast<const LibraryEngine*>(&engine);
  return library ? library->last_error() : 0;
}

}  // namespace ordvane::automation
