#include "xlsx/existing_workbook.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <system_error>
#include <utility>

#include "host/error.h"
#include "unicode/names.h"
#include "xlsx/file_guard.h"
#include "xlsx/parts.h"
#include "xlsx/whole_file.h"

namespace ordvane::xlsx {
namespace {

namespace fs = std::filesystem;

constexpr off_t kLargestFile = off_t{512} << 20;
constexpr std::size_t kReadAtOnce = std::size_t{1} << 20;
constexpr const char* kWanted = "; expected an Excel workbook, .xlsx or .xlsm";

struct Format {
  std::string_view type;  // how the content type of the main part begins
  const char* name;
};
constexpr Format kOtherFormats[] = {
    {"application/vnd.ms-excel.sheet.binary.", "a binary Excel workbook (.xlsb)"},
    {"application/vnd.ms-excel.addin.", "an Excel add-in (.xlam)"},
    {"application/vnd.openxmlformats-officedocument.wordprocessingml.", "a Word document"},
    {"application/vnd.ms-word.", "a Word document"},
    {"application/vnd.openxmlformats-officedocument.presentationml.", "a PowerPoint presentation"},
    {"application/vnd.ms-powerpoint.", "a PowerPoint presentation"},
};
constexpr std::string_view kWorkbooks[] = {
    "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml",
    "application/vnd.openxmlformats-officedocument.spreadsheetml.template.main+xml",
    "application/vnd.ms-excel.sheet.macroEnabled.main+xml",
    "application/vnd.ms-excel.template.macroEnabled.main+xml",
};

bool is_true(const std::string& flag) {
  return flag == "1" || flag == "true" || flag == "on";
}

// In the directory of a compound file names are UTF-16.
bool holds_utf16(std::string_view bytes, std::string_view name) {
  std::string wide;
  for (const char c : name) wide += {c, '\0'};
  return bytes.find(wide) != bytes.npos;
}

[[noreturn]] void cannot_read(const fs::path& path, int error) {
  throw FileError(path, "cannot read", error);
}

}  // namespace

// The file, open for reading and locked.
class ExistingWorkbook::File {
 public:
  File(FileSystem& files, const ExistingWorkbook& owner)
      : files_(files), owner_(owner), place_(place_of(owner.path())) {
    check_kind();
    refuse_for(why_open_elsewhere(place_));
    handle_ = files_.open(place_.string(), O_RDONLY);
    if (handle_ < 0) cannot_read(owner_.path(), errno);
    try {
      lock();
    } catch (...) {
      files_.close(handle_);
      throw;
    }
  }
  ~File() { files_.close(handle_); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  std::string read(const std::function<void()>& each) {
    if (before_.st_size > kLargestFile) owner_.refuse("it is larger than 512 MiB, the most that is read");
    std::string bytes;
    bytes.resize(static_cast<std::size_t>(before_.st_size) + 1);  // one more, to see the end
    std::size_t size = 0;
    while (size < bytes.size()) {
      each();
      const ssize_t count =
          files_.read(handle_, bytes.data() + size, std::min(kReadAtOnce, bytes.size() - size));
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) cannot_read(owner_.path(), errno);
      if (count == 0) break;
      size += static_cast<std::size_t>(count);
    }
    if (size != static_cast<std::size_t>(before_.st_size)) owner_.refuse("it changed while it was read");
    bytes.resize(size);
    return bytes;
  }

  void check_unchanged() const {
    struct stat now {};
    const bool same = ::stat(place_.c_str(), &now) == 0 && now.st_dev == before_.st_dev &&
                      now.st_ino == before_.st_ino && now.st_size == before_.st_size &&
                      now.st_mtim.tv_sec == before_.st_mtim.tv_sec &&
                      now.st_mtim.tv_nsec == before_.st_mtim.tv_nsec;
    if (!same) owner_.refuse("another program changed it while the reports were made; nothing was written");
    refuse_for(why_open_elsewhere(place_));
  }

 private:
  void check_kind() const {
    struct stat status {};
    if (::stat(place_.c_str(), &status) != 0) {
      if (errno == ENOENT || errno == ENOTDIR) owner_.refuse("there is no such file");
      cannot_read(owner_.path(), errno);
    }
    if (S_ISDIR(status.st_mode)) owner_.refuse("it is a folder; name a workbook in it");
    if (!S_ISREG(status.st_mode)) owner_.refuse("it is no file" + std::string(kWanted));
    refuse_for(why_read_only(place_));
  }

  void refuse_for(const std::string& why) const {
    if (!why.empty()) owner_.refuse(why);
  }

  void lock() {
    refuse_for(why_locked(handle_));
    if (::fstat(handle_, &before_) != 0) cannot_read(owner_.path(), errno);
    check_unchanged();  // the lock may have been waited for on a file that another took the place of
  }

  FileSystem& files_;
  const ExistingWorkbook& owner_;
  const fs::path place_;
  int handle_ = -1;
  struct stat before_ {};
};

ExistingWorkbook::ExistingWorkbook(const fs::path& path, const OpenOptions& options)
    : path_(path),
      file_(std::make_unique<File>(options.files != nullptr ? *options.files : real_files(), *this)) {
  const auto check_cancelled = [&] {
    if (options.cancelled && options.cancelled()) throw host::Error(host::errc::kUserCancelled, "cancelled");
  };
  const std::string bytes = file_->read(check_cancelled);
  if (bytes.starts_with("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"))
    refuse(holds_utf16(bytes, "EncryptedPackage")
               ? "it is encrypted; save it without a password first"
               : "it is in the older format of Excel (.xls)" + std::string(kWanted));
  if (!bytes.starts_with("PK")) refuse("it is no workbook" + std::string(kWanted));
  try {
    package_ = std::make_unique<PackageReader>(bytes);
    read_workbook();
    package_->archive().check(check_cancelled);
  } catch (const BadPackage& error) {
    refuse(std::string("it is damaged, or no workbook: ") + error.what());
  }
}

ExistingWorkbook::~ExistingWorkbook() = default;

void ExistingWorkbook::refuse(const std::string& why) const {
  throw BadWorkbook(path_.string() + ": " + why);
}

void ExistingWorkbook::check_unchanged() const {
  file_->check_unchanged();
}

void ExistingWorkbook::read_workbook() {
  find_workbook_part();
  const XmlText workbook = package_->xml(workbook_part_);
  const XmlElement& root = workbook.root();
  if (root.space.starts_with("http://purl.oclc.org/"))
    refuse("it is a Strict Open XML workbook; save it as \"Excel Workbook (.xlsx)\" first");
  if (root.space != kMainSpace || root.name != "workbook")
    refuse("it holds no workbook" + std::string(kWanted));
  refuse_protected(workbook);
  if (const auto* properties = workbook.child(root, "workbookPr"))
    counts_from_1904_ = is_true(properties->attribute("date1904"));
  list_sheets(workbook);
  mark_reports(workbook);
}

// Refuses packages of other programs, and signed ones.
void ExistingWorkbook::find_workbook_part() {
  if (package_->find("mimetype") &&
      package_->read("mimetype").starts_with("application/vnd.oasis.opendocument."))
    refuse("it is an OpenDocument file (.ods)" + std::string(kWanted));
  for (const PartLink& link : package_->links("")) {
    if (last_part(link.type) == "officeDocument") workbook_part_ = link.target;
    if (link.type.find("/digital-signature/") != link.type.npos)
      refuse(
          "it is digitally signed, and new sheets would break the signature; take the signature away first");
  }
  const std::string type = package_->content_type(workbook_part_);
  for (const Format& format : kOtherFormats)
    if (type.starts_with(format.type)) refuse(std::string("it is ") + format.name + kWanted);
  if (std::find(std::begin(kWorkbooks), std::end(kWorkbooks), type) == std::end(kWorkbooks))
    refuse("it holds no workbook" + std::string(kWanted));
}

void ExistingWorkbook::refuse_protected(const XmlText& workbook) const {
  if (const auto* protection = workbook.child(workbook.root(), "workbookProtection");
      protection != nullptr && is_true(protection->attribute("lockStructure")))
    refuse("its structure is protected, so no sheet can be added; unprotect the workbook first");
  if (const auto* sharing = workbook.child(workbook.root(), "fileSharing");
      sharing != nullptr &&
      (sharing->has_attribute("reservationPassword") || sharing->has_attribute("hashValue")))
    refuse("it needs a password to be changed; save it without one first");
}

void ExistingWorkbook::list_sheets(const XmlText& workbook) {
  std::map<std::string, PartLink> links;
  for (PartLink& link : package_->links(workbook_part_)) {
    if (last_part(link.type) == "revisionHeaders" || last_part(link.type) == "usernames")
      refuse("several users share it, so no sheet can be added; stop sharing the workbook first");
    links.emplace(link.id, std::move(link));
  }
  if (const XmlElement* sheets = workbook.child(workbook.root(), "sheets")) {
    for (const XmlElement* sheet : workbook.children(*sheets, "sheet")) {
      const auto link = links.find(sheet->attribute("id", kReferenceSpace));
      if (link == links.end() || !package_->find(link->second.target))
        refuse("it is damaged: the part of its sheet \"" + sheet->attribute("name") + "\" is missing");
      sheets_.push_back({sheet->attribute("name"), link->second.target,
                         last_part(link->second.type) == "worksheet", false});
    }
  }
  if (sheets_.empty()) refuse("it is damaged: it has no sheets");
}

// Reports carry a name of their own, which survives that their sheet is renamed.
void ExistingWorkbook::mark_reports(const XmlText& workbook) {
  const XmlElement* names = workbook.child(workbook.root(), "definedNames");
  if (names == nullptr) return;
  for (const XmlElement* name : workbook.children(*names, "definedName")) {
    if (!unicode::same_name(name->attribute("name"), kReportMark)) continue;
    for (std::size_t i = 0; i < sheets_.size(); ++i)
      if (name->attribute("localSheetId") == std::to_string(i))
        sheets_[i].is_report = sheets_[i].is_worksheet;
  }
}

}  // namespace ordvane::xlsx
