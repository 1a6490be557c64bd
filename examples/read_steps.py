"""Reads what `ordvane export RUN --what steps -o steps.csv` writes: by input and output, the results of its steps."""
import csv
import sys

steps = {}
for row in csv.DictReader(open(sys.argv[1], encoding="utf-8", newline="")):
    if not row["group"]:  # one input at a time
        try:
            steps.setdefault((row["input"], row["output"]), []).append((float(row["value"]), float(row["result"])))
        except ValueError:
            pass  # no number: #NUM! and the like
for (varied, output), points in steps.items():
    print(varied, output, max(result for _, result in points) - min(result for _, result in points), sep="\t")
