// One call of an engine's library that comes in two files.

extern "C" __declspec(dllimport) long engine_help(long value);

extern "C" __declspec(dllexport) long __stdcall DRL4_Init(long hVars) {
  return engine_help(hVars);
}
