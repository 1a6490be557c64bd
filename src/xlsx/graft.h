// Puts report sheets into a workbook file that is there.
//
// Every part of the package stays byte for byte what it was, apart from those that list sheets, styles,
// content types and the order of calculation; these are changed in their text, not written anew. A sheet
// takes the place of the sheet of the same name, whose parts go with it unless something else refers to them;
// all others follow the last sheet. The workbook opens on the sheet that it opened on before.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "office/book.h"
#include "xlsx/existing_workbook.h"
#include "xlsx/save.h"

namespace ordvane::xlsx {

// The package with the sheets at these positions of `book` in it. Called once for an opened workbook. Throws
// BadWorkbook for a workbook that cannot take them, host::Error for what a package cannot hold.
std::string grafted(ExistingWorkbook& existing, const office::BookModel& book,
                    const std::vector<std::size_t>& sheets, const SaveOptions& options = {});

// Writes it in the place of the file, which keeps its mode, owner and links to it. Not done when another
// program has opened or changed the file meanwhile. On any failure the file is what it was, and nothing else
// is left.
void graft(ExistingWorkbook& existing, const office::BookModel& book, const std::vector<std::size_t>& sheets,
           const SaveOptions& options = {});

}  // namespace ordvane::xlsx
