// XML read from its beginning to its end without being kept: for parts that are large.
#pragma once

#include <functional>
#include <optional>
#include <string_view>

namespace ordvane::calc {

class XmlVisitor {
 public:
  virtual ~XmlVisitor() = default;
  class Attributes {
   public:
    explicit Attributes(const char** list) : list_(list) {}
    // Of an attribute without a prefix; empty when it is not there.
    std::string_view operator[](std::string_view name) const;

   private:
    const char** list_;
  };
  // Names are without their prefix. Texts come in pieces.
  virtual void start(std::string_view name, const Attributes& attributes) = 0;
  virtual void text(std::string_view piece) = 0;
  virtual void end(std::string_view name) = 0;
};

// Throws xlsx::BadPackage as the parser does (xlsx/xml_parser.h). What the visitor throws comes through.
void visit_xml(std::string_view xml, XmlVisitor& visitor);

}  // namespace ordvane::calc
