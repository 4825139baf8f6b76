#!/usr/bin/python3
"""Prints, as Markdown, the benchmark figures that docs/performance.md shows.

Reads the Google Benchmark JSON that bench/report.sh leaves in a directory:
run<k>.json, the whole suite in process k, and o2-<k>.json, split and
StringReplace in a plain -O2 build. Benchmarks are named
<function>/<implementation>/<input>/<bytes>; every figure is the median over
the processes of each one's best repetition (see report.sh for why the
best). "ours" is the library
as a caller gets it, at the widest level this CPU runs; the implementations
named after a SIMD level are the same functions through that level's table,
in the same processes.

Usage: report.py RESULTS_DIR
"""
import glob
import json
import os
import sys

LEVELS = ["scalar", "sse2", "avx2", "avx512"]
KB, MB = 1 << 10, 1 << 20
SHORT = 24  # bench::kShortSentence: less than one block at every level
SCALING_LIMIT = 1.2


def load(directory):
    """{(function, impl, input, size): (bytes_per_second, real_time)} and the
    levels found; the -O2 build's implementations end in " -O2"."""
    runs = {}
    for pattern, suffix in (("run*.json", ""), ("o2*.json", " -O2")):
        for path in sorted(glob.glob(os.path.join(directory, pattern))):
            best = {}
            for b in json.load(open(path))["benchmarks"]:
                if b.get("run_type") != "iteration" or b.get("error_occurred"):
                    continue
                function, impl, text, size = b["run_name"].split("/")[:4]
                key = (function, impl + suffix, text, int(size))
                if key not in best or b["real_time"] < best[key][1]:
                    best[key] = (b.get("bytes_per_second", 0.0), b["real_time"])
            for key, figure in best.items():
                runs.setdefault(key, []).append(figure)
    # The lower middle of each row's processes, by throughput: with an odd
    # number of them, the median, and a row's throughput and time stay those
    # of one process.
    figures = {key: sorted(r)[(len(r) - 1) // 2] for key, r in runs.items()}
    levels = [l for l in LEVELS if any(k[1] == l for k in figures)]
    return figures, levels


def size_name(size):
    """24 B, 4 KB, 1 MB; a size from 1 KB up that is no power of two is a count
    (records)."""
    if size >= KB and size & (size - 1):
        return f"{size:,}"
    return f"{size // MB} MB" if size >= MB else f"{size // KB} KB" if size >= KB else f"{size} B"


def targets():
    """(function, input, size, anchor, target at the widest level, target with
    AVX2 alone or None, what)."""
    rows = []
    for function, widest in (("Utf8ToUtf16", 3.0), ("Utf16ToUtf8", 2.0)):
        for size in (4 * KB, MB):
            rows.append((function, "mixed", size, "ICU", widest, 2.0,
                         f"mixed: {widest:g}x ICU, 2x with AVX2"))
        for text in ("english", "chinese", "mixed"):
            rows.append((function, text, 64, "ICU", 2.0, 2.0, "sentence: 2x ICU"))
    rows.append(("fullToHalf", "mixed", MB, "memcpy", 0.3, 0.25, "0.3x memcpy, 0.25x with AVX2"))
    rows.append(("Utf8ToUtf16", "english", MB, "memcpy", 0.35, 0.3, "0.35x memcpy, 0.3x with AVX2"))
    rows.append(("fullToHalf", "english", MB, "memcpy", 0.6, 0.5, "0.6x memcpy, 0.5x with AVX2"))
    for build in ("", " -O2"):
        for function in ("split", "StringReplace"):
            for text in ("commas", "br"):
                for size in (64 * KB, MB):
                    rows.append((function + build, text, size, "absl" + build, 1.0, None,
                                 "1.0x Abseil" + (", plain -O2 build" if build else "")))
    # The targets of the rounds before, at the widest level.
    for function in ("Utf8ToUtf16", "Utf16ToUtf8"):
        for text in ("english", "chinese"):
            rows.append((function, text, 64, "sse2", 1.0, None, "sentence: no slower than SSE2"))
            for size in (4 * KB, MB):
                rows.append((function, text, size, "ICU", 2.0, None, "2x ICU"))
                rows.append((function, text, size, "iconv", 3.0, None, "3x iconv"))
    rows.append(("Utf8ToUtf16", "chinese", MB, "memcpy", 0.12, None, "0.12x memcpy"))
    rows.append(("fullToHalf", "chinese", MB, "memcpy", 0.15, None, "0.15x memcpy"))
    return rows


def main():
    figures, levels = load(sys.argv[1])
    if not levels:
        sys.exit("no level figures in " + sys.argv[1])
    gbs = lambda key: figures[key][0] / 1e9

    print(open(os.path.join(sys.argv[1], "machine.txt")).read().strip().replace("\n", "; "))
    print(f"Levels in the processes: {', '.join(levels)}; \"ours\" is the widest, {levels[-1]}.\n")

    print("| function | input | size | anchor | anchor GB/s | ours GB/s | ratio | target | met "
          "| avx2 GB/s | ratio | target | met |")
    print("|---|---|---:|---|---:|---:|---:|---:|---|---:|---:|---:|---|")
    missed = 0
    for function, text, size, anchor, widest, alone, what in targets():
        base = function.replace(" -O2", "")
        suffix = function[len(base):]
        theirs = (base, anchor, text, size)
        cells = []
        # Against a level, the widest level through its own table, as the
        # anchor is: the public entry's own cost is then on neither side.
        mine_impl = levels[-1] if anchor in LEVELS else "ours" + suffix
        for impl, target in ((mine_impl, widest), ("avx2", alone)):
            mine = (base, impl, text, size)
            # A target set for a CPU with AVX-512 is not measured without it.
            measured = levels[-1] == "avx512" or alone is None or impl == "avx2"
            if target is None or not measured or mine not in figures or theirs not in figures:
                cells.append(" | | | ")
                continue
            ratio = figures[mine][0] / figures[theirs][0]
            met = "yes" if ratio >= target else "**no**"
            missed += met != "yes"
            cells.append(f"{gbs(mine):.2f} | {ratio:.2f} | {target:g} | {met}")
        anchorGbs = f"{gbs(theirs):.2f}" if theirs in figures else "not run"
        print(f"| {function} | {text} | {size_name(size)} | {anchor.replace(' -O2', '')} | "
              f"{anchorGbs} | {cells[0]} | {cells[1]} |")
    print(f"\n{missed} target(s) not met.\n")

    ours = "ours"
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
                           if (f, t, z) == (function, text, MB) and a not in LEVELS
                           and a != ours and (f, a, t, 64 * KB) in figures)
        print(f"| {function} | {text} | {s:.2f}{'' if s <= SCALING_LIMIT else ' **over**'} | {others} |")

    print(f"\nBy SIMD level, in the same process, GB/s at {SHORT} B, 64 B and 1 MB:\n")
    print("| function | input | size | " + " | ".join(levels) + " |")
    print("|---|---|---:|" + "---:|" * len(levels))
    for function, impl, text, size in sorted(k for k in figures if k[1] == levels[-1]):
        if size in (SHORT, 64, MB):
            cells = " | ".join(f"{gbs((function, l, text, size)):.2f}" for l in levels)
            print(f"| {function} | {text} | {size_name(size)} | {cells} |")

    print("\nOther comparisons (no target):\n")
    print("| function | input | size | ours GB/s | anchor | anchor GB/s | ratio |")
    print("|---|---|---:|---:|---|---:|---:|")
    listed = {(f, t, z, a) for f, t, z, a, *_ in targets()}
    for function, impl, text, size in sorted(figures):
        mine = (function, ours, text, size)
        if (impl in LEVELS or impl.startswith("ours") or impl.endswith("-O2") or mine not in figures
                or (function, text, size, impl) in listed):
            continue
        if size not in (SHORT, 64, MB) and text not in ("records", "equal"):
            continue
        print(f"| {function} | {text} | {size_name(size)} | {gbs(mine):.2f} | {impl} | "
              f"{gbs((function, impl, text, size)):.2f} | "
              f"{figures[mine][0] / figures[(function, impl, text, size)][0]:.2f} |")


if __name__ == "__main__":
    main()
