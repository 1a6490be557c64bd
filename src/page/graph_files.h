// Graphs as files of their own, for papers and slides.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "page/views.h"

namespace ordvane::page {

// Folders that files go into, one a graph; empty: none of this kind. They are made where they are missing.
struct GraphFolders {
  std::filesystem::path svg, png, pdf;
  // At the ends of a tornado's bars; none: as on pages.
  std::optional<reports::BarLabels> labels = {};
  bool any() const { return !svg.empty() || !png.empty() || !pdf.empty(); }
};

// What a file of one graph is called, without its ending: "Net-present-value-tornado". Any name of an output
// gives one that every file system takes; `taken`, folded, are the names that it must differ from, and gets
// it.
std::string graph_file_name(const std::string& output, const std::string& graph,
                            std::vector<std::string>& taken);

// Whether PNG and PDF can be made here; else says what is missing.
std::string missing_for_pictures();

// The tornado, spider and sensitivity graphs that the options choose, of every output. Returns how many
// graphs there are. Throws host::Error for a file that is there already, unless the options say to overwrite
// it, and for what cannot be written; files written before stay.
std::size_t write_graphs(const std::shared_ptr<const runfile::Run>& run,
                         const embedded::ReportOptions& options, const GraphFolders& folders);

}  // namespace ordvane::page
