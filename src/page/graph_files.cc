#include "page/graph_files.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <system_error>
#include <tuple>
#include <utility>

#include "host/error.h"
#include "page/charts.h"
#include "text/edit.h"
#include "text/system_reasons.h"
#include "text/utf8.h"
#include "unicode/names.h"
#include "xlsx/whole_file.h"

namespace ordvane::page {
namespace {

constexpr const char* kConverter = "rsvg-convert";
constexpr std::size_t kLongestName = 80;  // characters

struct Graph {
  std::string name;  // of its file, without the ending
  std::string svg;
};

[[noreturn]] void fail(const std::string& description) {
  throw host::Error(host::errc::kHostRefused, description);
}

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using TemporaryFile = std::unique_ptr<std::FILE, CloseFile>;

TemporaryFile temporary_file() {
  TemporaryFile file(std::tmpfile());
  if (!file) fail("cannot make a temporary file for " + std::string(kConverter));
  return file;
}

std::string content_of(std::FILE* file) {
  std::string content;
  std::array<char, 65536> piece;
  std::rewind(file);
  while (const std::size_t size = std::fread(piece.data(), 1, piece.size(), file))
    content.append(piece.data(), size);
  return content;
}

// The picture that the converter makes of a graph.
std::string converted(const std::string& svg, const char* format) {
  const TemporaryFile in = temporary_file(), out = temporary_file();
  if (std::fwrite(svg.data(), 1, svg.size(), in.get()) != svg.size() || std::fflush(in.get()) != 0)
    fail("cannot hand a graph to " + std::string(kConverter));
  std::rewind(in.get());
  // Twice as many dots as pixels, sharp on slides.
  std::array<std::string, 5> words = {kConverter, "--format", format, "--zoom",
                                      format == std::string("png") ? "2" : "1"};
  std::array<char*, 6> arguments = {};
  std::transform(words.begin(), words.end(), arguments.begin(),
                 [](std::string& word) { return word.data(); });
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fileno(in.get()), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, fileno(out.get()), STDOUT_FILENO);
  pid_t child = 0;
  const int error = posix_spawnp(&child, kConverter, &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  if (error != 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
    fail(std::string(kConverter) + " could not make a picture of a graph");
  return content_of(out.get());
}

std::vector<Graph> graphs_of(const Views& views, const std::optional<reports::BarLabels>& labels) {
  const embedded::ReportOptions& options = views.options();
  const GraphLook look{.in_page = false, .id = "", .labels = labels};
  using Draw = std::string (*)(const Views&, const View&, const GraphLook&);
  std::vector<Graph> graphs;
  std::vector<std::string> taken;
  for (const View& view : views.all())
    for (const auto& [wanted, name, draw] : std::initializer_list<std::tuple<bool, const char*, Draw>>{
             {options.tornado, "tornado", tornado},
             {options.spider, "spider", spider},
             {options.sensitivity, "sensitivity", sensitivity}}) {
      if (!wanted) continue;
      std::string svg = draw(views, view, look);
      if (!svg.empty())
        graphs.push_back({graph_file_name(view.name, name, taken), svg_file(svg, palette_of(options))});
    }
  return graphs;
}

}  // namespace

std::string graph_file_name(const std::string& output, const std::string& graph,
                            std::vector<std::string>& taken) {
  constexpr std::string_view kUnsafe = " \"*/:<>?\\|'`$&;!#%{}~^,";
  std::string safe;
  text::for_each_character(
      text::cut_to(output, kLongestName), [&](const text::CodePoint& letter, std::string_view bytes) {
        const bool is_safe =
            letter.valid && !text::is_control(letter.code) && kUnsafe.find(bytes) == std::string_view::npos;
        if (is_safe)
          safe += bytes;
        else if (!safe.ends_with('-'))
          safe += '-';
      });
  safe = std::string(text::trimmed(safe, "-."));
  const std::string name = (safe.empty() ? "output" : safe) + "-" + graph;
  std::string unlike = name;
  const auto is_taken = [&] {
    return std::find(taken.begin(), taken.end(), unicode::folded(unlike)) != taken.end();
  };
  for (int number = 2; is_taken(); ++number) unlike = name + "-" + std::to_string(number);
  taken.push_back(unicode::folded(unlike));
  return unlike;
}

std::string missing_for_pictures() {
  const char* const path = std::getenv("PATH");
  std::string folders = path == nullptr ? "" : path;
  while (!folders.empty()) {
    const std::size_t end = std::min(folders.find(':'), folders.size());
    if (access((folders.substr(0, end) + "/" + kConverter).c_str(), X_OK) == 0) return {};
    folders.erase(0, end + 1);
  }
  return "needs " + std::string(kConverter) +
         ", which is not installed; Debian has it in the package librsvg2-bin";
}

std::size_t write_graphs(const std::shared_ptr<const runfile::Run>& run,
                         const embedded::ReportOptions& options, const GraphFolders& folders) {
  const auto views = views_of(run, options);
  const std::vector<Graph> graphs = graphs_of(*views, folders.labels);
  xlsx::WholeFileOptions writing;
  writing.replace = options.overwrite;
  for (const auto& [folder, format] :
       {std::pair(folders.svg, "svg"), std::pair(folders.png, "png"), std::pair(folders.pdf, "pdf")}) {
    if (folder.empty()) continue;
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) fail("cannot make the folder " + folder.string() + ": " + text::system_reason(error));
    for (const Graph& graph : graphs) {
      if (options.cancelled && options.cancelled())
        throw host::Error(host::errc::kUserCancelled, "Cancelled");
      xlsx::write_whole(folder / (graph.name + "." + format),
                        format == std::string("svg") ? graph.svg : converted(graph.svg, format), writing);
    }
  }
  return graphs.size();
}

}  // namespace ordvane::page
