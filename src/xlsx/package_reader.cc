#include "xlsx/package_reader.h"

#include <charconv>
#include <utility>

#include "text/edit.h"

namespace ordvane::xlsx {
namespace {

constexpr std::uint64_t kMebi = 1U << 20;
constexpr std::uint64_t kMostUnpacked = 2048 * kMebi;
constexpr std::uint64_t kLongestRead = 256 * kMebi;
constexpr std::size_t kMostParts = 65000;

std::string mebibytes(std::uint64_t bytes) {
  return std::to_string((bytes + kMebi - 1) / kMebi) + " MiB";
}

// "%20" and its kin.
std::string unescaped(std::string_view text) {
  std::string result;
  for (std::size_t at = 0; at < text.size(); ++at) {
    unsigned code = 0;
    const char* digits = text.data() + at + 1;
    if (text[at] == '%' && at + 2 < text.size() &&
        std::from_chars(digits, digits + 2, code, 16).ptr == digits + 2) {
      result += static_cast<char>(code);
      at += 2;
    } else {
      result += text[at];
    }
  }
  return result;
}

// The name of the part that `target` means in the relationships of `part`.
std::string resolved(const std::string& part, std::string_view target) {
  target = target.substr(0, target.find('#'));
  std::string path = unescaped(target);
  if (path.empty()) return "";
  if (path[0] != '/') path = part.substr(0, part.rfind('/') + 1) + path;
  std::vector<std::string_view> steps;
  for (std::size_t at = 0; at <= path.size();) {
    const std::size_t end = std::min(path.find('/', at), path.size());
    const std::string_view step = std::string_view(path).substr(at, end - at);
    if (step == ".." && !steps.empty()) steps.pop_back();
    if (step != ".." && step != "." && !step.empty()) steps.push_back(step);
    at = end + 1;
  }
  std::string name;
  for (const std::string_view step : steps) name += (name.empty() ? "" : "/") + std::string(step);
  return name;
}

// What `parse` makes of the part, which is named where it cannot.
template <class Parse>
auto named(const std::string& part, const Parse& parse) {
  try {
    return parse();
  } catch (const BadPackage& error) {
    throw BadPackage("its part " + part + " cannot be read: " + error.what());
  }
}

}  // namespace

std::string_view last_part(std::string_view address) {
  return address.substr(address.rfind('/') + 1);
}

std::string relationships_of(const std::string& part) {
  const std::size_t folder = part.rfind('/') + 1;
  return part.substr(0, folder) + "_rels/" + part.substr(folder) + ".rels";
}

PackageReader::PackageReader(std::string_view bytes) : archive_(bytes) {
  std::uint64_t total = 0;
  const std::vector<OpenArchive::Entry>& entries = archive_.entries();
  if (entries.size() > kMostParts)
    throw BadPackage("it holds " + std::to_string(entries.size()) + " parts; at most " +
                     std::to_string(kMostParts) + " are read");
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (entries[i].encrypted) throw BadPackage("its part " + entries[i].name + " is encrypted");
    total += entries[i].size;
    if (total > kMostUnpacked || entries[i].size > kMostUnpacked)
      throw BadPackage("it is larger than " + mebibytes(kMostUnpacked) + " unpacked, the most that is read");
    if (!positions_.emplace(text::lower_ascii(entries[i].name), i).second)
      throw BadPackage("it holds two parts named " + entries[i].name);
  }
  if (!find("[Content_Types].xml")) return;
  const XmlText types = xml("[Content_Types].xml");
  for (const XmlElement* entry : types.children(types.root(), "Default"))
    types_by_extension_[text::lower_ascii(entry->attribute("Extension"))] = entry->attribute("ContentType");
  for (const XmlElement* entry : types.children(types.root(), "Override"))
    types_by_part_[text::lower_ascii(resolved("", entry->attribute("PartName")))] =
        entry->attribute("ContentType");
}

std::optional<std::size_t> PackageReader::find(std::string_view part) const {
  const auto found = positions_.find(text::lower_ascii(part));
  return found == positions_.end() ? std::nullopt : std::optional(found->second);
}

std::size_t PackageReader::position_of(const std::string& part) const {
  const auto position = find(part);
  if (!position) throw BadPackage("its part " + part + " is missing");
  return *position;
}

std::string PackageReader::read(const std::string& part) const {
  const std::size_t position = position_of(part);
  const std::uint64_t size = archive_.entries()[position].size;
  if (size > kLongestRead)
    throw BadPackage("its part " + part + " is " + mebibytes(size) + " long; at most " +
                     mebibytes(kLongestRead) + " are read");
  return archive_.read(position);
}

std::string PackageReader::read_beginning(const std::string& part) const {
  const auto position = find(part);
  return position ? archive_.read(*position, std::size_t{64} << 10) : "";
}

XmlText PackageReader::xml(const std::string& part, int depth) const {
  std::string text = read(part);
  return named(part, [&] { return XmlText(std::move(text), depth); });
}

void PackageReader::read_through(const std::string& part,
                                 const std::function<void(std::string_view piece, bool last)>& take) const {
  const std::size_t position = position_of(part);
  named(part, [&] { archive_.read_through(position, take); });
}

std::vector<PartLink> PackageReader::links(const std::string& part) const {
  std::vector<PartLink> links;
  const std::string name = relationships_of(part);
  if (!find(name)) return links;
  const XmlText list = xml(name);
  for (const XmlElement* link : list.children(list.root(), "Relationship")) {
    const bool outside = link->attribute("TargetMode") == "External";
    links.push_back({link->attribute("Id"), link->attribute("Type"),
                     outside ? "" : resolved(part, link->attribute("Target"))});
  }
  return links;
}

std::string PackageReader::content_type(const std::string& part) const {
  const std::string name = text::lower_ascii(part);
  if (const auto found = types_by_part_.find(name); found != types_by_part_.end()) return found->second;
  const auto found = types_by_extension_.find(name.substr(name.rfind('.') + 1));
  return found == types_by_extension_.end() ? "" : found->second;
}

std::vector<bool> PackageReader::reachable(const std::set<std::size_t>& without) const {
  std::vector<bool> seen(archive_.entries().size());
  std::vector<std::string> open{""};
  while (!open.empty()) {
    const std::string from = std::move(open.back());
    open.pop_back();
    if (const auto list = find(relationships_of(from))) seen[*list] = true;
    for (const PartLink& link : links(from)) {
      const auto target = find(link.target);
      if (!target || seen[*target]) continue;
      seen[*target] = true;
      if (!without.contains(*target)) open.push_back(link.target);
    }
  }
  return seen;
}

}  // namespace ordvane::xlsx
