#!/usr/bin/env python3
"""Reads a run's report with Python's own readers, independently of the importer's code.

Usage: check_report.py REPORT.json REPORT.html

The JSON must parse and list its items with the keys every item has; the HTML must be UTF-8,
declare it, hold no script, and, read by html.parser, show every item's name whole in a table
cell of the table of every item, with its identifier. Prints what is wrong and exits 1, or exits 0.
"""

import json
import sys
from html.parser import HTMLParser

ITEM_KEYS = {"identifier", "name", "kind", "nortavelKind", "file", "outcome", "reason"}
OUTCOMES = {"imported", "passedOver", "originalFileAttached", "incomplete", "notImported"}


class Cells(HTMLParser):
    """The text of every table cell, per table, and whether any script element appears."""

    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.tables = []
        self.cell = None
        self.scripts = 0
        self.charset = None

    def handle_starttag(self, tag, attrs):
        if tag == "script":
            self.scripts += 1
        elif tag == "meta":
            self.charset = dict(attrs).get("charset", self.charset)
        elif tag == "table":
            self.tables.append([])
        elif tag == "td":
            self.cell = ""

    def handle_endtag(self, tag):
        if tag == "td" and self.cell is not None:
            self.tables[-1].append(self.cell)
            self.cell = None

    def handle_data(self, data):
        if self.cell is not None:
            self.cell += data


def main():
    json_path, html_path = sys.argv[1], sys.argv[2]
    problems = []
    with open(json_path, encoding="utf-8") as handle:
        report = json.load(handle)
    items = report.get("items")
    if not isinstance(items, list):
        problems.append("the JSON report has no list of items")
        items = []
    for index, item in enumerate(items):
        if set(item) != ITEM_KEYS:
            problems.append(f"item {index} has the keys {sorted(item)}")
        if item.get("outcome") not in OUTCOMES:
            problems.append(f"item {index} has the outcome {item.get('outcome')!r}")

    with open(html_path, "rb") as handle:
        raw = handle.read()
    try:
        text = raw.decode("utf-8")
    except UnicodeDecodeError as error:
        print(f"the HTML report is not UTF-8: {error}")
        return 1
    if not text.startswith("<!DOCTYPE html>"):
        problems.append("the HTML report does not begin with <!DOCTYPE html>")
    if "<script" in text.lower():
        problems.append("the HTML report holds a script")
    parser = Cells()
    parser.feed(text)
    parser.close()
    if parser.scripts:
        problems.append("the HTML report holds a script element")
    if (parser.charset or "").lower() != "utf-8":
        problems.append(f"the HTML report declares the character set {parser.charset!r}")
    if not parser.tables:
        problems.append("the HTML report has no table")
    else:
        # The last table lists every item, six cells a row, the name first.
        every = parser.tables[-1]
        names = every[0::6]
        if len(names) != len(items):
            problems.append(f"the table of every item has {len(names)} rows for {len(items)} items")
        for item, name, identifier in zip(items, names, every[5::6]):
            if name != item.get("name"):
                problems.append(f"the name {item.get('name')!r} reads {name!r} in the HTML report")
            if identifier != item.get("identifier"):
                problems.append(f"the identifier {item.get('identifier')!r} reads {identifier!r} in the HTML report")

    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
