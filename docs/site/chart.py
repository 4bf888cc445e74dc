#!/usr/bin/python3
"""chart.py RESULTS COPY PICTURE: keeps a run of the benchmarks, as `dev bench` writes it, and draws it.

A row's bar is what the kit takes in parts of what its peer takes, on a scale on which twice as fast and half as fast are equally
far from even. The tick on a row is its goal.
"""

import html
import json
import math
import shutil
import sys
from pathlib import Path

WIDTH, LABEL, VALUE, ROW, TOP, BOTTOM = 820, 270, 110, 26, 34, 30
FASTEST, SLOWEST = 1 / 64, 8  # the ends of the scale; what lies beyond is drawn at the end

STYLE = """
.chart text { font: 13px system-ui, "Cantarell", "DejaVu Sans", sans-serif; fill: var(--text, #1d2530); }
.chart .quiet { fill: var(--quiet, #5b6676); font-size: 12px; }
.chart .grid { stroke: var(--line, #e3e6eb); } .chart .even { stroke: var(--quiet, #5b6676); }
.chart .ours { fill: var(--ours, #2257c5); } .chart .late { fill: var(--late, #b3371e); }
.chart .goal { stroke: var(--text, #1d2530); stroke-width: 2; }
"""
ALONE = """
svg { background: #ffffff; }
@media (prefers-color-scheme: dark) {
  svg { background: #14181f; --text: #e2e7ee; --quiet: #9aa6b6; --line: #2d3541; --ours: #8ab4ff; --late: #ff8f73; }
}
"""


def read(path):
    rows = json.loads(Path(path).read_text())
    return sorted(rows, key=lambda row: row["name"])


def figure(value, unit):
    units = ["ns", "µs", "ms", "s"]
    while unit in units[:-1] and value >= 1000:
        value, unit = value / 1000, units[units.index(unit) + 1]
    return f"{value:.3g} {unit}"


def times(ratio):
    """A ratio, to as many places as tell something."""
    return f"{ratio:.2f}" if ratio >= 0.1 else f"{ratio:.3f}"


def svg(rows, alone=False):
    span = WIDTH - LABEL - VALUE

    def across(ratio):
        bounded = min(max(ratio, FASTEST), SLOWEST)
        return LABEL + span * math.log(bounded / FASTEST) / math.log(SLOWEST / FASTEST)

    height = TOP + ROW * len(rows) + BOTTOM
    parts = [
        f'<svg class="chart" xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" role="img" '
        f'aria-label="What the kit takes, in parts of what its peer takes">',
        f"<style>{(ALONE if alone else '') + STYLE}</style>".replace("\n\n", "\n"),
    ]
    ticks = [2.0**power for power in range(round(math.log2(FASTEST)), round(math.log2(SLOWEST)) + 1)]
    for tick in ticks:
        x = across(tick)
        kind = "even" if tick == 1 else "grid"
        parts.append(f'<line class="{kind}" x1="{x:.1f}" x2="{x:.1f}" y1="{TOP - 6}" y2="{height - BOTTOM}"/>')
        label = f"{tick:g}×" if tick >= 1 else f"1/{1 / tick:g}"
        parts.append(f'<text class="quiet" x="{x:.1f}" y="{height - 10}" text-anchor="middle">{label}</text>')
    parts.append(f'<text class="quiet" x="{across(1) - 8:.1f}" y="16" text-anchor="end">← faster than the peer</text>')
    parts.append(f'<text class="quiet" x="{across(1) + 8:.1f}" y="16">slower →</text>')
    for index, row in enumerate(rows):
        y = TOP + ROW * index
        begin, end = sorted((across(1), across(row["ratio"])))
        kind = "ours" if row["holds"] else "late"
        parts.append(f'<text x="{LABEL - 12}" y="{y + 16}" text-anchor="end">{html.escape(row["name"])}</text>')
        parts.append(f'<rect class="{kind}" x="{begin:.1f}" y="{y + 4}" width="{max(end - begin, 1):.1f}" height="{ROW - 10}" rx="2">'
                     f'<title>{html.escape(row["name"])}: {figure(row["ours"], row["unit"])}; {html.escape(row["peerName"])}: '
                     f'{figure(row["peer"], row["unit"])}</title></rect>')
        goal = across(row["goal"])
        parts.append(f'<line class="goal" x1="{goal:.1f}" x2="{goal:.1f}" y1="{y + 1}" y2="{y + ROW - 3}"/>')
        parts.append(f'<text x="{WIDTH - 4}" y="{y + 16}" text-anchor="end">{figure(row["ours"], row["unit"])}</text>')
    return "\n".join(parts + ["</svg>"])


def table(rows):
    lines = ["## Every row", "", "| Row | Ours | Peer | Ratio | Goal | Peer is |", "|---|--:|--:|--:|--:|---|"]
    for row in rows:
        ratio = times(row["ratio"]) if row["holds"] else f"**{times(row['ratio'])}**"
        lines.append(f"| `{row['name']}` | {figure(row['ours'], row['unit'])} | {figure(row['peer'], row['unit'])} | {ratio} | {row['goal']:g} "
                     f"| {row['peerName']} |")
    return "\n".join(lines) + "\n"


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    results, copy, picture = map(Path, sys.argv[1:])
    if results != copy:
        shutil.copy(results, copy)
    picture.write_text(svg(read(copy), alone=True) + "\n")
