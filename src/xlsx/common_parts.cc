// What ties the parts together: relationships, content types, document properties, and shared elements.
#include <array>
#include <cstdio>

#include "host/error.h"
#include "xlsx/parts.h"

namespace ordvane::xlsx {
namespace {

constexpr const char* kPackageSpace = "http://schemas.openxmlformats.org/package/2006/";
constexpr const char* kCoreType =
    "http://schemas.openxmlformats.org/package/2006/relationships/metadata/core-properties";

bool has_outer_blank(std::string_view text) {
  const auto blank = [](char c) { return c == ' ' || c == '\n' || c == '\t'; };
  return !text.empty() && (blank(text.front()) || blank(text.back()) || text.find('\n') != text.npos);
}

void default_type(Xml& xml, const char* extension, const char* type) {
  xml.start("Default").attr("Extension", extension).attr("ContentType", type).end();
}

void property(Xml& xml, const char* tag, const std::string& value) {
  if (!value.empty()) xml.leaf(tag, value);
}

// "2026-01-31T12:00:00Z"
std::string date_text(std::chrono::sys_seconds moment) {
  const auto day = std::chrono::floor<std::chrono::days>(moment);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss time(moment - day);
  std::array<char, 40> text;
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()));
  return text.data();
}

void date(Xml& xml, const char* tag, std::chrono::sys_seconds when) {
  xml.start(tag).attr("xsi:type", "dcterms:W3CDTF").text(date_text(when)).end();
}

}  // namespace

void refuse(const std::string& why) {
  throw host::Error(host::errc::kHostRefused, why);
}

void text_element(Xml& xml, const char* tag, std::string_view text) {
  xml.start(tag);
  if (has_outer_blank(text)) xml.attr("xml:space", "preserve");
  xml.text(text, Escape::kXstring).end();
}

std::string relationship_id(std::size_t position) {
  return "rId" + std::to_string(position + 1);
}

std::string relationships_part(const std::vector<Relationship>& relationships) {
  std::string part;
  Xml xml(part);
  xml.declaration().start("Relationships").attr("xmlns", std::string(kPackageSpace) + "relationships");
  for (std::size_t i = 0; i < relationships.size(); ++i) {
    const Relationship& r = relationships[i];
    const bool core = r.type == "core-properties";
    xml.start("Relationship").attr("Id", relationship_id(i));
    xml.attr("Type", core ? kCoreType : std::string(kReferenceSpace) + "/" + r.type);
    xml.attr("Target", r.target).end();
  }
  xml.end();
  return part;
}

std::string content_types_part(const std::vector<PartType>& parts) {
  std::string part;
  Xml xml(part);
  xml.declaration().start("Types").attr("xmlns", std::string(kPackageSpace) + "content-types");
  default_type(xml, "rels", "application/vnd.openxmlformats-package.relationships+xml");
  default_type(xml, "xml", "application/xml");
  default_type(xml, "vml", "application/vnd.openxmlformats-officedocument.vmlDrawing");
  for (const PartType& p : parts)
    xml.start("Override").attr("PartName", p.name).attr("ContentType", p.content_type).end();
  xml.end();
  return part;
}

std::string core_properties_part(const host::DocumentProperties& properties,
                                 std::chrono::sys_seconds created) {
  std::string part;
  Xml xml(part);
  xml.declaration().start("cp:coreProperties");
  xml.attr("xmlns:cp", std::string(kPackageSpace) + "metadata/core-properties");
  xml.attr("xmlns:dc", "http://purl.org/dc/elements/1.1/");
  xml.attr("xmlns:dcterms", "http://purl.org/dc/terms/");
  xml.attr("xmlns:xsi", "http://www.w3.org/2001/XMLSchema-instance");
  property(xml, "dc:title", properties.title);
  property(xml, "dc:subject", properties.subject);
  property(xml, "dc:creator", properties.author);
  property(xml, "cp:keywords", properties.keywords);
  property(xml, "dc:description", properties.comments);
  property(xml, "cp:lastModifiedBy", properties.author);
  date(xml, "dcterms:created", created);
  date(xml, "dcterms:modified", created);
  xml.end();
  return part;
}

std::string app_properties_part(const office::BookModel& book) {
  std::string part;
  Xml xml(part);
  xml.declaration().start("Properties");
  xml.attr("xmlns", "http://schemas.openxmlformats.org/officeDocument/2006/extended-properties");
  property(xml, "Application", "Ordvane Results");
  property(xml, "Company", book.properties.company);
  xml.end();
  return part;
}

}  // namespace ordvane::xlsx
