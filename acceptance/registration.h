// Registers the library for this user, and takes it out again.
#pragma once

#include <windows.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "results.h"

namespace ordvane::acceptance {

// What this user's registry holds of the library's classes, interfaces and names.
class Registered {
 public:
  static Registered read();
  // The values that are in one and not in the other, or differ; empty: none.
  std::string difference(const Registered& other) const;
  void write_back() const;
  bool empty() const { return values_.empty(); }

 private:
  struct Value {
    DWORD type;
    std::vector<BYTE> bytes;
    bool operator==(const Value&) const = default;
  };
  void collect(HKEY parent, const std::wstring& key);

  std::map<std::pair<std::wstring, std::wstring>, Value> values_;  // by key and name
};

// The library's file in this process.
class Library {
 public:
  explicit Library(std::filesystem::path file);
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  const std::filesystem::path& file() const { return file_; }
  // For this user; under Wine, which looks classes of programs up among those of all users only, for all.
  // Throws Wrong.
  void install(bool install) const;
  bool can_unload() const;

 private:
  std::filesystem::path file_;
  HMODULE module_;
};

// Leaves it registered; `before` receives what was there.
void check_registration(Results& results, const Library& library, Registered& before);
// The last checks of all: registered no more, found through its manifest, registry as before.
void check_removal(Results& results, const Library& library, const Registered& before);

}  // namespace ordvane::acceptance
