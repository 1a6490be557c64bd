// A package that is there: its parts by name, their content types and what they refer to.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "xlsx/archive.h"
#include "xlsx/xml_text.h"

namespace ordvane::xlsx {

// A workbook that cannot be used; what() says which, what is wrong with it, and what is expected.
class BadWorkbook : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What one part says about another.
struct PartLink {
  std::string id;
  std::string type;    // in full
  std::string target;  // the part's name; empty for what lies outside the package
};

// "worksheet" from a relationship's type or "main" from a namespace: what follows the last slash.
std::string_view last_part(std::string_view address);
// Where the relationships of a part stand; of the package: an empty name.
std::string relationships_of(const std::string& part);

class PackageReader {
 public:
  // Throws BadPackage for what is no sound archive, and with the number for one that is too large.
  explicit PackageReader(std::string_view bytes);

  OpenArchive& archive() { return archive_; }
  const OpenArchive& archive() const { return archive_; }
  // Position of the part in the archive; upper and lower case are the same.
  std::optional<std::size_t> find(std::string_view part) const;
  // Both throw BadPackage, naming the part, for one that is missing or not to be read.
  std::string read(const std::string& part) const;
  std::string read_beginning(const std::string& part) const;  // up to 64 KiB
  XmlText xml(const std::string& part, int depth = std::numeric_limits<int>::max()) const;
  // Piece by piece, none of which is empty but for the last; what `take` throws as BadPackage names the part.
  void read_through(const std::string& part,
                    const std::function<void(std::string_view piece, bool last)>& take) const;

  // Of a part, or of the package for an empty name; none when it has no relationships.
  std::vector<PartLink> links(const std::string& part) const;
  // Empty when none is given.
  std::string content_type(const std::string& part) const;
  // Which parts, by position in the archive, can be reached from the package with their relationships. Links
  // of the parts at `without` are not followed.
  std::vector<bool> reachable(const std::set<std::size_t>& without = {}) const;

 private:
  std::size_t position_of(const std::string& part) const;

  OpenArchive archive_;
  std::map<std::string, std::size_t> positions_;                           // by name in lower case
  std::map<std::string, std::string> types_by_extension_, types_by_part_;  // by lower case
};

}  // namespace ordvane::xlsx
