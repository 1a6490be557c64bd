// What the library of engine_with_helper.cc needs.

extern "C" __declspec(dllexport) long engine_help(long value) {
  return value + 2;
}
