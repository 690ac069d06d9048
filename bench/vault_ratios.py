#!/usr/bin/env python3
"""Reads the JSON of the vault benchmarks (medians of repetitions) and prints one Markdown table:
per vault, trivo check's time (wall clock, with the CPU time of all its threads beside it) next
to md4c, cmark and the read floor, with the ratios of the times. md4c and cmark tokenize the Org
files as Markdown (the same bytes); an Org row also gives check's ratio to md4c on the Markdown
vault of the same days, whose files are a fifth smaller."""
import json
import sys


def main(path):
    with open(path) as f:
        runs = json.load(f)["benchmarks"]
    # name "BM_VaultCheck/10/0_median" -> (what, years, org)
    cpu = {}
    for run in runs:
        if run.get("aggregate_name", "median") != "median" or run.get("error_occurred"):
            continue
        parts = run["run_name"].split("/")
        what, years, org = parts[0], int(parts[1]), int(parts[2])
        # check runs on every core: its real_time is the wall clock and its cpu_time the
        # whole process's; the others read on one thread, where real and CPU time agree.
        cpu[(what, years, org)] = (run["real_time"], run.get("pages", 0),
                                   run.get("bytes_per_second", 0), run["cpu_time"])
    print("| vault | pages | MB | trivo check (CPU) | md4c | cmark | read floor "
          "| check/md4c | check/floor | check MB/s | check/md4c of the md vault |")
    print("|---|---|---|---|---|---|---|---|---|---|---|")
    for org in (0, 1):
        for years in (1, 10, 30):
            check = cpu.get(("BM_VaultCheck", years, org))
            if not check:
                continue
            floor = cpu.get(("BM_VaultReadFloor", years, org))
            md4c = cpu.get(("BM_VaultMd4c", years, org))
            cmark = cpu.get(("BM_VaultCmark", years, org))
            megabytes = check[2] * check[0] / 1e3 / 1e6

            def ms(x):
                return f"{x[0]:.1f} ms" if x else "–"

            def ratio(x):
                return f"{check[0] / x[0]:.2f}" if x else "–"

            print(f"| {years} y {'org' if org else 'md'} | {int(check[1])} | {megabytes:.1f} "
                  f"| {ms(check)} ({check[3]:.1f} ms) | {ms(md4c)} | {ms(cmark)} | {ms(floor)} "
                  f"| {ratio(md4c)} | {ratio(floor)} | {check[2] / 1e6:.0f} "
                  f"| {ratio(cpu.get(('BM_VaultMd4c', years, 0)))} |")


if __name__ == "__main__":
    main(sys.argv[1])
