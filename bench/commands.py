#!/usr/bin/env python3
"""CPU time (user + sys, from the kernel's accounting of each finished child) of the commands that
touch one page or one day, on generated vaults of 1 and 30 years; wall time of today and capture
on 10 years beside `trivo --version`; and the peak memory of `trivo check` over whole vaults.

Usage: bench/commands.py TRIVO VAULTS [RUNS]
VAULTS holds y1-md, y10-md, y30-md, y1-org, … as `make bench-vault` generates them. Every command
runs against its own copy of a vault; the files a run changed are put back before the next run,
so every run sees the same vault. Prints Markdown tables of medians."""
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

TODAY = "2026-11-23"  # a day the generated vaults have a page for
COMMANDS = [
    ("today", ["today"]),
    ("capture", ["capture", "call mum friday"]),
    # What each run wrote stays: the next capture meets the inbox Trivo wrote last, as a
    # person's second capture of the day does (the row above reads every item each time).
    ("capture, again", ["capture", "call mum friday"]),
    ("done", ["done", "2"]),
    ("journal", ["journal", "Walked to the river"]),
    ("plan", ["plan"]),
    ("path", ["path", "today"]),
]


def run(argv, env):
    """Runs argv once; returns (CPU seconds, wall seconds, peak RSS KiB, exit code)."""
    start = time.perf_counter()
    pid = os.posix_spawn(argv[0], argv, env, file_actions=[
        (os.POSIX_SPAWN_OPEN, 1, os.devnull, os.O_WRONLY, 0),
        (os.POSIX_SPAWN_OPEN, 2, os.devnull, os.O_WRONLY, 0)])
    _, status, usage = os.wait4(pid, 0)
    wall = time.perf_counter() - start
    return (usage.ru_utime + usage.ru_stime, wall, usage.ru_maxrss,
            os.waitstatus_to_exitcode(status))


def changed_since(root, stamp):
    for folder, dirs, files in os.walk(root):
        for name in files:
            path = os.path.join(folder, name)
            try:
                if os.lstat(path).st_mtime_ns >= stamp:
                    yield path
            except FileNotFoundError:
                pass


def restore(copy, pristine, stamp):
    """Puts back every file a run wrote (and removes the ones it made)."""
    for path in list(changed_since(copy, stamp)):
        original = os.path.join(pristine, os.path.relpath(path, copy))
        if os.path.exists(original):
            shutil.copy2(original, path)
        else:
            os.unlink(path)


def command_figures(trivo, vault, args, runs, env, keep=False):
    """Medians of CPU and wall ms. With `keep`, what each run wrote stays for the next (captures
    into an inbox Trivo wrote last, as a person's second capture of the day)."""
    with tempfile.TemporaryDirectory() as tmp:
        copy = os.path.join(tmp, "vault")
        shutil.copytree(vault, copy, symlinks=True)
        # The copy's pages are still dirty in the page cache: the first syncs of a writing
        # command would otherwise wait on the writeback of thousands of files, more on a bigger
        # vault, and the figure would measure the copy instead of the command.
        os.sync()
        argv = [trivo, "--vault", copy] + args
        cpu, wall, codes = [], [], set()
        for i in range(runs + 1):
            stamp = time.time_ns() - 1_000_000
            c, w, _, code = run(argv, env)
            if not keep:
                restore(copy, vault, stamp)
            if i == 0:
                continue  # warm-up: page cache and the dynamic loader's files
            cpu.append(c)
            wall.append(w)
            codes.add(code)
        return statistics.median(cpu) * 1e3, statistics.median(wall) * 1e3, codes


def main():
    trivo, vaults = os.path.abspath(sys.argv[1]), sys.argv[2]
    runs = int(sys.argv[3]) if len(sys.argv) > 3 else 15
    config = tempfile.mkdtemp()
    cache = tempfile.mkdtemp()
    env = dict(os.environ, TRIVO_TODAY=TODAY, XDG_CONFIG_HOME=config, XDG_CACHE_HOME=cache,
               NO_COLOR="1")
    env.pop("TRIVO_VAULT", None)

    print(f"load average before: {os.getloadavg()[0]:.1f}\n")
    print("| command | " + " | ".join(f"{y} y {s}" for s in ("md", "org") for y in (1, 30))
          + " |")
    print("|---|" + "---|" * 4)
    for label, args in COMMANDS:
        cells = []
        for syntax in ("md", "org"):
            for years in (1, 30):
                cpu, _, codes = command_figures(
                    trivo, os.path.join(vaults, f"y{years}-{syntax}"), args, runs, env,
                    keep=label.endswith("again"))
                cells.append(f"{cpu:.1f} ms" + ("" if codes == {0} else f" (exit {codes})"))
        print(f"| {label} | " + " | ".join(cells) + " |")

    print("\nWall time on the 10-year Markdown vault (median of "
          f"{runs} runs, CPU in brackets):\n")
    print("| command | wall | CPU |")
    print("|---|---|---|")
    version = [run([trivo, "--version"], env) for _ in range(runs + 1)][1:]
    print(f"| --version | {statistics.median(v[1] for v in version) * 1e3:.1f} ms "
          f"| {statistics.median(v[0] for v in version) * 1e3:.1f} ms |")
    for label, args in COMMANDS[:3]:
        cpu, wall, _ = command_figures(trivo, os.path.join(vaults, "y10-md"), args, runs, env,
                                       keep=label.endswith("again"))
        print(f"| {label} | {wall:.1f} ms | {cpu:.1f} ms |")

    print("\nPeak memory (max RSS) of `trivo check` over a whole vault:\n")
    print("| vault | max RSS | CPU |")
    print("|---|---|---|")
    for syntax in ("md", "org"):
        for years in (1, 10, 30):
            vault = os.path.join(vaults, f"y{years}-{syntax}")
            figures = [run([trivo, "--vault", vault, "check"], env) for _ in range(3)]
            rss = max(f[2] for f in figures)
            cpu = statistics.median(f[0] for f in figures)
            print(f"| {years} y {syntax} | {rss / 1024:.1f} MiB | {cpu * 1e3:.0f} ms |")
    shutil.rmtree(config)
    shutil.rmtree(cache)


if __name__ == "__main__":
    main()
