// Files that appear whole or not at all: written beside their place, flushed to disk, renamed.
#pragma once

#include <filesystem>
#include <functional>
#include <string_view>

#include "xlsx/byte_sink.h"
#include "xlsx/file_system.h"

namespace ordvane::xlsx {

struct WholeFileOptions {
  bool replace = true;           // a file that is there; false: fail for it
  std::function<void()> before;  // called last before the rename; what it throws leaves the file unwritten
  FileSystem* files = nullptr;   // null: the system's own
  bool guarded = false;          // the caller has the file open and locked, and has looked at it
};

// Where a file really is: links are followed, so that a link to a file stays one.
std::filesystem::path place_of(const std::filesystem::path& path);

// Keeps mode, owner, extended attributes (access lists are some) and symbolic links of a file that is there;
// one that is read-only or that another program has open is refused. On any failure, host::Error with
// errc::kHostRefused, file name and reason; what was at `path` is still there then and nothing else is left.
// What earlier processes left unfinished beside `path` when they were killed is removed.
void write_whole(const std::filesystem::path& path, std::string_view bytes,
                 const WholeFileOptions& options = {});
// The same with bytes that come piece by piece: `content` is called once, with what writes a piece. What it
// throws comes out of the call.
using WritePiece = std::function<void(std::string_view)>;
void write_whole_pieces(const std::filesystem::path& path,
                        const std::function<void(const WritePiece& write)>& content,
                        const WholeFileOptions& options = {});
// The same with bytes that are written over while the file is made.
void write_whole_file(const std::filesystem::path& path, const std::function<void(ByteSink& file)>& content,
                      const WholeFileOptions& options = {});

}  // namespace ordvane::xlsx
