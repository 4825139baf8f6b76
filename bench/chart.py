#!/usr/bin/python3
"""Draws the conversion chart of docs/performance.md from bench/report.sh's JSON.

One panel per direction and text (UTF-8 to UTF-16 and back; English,
Chinese, and the mixed text of the engine's real input); in each, throughput
in GB/s of the UTF-8 bytes by input size, one line per SIMD level of the
library (all in one process) and one per comparison (ICU, iconv, and memcpy
of the same bytes as the floor). Both axes are logarithmic.

Usage: chart.py RESULTS_DIR OUT.svg   (with Debian's python3-matplotlib)
"""
import os
import sys

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt

from report import SHORT, load, size_name

SIZES = [SHORT, 64, 4 << 10, 64 << 10, 1 << 20]
PANELS = [(function, text, f"{title}, {text.capitalize()}")
          for function, title in (("Utf8ToUtf16", "UTF-8 → UTF-16"), ("Utf16ToUtf8", "UTF-16 → UTF-8"))
          for text in ("english", "chinese", "mixed")]
# Ours in blues and greens, from light and dotted (scalar) to dark (widest);
# the comparisons in warm hues and grey.
STYLES = {"scalar": ("#6baed6", ":", "o"), "sse2": ("#2171b5", "-", "o"),
          "avx2": ("#41ab5d", "-", "D"), "avx512": ("#00441b", "-", "o"),
          "ICU": ("#e6550d", "-", "s"), "iconv": ("#a50f15", "-.", "^"),
          "memcpy": ("#7f7f7f", "--", "")}


def main():
    directory, out = sys.argv[1], sys.argv[2]
    figures, levels = load(directory)
    machine = open(os.path.join(directory, "machine.txt")).read().split("\n")
    lines = levels + ["ICU", "iconv", "memcpy"]

    fig, axes = plt.subplots(2, 3, figsize=(14, 7.5), sharex=True)
    for ax, (function, text, title) in zip(axes.flat, PANELS):
        for impl in lines:
            points = [(size, figures[(function, impl, text, size)][0] / 1e9) for size in SIZES
                      if (function, impl, text, size) in figures]
            if not points:
                continue
            color, dash, marker = STYLES[impl]
            label = ("ours, " if impl in levels else "") + impl + (" (floor)" if impl == "memcpy" else "")
            ax.plot(*zip(*points), dash, color=color, marker=marker, markersize=4, linewidth=1.8,
                    label=label)
        ax.set_title(title, fontsize=11)
        ax.set_xscale("log", base=2)
        ax.set_yscale("log")
        ax.set_xticks(SIZES, [size_name(size) for size in SIZES])
        ax.minorticks_off()
        ax.grid(True, which="major", color="#dddddd", linewidth=0.6)
        ax.yaxis.set_major_formatter(matplotlib.ticker.FuncFormatter(lambda v, _: f"{v:g}"))
    for ax in axes[:, 0]:
        ax.set_ylabel("GB/s of UTF-8 text (log)")
    handles, labels = axes.flat[0].get_legend_handles_labels()
    fig.legend(handles, labels, loc="lower center", ncol=len(labels), frameon=False, fontsize=9)
    fig.suptitle(f"Conversion throughput by input size — {machine[0]}", fontsize=12)
    fig.text(0.5, 0.935, machine[2] if len(machine) > 2 else "", ha="center", fontsize=8,
             color="#555555")
    fig.tight_layout(rect=(0, 0.05, 1, 0.93))
    fig.savefig(out, metadata={"Date": None})


if __name__ == "__main__":
    main()
