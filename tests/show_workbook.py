#!/usr/bin/env python3
"""Prints a workbook as a reader that did not write it finds it, one fact a line.

usage: show_workbook.py FILE
"""
import sys

from openpyxl import load_workbook
from openpyxl.worksheet.worksheet import Worksheet

# Merged cells keep what the file says of each of them; openpyxl would forget all but the first.
Worksheet._clean_merge_range = lambda sheet, area: None


def style(cell):
    font = cell.font
    colour = font.color.rgb if font.color is not None and font.color.type == "rgb" else None
    return {(True, "FFFF6600"): "title", (True, None): "label", (False, None): "plain"}.get(
        (bool(font.b), colour), f"bold {font.b} colour {colour}")


def text_of(rich):
    return "".join(run.t for paragraph in rich.tx.rich.p for run in paragraph.r)


def cells(sheet):
    for row in sheet.iter_rows():
        for cell in row:
            if cell.value is not None:
                yield f"{cell.coordinate} {style(cell)} {cell.value!r}"


def merges(sheet):
    for area in sorted(sheet.merged_cells.ranges, key=lambda area: (area.min_row, area.min_col)):
        yield f"merged {area.coord} {style(sheet.cell(area.max_row, area.max_col))}"


def cells_of(sheet, reference):
    """The numbers in a range of one row."""
    rows = sheet[reference.split("!")[1].replace("$", "")]
    return [cell.value for row in rows for cell in row if isinstance(cell.value, (int, float))]


def points(sheet, axis):
    """How many points the chart has a copy of, which must be those of the cells."""
    cache = axis.numRef.numCache
    numbers = [float(point.v) for point in cache.pt] if cache is not None else []
    if numbers and numbers != cells_of(sheet, axis.numRef.f):
        return f"differ: {numbers}"
    return len(numbers)


def charts(sheet):
    for chart in sheet._charts:
        start, end = chart.anchor._from, chart.anchor.to
        yield (f"chart {chart.tagname} {getattr(chart, 'scatterStyle', None)} "
               f"from {start.col},{start.row} to {end.col},{end.row} "
               f"offset {start.colOff},{start.rowOff} "
               f"x {text_of(chart.x_axis.title)!r} y {text_of(chart.y_axis.title)!r} "
               f"title {chart.title is not None}")
        for series in chart.series:
            x = series.cat or series.xVal
            y = series.val or series.yVal
            line = f"series {series.tx.v!r} {x.numRef.f} {y.numRef.f} "
            line += f"points {points(sheet, x)},{points(sheet, y)}"
            if series.marker is not None and series.marker.symbol not in (None, "none"):
                line += f" marker {series.marker.symbol} {series.marker.size}"
            yield line + f" smooth {bool(series.smooth)}"


workbook = load_workbook(sys.argv[1])
for sheet in workbook:
    print("sheet", sheet.title)
    for part in (cells, merges, charts):
        for line in part(sheet):
            print(line)
