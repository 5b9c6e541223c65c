#!/usr/bin/env python3
"""Turns pixelbench's CSV into the README's performance table (Markdown on stdout)."""
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

print("| method | 64×64 µs | 1920×1080 ms | ×memcpy | ×libyuv (nearest) | 4096×2160 ×memcpy | ×libyuv |")
print("|---|---:|---:|---:|---:|---:|---:|")
for method in order:
    small, hd, uhd = (rows[method].get(s) for s in ("64x64", "1920x1080", "4096x2160"))
    cells = [method]
    cells.append(f"{float(small['time_ns']) / 1000:.2f}" if small else "")
    if hd:
        nearest = f"{float(hd['ratio_nearest']):.2f} ({hd['nearest']})" if hd['nearest'] else ""
        cells += [f"{float(hd['time_ns']) / 1e6:.3f}", f"{float(hd['ratio_memcpy']):.2f}", nearest]
    else:
        cells += ["", "", ""]
    if uhd:
        cells += [f"{float(uhd['ratio_memcpy']):.2f}", f"{float(uhd['ratio_nearest']):.2f}" if uhd['nearest'] else ""]
    else:
        cells += ["", ""]
    print("| " + " | ".join(cells) + " |")
