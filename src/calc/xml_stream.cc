#include "calc/xml_stream.h"

#include <expat.h>

#include <algorithm>
#include <exception>
#include <memory>
#include <new>
#include <string>
#include <type_traits>

#include "xlsx/archive.h"

namespace ordvane::calc {
namespace {

std::string_view without_prefix(std::string_view name) {
  return name.substr(name.find(':') + 1);
}

constexpr int kDeepest = 256;  // open elements, each of which the parser remembers

struct State {
  XML_Parser parser;
  XmlVisitor& visitor;
  std::exception_ptr failure;
  bool has_type_definition = false;
  int depth = 0;
};

// Exceptions do not pass through the parser, which is C.
template <class Step>
void guarded(void* data, const Step& step) {
  State& state = *static_cast<State*>(data);
  if (state.failure) return;
  try {
    step(state.visitor);
  } catch (...) {
    state.failure = std::current_exception();
    XML_StopParser(state.parser, XML_FALSE);
  }
}

void on_start(void* data, const char* name, const char** attributes) {
  guarded(data, [&](XmlVisitor& visitor) {
    if (++static_cast<State*>(data)->depth > kDeepest)
      throw xlsx::BadPackage("it has elements within more than 256 others");
    visitor.start(without_prefix(name), XmlVisitor::Attributes(attributes));
  });
}

void on_end(void* data, const char* name) {
  --static_cast<State*>(data)->depth;
  guarded(data, [&](XmlVisitor& visitor) { visitor.end(without_prefix(name)); });
}

void on_text(void* data, const char* text, int length) {
  guarded(data, [&](XmlVisitor& visitor) { visitor.text({text, static_cast<std::size_t>(length)}); });
}

void on_type_definition(void* data, const char*, const char*, const char*, int) {
  State& state = *static_cast<State*>(data);
  state.has_type_definition = true;
  XML_StopParser(state.parser, XML_FALSE);
}

}  // namespace

std::string_view XmlVisitor::Attributes::operator[](std::string_view name) const {
  for (const char** at = list_; *at != nullptr; at += 2)
    if (name == *at) return at[1];
  return {};
}

void visit_xml(std::string_view xml, XmlVisitor& visitor) {
  const std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)> parser(
      XML_ParserCreate(nullptr), XML_ParserFree);
  if (!parser) throw std::bad_alloc();
  State state{parser.get(), visitor, nullptr};
  XML_SetUserData(parser.get(), &state);
  XML_SetElementHandler(parser.get(), on_start, on_end);
  XML_SetCharacterDataHandler(parser.get(), on_text);
  XML_SetStartDoctypeDeclHandler(parser.get(), on_type_definition);
  constexpr std::size_t kPiece = std::size_t{1} << 20;
  for (bool last = false; !last;) {
    const std::string_view piece = xml.substr(0, kPiece);
    xml.remove_prefix(piece.size());
    last = xml.empty();
    const auto status =
        XML_Parse(parser.get(), piece.data(), static_cast<int>(piece.size()), last ? XML_TRUE : XML_FALSE);
    if (state.failure) std::rethrow_exception(state.failure);
    if (state.has_type_definition)
      throw xlsx::BadPackage("it has a document type definition, which no workbook has");
    if (status != XML_STATUS_OK && XML_GetErrorCode(parser.get()) == XML_ERROR_NO_MEMORY)
      throw std::bad_alloc();
    if (status != XML_STATUS_OK)
      throw xlsx::BadPackage(std::string(XML_ErrorString(XML_GetErrorCode(parser.get()))) + " in line " +
                             std::to_string(XML_GetCurrentLineNumber(parser.get())));
  }
}

}  // namespace ordvane::calc
