// The fields that a run file may have, as the reader knows them.
#pragma once

#include <string_view>
#include <vector>

#include "runfile/json_tree.h"

namespace ordvane::runfile {

enum class Section { kRun, kInput, kOutput, kLabel, kGroup, kAllGroups, kCalculation, kBreakEven };

struct KnownField {
  std::string_view name;
  bool required;
};

std::vector<KnownField> known_fields(Section section);

// The known name that `name` was probably meant to be; "" when none is near.
std::string_view nearest_field(std::string_view name, const std::vector<KnownField>& known);

// Throws BadRun for the first field of an object that is none of these.
void refuse_unknown_fields(const JsonValue& value, const std::vector<KnownField>& known);

}  // namespace ordvane::runfile
