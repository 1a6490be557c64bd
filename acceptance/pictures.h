// What Excel draws: each chart of a workbook as a picture, the whole of it as a PDF.
#pragma once

#include <filesystem>

#include "excel.h"

namespace ordvane::acceptance {

// `ours`: the folder of this project's own renderings, a file a sheet: "Tornado B5.svg".
void check_pictures(Results& results, const LateBound& workbook, const std::filesystem::path& folder,
                    const std::filesystem::path& ours);

}  // namespace ordvane::acceptance
