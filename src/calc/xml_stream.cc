#include "calc/xml_stream.h"

#include "xlsx/xml_parser.h"

namespace ordvane::calc {
namespace {

std::string_view without_prefix(std::string_view name) {
  return name.substr(name.find(':') + 1);
}

class Visit : public xlsx::XmlParser {
 public:
  explicit Visit(XmlVisitor& visitor) : XmlParser('\0'), visitor_(visitor) {}

 private:
  void on_start(const char* name, const char** attributes) override {
    visitor_.start(without_prefix(name), XmlVisitor::Attributes(attributes));
  }
  void on_end(const char* name) override { visitor_.end(without_prefix(name)); }
  void on_text(std::string_view piece) override { visitor_.text(piece); }

  XmlVisitor& visitor_;
};

}  // namespace

std::string_view XmlVisitor::Attributes::operator[](std::string_view name) const {
  for (const char** at = list_; *at != nullptr; at += 2)
    if (name == *at) return at[1];
  return {};
}

void visit_xml(std::string_view xml, XmlVisitor& visitor) {
  Visit(visitor).parse(xml);
}

}  // namespace ordvane::calc
