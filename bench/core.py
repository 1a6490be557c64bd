#!/usr/bin/python3
"""Measures the core beside peers: runs bench_core and puts each of its benchmarks beside its peer.

Usage: core.py BUILD_FOLDER
"""

import json
import pathlib
import subprocess
import sys

from record import Record

# Benchmark, what it does, its peer, what that does.
PAIRS = [("BM_RetrieveAndRank", "fetch every value, rank every step and input", "BM_RetrieveAndRank_PeerSort",
          "copy, sort value and place, least and greatest"),
         ("BM_LoadRun", "read a run and its CSV, every field checked", "BM_LoadRun_PeerStrtod",
          "`std::getline` and `strtod`, nothing checked")]
SHAPES = ["values that rise and then fall", "sorted values", "reversed values", "equal values"]


def main():
    if len(sys.argv) != 2:
        raise SystemExit(__doc__)
    build = pathlib.Path(sys.argv[1])
    said = subprocess.run([build / "bench/bench_core", "--benchmark_format=json"], check=True, stdout=subprocess.PIPE).stdout
    times = {}  # in milliseconds, by benchmark and size
    for benchmark in json.loads(said)["benchmarks"]:
        name, *arguments = benchmark["name"].removesuffix("/process_time").split("/")
        size = " x ".join(argument.split(":")[-1] for argument in arguments)
        times[name, size] = benchmark["cpu_time"] * {"ns": 1e-6, "us": 1e-3, "ms": 1, "s": 1e3}[benchmark["time_unit"]]
    record = Record(build, "core")
    table = record.table("core", "what", "run", "processor", "peer", "ratio", "peer does")
    for name, what, peer, does in PAIRS:
        for size in (size for one, size in times if one == name):
            ratio = times[name, size] / times[peer, size]
            table.row(what, size, f"{times[name, size]:.2f} ms", f"{times[peer, size]:.2f} ms", f"{ratio:.2f}", does)
            record.ratio(f"{what}, {size}", ratio)
    table = record.table("sorting", "400,000 changes sorted", "processor", "random ones", "ratio")
    for shape, size in zip(SHAPES, (size for name, size in times if name == "BM_SortChanges"), strict=True):
        time, random = times["BM_SortChanges", size], times["BM_SortChanges_PeerRandom", size]
        table.row(shape, f"{time:.1f} ms", f"{random:.1f} ms", f"{time / random:.2f}")
        record.ratio(shape, time / random)
    record.save()


if __name__ == "__main__":
    main()
