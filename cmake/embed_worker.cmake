# Turns the program that drives LibreOffice into a source file that holds its text.
file(READ ${FILE} text)
set(body "#include \"sweep/libreoffice.h\"\n\nnamespace ordvane::sweep {\n\n")
string(APPEND body "const char* const kWorkerProgram = R\"ordvane(${text})ordvane\";\n\n}  // namespace ordvane::sweep\n")
file(WRITE ${OUTPUT} "${body}")
