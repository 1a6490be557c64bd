// Expat within bounds: no text makes it take much memory, and what handlers throw
// passes through.
#pragma once

#include <cstddef>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

struct XML_ParserStruct;

namespace ordvane::xlsx {

class XmlParser {
 public:
  enum class Encodings { kAny, kUtf8 };

  XmlParser(const XmlParser&) = delete;
  XmlParser& operator=(const XmlParser&) = delete;
  virtual ~XmlParser();

  // Hands on what is in the text. Throws BadPackage with the line for what is not well-formed, for other
  // encodings, for document type definitions, which no workbook has, for elements within more than 256
  // others, and for an element, or names of all, that take more than 8 MiB to be read. What the handlers
  // throw ends it and comes through.
  void parse(std::string_view text);
  // The same of a text that comes in pieces, none of which is empty but for the last.
  void feed(std::string_view piece, bool last);

 protected:
  // `separator`: between namespace, name and prefix; '\0': names are as they are written.
  explicit XmlParser(char separator, Encodings taken = Encodings::kAny);

  // `attributes`: names and values by turns, up to a null pointer.
  virtual void on_start(const char* name, const char** attributes) = 0;
  virtual void on_end(const char* name) = 0;
  virtual void on_text(std::string_view piece) = 0;

  // parse() throws BadPackage with the line and this.
  void stop(const char* why);
  // Of what is handed on, in the whole text: its beginning and length in bytes.
  std::size_t place() const;
  std::size_t length() const;

 private:
  struct Budget;
  struct Handlers;
  struct Release {
    void operator()(XML_ParserStruct* parser) const;
  };

  std::unique_ptr<Budget> budget_;  // before the parser, whose memory is given back to it
  std::unique_ptr<XML_ParserStruct, Release> parser_;
  const Encodings taken_;
  bool has_begun_ = false;
  int open_ = 0;  // elements
  std::string why_;
  std::exception_ptr failure_;
};

}  // namespace ordvane::xlsx
