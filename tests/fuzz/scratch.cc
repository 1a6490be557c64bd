#include "fuzz/scratch.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <string>

#include "xlsx/archive.h"
#include "xlsx/xml_text.h"

namespace ordvane::fuzz {
namespace {

namespace fs = std::filesystem;

class Folder {
 public:
  Folder() : path_(fs::temp_directory_path() / ("ordvane-fuzz-" + std::to_string(::getpid()))) {
    fs::create_directories(path_);
  }
  ~Folder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

}  // namespace

fs::path scratch(const char* name) {
  static const Folder kFolder;
  return kFolder.path() / name;
}

fs::path scratch(const char* name, std::string_view bytes) {
  fs::path file = scratch(name);
  std::ofstream(file, std::ios::binary) << bytes;
  return file;
}

Halves halves(std::string_view bytes, std::string_view mark) {
  const std::size_t end = std::min(bytes.find(mark), bytes.size());
  return {bytes.substr(0, end), bytes.substr(std::min(end + mark.size(), bytes.size()))};
}

void must_be_readable(const fs::path& run) {
  try {
    runfile::read_run(run);
  } catch (const runfile::BadRun& refusal) {
    throw std::logic_error("a run that was written is refused: " + std::string(refusal.what()));
  }
}

bool is_well_formed(std::string_view package) {
  const xlsx::OpenArchive archive(package);
  for (std::size_t i = 0; i < archive.entries().size(); ++i) {
    const std::string& name = archive.entries()[i].name;
    if (!name.ends_with(".xml") && !name.ends_with(".rels")) continue;
    try {
      const xlsx::XmlText part(archive.read(i));
    } catch (const xlsx::BadPackage&) {
      return false;
    }
  }
  return true;
}

}  // namespace ordvane::fuzz
