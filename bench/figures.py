#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""figures.py ROWS [--release FILE] [--record FILE] [--svg FILE] [--into FILE]: the table of
what bench/run has measured, beside the figures of the last release.

ROWS holds a line for each figure: NAME|VALUES|LIMIT|UNIT, where VALUES are the measured
numbers of several rounds with blanks between them. A figure is their median; what stands
in brackets in its name may differ from run to run.
Its interval is made of two of the values, so that it holds the true median in at least
93 of 100 runs whatever the spread; five values are the fewest for one. A figure has
changed since the release when the two intervals have nothing in common.

--release reads such figures, --record writes them, --svg draws them, and --into puts them
as a table into a document, in place of the one between its two comments. Ends with 1 when
a figure is above its limit."""
import argparse
import dataclasses
import html
import math
import re
import sys

CERTAINTY = 0.93


@dataclasses.dataclass
class Figure:
    title: str
    median: float
    low: float
    high: float
    limit: float
    unit: str

    def name(self):
        return re.sub(r' \([^()]*\)', '', self.title)

    def has_interval(self):
        return not math.isnan(self.low)


def interval(values):
    """The narrowest pair of values in order that holds the median often enough: each value
    is below it or above it with equal chances, so the count below is binomial."""
    count = len(values)
    outside = 0.0
    best = math.nan, math.nan
    for rank in range(count // 2):
        outside += 2 * math.comb(count, rank) / 2 ** count
        if 1 - outside < CERTAINTY:
            break
        best = values[rank], values[count - 1 - rank]
    return best


def measured(path):
    figures = []
    for line in open(path, encoding='utf-8'):
        title, values, limit, unit = line.rstrip('\n').split('|')
        values = sorted(float(value) for value in values.split())
        middle = len(values) // 2
        median = values[middle] if len(values) % 2 else (values[middle - 1] + values[middle]) / 2
        figures.append(Figure(title, median, *interval(values), float(limit), unit))
    return figures


def recorded(path):
    figures = {}
    for line in open(path, encoding='utf-8'):
        if line.startswith('#'):
            continue
        name, median, low, high, unit = line.rstrip('\n').split('\t')
        figures[name] = Figure(name, float(median), float(low), float(high), math.nan, unit)
    return figures


def record(path, figures):
    with open(path, 'w', encoding='utf-8') as file:
        file.write('# What bench/run has measured: figure, median, ends of its interval, unit.\n')
        for figure in figures:
            file.write(f'{figure.name()}\t{figure.median:.4g}\t{figure.low:.4g}\t{figure.high:.4g}\t{figure.unit}\n')


def change(figure, before):
    """How the figure differs from the one before, in words; empty if it need not."""
    if before is None:
        return 'new'
    if not (figure.has_interval() and before.has_interval()):
        return ''
    if figure.low <= before.high and before.low <= figure.high:
        return ''
    percent = round(100 * (figure.median / before.median - 1))
    return f'{percent:+d} %' if percent else ''


def number(value):
    return '' if math.isnan(value) else f'{value:.{2 if value < 10 else 1 if value < 100 else 0}f}'


def table(figures, release):
    form = '{:<74} {:>8} {:>17} {:>8} {:<4} {:<7} {}'
    print(form.format('figure', 'measured', 'interval', 'at most', '', '', 'since the release' if release else ''))
    for figure in figures:
        ends = f'{number(figure.low)} to {number(figure.high)}' if figure.has_interval() else 'one value'
        verdict = 'MISSED' if figure.median > figure.limit else 'ok'
        print(form.format(figure.title, number(figure.median), ends, number(figure.limit), figure.unit, verdict,
                          change(figure, release.get(figure.name())) if release else '').rstrip())


def put_into(path, figures):
    """The document has <!-- figures --> and <!-- /figures --> each on a line of its own."""
    rows = ['', '| work | measured | at most |', '|---|---|---|']
    for figure in figures:
        unit = '×' if figure.unit == 'x' else figure.unit
        rows.append(f'| {figure.title} | {number(figure.median)} {unit} | {number(figure.limit)} {unit} |')
    with open(path, encoding='utf-8') as file:
        before, rest = file.read().split('<!-- figures -->\n')
    after = rest.split('<!-- /figures -->\n')[1]
    with open(path, 'w', encoding='utf-8') as file:
        file.write(before + '<!-- figures -->\n' + '\n'.join(rows + ['', '']) + '<!-- /figures -->\n' + after)


def drawing(figures, release):
    """Each figure as a bar: how much of what it may be at most it takes."""
    left = 30 + max(7 * len(figure.name()) for figure in figures) # about as wide as its letters are
    width, right, row, top = 420, 130, 24, 56
    height = top + row * len(figures) + 34
    scale = width / 1.25

    def place(share):
        return left + scale * min(share, 1.25)

    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {left + width + right} {height}" '
             'font-family="DejaVu Sans, Arial, sans-serif" font-size="12">',
             '<rect width="100%" height="100%" fill="#ffffff"/>',
             '<text x="16" y="26" font-size="15" fill="#202020">What is measured, as a share of what it may be at most</text>',
             f'<line x1="{place(1):.1f}" y1="{top - 8}" x2="{place(1):.1f}" y2="{height - 30}" stroke="#c04010" stroke-dasharray="4 3"/>',
             f'<text x="{place(1):.1f}" y="{top - 14}" text-anchor="middle" fill="#c04010">at most</text>']
    for index, figure in enumerate(figures):
        y = top + row * index
        middle = y + row / 2 - 2
        colour = '#c04010' if figure.median > figure.limit else '#3a99fd'
        parts.append(f'<text x="{left - 10}" y="{middle + 4:.1f}" text-anchor="end" fill="#202020">{html.escape(figure.name())}</text>')
        parts.append(f'<rect x="{left}" y="{y + 3}" width="{place(figure.median / figure.limit) - left:.1f}" height="{row - 10}" fill="{colour}"/>')
        if figure.unit == 'x':
            floor = place(1 / figure.limit)
            parts.append(f'<line x1="{floor:.1f}" y1="{y + 1}" x2="{floor:.1f}" y2="{y + row - 5}" stroke="#202020"/>')
        if figure.has_interval():
            low, high = place(figure.low / figure.limit), place(figure.high / figure.limit)
            parts.append(f'<path d="M{low:.1f} {middle - 3:.1f}v6M{low:.1f} {middle:.1f}H{high:.1f}M{high:.1f} {middle - 3:.1f}v6" '
                         'stroke="#103050" fill="none"/>')
        before = release.get(figure.name())
        if before:
            parts.append(f'<circle cx="{place(before.median / figure.limit):.1f}" cy="{middle:.1f}" r="3.5" fill="#ffffff" stroke="#606060"/>')
        unit = '×' if figure.unit == 'x' else figure.unit
        parts.append(f'<text x="{left + width + 4}" y="{middle + 4:.1f}" fill="#202020">{number(figure.median)} of {number(figure.limit)} {unit}</text>')
    legend = 'Black line: the floor of a ratio. Whiskers: the interval of the median.'
    if release:
        legend += ' Circle: the release before.'
    parts.append(f'<text x="16" y="{height - 12}" fill="#606060">{legend}</text>')
    return '\n'.join(parts + ['</svg>\n'])


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument('rows')
    arguments.add_argument('--release')
    arguments.add_argument('--record')
    arguments.add_argument('--svg')
    arguments.add_argument('--into')
    chosen = arguments.parse_args()
    figures = measured(chosen.rows)
    release = recorded(chosen.release) if chosen.release else {}
    table(figures, release)
    if chosen.record:
        record(chosen.record, figures)
    if chosen.svg:
        with open(chosen.svg, 'w', encoding='utf-8') as file:
            file.write(drawing(figures, release))
    if chosen.into:
        put_into(chosen.into, figures)
    return 1 if any(figure.median > figure.limit for figure in figures) else 0


if __name__ == '__main__':
    sys.exit(main())
