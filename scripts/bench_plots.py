"""What the page of benchmarks is made of: tables, bars, and lines of growth, as HTML and SVG without scripts.

The plots are bars and lines of a few points each, so they are written as SVG here instead of drawn by a plotting package.
"""

import html
import math
import re


def number(value):
    return f"{value:.3g}" if value < 100 else f"{value:.0f}"


def table(headings, rows):
    print("<table><tr>" + "".join(f"<th>{h}</th>" for h in headings) + "</tr>")
    for row in rows:
        cells = []
        for cell in row:
            if isinstance(cell, tuple):
                cells.append(f'<td class="n {cell[1]}">{cell[0]}</td>')
            elif re.fullmatch(r"[-0-9.e+]+", cell):
                cells.append(f'<td class="n">{cell}</td>')
            else:
                cells.append(f"<td>{html.escape(cell)}</td>")
        print("<tr>" + "".join(cells) + "</tr>")
    print("</table>")


def bars(values, reference, title):
    """Horizontal bars (name, value, spread as a whisker), and a line at the reference."""
    left, width, step = 190, 480, 20
    top = max([reference] + [v + s for _, v, s in values]) * 1.1
    height = step * len(values) + 30
    print(f'<svg viewBox="0 0 {left + width + 60} {height}" role="img"><title>{html.escape(title)}</title>')
    for i, (label, value, spread) in enumerate(values):
        y = i * step + 4
        length = width * value / top
        whisker = width * spread / top
        end = length + whisker
        colour = "#b44" if value > reference else "#47a"
        print(f'<text x="{left - 8}" y="{y + 11}" text-anchor="end">{html.escape(label)}</text>'
              f'<rect x="{left}" y="{y}" width="{length:.1f}" height="14" fill="{colour}"/>'
              f'<path d="M{left + length - whisker:.1f} {y + 7}H{left + end:.1f}" stroke="#222"/>'
              f'<text x="{left + end + 5:.1f}" y="{y + 11}">{number(value)}</text>')
    x = left + width * reference / top
    print(f'<line x1="{x:.1f}" x2="{x:.1f}" y1="0" y2="{height - 22}" stroke="#222" stroke-dasharray="4 3"/>'
          f'<text x="{x:.1f}" y="{height - 8}" text-anchor="middle">{reference:g}</text></svg>')


def steepness(points):
    """The power with which y grows from the last size but one to the last: 1 is in proportion, 0 is not at all."""
    (x0, y0), (x1, y1) = points[-2:]
    return math.log(y1 / y0) / math.log(x1 / x0)


def growth(points, x_title, y_title):
    """A line through (x, y), both axes linear from 0, and dashed what grows evenly from the first point to the last:
    what costs more and more for each is below the dashed line between them, what costs less and less above it."""
    left, width, height = 70, 420, 220
    x_top = max(x for x, _ in points)
    y_top = max(y for _, y in points) * 1.1 or 1

    def place(point):
        return left + width * point[0] / x_top, height - height * point[1] / y_top

    def path(chosen):
        return " ".join("{:.1f},{:.1f}".format(*place(point)) for point in chosen)

    print(f'<svg viewBox="0 0 {left + width + 60} {height + 45}" role="img"><title>{html.escape(y_title)}</title>'
          f'<path d="M{left} 18V{height}H{left + width}" fill="none" stroke="#222"/>'
          f'<polyline points="{path([points[0], points[-1]])}" fill="none" stroke="#888" stroke-dasharray="5 4"/>'
          f'<polyline points="{path(points)}" fill="none" stroke="#47a" stroke-width="2"/>')
    shown = -math.inf  # where the last number below the axis is: sizes that double crowd at its beginning
    for point in points:
        px, py = place(point)
        print(f'<circle cx="{px:.1f}" cy="{py:.1f}" r="4" fill="#47a"/>')
        if px - shown >= 34:
            below = py + 16 if py < height - 20 else py - 8  # not among the numbers of the axis
            print(f'<text x="{px + 6:.1f}" y="{below:.1f}">{number(point[1])}</text>'
                  f'<text x="{px:.1f}" y="{height + 16}" text-anchor="middle">{point[0]:g}</text>')
            shown = px
    print(f'<text x="{left + width / 2}" y="{height + 36}" text-anchor="middle">{html.escape(x_title)}</text>'
          f'<text x="4" y="12">{html.escape(y_title)}</text></svg>')
