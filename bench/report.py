#!/usr/bin/python3
"""Prints, as Markdown, the benchmark figures that docs/performance.md shows.

Reads the Google Benchmark JSON that bench/report.sh leaves in a directory,
ours-<level>.json for each SIMD level run; the widest level's run holds the
comparison libraries as well. Benchmarks are named
<function>/<implementation>/<input>/<bytes>; every figure is the median of
the repetitions. "ours" in a ratio is the widest level, the one the library
picks by itself.

Usage: report.py RESULTS_DIR
"""
import json
import os
import sys

LEVELS = ["scalar", "sse2", "avx2", "avx512"]
KB, MB = 1 << 10, 1 << 20
SCALING_LIMIT = 1.2


def load(directory):
    """{(function, impl, input, size): (bytes_per_second, real_time)}, with
    impl "ours@<level>" for the level runs, and the levels found."""
    figures, levels = {}, []
    for level in LEVELS:
        path = os.path.join(directory, f"ours-{level}.json")
        if not os.path.exists(path):
            continue
        levels.append(level)
        for b in json.load(open(path))["benchmarks"]:
            if b.get("aggregate_name", "median") != "median" or b.get("error_occurred"):
                continue
            function, impl, text, size = b["run_name"].split("/")[:4]
            if impl == "ours":
                impl = f"ours@{level}"
            figures[(function, impl, text, int(size))] = (b.get("bytes_per_second", 0.0),
                                                          b["real_time"])
    return figures, levels


def size_name(size):
    """64 B, 4 KB, 1 MB; a size that is no power of two is a count (records)."""
    if size & (size - 1):
        return f"{size:,}"
    return f"{size // MB} MB" if size >= MB else f"{size // KB} KB" if size >= KB else f"{size} B"


def targets(levels):
    """(function, input, size, anchor, target, floor, what): the targets."""
    rows = []
    for function in ("Utf8ToUtf16", "Utf16ToUtf8"):
        for text in ("english", "chinese"):
            rows.append((function, text, 64, "ICU", 1.0, None, "sentence: no slower than ICU"))
            if "sse2" in levels and levels[-1] != "sse2":
                rows.append((function, text, 64, "ours@sse2", 1.0, None,
                             "sentence: no slower than the SSE2 level"))
            for size in (4 * KB, MB):
                rows.append((function, text, size, "ICU", 2.0, 1.5, "2x ICU, floor 1.5x"))
                rows.append((function, text, size, "iconv", 3.0, None, "3x iconv"))
    rows.append(("Utf8ToUtf16", "english", MB, "memcpy", 0.35, None, "0.35x memcpy"))
    rows.append(("Utf8ToUtf16", "chinese", MB, "memcpy", 0.12, None, "0.12x memcpy"))
    rows.append(("fullToHalf", "english", MB, "memcpy", 0.6, None, "0.6x memcpy"))
    rows.append(("fullToHalf", "chinese", MB, "memcpy", 0.15, None, "0.15x memcpy"))
    for function in ("split", "StringReplace"):
        for text in ("commas", "br"):
            for size in (64 * KB, MB):
                rows.append((function, text, size, "absl", 1.0, None, "1.0x Abseil"))
    return rows


def main():
    figures, levels = load(sys.argv[1])
    if not levels:
        sys.exit("no ours-<level>.json in " + sys.argv[1])
    ours = f"ours@{levels[-1]}"
    gbs = lambda key: figures[key][0] / 1e9

    print(open(os.path.join(sys.argv[1], "machine.txt")).read().strip().replace("\n", "; "))
    print(f"Levels run: {', '.join(levels)}; ratios take ours at {levels[-1]}.\n")

    print("| function | input | size | ours GB/s | anchor | anchor GB/s | ratio | target | met |")
    print("|---|---|---:|---:|---|---:|---:|---|---|")
    missed = 0
    for function, text, size, anchor, target, floor, what in targets(levels):
        mine, theirs = (function, ours, text, size), (function, anchor, text, size)
        if mine not in figures or theirs not in figures:
            print(f"| {function} | {text} | {size_name(size)} | | {anchor} | | | {what} | not run |")
            continue
        ratio = figures[mine][0] / figures[theirs][0]
        met = "yes" if ratio >= target else (
            "floor only" if floor is not None and ratio >= floor else "**no**")
        missed += met != "yes"
        print(f"| {function} | {text} | {size_name(size)} | {gbs(mine):.2f} | "
              f"{anchor.replace('ours@', '')} | {gbs(theirs):.2f} | {ratio:.2f} | {what} | {met} |")
    print(f"\n{missed} target(s) not met.\n")

    print(f"Scaling: time for 1 MB over 16 times the time for 64 KB (at most "
          f"{SCALING_LIMIT:.1f}), ours at {levels[-1]}, each anchor beside it.\n")
    print("| function | input | ours | anchors |")
    print("|---|---|---:|---|")
    scaling = lambda f, impl, t: figures[(f, impl, t, MB)][1] / (16 * figures[(f, impl, t, 64 * KB)][1])
    for function, impl, text, size in sorted(k for k in figures if k[1] == ours and k[3] == MB):
        if (function, impl, text, 64 * KB) not in figures:
            continue
        s = scaling(function, impl, text)
        others = ", ".join(f"{a} {scaling(function, a, text):.2f}" for f, a, t, z in sorted(figures)
                           if (f, t, z) == (function, text, MB) and not a.startswith("ours")
                           and (f, a, t, 64 * KB) in figures)
        print(f"| {function} | {text} | {s:.2f}{'' if s <= SCALING_LIMIT else ' **over**'} | {others} |")

    print("\nOurs by SIMD level, GB/s at 64 B and 1 MB:\n")
    print("| function | input | size | " + " | ".join(levels) + " |")
    print("|---|---|---:|" + "---:|" * len(levels))
    for function, impl, text, size in sorted(k for k in figures if k[1] == ours):
        if size in (64, MB):
            cells = " | ".join(f"{gbs((function, 'ours@' + l, text, size)):.2f}"
                               if (function, 'ours@' + l, text, size) in figures else ""
                               for l in levels)
            print(f"| {function} | {text} | {size_name(size)} | {cells} |")

    print("\nOther comparisons (no target):\n")
    print("| function | input | size | ours GB/s | anchor | anchor GB/s | ratio |")
    print("|---|---|---:|---:|---|---:|---:|")
    listed = {(f, t, z, a) for f, t, z, a, *_ in targets(levels)}
    for function, impl, text, size in sorted(figures):
        mine = (function, ours, text, size)
        if impl.startswith("ours") or mine not in figures or (function, text, size, impl) in listed:
            continue
        if size not in (64, MB) and text not in ("records", "equal"):
            continue
        print(f"| {function} | {text} | {size_name(size)} | {gbs(mine):.2f} | {impl} | "
              f"{gbs((function, impl, text, size)):.2f} | "
              f"{figures[mine][0] / figures[(function, impl, text, size)][0]:.2f} |")


if __name__ == "__main__":
    main()
