// Packages put together part by part.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "xlsx/archive.h"

namespace ordvane::test {

// Throws host::Error for names that no archive can hold.
inline std::string archive_of(const std::vector<std::pair<std::string, std::string>>& parts) {
  xlsx::StringSink out;
  xlsx::ArchiveWriter archive(out);
  for (const auto& [name, content] : parts) {
    archive.begin(name, xlsx::kFirstDate);
    archive.add(xlsx::compress(content, true));
    archive.end();
  }
  archive.finish();
  return out.take();
}

}  // namespace ordvane::test
