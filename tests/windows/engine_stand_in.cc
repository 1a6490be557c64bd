// What stands in for the engine's library: the same exports, answered from a recorded run.
//
// The environment variable ORDVANE_ENGINE_RUN names the run file; without it every call returns 1. The
// arguments are written out as the engine's clients declare them, apart from the engine interface, so that
// both sides can be checked against each other. `hVars` chooses how texts are handed back: 1 in a new system
// string, as engines do; 2 in the client's own; 3 in memory that the client must not free.

#include <oaidl.h>
#include <oleauto.h>
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <span>
#include <string>

#include "automation/ansi.h"
#include "runfile/recorded_engine.h"
#include "runfile/run.h"

namespace {

using ordvane::automation::from_ansi;
using ordvane::automation::to_ansi;
using ordvane::engine::Engine;

constexpr long kRefused = 1;
constexpr int kInClientsString = 2;
constexpr int kInOwnMemory = 3;

// The engine of the run that the variable names now.
Engine* recorded() {
  static std::wstring known;
  static std::shared_ptr<Engine> engine;
  wchar_t path[4096] = L"";
  GetEnvironmentVariableW(L"ORDVANE_ENGINE_RUN", path, 4096);
  if (path == known) return engine.get();
  known = path;
  engine = nullptr;
  if (known.empty()) return nullptr;
  try {
    engine = ordvane::runfile::make_recorded_engine(
        std::make_shared<ordvane::runfile::Run>(ordvane::runfile::read_run(known)));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "ORDVANE_ENGINE_RUN: %s\n", error.what());
  }
  return engine.get();
}

void hand_back(long hVars, const std::string& text, char** to) {
  static std::deque<std::string> own_memory;
  const std::string ansi = to_ansi(text);
  if (hVars == kInClientsString) {
    std::strcpy(*to, ansi.c_str());
  } else if (hVars == kInOwnMemory) {
    *to = own_memory.emplace_back(ansi).data();
  } else {
    SysFreeString(reinterpret_cast<BSTR>(*to));
    *to = reinterpret_cast<char*>(SysAllocStringByteLen(ansi.c_str(), static_cast<UINT>(ansi.size())));
  }
}

// How many elements the client's array has, where the arguments say it.
template <class T>
std::span<T> array(T* first, long long size) {
  return {first, size > 0 ? static_cast<std::size_t>(size) : 0};
}

std::int32_t inputs_listed(Engine& engine) {
  std::int32_t inputs = 0;
  engine.DRL4_GetNumInputsWithSavedSamples(0, inputs);
  return inputs;
}

// Long and the interface's 32-bit integer are different types of the same size.
std::int32_t& ref(long* value) {
  static_assert(sizeof(long) == sizeof(std::int32_t));
  return *reinterpret_cast<std::int32_t*>(value);
}
std::int32_t* list(long* first) {
  return reinterpret_cast<std::int32_t*>(first);
}
std::int16_t low(int slot) {
  return static_cast<std::int16_t>(slot);
}

}  // namespace

#define EXPORTED extern "C" long __stdcall
// A call that hands back numbers only: its parameters, and the interface's arguments made of them.
#define FORWARDED(call, parameters, ...)                             \
  EXPORTED call parameters {                                         \
    Engine* const engine = recorded();                               \
    return engine == nullptr ? kRefused : engine->call(__VA_ARGS__); \
  }

FORWARDED(DrllibInitLibraryVB, (const char* text1, const char* text2, long* a, long* b, long* c, long* d),
          text1, text2, ref(a), ref(b), ref(c), ref(d))
FORWARDED(DRL4_GetSimStats, (long hVars, long* simulations, long* iterations), hVars, ref(simulations),
          ref(iterations))
FORWARDED(DRL4_GetNumInputsAndOutputs, (long hVars, long mode, long* inputs, long* outputs), hVars, mode,
          ref(inputs), ref(outputs))
FORWARDED(DRL4_GetNumInputsWithSavedSamples, (long hVars, long* inputs), hVars, ref(inputs))
FORWARDED(DRL4_GetVaryMultis, (long hVars, long* varied, long* a, long* b, long* c), hVars,
          array(list(varied), 2 * inputs_listed(*engine)), ref(a), ref(b), ref(c))
FORWARDED(DRL4_GetUsedVaryMultis,
          (long hVars, long first, long count, long* members, long members_per_group, long steps_per_group,
           long* steps),
          hVars, first, count, array(list(members), static_cast<long long>(count) * members_per_group),
          members_per_group, steps_per_group,
          array(list(steps), static_cast<long long>(count) * steps_per_group))
FORWARDED(DRL4_GetVaryCountList, (long hVars, short* steps, long count), hVars, array(steps, count), count)
FORWARDED(DRL4_GetDoubleInputOrOutputData,
          (long hVars, long kind, long index, long run, long first, long last, double* data, long whole),
          hVars, kind, index, run, first, last, array(data, static_cast<long long>(last) - first + 1), whole)
FORWARDED(DRL4_DoubleIsNaN, (double value), value)
FORWARDED(DRL4_DoubleIsError, (double value), value)
FORWARDED(DRL4_GetSamplingType, (long hVars), hVars)
FORWARDED(DRL4_SetSamplingType, (long hVars, long type), hVars, type)

// h comes back with what the client sent and a mark.
EXPORTED DrllibFreeLibraryVB(long a, long* b, long c, long* d, long* e, long* f, long* g, char** h) {
  Engine* const engine = recorded();
  if (!engine) return kRefused;
  std::string text = from_ansi(*h);
  const long status = engine->DrllibFreeLibraryVB(a, ref(b), c, ref(d), ref(e), ref(f), ref(g), text);
  hand_back(1, text + "+", h);
  return status;
}

// Leaves `hVars` as the system's last error, and numbers of single precision that are cut, not rounded.
EXPORTED DRL4_Init(long hVars) {
  Engine* const engine = recorded();
  if (!engine) return kRefused;
  const long status = engine->DRL4_Init(hVars);
  SetLastError(static_cast<DWORD>(hVars));
  const std::uint16_t control_word = 0x0C7F;
  const std::uint32_t sse_state = 0x7F80;
  asm volatile("fldcw %0\n\tldmxcsr %1" : : "m"(control_word), "m"(sse_state));
  return status;
}

// A call that also hands texts back, to these pointers of the client: `texts` of the interface's arguments.
#define WITH_TEXTS(call, parameters, clients, ...)                                                    \
  EXPORTED call parameters {                                                                          \
    Engine* const engine = recorded();                                                                \
    char** const to[] = clients;                                                                      \
    std::string texts[std::size(to)];                                                                 \
    const long status = engine == nullptr ? kRefused : engine->call(__VA_ARGS__);                     \
    for (std::size_t i = 0; status == 0 && i < std::size(to); ++i) hand_back(hVars, texts[i], to[i]); \
    return status;                                                                                    \
  }
#define CLIENTS(...) \
  { __VA_ARGS__ }

WITH_TEXTS(DRL7_GetOrderedInputInfoVB,
           (long hVars, int session_flag, long index, char** name, char** alternative, char** formula,
            long* function_start, long* function_stop, short* use_default, long* book, long* sheet,
            long* cell, long* formula_index, short* in_cell, short* locked, short* multi, short* range_type,
            double* min_change, double* max_change, short* distribution),
           CLIENTS(name, alternative, formula), hVars, low(session_flag), index, texts[0], texts[1], texts[2],
           ref(function_start), ref(function_stop), *use_default, ref(book), ref(sheet), ref(cell),
           ref(formula_index), *in_cell, *locked, *multi, *range_type, *min_change, *max_change,
           *distribution)
WITH_TEXTS(DRL7_GetOrderedOutputInfoVB,
           (long hVars, int session_flag, long index, char** name, char** alternative, char** formula,
            long* function_start, long* function_stop, short* use_default, long* book, long* sheet,
            long* cell, long* formula_index, short* in_cell, short* locked, short* date, char** range_name,
            long* range_index, long* own_index),
           CLIENTS(name, alternative, formula, range_name), hVars, low(session_flag), index, texts[0],
           texts[1], texts[2], ref(function_start), ref(function_stop), *use_default, ref(book), ref(sheet),
           ref(cell), ref(formula_index), *in_cell, *locked, *date, texts[3], ref(range_index),
           ref(own_index))
WITH_TEXTS(DRL7_GetWorkbookWithInputOrOutputVB,
           (long hVars, int session_flag, long kind, long book, long* sheets, char** workbook),
           CLIENTS(workbook), hVars, low(session_flag), kind, book, ref(sheets), texts[0])
WITH_TEXTS(DRL7_GetSheetWithInputOrOutputVB,
           (long hVars, int session_flag, long kind, long book, long sheet, char** name), CLIENTS(name),
           hVars, low(session_flag), kind, book, sheet, texts[0])
WITH_TEXTS(DRL7_GetCellWithInputOrOutputVB,
           (long hVars, int session_flag, long kind, long book, long sheet, long cell, long formula,
            int in_cell, char** address, char** range, long* items),
           CLIENTS(address, range), hVars, low(session_flag), kind, book, sheet, cell, formula, low(in_cell),
           texts[0], texts[1], ref(items))
