#!/usr/bin/python3
"""Random formulas calculated twice: by the evaluator and by LibreOffice, which has the last word on every bit.

Usage: referee.py PROGRAM [--seed 1] [--minutes 1] [--functions SUM,IRR] [--batch 150] [--all]

PROGRAM is calculate_workbook of the build. Every round makes a workbook of one sheet of wild values and one of formulas,
one a cell: calls of functions, with blocks and with expressions of blocks, some of them array formulas. Of eight rounds two have
calls within calls instead, two a sheet of formulas that feed each other, and one the ways to refer to cells: names, tables,
several sheets, whole columns, blocks that are joined, cut or found. Prints how many formulas were tried and how many
differ, and for each function the shortest formula that does (--all: every one). A seed always gives the same formulas. Ends
with status 1 if any differed.

Two errors count as equal whatever their names, except for #N/A: LibreOffice's errors are finer than Excel's and divided in
another way. What LibreOffice 7.4 does not know is not tried.
"""

import argparse
import collections
import math
import os
import random
import re
import struct
import subprocess
import sys
import tempfile
import time
import zlib

from libreoffice import ERRORS, Error, Formula, LibreOffice, TookTooLong, column_name, write_workbook

# For each function its arguments, one letter each; those in parentheses may be left out, "*" repeats the letter before it.
#   x any number  s number of moderate size  u positive number  i small whole number  p share from 0 to 1  b boolean
#   t text  d date  j year  y months  h text of a date or number  k condition  r block of wild values  n block of numbers  f cash flows
#   g dates  w one of the weekday numbers  q rate of interest  m number of periods  v any value  o sorted numbers  l lines
#   of numbers  F FALSE  S C D dates one after the other  Q coupons a year
#   B basis of counting days  U unit  I what INFO knows
FUNCTIONS = {
    # rounding and arithmetic
    "ROUND": "xi", "ROUNDUP": "xi", "ROUNDDOWN": "xi", "TRUNC": "x(i)", "INT": "x", "MROUND": "ss", "CEILING": "ss",
    "FLOOR": "ss", "CEILING.MATH": "s(s)(b)", "FLOOR.MATH": "s(s)(b)", "EVEN": "s", "ODD": "s", "MOD": "ss",
    "QUOTIENT": "ss", "ABS": "x", "SIGN": "x", "SQRT": "x", "SQRTPI": "u", "POWER": "ss", "EXP": "s", "LN": "u",
    "LOG": "u(u)", "LOG10": "u", "FACT": "i", "FACTDOUBLE": "i", "COMBIN": "ii", "COMBINA": "ii", "PERMUT": "ii",
    "PERMUTATIONA": "ii", "GCD": "ii", "LCM": "ii", "SIN": "s", "COS": "s", "TAN": "s", "ASIN": "p", "ACOS": "p",
    "ATAN": "s", "ATAN2": "ss", "SINH": "s", "COSH": "s", "TANH": "s", "ASINH": "s", "ACOSH": "u", "ATANH": "p",
    "COT": "s", "COTH": "s", "ACOT": "s", "ACOTH": "s", "SEC": "s", "SECH": "s", "CSC": "s", "CSCH": "s",
    "DEGREES": "x", "RADIANS": "x", "PI": "", "MULTINOMIAL": "ii", "SERIESSUM": "siin", "ERF": "s", "ERFC": "s",
    "DELTA": "s(s)", "GESTEP": "s(s)", "SUM": "r(x)(r)", "PRODUCT": "n(s)", "SUMSQ": "n(s)", "SUMPRODUCT": "r",
    "SUMX2MY2": "nn", "SUMX2PY2": "nn", "SUMXMY2": "nn", "SUBTOTAL": "wn", "SUMIF": "rk(n)", "COUNTIF": "rk",
    "AVERAGEIF": "rk(n)", "SUMIFS": "nrk", "COUNTIFS": "rk", "AVERAGEIFS": "nrk", "MAXIFS": "nrk", "MINIFS": "nrk",
    "COUNTBLANK": "r", "MDETERM": "4", "MINVERSE": "4", "MMULT": "44", "BASE": "ii", "DECIMAL": "hi", "BITAND": "ii",
    "BITOR": "ii", "BITXOR": "ii", "BITLSHIFT": "ii", "BITRSHIFT": "ii", "ROMAN": "i", "ARABIC": "t",
    # samples
    "MIN": "r(x)", "MAX": "r(x)", "AVERAGE": "r(x)", "COUNT": "r(v)", "COUNTA": "r(v)", "MEDIAN": "n", "MODE": "n",
    "STDEV": "n(s)", "STDEVP": "n", "STDEVA": "n", "VAR": "n(s)", "VARP": "n", "VARA": "r", "VARPA": "r", "STDEV.S": "n",
    "VAR.P": "n", "DEVSQ": "n", "AVEDEV": "n", "GEOMEAN": "n", "HARMEAN": "n", "SKEW": "n", "SKEW.P": "n", "KURT": "n",
    "LARGE": "ni", "SMALL": "ni", "PERCENTILE": "np", "PERCENTILE.EXC": "np", "QUARTILE": "ni", "QUARTILE.EXC": "ni",
    "RANK": "sn(b)", "RANK.AVG": "sn(b)", "PERCENTRANK": "ns", "PERCENTRANK.EXC": "ns", "TRIMMEAN": "np",
    "STANDARDIZE": "sss", "MAXA": "r", "MINA": "r", "AVERAGEA": "r", "CORREL": "nn", "PEARSON": "nn", "COVAR": "nn",
    "COVARIANCE.S": "nn", "SLOPE": "nn", "INTERCEPT": "nn", "FORECAST": "snn", "RSQ": "nn", "STEYX": "nn",
    "FREQUENCY": "nn",
    # distributions
    "NORMDIST": "ssub", "NORMSDIST": "s", "NORMINV": "psu", "NORMSINV": "p", "NORM.DIST": "ssub", "NORM.S.DIST": "sb",
    "LOGNORMDIST": "usu", "LOGINV": "psu", "EXPONDIST": "uub", "WEIBULL": "uuub", "CONFIDENCE": "pui", "PHI": "s",
    "GAUSS": "s", "FISHER": "p", "FISHERINV": "s", "BINOMDIST": "iipb", "POISSON": "iub", "CRITBINOM": "ipp",
    "NEGBINOMDIST": "iip", "HYPGEOMDIST": "iiii", "TDIST": "uii", "TINV": "pi", "CHIDIST": "ui", "CHIINV": "pi",
    "FDIST": "uii", "FINV": "pii", "GAMMADIST": "uuub", "GAMMAINV": "puu", "BETADIST": "puu", "BETAINV": "puu",
    "GAMMALN": "u", "GAMMA": "s", "TTEST": "nnii", "FTEST": "nn", "ZTEST": "ns",
    # money
    "PV": "qms(s)(b)", "FV": "qms(s)(b)", "PMT": "qms(s)(b)", "NPER": "qss(s)(b)", "RATE": "mss(s)(b)(q)",
    "IPMT": "qims(s)(b)", "PPMT": "qims(s)(b)", "CUMIPMT": "qmuiib", "CUMPRINC": "qmuiib", "ISPMT": "qims",
    "EFFECT": "qm", "NOMINAL": "qm", "RRI": "muu", "PDURATION": "quu", "FVSCHEDULE": "sn", "NPV": "qf", "IRR": "f(q)",
    "MIRR": "fqq", "XNPV": "qfg", "XIRR": "fg(q)", "SLN": "uui", "SYD": "uuii", "DDB": "uuii(u)", "DB": "uuii(i)",
    "VDB": "uuiii(u)(b)",
    # dates
    "DATE": "jyi", "YEAR": "d", "MONTH": "d", "DAY": "d", "HOUR": "d", "MINUTE": "d", "SECOND": "d", "TIME": "iii",
    "EDATE": "di", "EOMONTH": "di", "YEARFRAC": "dd(i)", "DATEDIF": "ddz", "DAYS360": "dd(b)", "DAYS": "dd",
    "NETWORKDAYS": "dd(g)", "NETWORKDAYS.INTL": "dd(w)(g)", "WORKDAY": "di(g)", "WORKDAY.INTL": "di(w)(g)",
    "WEEKDAY": "d(w)", "WEEKNUM": "d(w)", "ISOWEEKNUM": "d", "DATEVALUE": "h", "TIMEVALUE": "h",
    # texts
    "LEFT": "t(i)", "RIGHT": "t(i)", "MID": "tii", "LEN": "t", "UPPER": "t", "LOWER": "t", "PROPER": "t", "TRIM": "t",
    "CLEAN": "t", "FIND": "tt(i)", "SEARCH": "tt(i)", "SUBSTITUTE": "ttt(i)", "REPLACE": "tiit", "REPT": "ti",
    "CONCATENATE": "tv", "CONCAT": "tr", "TEXTJOIN": "tbr", "EXACT": "tt", "CHAR": "i", "CODE": "t", "UNICODE": "t",
    "VALUE": "h", "NUMBERVALUE": "h", "FIXED": "s(i)(b)", "DOLLAR": "s(i)", "TEXT": "sa", "T": "v", "N": "v",
    # lines and units
    "LINEST": "nn(b)(b)", "LOGEST": "nn(b)(b)", "TREND": "nn(n)", "GROWTH": "nn(n)", "CONVERT": "sUU",
    # securities
    "ACCRINT": "SDCquQ(B)", "ACCRINTM": "SDqu(B)", "AMORDEGRC": "uCCuip(B)", "AMORLINC": "uCCuip(B)", "COUPDAYBS": "SDQ(B)", "COUPDAYS": "SDQ(B)",
    "COUPDAYSNC": "SDQ(B)", "COUPNCD": "SDQ(B)", "COUPNUM": "SDQ(B)", "COUPPCD": "SDQ(B)", "DISC": "SDuu(B)",
    "DOLLARDE": "si", "DOLLARFR": "si", "DURATION": "SDqqQ", "INTRATE": "SDuu(B)", "MDURATION": "SDqqQ",
    "PRICE": "SDqquQ(B)", "PRICEDISC": "SDqu(B)", "PRICEMAT": "CDSqq(B)", "RECEIVED": "SDuq(B)", "YIELD": "SDquuQ(B)",
    "YIELDDISC": "SDuu(B)", "YIELDMAT": "CDSqu(B)",
    # lookup and kinds
    "HLOOKUP": "sliF", "VLOOKUP": "soi(b)", "LOOKUP": "so", "MATCH": "so(i)", "INDEX": "ni", "CHOOSE": "ivv",
    "ADDRESS": "ii(i)", "ROWS": "r", "COLUMNS": "r", "ISERROR": "v", "ISERR": "v", "ISNA": "v", "ISTEXT": "v",
    "ISNONTEXT": "v", "ISBLANK": "v", "ISEVEN": "s", "ISODD": "s", "ERROR.TYPE": "v", "IFERROR": "vv", "IFNA": "vv",
    "IF": "bvv", "AND": "bb", "OR": "bb", "NOT": "b", "XOR": "bb", "IFS": "bvbv", "SWITCH": "vvvv", "INFO": "I",
}

# Functions that came after the file format and are written with a prefix.
PREFIXED = {
    "ACOT", "ACOTH", "ARABIC", "BASE", "BITAND", "BITLSHIFT", "BITOR", "BITRSHIFT", "BITXOR", "CEILING.MATH", "COMBINA",
    "CONCAT", "COT", "COTH", "COVARIANCE.S", "CSC", "CSCH", "DAYS", "DECIMAL", "FLOOR.MATH", "GAMMA", "GAUSS", "IFNA", "IFS",
    "ISOWEEKNUM", "MAXIFS", "MINIFS", "NORM.DIST", "NORM.S.DIST", "NUMBERVALUE", "PDURATION", "PERCENTILE.EXC",
    "PERCENTRANK.EXC", "PERMUTATIONA", "PHI", "QUARTILE.EXC", "RANK.AVG", "RRI", "SEC", "SECH", "SKEW.P", "STDEV.S",
    "SWITCH", "TEXTJOIN", "UNICODE", "VAR.P", "XOR",
}

# Functions whose last digits are not LibreOffice's, and how far they may be from them: see docs/calculation.md.
CLOSE = {name: 1e-9 for name in (
    "GAMMA GAMMALN GAMMADIST GAMMAINV BETADIST BETAINV TDIST TINV CHIDIST CHIINV FDIST FINV TTEST FTEST ZTEST GAUSS "
    "HYPGEOMDIST POISSON BINOMDIST NEGBINOMDIST STEYX MINVERSE MDETERM VDB YIELD LINEST LOGEST TREND GROWTH").split()}
CLOSE |= {"CONVERT": 1e-5, "RATE": 1e-15, "DOLLARFR": 1e-15}
LEAST = {"ZTEST": 1e-9}  # what is less apart counts as equal
DISTRIBUTIONS = ("BETADIST BETAINV BINOMDIST CHIDIST CHIINV CRITBINOM EXPONDIST FDIST FINV GAMMADIST GAMMAINV GAUSS HYPGEOMDIST "
                 "NEGBINOMDIST POISSON TDIST TINV WEIBULL CONFIDENCE ZTEST").split()


class Asked:
    """A call, its references to single cells replaced by what these hold; and the sheet of values, by row and column."""

    def __init__(self, formula, values):
        self.formula, self.values = formula, values or {}
        self.texts = re.findall(r',((?:"[^"]*"|\([^()]*\)|[^,"()])*)', "," + formula[formula.find("(") + 1:-1])

    def number(self, position):
        """Of an argument that is one: a text that reads as one too, a blank cell as 0; others and none are NaN."""
        if position >= len(self.texts):
            return math.nan
        text = self.texts[position].strip('"')
        return {"": 0.0, "TRUE": 1.0, "FALSE": 0.0}[text] if text in ("", "TRUE", "FALSE") else as_number(text)

    def numbers(self):
        return [self.number(position) for position in range(len(self.texts))]

    def has_twice(self, position):
        """Of an argument that is a block of one column: whether a number stands in it more than once."""
        block = re.fullmatch(r"V!([A-Z])(\d+):\1(\d+)", self.texts[position])
        column = [self.values.get((row, ord(block[1]) - 65)) for row in range(int(block[2]) - 1, int(block[3]))] if block else []
        numbers = [value for value in column if isinstance(value, (int, float))]
        return len(set(numbers)) < len(numbers)

    def has(self, *texts):
        return any(text in self.formula for text in texts)

    def is_text(self, position):
        return position < len(self.texts) and self.texts[position].startswith('"')

    def errors(self):
        return set(re.findall(r"1/0|NA\(\)|#[A-Z0/]+[?!A]", self.formula))


def as_number(text):
    try:
        return float(text)
    except ValueError:
        return math.nan


def only_ours_fails(_, ours, theirs):
    return isinstance(ours, Error) and not isinstance(theirs, Error)


def only_theirs_fails(_, ours, theirs):
    return isinstance(theirs, Error) and not isinstance(ours, Error)


def not_there(_, ours, theirs):
    return ours == "32767"


def only_theirs_fails_where(test):
    return lambda asked, ours, theirs: only_theirs_fails(asked, ours, theirs) and test(asked)


def only_ours_fails_where(test):
    return lambda asked, ours, theirs: only_ours_fails(asked, ours, theirs) and test(asked)


def outside_hypergeometric(asked):
    drawn, sample, marked, all_of_them = asked.numbers()[:4]
    return drawn > min(sample, marked) or drawn < max(0, sample + marked - all_of_them)


def of_huge_or_tiny(asked, *_):
    return any(abs(number) > 1e299 or 0 < abs(number) < 1e-299 for number in asked.numbers())


def of_much_freedom(asked, ours, theirs):
    return max(asked.numbers()[1:]) > 1e7 and (isinstance(theirs, Error) or math.isclose(ours, theirs, rel_tol=1e-3))


def of_no_date(asked):
    return any(not -692000 <= number <= 11274306 for number in asked.numbers()[:3] if number == number)


def texts_of_numbers(asked, ours, theirs):
    """TEXT: dates before March 1900; "General"; a point without decimals; what is no format of numbers."""
    form = asked.texts[1].strip('"')
    if form not in FORMATS:
        return True
    if form == "General":
        return math.isclose(as_number(ours), as_number(theirs), rel_tol=1e-9, abs_tol=6e-10)
    return ours == theirs + "." if form == "#.##" else any(letter in form for letter in "ymdh") and not 61 <= asked.number(0) < 2958466


def last_unit(asked, ours, theirs):
    """One unit more or less, of numbers that have more than 12 digits with the decimals that are kept."""
    number, decimals = abs(asked.number(0)), asked.number(1)
    return number >= 1 and decimals + math.log10(number) > 11 and abs(ours - theirs) < 1.5 * 10**-decimals


def yields_apart(asked, ours, theirs):
    """LibreOffice stops before it has found those of prices that are far from what is redeemed."""
    far = ours < 0 or ours * (asked.number(1) - asked.number(0)) > 2 * 365
    return far and (isinstance(theirs, Error) or math.isclose(ours, theirs, rel_tol=1e-2))


# What is meant to differ: docs/calculation.md says why. Functions, and whether their call and its two results are of the kind.
MEANT = [
    ("RANK RANK.AVG PERCENTRANK PERCENTRANK.EXC MODE", not_there),
    ("PERCENTRANK PERCENTRANK.EXC", of_huge_or_tiny),
    ("ZTEST", lambda asked, ours, theirs: asked.number(1) > 1e14),
    ("FIND SEARCH", lambda asked, ours, theirs: asked.errors() and isinstance(theirs, Error)),
    ("FIND SEARCH", only_theirs_fails_where(lambda asked: asked.texts[0] in ('""', ""))),
    ("WEEKNUM", lambda asked, ours, theirs: theirs == 1 and ours >= 52),
    ("CHAR", lambda asked, ours, theirs: not 1 <= asked.number(0) < 127),
    ("CODE", lambda asked, ours, theirs: asked.texts[0] in ('""', "") or not asked.texts[0].isascii()),
    ("SUMIF COUNTIF SUMIFS COUNTIFS AVERAGEIF AVERAGEIFS MAXIFS MINIFS", lambda asked, ours, theirs: asked.has("?", "*")),
    ("DATEVALUE", lambda asked, ours, theirs: ours == 0 and isinstance(theirs, Error) and asked.has(":")),
    ("TIMEVALUE", lambda asked, ours, theirs: ours == 0 and isinstance(theirs, Error) and not asked.has(":")),
    ("DATE", lambda asked, ours, theirs: asked.number(0) < 1900),
    ("DATE", only_theirs_fails_where(lambda asked: max(abs(asked.number(1)), abs(asked.number(2))) > 32767)),
    ("DOLLARDE DOLLARFR", of_huge_or_tiny),
    ("ERROR.TYPE", lambda asked, ours, theirs: asked.texts[0] == "#NULL!" and ours == 1),
    ("FIXED DOLLAR", only_theirs_fails_where(lambda asked: abs(asked.number(1)) > 15)),
    ("FIXED DOLLAR", lambda asked, ours, theirs: "INF" in str(theirs) and abs(asked.number(0)) >= 1e290),
    ("FREQUENCY", lambda asked, ours, theirs: theirs == 0 and asked.has_twice(1)),
    ("ISEVEN ISODD", only_theirs_fails_where(lambda asked: asked.texts[0] == "" or asked.is_text(0))),
    ("LARGE SMALL", only_theirs_fails_where(lambda asked: asked.is_text(1))),
    ("LINEST LOGEST TREND GROWTH", only_ours_fails_where(lambda asked: asked.errors() or any(map(asked.is_text, range(2, len(asked.texts)))))),
    ("NUMBERVALUE", only_theirs_fails_where(lambda asked: len(asked.texts) == 1 and asked.has(".", ","))),
    ("BASE", only_ours_fails_where(lambda asked: asked.number(0) >= 2**53)),
    ("COMBINA", lambda asked, ours, theirs: int(asked.number(0)) == int(asked.number(1)) == 0),
    ("BITAND BITOR BITXOR", only_ours_fails_where(lambda asked: any(n % 1 or n >= 2**48 for n in asked.numbers()))),
    ("BITLSHIFT BITRSHIFT", only_ours_fails_where(lambda asked: asked.number(0) % 1 or abs(asked.number(1)) > 40)),
    ("BETADIST", only_ours_fails_where(lambda asked: not 0 <= asked.number(0) <= 1)),
    ("EXPONDIST GAMMADIST WEIBULL", only_ours_fails_where(lambda asked: asked.number(0) < 0)),
    ("NEGBINOMDIST", only_ours_fails_where(lambda asked: asked.number(0) < 0 or asked.number(1) < 1)),
    ("HYPGEOMDIST", only_ours_fails_where(outside_hypergeometric)),
    ("POISSON", only_theirs_fails_where(lambda asked: asked.number(1) == 0)),
    (" ".join(DISTRIBUTIONS), of_huge_or_tiny),
    (" ".join(DISTRIBUTIONS), only_ours_fails_where(lambda asked: max(asked.numbers()) > 1e7)),
    ("BETADIST BETAINV CHIDIST CHIINV FDIST FINV TDIST TINV", of_much_freedom),
    ("TEXT", texts_of_numbers),
    ("ROUND ROUNDUP ROUNDDOWN TRUNC", lambda asked, ours, theirs: 0 < abs(asked.number(0)) < 1e-297 or asked.number(1) > 20),
    ("ROUNDUP ROUNDDOWN", last_unit),
    ("RATE", only_ours_fails_where(lambda asked: abs(asked.number(1)) < 1e-200 or asked.number(0) < 1e-9)),
    ("RATE", lambda asked, ours, theirs: abs(asked.number(1)) < 1e-200 and isinstance(ours, float) and ours < -0.999),
    ("RATE", lambda asked, ours, theirs: isinstance(ours, Error) and asked.number(2) == 0 and not isinstance(theirs, Error) and theirs > 1e9),
    ("SERIESSUM", only_ours_fails_where(lambda asked: asked.number(0) == 0)),
    ("SWITCH", lambda asked, ours, theirs: asked.errors() and isinstance(theirs, Error)),
    ("FREQUENCY", lambda asked, ours, theirs: asked.has(">1")),
    ("FREQUENCY", only_ours_fails_where(lambda asked: asked.has("*2", ">1", "-V"))),
    ("LEFT MID RIGHT", lambda asked, ours, theirs: asked.errors() and isinstance(theirs, Error)),
    ("LINEST LOGEST TREND GROWTH", only_theirs_fails_where(lambda asked: asked.has("*2", ">1", "-V"))),
    ("AND OR NPV LOOKUP", only_theirs_fails_where(lambda asked: asked.has("IF("))),
    ("SUMXMY2 SERIESSUM XNPV XIRR", lambda asked, ours, theirs: asked.has("IF(")),
    ("SWITCH", lambda asked, ours, theirs: asked.is_text(1) and (asked.number(0) == asked.number(1) or isinstance(theirs, Error))),
    ("MATCH", lambda asked, ours, theirs: asked.number(2) < 0),  # in a line that ascends
    ("CONVERT INFO", not_there),
    ("YIELD", lambda asked, ours, theirs: isinstance(ours, float) and yields_apart(asked, ours, theirs)),
    ("AMORDEGRC AMORLINC", lambda asked, ours, theirs: ours == 0 and (asked.number(4) >= 2**31 or asked.number(1) < 10000)),
    ("AMORDEGRC AMORLINC", of_huge_or_tiny),
    ("GAMMAINV", only_theirs_fails_where(lambda asked: asked.number(1) > 1e6)),
    ("GCD LCM", lambda asked, ours, theirs: asked.errors() and isinstance(ours, Error) and isinstance(theirs, Error)),
    ("REPLACE", lambda asked, ours, theirs: asked.errors() and isinstance(ours, Error) and isinstance(theirs, Error)),
    ("REPT", only_ours_fails_where(lambda asked: asked.number(1) * len(asked.texts[0]) > 32767)),
    ("AMORLINC", lambda asked, ours, theirs: theirs == 0 and 0 < asked.number(5) < 1e-9),
    ("ACCRINT ACCRINTM COUPDAYBS COUPDAYS COUPDAYSNC COUPNCD COUPNUM COUPPCD DATEDIF DAY DAYS360 DISC DURATION EDATE EOMONTH INTRATE "
     "ISOWEEKNUM MDURATION MONTH NETWORKDAYS NETWORKDAYS.INTL PRICE PRICEDISC PRICEMAT RECEIVED WEEKDAY WEEKNUM WORKDAY WORKDAY.INTL "
     "YEAR YEARFRAC YIELD YIELDDISC YIELDMAT", only_ours_fails_where(of_no_date)),
    ("EDATE EOMONTH", only_ours_fails_where(lambda asked: abs(asked.number(1)) > 20000)),
    ("WORKDAY WORKDAY.INTL", lambda asked, ours, theirs: asked.number(0) + asked.number(1) < 1
     or isinstance(theirs, float) and theirs > 2**31 and asked.number(0) + 7 * asked.number(1) < 1),
    ("MULTINOMIAL", lambda asked, ours, theirs: max(asked.numbers()) >= 2**31 - 1),
    ("VDB", only_ours_fails_where(lambda asked: asked.number(2) > 1e5)),
    ("workbook", lambda asked, ours, theirs: isinstance(ours, str) and "E+015" in ours),  # of a number that is whole in one of the two
    ("workbook", lambda asked, ours, theirs: asked.has("ROUND(") and isinstance(ours, float) and abs(ours) >= 2e14
     and abs(ours - theirs) <= math.ulp(ours)),
    ("nested", lambda asked, ours, theirs: theirs == 0 and asked.has("#This Row")),  # in the row of the headers
    ("INDEX", lambda asked, ours, theirs: ours == 0 and theirs == "" and asked.has("IF(")),
    ("MATCH", lambda asked, ours, theirs: ours == "32767" and asked.is_text(0) and asked.has("*2", "-V")),
    ("WORKDAY.INTL", only_theirs_fails_where(lambda asked: asked.number(2) % 1 != 0)),
    ("XIRR", only_ours_fails_where(lambda asked: asked.has(">1"))),
    # Two errors, of which one is to be the result.
    ("SUM SUMIF SUMIFS AVERAGE AVERAGEIF AVERAGEIFS MIN MAX PRODUCT COUNT STDEVA VARA VARPA MAXA MINA AVERAGEA",
     lambda asked, ours, theirs: isinstance(ours, Error) and isinstance(theirs, Error)),
    (" ".join(FUNCTIONS), lambda asked, ours, theirs: isinstance(ours, Error) and isinstance(theirs, Error) and len(asked.errors()) > 1),
]

# What LibreOffice does not end, or not soon: with 1E300, and with dates and coupons of millions of years.
ENDLESS = {"POISSON", "NEGBINOMDIST", "MULTINOMIAL", "HYPGEOMDIST"}
COUPONS = {"PRICE", "YIELD", "DURATION", "MDURATION", "COUPPCD", "COUPNCD", "COUPNUM", "COUPDAYS", "COUPDAYBS", "COUPDAYSNC",
           "EDATE", "EOMONTH"}

ROWS = 12  # of the blocks of values
TEXTS = ["", "a", "apple", "Banana", "x y", " pad ", "12", "1e3", "-4.5", "TRUE", "2020-02-29", "a*b", "b?", "~", "é", "MCM",
         "10%", "#N/A", "1,234.5"]
DATE_TEXTS = ["2020-01-15", "2019-12-31", "1/15/2020", "12:30", "23:59:59", "1234.5", "12%", " 7 ", "$5", "1e-3", "FF", "101",
              "x", "2021-02-30", "(3)", "-8"]
CONDITIONS = ['"<>"', '">0"', '"<2.5"', '"=1"', '"apple"', '"a?ple"', '"<>apple"', '">=b"', "1", "TRUE", '"12"', '"<=0"', '""', '"="',
              '"<>1"', "0"]
UNITS = ['"m"', '"km"', '"ft"', '"in"', '"mi"', '"kg"', '"lbm"', '"C"', '"F"', '"K"', '"kWh"', '"J"', '"MJ"', '"BTU"', '"hr"', '"day"']
FORMATS = ["0", "0.00", "#,##0", "#,##0.00", "0%", "0.0%", "0.00E+00", "000", "#.##", "yyyy-mm-dd", "dd/mm/yyyy",
           "mmm yy", "dddd", "hh:mm", "h:mm AM/PM", "[h]:mm:ss", "0;(0)", "$#,##0.00", "General", "#,##0,"]


def wild_number(random_):
    kind = random_.randrange(10)
    if kind == 0:
        return random_.choice([0, 1, -1, 2, 0.5, -0.5, 1e300, -1e300, 1e-300, 1e15, 123456789012345678, 0.1, 0.3])
    if kind < 4:
        return random_.randint(-100, 100)
    if kind < 6:
        return round(random_.uniform(-1000, 1000), random_.randrange(4))
    return random_.choice([-1, 1]) * random_.random() * 10 ** random_.randint(-6, 9)


def wild_value(random_):
    kind = random_.randrange(12)
    if kind < 7:
        return wild_number(random_)
    if kind < 9:
        return random_.choice(TEXTS)
    if kind == 9:
        return random_.random() < 0.5
    return Error(random_.choice(ERRORS)) if kind == 10 and random_.random() < 0.3 else None


def values_sheet(random_):
    """Columns A-D wild values, E-J numbers, K-L cash flows, M-N dates, O-P sorted numbers, in rows 1 to ROWS."""
    cells = {}
    for row in range(ROWS):
        for column in range(4):
            cells[row, column] = wild_value(random_)
        for column in range(4, 10):
            cells[row, column] = round(random_.uniform(-50, 100), random_.choice([0, 1, 2, 15]))
        for column in (10, 11):
            cells[row, column] = -random_.uniform(50, 300) if row == 0 else random_.uniform(-10, 90)
        for column in (12, 13):
            cells[row, column] = 43000 + row * 120 + random_.randint(0, 119)
    for column in (14, 15):
        for row, value in enumerate(sorted(random_.randint(-20, 60) for _ in range(ROWS))):
            cells[row, column] = value
    return {place: value for place, value in cells.items() if value is not None and value != ""}


def number_text(number):
    text = repr(number)
    return text.upper().replace("E+", "E") if "e" in text else text


def asked_text(formula, values):
    """The formula with the values of single cells in the place of references to them."""
    if values is None:
        return formula
    def value_text(match):
        value = values.get((int(match[2]) - 1, ord(match[1]) - 65))
        if value is None:
            return ""
        if isinstance(value, bool):
            return str(value).upper()
        return value if isinstance(value, Error) else f'"{value}"' if isinstance(value, str) else number_text(value)
    return re.sub(r"V!([A-Z])(\d+)(?![\d:])", value_text, formula)


# The share of calls, as array formulas, of which single arguments are blocks.
SPREADS = 0.1
# The share of blocks that are calculated with on their way into a function, and functions that take nothing but cells.
EXPRESSIONS = 0.15
OF_CELLS = "COUNTIF COUNTIFS SUMIF SUMIFS AVERAGEIF AVERAGEIFS MAXIFS MINIFS COUNTBLANK ROWS COLUMNS".split()


class Formulas:
    """Random calls of functions, on the sheet that values_sheet() fills."""

    def __init__(self, random_):
        self.random = random_
        self.spreads = False  # single arguments are blocks, each of whose values is calculated with

    def block(self, first, last, rows=None):
        rows = rows or self.random.randint(2, ROWS)
        column = column_name(self.random.randint(first, last))
        return f"V!{column}1:{column}{rows}"

    def argument(self, letter, rows, calculates=True):
        """`calculates`: blocks may be parts of expressions."""
        random_ = self.random
        if letter not in "rnfgo4klF" and random_.random() < 0.06:
            return random_.choice([f"V!{column_name(random_.randrange(4))}{random_.randint(1, ROWS)}", '"x"', "1/0", "TRUE",
                                   "-1", "0", "V!Z99", "1E300", "1E-300", '"3"'])
        if letter in "rnfol" and calculates and random_.random() < EXPRESSIONS:
            block = self.argument(letter, rows, False)
            return random_.choice([f"{block}*2", f"-{block}", f"{block}>1", f"IF({block}>1,{block})", f"({block})"])
        if self.spreads and letter in "xsuipdtvby" and random_.random() < 0.4:
            return self.block(0, 3, rows) if letter in "tv" else self.block(4, 9, rows)
        if letter == "s" and random_.random() < 0.3:
            return f"V!{column_name(random_.randint(4, 9))}{random_.randint(1, ROWS)}"
        return {
            "x": lambda: number_text(wild_number(random_)),
            "s": lambda: number_text(round(random_.uniform(-200, 200), random_.choice([0, 0, 1, 2, 15]))),
            "u": lambda: number_text(round(random_.uniform(0, 50) ** random_.choice([1, 2]), random_.choice([0, 1, 2, 15]))),
            "i": lambda: str(random_.choice([0, 1, 1, 2, 2, 3, 4, 5, 6, 7, 8, 10, 12, 20, 36, -1, -2, 100])),
            "j": lambda: str(random_.randint(1900, 2100)),
            "y": lambda: str(random_.randint(-14, 26)),
            "m": lambda: str(random_.choice([1, 2, 3, 5, 10, 12, 24, 60, 120, 360])),
            "q": lambda: number_text(random_.choice([round(random_.uniform(-0.05, 0.3), 4), random_.uniform(0, 0.2), 0, 0.05])),
            "p": lambda: number_text(random_.choice([random_.random(), round(random_.random(), 2), 0, 1])),
            "b": lambda: random_.choice(["TRUE", "FALSE", "0", "1"]),
            "t": lambda: '"' + random_.choice(TEXTS) + '"' if random_.random() < 0.8 else f"V!A{random_.randint(1, ROWS)}",
            "a": lambda: '"' + random_.choice(FORMATS) + '"',
            "h": lambda: '"' + random_.choice(DATE_TEXTS) + '"',
            "z": lambda: random_.choice(['"d"', '"m"', '"y"', '"ym"', '"yd"', '"md"']),
            "d": lambda: number_text(random_.choice([random_.randint(20000, 60000), random_.randint(43000, 44700),
                                                     round(random_.uniform(40000, 46000), 6)])),
            "w": lambda: str(random_.choice([1, 2, 3, 4, 5, 6, 7, 9, 11, 12, 14, 16, 17, 21])),
            "k": lambda: random_.choice(CONDITIONS),
            "v": lambda: random_.choice([f"V!{column_name(random_.randrange(8))}{random_.randint(1, ROWS)}", "1", '"t"', "1/0",
                                         "NA()", "2.5"]),
            "r": lambda: self.block(0, 9, rows),
            "n": lambda: self.block(4, 9, rows),
            "f": lambda: self.block(10, 11, rows),
            "g": lambda: self.block(12, 13, rows),
            "o": lambda: self.block(14, 15, rows),
            "l": lambda: f"V!E{rows - 1}:J{rows + 3}",
            "F": lambda: "FALSE",
            "S": lambda: str(random_.randint(40000, 42000)),
            "C": lambda: str(random_.randint(42001, 42400)),
            "D": lambda: str(random_.choice([random_.randint(42500, 50000), 43890, 44255, 44286, 44316])),
            "Q": lambda: random_.choice("1242"),
            "B": lambda: random_.choice("01234"),
            "U": lambda: random_.choice(UNITS),
            "I": lambda: random_.choice(['"system"', '"recalc"', '"numfile"', '"origin"', '"release"', '"RECALC"', '"x"']),
            "4": lambda: random_.choice(["V!E1:G3", "V!F2:H4", "V!E5:F6", "V!G7:J10"]),
        }[letter]()

    def call(self, name):
        while True:
            self.spreads = self.random.random() < SPREADS and name not in OF_CELLS
            formula = self.any_call(name)
            if self.spreads and "V!" in formula:
                formula = self.random.choice(["SUM({})", "SUM(LEN({}))", "COUNT({})"]).format(formula)
            if not (name in ENDLESS and "1E300" in formula or name in COUPONS and re.search("V![A-J]", formula)):
                return formula

    def any_call(self, name):
        arguments, rows = [], self.random.randint(2, ROWS)
        letters = FUNCTIONS[name]
        at = 0
        while at < len(letters):
            if letters[at] == "(":
                if self.random.random() < 0.5:
                    break
                arguments.append(self.argument(letters[at + 1], rows, name not in OF_CELLS))
                at += 3
            else:
                arguments.append(self.argument(letters[at], rows, name not in OF_CELLS))
                at += 1
        return f'{"_xlfn." if name in PREFIXED else ""}{name}({",".join(arguments)})'


def dependent_sheet(random_, count):
    """Formulas of cells above them and constants, in column A."""
    cells = {}

    def operand():
        if random_.random() < 0.7 and cells:
            return f"A{random_.randint(1, len(cells))}"
        return number_text(random_.choice([random_.randint(-9, 9), round(random_.uniform(-20, 20), 2), random_.random()]))

    def block():
        first = random_.randint(1, max(1, len(cells) - 1))
        return f"A{first}:A{random_.randint(first, len(cells))}"

    while len(cells) < count:
        if len(cells) < 8:
            cells[len(cells), 0] = wild_number(random_)
            continue
        make = random_.choice([
            lambda: f"{operand()}{random_.choice('+-*/+-')}{operand()}", lambda: f"({operand()}-{operand()})*{operand()}",
            lambda: f"IF({operand()}{random_.choice(['>', '<=', '=', '<>'])}{operand()},{operand()},{operand()})",
            lambda: f"{random_.choice(['SUM', 'AVERAGE', 'MIN', 'MAX', 'COUNT', 'STDEV', 'MEDIAN'])}({block()})",
            lambda: f"IFERROR({operand()}/{operand()},{operand()})", lambda: f"ROUND({operand()},{random_.randint(-1, 4)})",
            lambda: f"{operand()}&\"|\"&{operand()}", lambda: f"ABS({operand()})^{random_.choice(['0.5', '2', '1.5'])}",
            lambda: f"SUMIF({block()},\">\"&{operand()})", lambda: f"MOD({operand()},{operand()})",
            lambda: f"INDEX({block()},1)+{operand()}", lambda: f"-{operand()}%+{operand()}",
        ])
        cells[len(cells), 0] = Formula(make())
    return cells


class Evaluator:
    """The program under test, started for each workbook."""

    def __init__(self, program, time_limit=20):
        self.program, self.time_limit = program, time_limit

    def calculated(self, path):
        """By (sheet, cell name): number, str, Error, or Unsupported; None when it takes too long."""
        try:
            lines = subprocess.run([self.program, "-"], input=path + "\n", stdout=subprocess.PIPE, text=True,
                                   timeout=self.time_limit, check=True).stdout
        except subprocess.TimeoutExpired:
            return None
        values = {}
        for line in filter(None, lines.split("\n")):
            fields = line.split("\t")
            if fields[0] == "error":
                raise SystemExit(f"{path}: {fields[1]}")
            sheet, cell, kind, value = fields
            values[int(sheet), cell] = (float(value) if kind in "nb" else Error(value) if kind == "e"
                                        else Unsupported(value) if kind == "x" else shown_letters(value))
        return values


def shown_letters(text):
    """A text as it is; the program writes control characters out."""
    text = re.sub(r"\\u00([01][0-9A-F])", lambda code: chr(int(code[1], 16)), text)
    return text.replace("\\n", "\n").replace("\\t", "\t").replace("\\r", "\r")


class Unsupported(str):
    """Why a cell was not calculated."""


def agree(name, ours, theirs):
    if isinstance(theirs, Error) or isinstance(ours, Error):
        if not (isinstance(theirs, Error) and isinstance(ours, Error)):
            return False
        # Of two errors in one formula either may be the first.
        return name == "nested" or (theirs.number == 32767) == (ours == "32767")
    if isinstance(theirs, float) and isinstance(ours, float):
        if struct.pack("d", ours + 0.0) == struct.pack("d", theirs + 0.0):
            return True
        return name in CLOSE and math.isclose(ours, theirs, rel_tol=CLOSE[name], abs_tol=LEAST.get(name, 1e-14))
    return type(ours) is type(theirs) and ours == theirs or theirs is None and ours in (0.0, "")


class Report:
    def __init__(self, show_all):
        self.tried = self.unsupported = self.meant_otherwise = 0
        self.worst = collections.defaultdict(list)
        self.show_all = show_all
        self.counts = collections.Counter()

    def add(self, name, formula, ours, theirs, values):
        """Whether the two agree, to the last bit or as far as such functions are to."""
        self.tried += 1
        formula = asked_text(formula, values)
        if isinstance(ours, Unsupported):
            self.unsupported += 1
        if agree(name, ours, theirs):
            return True
        # Which of many values are meant otherwise is not looked at.
        if any(name in names.split() and (of_many(formula) or is_meant(Asked(formula, values), ours, theirs))
               for names, is_meant in MEANT):
            self.meant_otherwise += 1
        else:
            number = getattr(theirs, "number", 0)
            self.counts[name] += 1
            self.worst[name].append((len(formula), f"={formula}  ours {ours!r}, LibreOffice's {theirs!r}"
                                     + (f" ({number})" if number else "")))
        return False

    def show(self):
        for name, found in sorted(self.worst.items()):
            shown = sorted(found) if self.show_all else sorted(found)[:1]
            for _, line in shown:
                print(f"{name} ({len(found)}): {line}")
        print(f"{self.tried} formulas tried, {sum(self.counts.values())} differ, {self.unsupported} not calculated, "
              f"{self.meant_otherwise} of functions that mean something else")


def of_many(formula):
    """Whether blocks stand for single values in it."""
    return re.match(r"(SUM|COUNT)\([\w.]+\(", formula) is not None


def array_of(row, text):
    """Where the formula stands as an array formula: half of those that calculate with blocks, always the same ones, and all that
    have blocks for single values."""
    calculates = re.search(r"[*>]\d|-V", text) and zlib.crc32(text.encode()) % 2
    return f"A{row + 1}" if calculates or of_many(text) else None


class Nested:
    """Random formulas of calls within calls, some of them as array formulas: numbers of blocks, blocks of blocks."""

    def __init__(self, random_):
        self.random, self.rows = random_, random_.randint(2, 5)

    def cells(self):
        column = column_name(self.random.randint(4, 9))
        return f"V!{column}1:{column}{self.rows}"

    def constant(self):
        return self.random.choice(["0", "1", "2", "3", "-1.5", "0.1", "10", "50", "TRUE"])

    def pick(self, forms, depth):
        """One of the forms, its letters replaced: N a number, B a block, C cells, K a constant, O an operator, Q a comparison."""
        made = {"N": lambda: self.number(depth - 1), "B": lambda: self.block(depth - 1), "C": self.cells, "K": self.constant,
                "O": lambda: self.random.choice("+-*/"), "Q": lambda: self.random.choice([">", "<", "=", ">=", "<>"])}
        return re.sub(r"\b[NBCKOQ]\b", lambda letter: made[letter[0]](), self.random.choice(forms))

    def number(self, depth=3):
        if depth <= 0:
            return self.pick(["K", f"V!E{self.rows}", "SUM(C)"], depth)
        return self.pick(["SUM(B)", "MAX(B)", "MIN(B)", "AVERAGE(B)", "COUNT(B)", "SUMPRODUCT(B)", "SUMPRODUCT(B,B)",
                          "INDEX(B,2)", "MATCH(N,B,0)", "IF(N Q N,N,N)", "IF(N Q N,N)", "(N O N)", "ROUND(N,1)", "LARGE(B,1)",
                          "IFERROR(N,N)", "CHOOSE(2,N,N)", "ABS(N)", "COUNTIF(C,\">1\")", "SUMIF(C,\">1\",C)", "MEDIAN(B)",
                          "STDEV(B)", "LOOKUP(2,1/(B Q N),B)", "SUM(B,N)", "MAX(N,B)", "AND(B Q N)", "SUM(IF(B Q N,B))",
                          "MIN(IF(B Q N,B))", "INDEX(C,MATCH(N,C,0))", "SUM(N,N)", "-N", "SUM(LARGE(B,{1,2}))", "SUMSQ(B)",
                          "CORREL(B,B)", "SUMPRODUCT((B Q N)*B)", "OR(B Q N,N Q N)", "SUM(OFFSET(V!E1,0,0,2,1))",
                          "IF(OR(B Q N),N,N)", "AVERAGE(IF(B Q N,B))", "LARGE(IF(B Q N,B),1)", "PRODUCT(B)", "VLOOKUP(N,B,1,FALSE)"], depth)

    def block(self, depth):
        if depth <= 0:
            return self.cells()
        return self.pick(["C", "C", "(B O B)", "(B O N)", "(N O B)", "IF(B Q N,B,N)", "ABS(B)", "ROUND(B,1)", "-B",
                          "(B Q N)*B", "IFERROR(B/B,0)", "--(B Q B)", "CHOOSE(1,B,B)", "IF(N Q N,B,B)", "(C)", "B^2", "MOD(B,7)",
                          "INDEX(C,0)", "OFFSET(C,0,0)", "SIGN(B)"], depth)


class Referring:
    """Random formulas that refer to cells in every way that there is."""

    NAMES = {"Price": "V!$E$2", "Twice": "Price*2", "Beside": "V!E2", "RowOne": "V!E$1", "ColumnH": "V!$H1", "Block": "V!$E$1:$F$6",
             "Column": "V!$G:$G", "Found": "OFFSET(V!$E$1,0,0,COUNT(V!$O:$O)-4,1)"}
    TABLES = [("It's more", "Sales", "A1:C6", ["Name", "Qty", "Unit price"])]

    def __init__(self, random_):
        self.random = random_

    def sheets(self):
        def number():
            return round(self.random.uniform(-20, 60), self.random.randrange(3))
        more = {(row, column): number() for row in range(1, 6) for column in (1, 2)}
        more |= {(0, column): name for column, name in enumerate(self.TABLES[0][3])}
        return {"It's more": more} | {
            name: {(row, column): number() for row in range(5) for column in (1, 2) if self.random.random() < 0.9} for name in ("P", "Q")}

    def corner(self, columns, first, last):
        pick = self.random.choice
        return f"{pick(['', '$'])}{pick(columns)}{pick(['', '$'])}{self.random.randint(first, last)}"

    def cell(self):
        return self.random.choice([
            f"V!{self.corner('EFGHIJ', 1, 12)}", f"'It''s more'!{self.corner('BC', 2, 6)}", f"Q!{self.corner('BC', 1, 5)}", "Price", "twice",
            "Beside", "RowOne", "ColumnH", f"INDEX({self.block(False)},1,1)", f'INDIRECT("V!E"&{self.random.randint(1, 9)})',
            'INDIRECT("V!R2C5",FALSE)', f"OFFSET(V!E1,{self.random.randint(0, 4)},1)"])

    def block(self, may_choose=True):
        first, last = sorted(self.random.sample("EFGHIJ", 2))
        top = self.random.randint(1, 5)
        end = top + self.random.randint(0, 5)
        chosen = [f"IF({self.cell()}>20,V!{first}{top}:{last}{end},Block)",
                  f"CHOOSE(2,Block,V!{first}{top}:{first}{end})"] if may_choose else []
        return self.random.choice([
            f"V!${first}${top}:{last}{end}", f"V!{last}{end}:{first}{top}", f"V!{first}:{last}", f"V!{top}:{end}", "Block", "Column", "Found",
            "Sales[Qty]", "sales[[Qty]:[Unit price]]", "Sales[[#All],[Qty]]", f"V!{first}{top}:INDEX(V!{first}:{first},{end})",
            f"OFFSET(V!{first}{top},0,0,{end - top + 1},2)", f'INDIRECT("V!{first}{top}:{last}{end}")', 'INDIRECT("Block")',
            f"(V!{first}{top}:{last}{end} V!{top}:{top + 1})", "'It''s more'!B2:C6"] + chosen)

    def blocks(self):
        return self.random.choice([self.block(), "P:Q!B1:B4", "P:Q!C2", "(V!E1:E3,V!G2:H5)", "(Block,V!J1:J3)"])

    def formula(self):
        made = {"t": lambda: self.random.choice("SUM MAX MIN COUNT AVERAGE COUNTA STDEV PRODUCT SUMSQ AVERAGEA".split()),
                "c": self.cell, "b": self.block, "s": self.blocks, "o": lambda: self.random.choice("+-*/^=<")}
        form = self.random.choice([
            "t(s)", "t(s)", "t(s,c)", "c o c", "c&c", "SUMPRODUCT(b)", "ROWS(b)*100+COLUMNS(b)", "ROW(b)", "COLUMN(c)", "SUMIF(b,\">10\")",
            "COUNTIF(b,c)", "MATCH(c,V!O:O)", "VLOOKUP(c,V!O:P,2)", "INDEX(b,2,1)", "ISREF(c)", "V!E:E*2", "V!E1:E12", "V!$F$1:$F$400+1",
            "Column", "Block", "V!1:400", "b*2", "IFERROR(b+c,-1)", "LARGE(s,2)", "SUM(INDEX(b,0,1))", "SUM(b*c)", "SUBTOTAL(9,b)",
            "SUMIF(V!O:O,\"<\"&c,V!E:E)", "COUNTBLANK(b)", "HLOOKUP(c,b,1,FALSE)", "IF(c>c,t(b),t(s))", "AND(b>0)", "-c^2",
            "SUM(Sales[[#This Row],[Qty]])"])
        return re.sub(r"\b[tcbso]\b", lambda letter: made[letter[0]](), form)


def round_of_calls(random_, names, size):
    formulas = Formulas(random_)
    calls = [random_.choice(names) for _ in range(size)] if size > len(names) else names
    return [(name, formulas.call(name)) for name in calls]


def rows_read(formula):
    """The rows, from 0, of the cells of its own sheet that a formula of a dependent sheet reads."""
    return {row - 1 for first, last in re.findall(r"(?<![!A-Z$])A(\d+)(?::A(\d+))?", formula)
            for row in range(int(first), int(last or first) + 1)}


def compare(office, evaluator, sheets, formulas, path, report, **others):
    """`formulas`: for each row of the first sheet the function's name and the formula; the batch is halved when one of the two
    takes too long, until the formula that holds it up is alone: a finding when it is the evaluator that does."""
    write_workbook(path, sheets(formulas), **others)
    try:
        ours = evaluator.calculated(path)
        theirs = office.calculated(path, [("F", len(formulas) - 1, 0)])[0] if ours is not None else None
    except TookTooLong:
        theirs = None
    if theirs is None:
        if len(formulas) > 1:
            print("took too long:", len(formulas), "formulas", file=sys.stderr)
            for half in (formulas[:len(formulas) // 2], formulas[len(formulas) // 2:]):
                compare(office, evaluator, sheets, half, path, report, **others)
        elif ours is None:
            report.add(*formulas[0], "took too long", "was not asked", sheets(formulas).get("V"))
        else:
            print("LibreOffice does not end:", asked_text(formulas[0][1], sheets(formulas).get("V")), file=sys.stderr)
        return
    apart = set()  # rows in which the two differ, and those that follow from them
    for row, ((name, formula), (value,)) in enumerate(zip(formulas, theirs)):
        if formula is None:
            continue
        if apart & rows_read(formula):
            apart.add(row)
        elif not report.add(name, formula, ours.get((0, f"A{row + 1}"), Unsupported("no value")), value, sheets(formulas).get("V")):
            apart.add(row)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--minutes", type=float, default=1)
    parser.add_argument("--functions", default="")
    parser.add_argument("--batch", type=int, default=150)
    parser.add_argument("--all", action="store_true")
    options = parser.parse_args()
    names = options.functions.split(",") if options.functions else sorted(FUNCTIONS)
    report, end, seed = Report(options.all), time.monotonic() + options.minutes * 60, options.seed
    evaluator = Evaluator(options.program)
    with LibreOffice(time_limit=20) as office, tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "formulas.xlsx")
        while time.monotonic() < end:
            random_ = random.Random(seed)
            if seed % 4 == 0 and not options.functions:
                cells = dependent_sheet(random_, 400)
                listed = [("workbook", cell.text if isinstance(cell, Formula) else None) for cell in cells.values()]
                # Halves of it would be other workbooks.
                compare(office, evaluator, lambda _: {"F": cells}, listed, path, report)
            else:
                values, others, names_and_tables = values_sheet(random_), {}, {}
                listed = round_of_calls(random_, names, options.batch)
                if seed % 8 == 2 and not options.functions:
                    referring = Referring(random_)
                    others = referring.sheets()
                    names_and_tables = {"names": referring.NAMES, "tables": referring.TABLES}
                    listed = [("nested", referring.formula()) for _ in range(options.batch)]
                if seed % 4 == 1 and not options.functions:
                    nested = Nested(random_)
                    listed = [("nested", nested.number()) for _ in range(options.batch)]
                compare(office, evaluator,
                        lambda formulas: {"F": {(row, 0): Formula(text, array_of(row, text)) for row, (_, text) in enumerate(formulas)},
                                          "V": values} | others,
                        listed, path, report, **names_and_tables)
            seed += 1
    report.show()
    return 1 if report.counts else 0


if __name__ == "__main__":
    sys.exit(main())
