#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
#
# Writes the spreadsheets the spreadsheet reader's tests read, with the
# libraries spreadsheet users' own tools are built on: openpyxl for .xlsx,
# odfpy for .ods (Debian's python3-openpyxl and python3-odf, which only the
# system interpreter sees). Run it from anywhere to regenerate them:
#
#   /usr/bin/python3 tests/data/make-spreadsheets.py
#
# The tests hold the values each cell must read as; change both together.
import csv
import datetime
import os
import sys

from openpyxl import Workbook
from openpyxl.utils.datetime import CALENDAR_MAC_1904
from odf.opendocument import OpenDocumentSpreadsheet
from odf.office import Annotation
from odf.table import (CoveredTableCell, Table, TableCell, TableHeaderRows, TableRow)
from odf.text import LineBreak, P, S, Span, Tab

OUT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "spreadsheet")
FIXED = datetime.datetime(2024, 1, 1)


def workbook():
    book = Workbook()
    book.properties.created = FIXED
    book.properties.modified = FIXED
    return book


def write_types_xlsx():
    book = workbook()
    hidden = book.active
    hidden.title = "Hidden"
    hidden["A1"] = "not the default"
    hidden.sheet_state = "hidden"

    shots = book.create_sheet("Shots")
    shots.append(["ID", "Code", "Name", "Count", "Ratio", "Shot on", "Shot at", "Time",
                  "Approved", "Formula", "Custom date", "Distance", "Elapsed"])
    shots.append([1, "00123", "Ann Berg", 42, 0.1, datetime.date(2024, 3, 5),
                  datetime.datetime(2024, 3, 5, 14, 30), datetime.time(14, 30), True,
                  "=D2*2", 45356, 12.5, 1.5])
    shots["K2"].number_format = "dd/mm/yyyy"
    shots["L2"].number_format = '0.00" m"'
    shots["M2"].number_format = "[h]:mm:ss"
    shots.append([2, "007", "Łucja\nNowak", -3, 1 / 3, datetime.date(1999, 12, 31),
                  datetime.datetime(2000, 2, 29, 23, 59, 59), datetime.time(0, 0, 1), False])
    shots.append([])  # an empty row between rows
    shots.append([3, "merged", None, 7])
    shots.merge_cells("B5:C5")
    # Styled but empty: a trailing row and column that hold nothing.
    shots.cell(row=9, column=20).number_format = "0.00"

    second = book.create_sheet("Second")
    second.append(["Number"])
    for number in [1e20, 1.5e-7, 123456789012, -0.5, 2.5e-5, 100.0]:
        second.append([number])
    book.active = 1
    book.save(os.path.join(OUT, "types.xlsx"))


def write_1904_xlsx():
    book = workbook()
    book.epoch = CALENDAR_MAC_1904
    sheet = book.active
    sheet.title = "Mac"
    sheet.append(["Day", "Moment"])
    sheet.append([datetime.date(2024, 3, 5), datetime.datetime(1904, 1, 2, 6, 0)])
    book.save(os.path.join(OUT, "date1904.xlsx"))


def write_sessions_xlsx():
    # Two sessions of a school shoot, one sheet each, for choosing a sheet.
    book = workbook()
    first = book.active
    first.title = "Day 1"
    first.append(["Shot", "Title"])
    first.append(["00123", "Ann, first day"])
    second = book.create_sheet("Day 2")
    second.append(["Shot", "Title"])
    second.append(["00123", "Ann, second day"])
    second.append(["007", "=NA()"])
    book.save(os.path.join(OUT, "sessions.xlsx"))


def write_example_xlsx():
    # The examples' shoot as a studio receives it: a sheet per day, the
    # shots of the first as in shoot.csv. The screenshots show its panel.
    examples = os.path.join(os.path.dirname(OUT), "..", "..", "examples")
    book = workbook()
    monday = book.active
    monday.title = "Monday"
    with open(os.path.join(examples, "shoot.csv"), encoding="utf-8") as csv_file:
        for row in csv.reader(csv_file):
            monday.append(row)
    tuesday = book.create_sheet("Tuesday")
    for row in monday.iter_rows(max_row=1, values_only=True):
        tuesday.append(row)
    tuesday.append(["E505", "Evening light", "jonas berg", "evening", "Lund", "true"])
    book.save(os.path.join(examples, "shoot.xlsx"))


def cell(**attributes):
    text = attributes.pop("text", None)
    made = TableCell(**attributes)
    if text is not None:
        made.addElement(P(text=text))
    return made


def write_types_ods():
    doc = OpenDocumentSpreadsheet()
    shots = Table(name="Shots")

    header = TableRow()
    for name in ["ID", "Code", "Name", "Ratio", "Shot on", "Shot at", "Time", "Approved",
                 "Share", "Notes"]:
        header.addElement(cell(valuetype="string", text=name))
    headers = TableHeaderRows()
    headers.addElement(header)
    shots.addElement(headers)

    row = TableRow()
    row.addElement(cell(valuetype="float", value="1", text="1"))
    row.addElement(cell(valuetype="string", text="00123"))
    name = TableCell(valuetype="string")
    spaced = P(text="Ann")
    spaced.addElement(S(c=2))
    spaced.addText("Berg")
    name.addElement(spaced)
    comment = Annotation()
    comment.addElement(P(text="a comment, no part of the value"))
    name.addElement(comment)
    row.addElement(name)
    row.addElement(cell(valuetype="float", value="0.1", text="0,1"))
    row.addElement(cell(valuetype="date", datevalue="2024-03-05", text="05.03.24"))
    row.addElement(cell(valuetype="date", datevalue="2024-03-05T14:30:00", text="x"))
    row.addElement(cell(valuetype="time", timevalue="PT14H30M00S", text="14:30"))
    row.addElement(cell(valuetype="boolean", booleanvalue="true", text="WAHR"))
    row.addElement(cell(valuetype="percentage", value="0.25", text="25 %"))
    notes = TableCell(valuetype="string")
    first = P(text="line")
    first.addElement(Tab())
    first.addElement(Span(text="one"))
    first.addElement(LineBreak())
    first.addText("and a half")
    notes.addElement(first)
    notes.addElement(P(text="line two"))
    row.addElement(notes)
    shots.addElement(row)

    row = TableRow()
    row.addElement(cell(valuetype="float", value="2", text="2"))
    row.addElement(cell(valuetype="string", text="merged", numbercolumnsspanned="2"))
    covered = CoveredTableCell(valuetype="string")
    covered.addElement(P(text="hidden under the merge"))
    row.addElement(covered)
    row.addElement(cell(valuetype="string", stringvalue="", formula="of:=NA()", text="#N/A"))
    row.addElement(cell(valuetype="string", stringvalue="from the attribute", text="shown"))
    shots.addElement(row)

    empty = TableRow(numberrowsrepeated="3")
    empty.addElement(TableCell(numbercolumnsrepeated="10"))
    shots.addElement(empty)

    row = TableRow(numberrowsrepeated="2")
    row.addElement(cell(valuetype="float", value="1.5e-7", text="0"))
    row.addElement(cell(valuetype="string", text="x", numbercolumnsrepeated="3"))
    row.addElement(TableCell(numbercolumnsrepeated="1000"))
    shots.addElement(row)

    # What a spreadsheet program writes below the data: an empty row for
    # the rest of the sheet.
    rest = TableRow(numberrowsrepeated="1048000")
    rest.addElement(TableCell(numbercolumnsrepeated="16384"))
    shots.addElement(rest)
    doc.spreadsheet.addElement(shots)

    other = Table(name="Other")
    row = TableRow()
    row.addElement(cell(valuetype="string", text="only"))
    other.addElement(row)
    doc.spreadsheet.addElement(other)
    doc.save(os.path.join(OUT, "types.ods"))


def main():
    os.makedirs(OUT, exist_ok=True)
    write_types_xlsx()
    write_1904_xlsx()
    write_sessions_xlsx()
    write_example_xlsx()
    write_types_ods()
    return 0


if __name__ == "__main__":
    sys.exit(main())
