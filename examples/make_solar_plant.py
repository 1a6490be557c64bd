#!/usr/bin/python3
"""Makes the example model solar-plant/solar-plant.xlsx: the cash flow of a solar plant over 25 years.

Usage: make_solar_plant.py [WORKBOOK.xlsx]

Inputs stand on the sheets Site and Finance, the live formulas on Cash flow, the outputs on Results. Two calls make
the same bytes. `ordvane sweep` records what-if runs of the workbook.
"""

import datetime
import io
import pathlib
import re
import sys
import zipfile

from openpyxl import Workbook
from openpyxl.styles import Alignment, Border, Font, PatternFill, Side
from openpyxl.utils import get_column_letter
from openpyxl.workbook.defined_name import DefinedName

YEARS = 25
MADE = datetime.datetime(2025, 11, 3, 9, 0, 0)

INK, QUIET, INPUT_INK = "FF22313F", "FF6B7885", "FF1F4E9E"
INPUT_FILL = PatternFill("solid", fgColor="FFFFF8E1")
HEAD_FILL = PatternFill("solid", fgColor="FFE8EEF2")
RULE = Border(top=Side(style="thin", color="FF9AA7B2"))

# Sheet -> blocks of (heading, [(defined name, label, value, unit, number format)]); every value is an input.
INPUTS = {
    "Site": [
        ("Plant", [
            ("Capacity", "Installed capacity", 2400, "kWp", "#,##0"),
            ("SpecificYield", "Specific yield", 1080, "kWh per kWp and year", "#,##0"),
            ("Availability", "Availability", 0.985, "of the year", "0.0%"),
            ("Degradation", "Module degradation", 0.004, "a year", "0.00%"),
            ("CurtailedShare", "Curtailed energy", 0, "of the yield", "0.0%"),
        ]),
        ("Schedule", [
            ("Commissioning", "Commissioning date", datetime.date(2026, 4, 1), "", "yyyy\\-mm\\-dd"),
        ]),
    ],
    "Finance": [
        ("Revenue", [
            ("FeedInPrice", "Feed-in price", 74, "€ per MWh in January 2026", "#,##0.00"),
            ("TariffReduction", "Tariff reduction until commissioning", 0.003, "a month", "0.00%"),
            ("PriceEscalation", "Price escalation", 0.005, "a year", "0.0%"),
        ]),
        ("Costs", [
            ("CapexPerKwp", "Investment", 640, "€ per kWp", "#,##0"),
            ("GridConnection", "Grid connection", 95000, "€", "#,##0"),
            ("SubsidyPerKwp", "Investment subsidy", 0, "€ per kWp", "#,##0"),
            ("OpexPerKwp", "Operation and maintenance", 13.5, "€ per kWp and year", "#,##0.00"),
            ("OpexEscalation", "Cost escalation", 0.02, "a year", "0.0%"),
        ]),
        ("Financing and tax", [
            ("DebtShare", "Debt share", 0.7, "of the investment", "0%"),
            ("InterestRate", "Interest rate", 0.041, "a year", "0.00%"),
            ("LoanYears", "Loan term", 15, "years", "0"),
            ("TaxRate", "Tax rate", 0.28, "of the profit", "0.0%"),
            ("DepreciationYears", "Depreciation", 20, "years", "0"),
            ("DiscountRate", "Discount rate", 0.05, "a year", "0.00%"),
        ]),
    ],
}

# (key, label, unit, first-year-zero formula, yearly formula, number format, is a sum). In a formula, {key} is that
# line's cell of the same year, {key-} the cell of the year before and {key:} its cells from year 1 on.
LINES = [
    ("year", "Year", "", "0", "{year-}+1", "0", False),
    ("ends", "Year of operation ends", "", "Commissioning", "EDATE(Commissioning,12*{year})", "yyyy\\-mm\\-dd", False),
    ("energy", "Energy sold", "MWh", None,
     "Capacity*SpecificYield/1000*Availability*(1-CurtailedShare)*(1-Degradation)^({year}-1)", "#,##0", False),
    ("price", "Price", "€ per MWh", None, "StartingPrice*(1+PriceEscalation)^({year}-1)", "#,##0.00", False),
    ("revenue", "Revenue", "€", None, "{energy}*{price}", "#,##0", False),
    ("opex", "Operation and maintenance", "€", None,
     "-Capacity*OpexPerKwp*(1+OpexEscalation)^({year}-1)", "#,##0", False),
    ("ebitda", "Operating result", "€", None, "{revenue}+{opex}", "#,##0", True),
    ("depreciation", "Depreciation", "€", None,
     "IF({year}<=DepreciationYears,-Investment/DepreciationYears,0)", "#,##0", False),
    ("project_tax", "Tax without debt", "€", None, "-TaxRate*MAX(0,{ebitda}+{depreciation})", "#,##0", False),
    ("project", "Cash flow of the project", "€", "-Investment", "{ebitda}+{project_tax}", "#,##0", True),
    ("debt", "Debt at year's end", "€", "Investment*DebtShare", "{debt-}+{principal}", "#,##0", False),
    ("interest", "Interest", "€", None, "-{debt-}*InterestRate", "#,##0", False),
    ("principal", "Repayment", "€", None, "IF({year}<=LoanYears,-$C{debt}/LoanYears,0)", "#,##0", False),
    ("equity_tax", "Tax with debt", "€", None,
     "-TaxRate*MAX(0,{ebitda}+{depreciation}+{interest})", "#,##0", False),
    ("equity", "Cash flow of the owners", "€", "-Investment*(1-DebtShare)",
     "{ebitda}+{equity_tax}+{interest}+{principal}", "#,##0", True),
    ("total", "Owners' cash flow to date", "€", "{equity}", "{total-}+{equity}", "#,##0", False),
    ("cover", "Debt service cover", "times", None,
     'IF({year}<=LoanYears,({ebitda}+{equity_tax})/-({interest}+{principal}),"")', "0.00", False),
    ("payback", "Months until paid back", "months", None,
     'IF(AND({total-}<0,{total}>=0),12*({year}-1-{total-}/{equity}),"")', "0.0", False),
    ("discount", "Discount factor", "", "1", "{discount-}/(1+DiscountRate)", "0.0000", False),
]

# (defined name, label, formula, unit, number format). {key} are the cells of years 0 to 25, {key:} of years 1 to 25.
RESULTS = [
    ("ProjectNPV", "Net present value", "SUMPRODUCT({project},{discount})", "€", "#,##0"),
    ("EquityIRR", "Owners' rate of return", "IRR({equity},0.08)", "a year", "0.00%"),
    ("LCOE", "Levelised cost of energy",
     "(Investment-SUMPRODUCT({opex:},{discount:}))/SUMPRODUCT({energy:},{discount:})", "€ per MWh", "#,##0.00"),
    ("PaybackDate", "Paid back on",
     'IF(COUNT({payback:})=0,"later than 25 years",EDATE(Commissioning,ROUNDUP(MIN({payback:}),0)))', "",
     "yyyy\\-mm\\-dd"),
    ("NPVOverPlan", "Net present value over plan", "ROUND(ProjectNPV,0)-PlannedNPV", "€", "#,##0;-#,##0;0"),
    ("LowestCover", "Lowest debt service cover", "MIN({cover:})", "times", "0.00"),
]

PLANNED_NPV = 170542  # the net present value of the plan the owners agreed to: that of the values above


def column(year):
    return get_column_letter(3 + year)


def title(sheet, text, note):
    sheet["A1"], sheet["A2"] = text, note
    sheet["A1"].font = Font(name="Calibri", size=16, bold=True, color=INK)
    sheet["A2"].font = Font(name="Calibri", size=10, color=QUIET)


def heading(sheet, row, text, columns):
    for c in range(1, columns + 1):
        sheet.cell(row, c).fill = HEAD_FILL
        sheet.cell(row, c).font = Font(name="Calibri", size=11, bold=True, color=INK)
    sheet.cell(row, 1, text)


def line(sheet, row, label, value, unit, number_format, is_input=False):
    sheet.cell(row, 1, label)
    cell = sheet.cell(row, 2, value)
    cell.number_format = number_format
    cell.alignment = Alignment(horizontal="right")
    beside = sheet.cell(row, 3, unit)
    beside.font, beside.alignment = Font(name="Calibri", size=10, color=QUIET), Alignment(indent=1)
    if is_input:
        cell.fill, cell.font = INPUT_FILL, Font(name="Calibri", size=11, color=INPUT_INK)
    return f"'{sheet.title}'!$B${row}"


def name_cell(book, name, address):
    book.defined_names.append(DefinedName(name, attr_text=address))


def set_up(sheet, widths, landscape=False):
    for letter, width in widths.items():
        sheet.column_dimensions[letter].width = width
    sheet.sheet_view.showGridLines = False
    sheet.page_setup.orientation = "landscape" if landscape else "portrait"
    sheet.page_setup.paperSize = sheet.PAPERSIZE_A4
    sheet.page_setup.fitToHeight = 0
    sheet.sheet_properties.pageSetUpPr.fitToPage = True


def write_inputs(book):
    notes = {"Site": "What is built, and where. Shaded cells are inputs.",
             "Finance": "Prices, costs and financing. Shaded cells are inputs."}
    for sheet_name, blocks in INPUTS.items():
        sheet = book.create_sheet(sheet_name)
        title(sheet, sheet_name, notes[sheet_name])
        row = 4
        for text, entries in blocks:
            heading(sheet, row, text, 3)
            for name, label, value, unit, number_format in entries:
                row += 1
                name_cell(book, name, line(sheet, row, label, value, unit, number_format, is_input=True))
            row += 2
        set_up(sheet, {"A": 38, "B": 16, "C": 28})


def write_cash_flow(book):
    sheet = book.create_sheet("Cash flow")
    title(sheet, "Cash flow", "Yearly cash flow from commissioning, in euros of the day unless another unit is given.")
    heading(sheet, 4, "Before the first year", 3 + YEARS)
    derived = [
        ("Investment", "Investment after subsidy", "=Capacity*(CapexPerKwp-SubsidyPerKwp)+GridConnection", "€", "#,##0"),
        ("StartingPrice", "Price at commissioning",
         "=FeedInPrice*(1-TariffReduction)^((YEAR(Commissioning)-2026)*12+MONTH(Commissioning)-1)", "€ per MWh",
         "#,##0.00"),
    ]
    for row, (name, label, formula, unit, number_format) in enumerate(derived, start=5):
        name_cell(book, name, line(sheet, row, label, formula, unit, number_format))
    heading(sheet, 8, "Year by year", 3 + YEARS)

    rows = {key: row for row, (key, *_) in enumerate(LINES, start=9)}

    def resolved(formula, year):
        def place(match):
            before, key, back = match.groups()
            letter = before or column(year - (1 if back else 0))
            return f"{letter}{rows[key]}"
        return "=" + re.sub(r"(\$C)?\{(\w+)(-?)\}", place, formula)

    for key, label, unit, first, yearly, number_format, is_sum in LINES:
        row = rows[key]
        sheet.cell(row, 1, label)
        sheet.cell(row, 2, unit).font = Font(name="Calibri", size=10, color=QUIET)
        for year in range(YEARS + 1):
            formula = first if year == 0 else yearly
            cell = sheet.cell(row, 3 + year)
            if formula is not None:
                cell.value = resolved(formula, year)
            cell.number_format = number_format
            cell.alignment = Alignment(horizontal="right")
        if is_sum or key == "year":
            for cell in sheet[row]:
                cell.font = Font(name="Calibri", size=11, bold=True, color=INK)
                cell.border = RULE if is_sum else Border()
    set_up(sheet, {"A": 34, "B": 12, **{column(y): 11.5 for y in range(YEARS + 1)}}, landscape=True)
    sheet.freeze_panes = "C10"
    sheet.print_title_rows, sheet.print_title_cols = "9:9", "A:B"
    return rows


def write_results(book, rows):
    sheet = book.create_sheet("Results", 0)
    title(sheet, "Solar plant", "Cash flow of a ground-mounted solar plant over 25 years.")
    heading(sheet, 4, "Results", 3)
    row = 4
    for name, label, formula, unit, number_format in RESULTS:
        row += 1

        def place(match):
            key, later = match.groups()
            return f"'Cash flow'!${column(1 if later else 0)}${rows[key]}:${column(YEARS)}${rows[key]}"
        formula = "=" + re.sub(r"\{(\w+)(:?)\}", place, formula)
        name_cell(book, name, line(sheet, row, label, formula, unit, number_format))
    heading(sheet, row + 2, "Plan", 3)
    name_cell(book, "PlannedNPV",
              line(sheet, row + 3, "Planned net present value", PLANNED_NPV, "€", "#,##0"))
    set_up(sheet, {"A": 38, "B": 20, "C": 16})


def save_same_bytes(book, path):
    """Saves without the clock: openpyxl stamps the zip entries and the document with the time of saving."""
    stamped = io.BytesIO()
    book.save(stamped)
    with zipfile.ZipFile(stamped) as source, zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as target:
        for entry in source.infolist():
            data = source.read(entry)
            if entry.filename == "docProps/core.xml":
                data = re.sub(rb"(<dcterms:modified[^>]*>)[^<]*", rb"\g<1>" + MADE.isoformat().encode() + b"Z", data)
            fixed = zipfile.ZipInfo(entry.filename, MADE.timetuple()[:6])
            fixed.compress_type = zipfile.ZIP_DEFLATED
            fixed.external_attr = 0o644 << 16
            target.writestr(fixed, data)


def main():
    here = pathlib.Path(__file__).resolve().parent
    path = pathlib.Path(sys.argv[1]) if len(sys.argv) > 1 else here / "solar-plant" / "solar-plant.xlsx"
    book = Workbook()
    book.remove(book.active)
    book.properties.creator, book.properties.title = "Ordvane", "Solar plant"
    book.properties.created = MADE
    write_inputs(book)
    rows = write_cash_flow(book)
    write_results(book, rows)
    book.active = 0
    save_same_bytes(book, path)


if __name__ == "__main__":
    main()
