"""Draws the comparison: a panel a measure, a bar a store, on logarithmic scales, as SVG for light and dark pages."""

import math
import xml.etree.ElementTree
from xml.sax.saxutils import escape

COLUMNS = 2
PANEL_WIDTH = 450
LABEL_WIDTH = 88
BAR_WIDTH = 270
ROW_HEIGHT = 20
TOP = 64  # the title and what stands below it
PANEL_TOP = 34
PANEL_BOTTOM = 34
MARGIN = 20

STYLE = """
  svg { font: 12px system-ui, sans-serif }
  .page { fill: #ffffff } .text { fill: #1f2328 } .faint { fill: #59636e } .grid { stroke: #d1d9e0 }
  .ours { fill: #0969da } .other { fill: #9aa4af } .floor { fill: #d1d9e0 }
  .title { font-size: 16px; font-weight: 600 } .panel { font-size: 13px; font-weight: 600 } .strong { font-weight: 600 }
  .end { text-anchor: end } .middle { text-anchor: middle } .small { font-size: 10px }
  @media (prefers-color-scheme: dark) {
    .page { fill: #0d1117 } .text { fill: #f0f6fc } .faint { fill: #9198a1 } .grid { stroke: #3d444d }
    .ours { fill: #4493f8 } .other { fill: #656c76 } .floor { fill: #3d444d }
  }
"""


def text(x, y, classes, content):
    return f'<text x="{x:.1f}" y="{y:.1f}" class="{classes}">{escape(content)}</text>'


def decade(exponent):
    """10 to this power in nanoseconds, as a person says it."""
    unit = ("ns", "µs", "ms", "s")[min(exponent // 3, 3)]
    return f"{10 ** (exponent - 3 * min(exponent // 3, 3))} {unit}"


def draw_panel(left, top, title, bars, ours, floor):
    """`bars` are names, values in nanoseconds, and these as text."""
    low = math.floor(math.log10(min(value for _, value, _ in bars)))
    high = max(low + 1, math.ceil(math.log10(max(value for _, value, _ in bars))))
    begin = left + LABEL_WIDTH

    def position(value):
        return begin + BAR_WIDTH * (math.log10(value) - low) / (high - low)

    bottom = top + PANEL_TOP + ROW_HEIGHT * len(bars)
    parts = [text(left, top + 18, "text panel", title)]
    for exponent in range(low, high + 1):
        x = position(10**exponent)
        parts.append(f'<path d="M{x:.1f} {top + PANEL_TOP - 4}V{bottom}" class="grid"/>')
        parts.append(text(x, bottom + 12, "faint small middle", decade(exponent)))
    for number, (name, value, label) in enumerate(bars):
        y = top + PANEL_TOP + ROW_HEIGHT * number
        kind = {ours: "ours", floor: "floor"}.get(name, "other")
        weight = " strong" if name == ours else ""
        width = max(2, position(value) - begin)
        parts.append(text(begin - 8, y + 14, f"text end{weight}", name))
        size = f'width="{width:.1f}" height="{ROW_HEIGHT - 6}"'
        parts.append(f'<rect x="{begin}" y="{y + 3}" {size} rx="2" class="{kind}"/>')
        parts.append(text(begin + width + 6, y + 14, f"text{weight}", label))
    return parts


def draw(panels, ours, floor, subtitle, notes):
    """The chart as a text. `panels` are titles and bars; `notes` stand beside an odd last one."""
    heights = [
        PANEL_TOP + PANEL_BOTTOM + ROW_HEIGHT * max(len(bars) for _, bars in panels[row : row + COLUMNS])
        for row in range(0, len(panels), COLUMNS)
    ]
    width = 2 * MARGIN + COLUMNS * PANEL_WIDTH
    height = TOP + sum(heights) + MARGIN
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" viewBox="0 0 {width} {height}">',
        f"<title>{escape(ours)} and other stores</title>",
        f"<style>{STYLE}</style>",
        f'<rect width="{width}" height="{height}" class="page"/>',
        text(MARGIN, 30, "text title", f"One operation of {ours} and of other stores"),
        text(MARGIN, 50, "faint", subtitle),
    ]

    def place(number):
        row, column = divmod(number, COLUMNS)
        return MARGIN + column * PANEL_WIDTH, TOP + sum(heights[:row])

    for number, (title, bars) in enumerate(panels):
        parts += draw_panel(*place(number), title, bars, ours, floor)
    left, top = place(len(panels))
    for number, note in enumerate(notes):
        parts.append(text(left, top + PANEL_TOP + 14 + ROW_HEIGHT * number, "faint", note))
    svg = "\n".join(parts + ["</svg>"]) + "\n"
    xml.etree.ElementTree.fromstring(svg)
    return svg
