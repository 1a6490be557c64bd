#!/usr/bin/python3
"""Checks the recorded run of the solar plant example against the plant calculated here, without a spreadsheet.

Usage: solar_plant_check.py FOLDER   (the folder of solar-plant.run.json and its CSV files)

Every recalculation of every output is compared. Written from the sheet's line descriptions, not from its formulas.
"""

import csv
import datetime
import json
import math
import pathlib
import sys

DAY_ZERO = datetime.date(1899, 12, 30)


def months_later(day, months):
    month = day.month - 1 + months
    return datetime.date(day.year + month // 12, month % 12 + 1, min(day.day, 28))


def rate_of_return(flows):
    """By bisection; None below -20 % a year."""
    low, high = -0.2, 1.0
    value = lambda rate: sum(flow / (1 + rate) ** year for year, flow in enumerate(flows))
    if value(low) < 0:
        return None
    for _ in range(200):
        middle = (low + high) / 2
        low, high = (middle, high) if value(middle) > 0 else (low, middle)
    return low


def plant(v):
    start = DAY_ZERO + datetime.timedelta(days=v["Commissioning date"])
    months = (start.year - 2026) * 12 + start.month - 1
    capacity, term = v["Installed capacity"], v["Loan term"]
    investment = capacity * (v["Investment"] - v["Investment subsidy"]) + v["Grid connection"]
    price = v["Feed-in price"] * (1 - v["Tariff reduction until commissioning"]) ** months
    loan = investment * v["Debt share"]
    project, owners = [-investment], [loan - investment]
    energy_worth, cost_worth, cover, to_date, back = 0, investment, [], loan - investment, None
    for year in range(1, 26):
        grown = lambda rate: (1 + v[rate]) ** (year - 1)
        discount = (1 + v["Discount rate"]) ** -year
        energy = (capacity * v["Specific yield"] / 1000 * v["Availability"] * (1 - v["Curtailed energy"])
                  * (1 - v["Module degradation"]) ** (year - 1))
        cost = capacity * v["Operation and maintenance"] * grown("Cost escalation")
        result = energy * price * grown("Price escalation") - cost
        written_off = investment / v["Depreciation"] if year <= v["Depreciation"] else 0
        repayment = loan / term if year <= term else 0
        interest = (loan - loan / term * min(year - 1, term)) * v["Interest rate"]
        taxed = lambda profit: v["Tax rate"] * max(0, profit)
        before_debt = result - taxed(result - written_off - interest)
        project.append(result - taxed(result - written_off))
        owners.append(before_debt - interest - repayment)
        energy_worth, cost_worth = energy_worth + energy * discount, cost_worth + cost * discount
        if year <= term:
            cover.append(before_debt / (interest + repayment))
        if back is None and to_date < 0 <= to_date + owners[-1]:
            back = 12 * (year - 1 - to_date / owners[-1])
        to_date += owners[-1]
    worth = sum(flow / (1 + v["Discount rate"]) ** year for year, flow in enumerate(project))
    paid = "later than 25 years" if back is None else (months_later(start, -int(-back // 1)) - DAY_ZERO).days
    return {"Net present value": worth, "Owners' rate of return": rate_of_return(owners),
            "Levelised cost of energy": cost_worth / energy_worth, "Paid back on": paid,
            "Net present value over plan": round(worth) - 170542, "Lowest debt service cover": min(cover)}


def main():
    folder = pathlib.Path(sys.argv[1])
    run = json.loads((folder / "solar-plant.run.json").read_text(encoding="utf-8"))
    base = {item["name"]: item["base"] for item in run["inputs"]}
    cases = [(base, {item["name"]: item["base"] for item in run["outputs"]})]
    with (folder / run["recalculations"]).open(encoding="utf-8") as file:
        for row in csv.DictReader(file):
            changed = {run["inputs"][int(row["input"]) - 1]["name"]: float(row["value"])}
            recorded = {item["name"]: row[f"output{i}"] for i, item in enumerate(run["outputs"], start=1)}
            cases.append(({**base, **changed}, recorded))
    with (folder / run["groupRecalculations"]).open(encoding="utf-8") as file:
        for row in csv.DictReader(file):
            members = run["groups"][int(row["group"]) - 1]["members"]
            changed = {run["inputs"][m - 1]["name"]: float(row[f"value{i}"]) for i, m in enumerate(members, start=1)}
            recorded = {item["name"]: row[f"output{i}"] for i, item in enumerate(run["outputs"], start=1)}
            cases.append(({**base, **changed}, recorded))
    expected_cases = (1 + sum(item["steps"] for item in run["inputs"])
                      + sum(math.prod(group["steps"]) for group in run["groups"]))
    faults = 0
    for values, recorded in cases:
        for name, expected in plant(values).items():
            found = recorded[name]
            day_of_month = datetime.date.fromordinal(DAY_ZERO.toordinal() + int(values["Commissioning date"])).day
            if found == "#NUM!":  # the spreadsheet's search from 8 % need not arrive at a rate near or below zero
                same = name == "Owners' rate of return" and (expected is None or expected < 0.003)
            elif isinstance(expected, str):
                same = found == expected
            else:
                slack = 3 if name == "Paid back on" and day_of_month > 28 else 1e-9 * abs(expected) + 1e-9
                same = abs(float(found) - expected) <= slack
            if not same:
                faults += 1
                print(f"{name}: recorded {found}, calculated {expected}, with {values}")
    print(f"{len(cases)} recalculations checked, {faults} differences")
    sys.exit(1 if faults or len(cases) != expected_cases else 0)


if __name__ == "__main__":
    main()
