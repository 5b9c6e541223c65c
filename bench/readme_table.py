#!/usr/bin/env python3
"""Turns pixelbench's CSV into docs/performance.md's table (Markdown on stdout)."""
import csv
import sys
from collections import defaultdict

rows = defaultdict(dict)
order = []
for row in csv.DictReader(open(sys.argv[1])):
    size = f"{row['width']}x{row['height']}"
    if row['method'] not in order:
        order.append(row['method'])
    rows[row['method']][size] = row


def ratios(row, baseline):
    """Best / median against a baseline, or empty where there is none."""
    if float(row[f'{baseline}_best_ratio']) == 0:
        return ""
    return f"{float(row[f'{baseline}_best_ratio']):.2f} / {float(row[f'{baseline}_median_ratio']):.2f}"


def small(row):
    """A small picture's best time per call and the plug-in's own (host calls answered), in nanoseconds."""
    if not row:
        return ""
    if int(row['host_calls']) == 0:
        return f"{float(row['best_ns']):.0f}"
    return f"{float(row['best_ns']):.0f} / {float(row['own_best_ns']):.0f}"


print("| method | 1×1 ns, own | 64×64 ns, own | 64×64 ×(libyuv + host) | 1920×1080 ms | ×memcpy | ×libyuv |"
      " 4096×2160 ms | ×memcpy | ×libyuv | nearest libyuv |")
print("|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---|")
for method in order:
    tiny, mid, hd, uhd = (rows[method].get(s) for s in ("1x1", "64x64", "1920x1080", "4096x2160"))
    cells = [method, small(tiny), small(mid)]
    cells.append(f"{float(mid['nearest_host_best_ratio']):.2f}" if mid and float(mid['nearest_host_best_ratio']) else "")
    nearest = ""
    for r in (hd, uhd):
        if r:
            cells += [f"{float(r['median_ns']) / 1e6:.3f}", ratios(r, 'memcpy'), ratios(r, 'nearest')]
            nearest = r['nearest']
        else:
            cells += ["", "", ""]
    cells.append(nearest)
    print("| " + " | ".join(cells) + " |")
