#!/usr/bin/python3
"""Reads what write_keyed_archives writes with Python's own property-list reader and checks
the keyed-archive layout (archiver, version, top, objects, classes) and every value."""

import datetime
import plistlib
import subprocess
import sys
import tempfile
from pathlib import Path

failures = []


def check(condition, message):
    if not condition:
        failures.append(message)


def load(folder, name):
    with open(folder / name, "rb") as handle:
        return plistlib.load(handle)


def uid(value):
    """A UID as plistlib gives it: plistlib.UID in binary files."""
    return value.data if isinstance(value, plistlib.UID) else None


def check_layout(archive, name):
    check(archive.get("$archiver") == "NSKeyedArchiver", f"{name}: $archiver")
    check(archive.get("$version") == 100000, f"{name}: $version")
    check(set(archive) == {"$archiver", "$version", "$top", "$objects"}, f"{name}: top-level keys {sorted(archive)}")
    objects = archive.get("$objects", [])
    check(objects[:1] == ["$null"], f"{name}: $objects starts with $null")
    root = uid(archive.get("$top", {}).get("root"))
    check(root is not None and 0 < root < len(objects), f"{name}: root UID")
    return objects, root


def resolve(objects, value):
    index = uid(value)
    return objects[index] if index is not None else value


def class_name(objects, entry):
    return resolve(objects, entry["$class"])["$classname"]


def check_string(folder):
    archive = load(folder, "string.archive")
    objects, root = check_layout(archive, "string")
    check(objects == ["$null", "text"], f"string: $objects {objects}")
    check(root == 1, "string: root UID 1")


def check_colors(folder):
    for name, expected in (("color.archive", b"1 0.5 0\0"), ("translucent-color.archive", b"0 0 0.698 0.5\0")):
        archive = load(folder, name)
        objects, root = check_layout(archive, name)
        color = objects[root]
        check(class_name(objects, color) == "NSColor", f"{name}: class")
        classes = resolve(objects, color["$class"])["$classes"]
        check(classes == ["NSColor", "NSObject"], f"{name}: $classes {classes}")
        check(color.get("NSColorSpace") == 2, f"{name}: device RGB")
        check(color.get("NSRGB") == expected, f"{name}: NSRGB {color.get('NSRGB')!r}")


def check_note_attributes(folder):
    archive = load(folder, "note-attributes.archive")
    objects, root = check_layout(archive, "note attributes")
    record = objects[root]
    check(class_name(objects, record) == "NVNoteAttributes", "note attributes: class")
    expected = {
        "fileVersion": 2000,
        "visibleChars.location": 3,
        "visibleChars.length": 40,
        "selectedChars.location": 5,
        "selectedChars.length": 2,
        "layoutOrientation": 0,
        "scaleFactor": 1.5,
        "rulerVisible": True,
        "visibleCGRect.origin.x": 0.0,
        "visibleCGRect.origin.y": 10.0,
        "visibleCGRect.size.width": 600.0,
        "visibleCGRect.size.height": 400.0,
    }
    for key, value in expected.items():
        check(record.get(key) == value and type(record.get(key)) is type(value),
              f"note attributes: {key} = {record.get(key)!r}")
    check(abs(record.get("hyphenationFactor", 0) - 0.1) < 1e-6 and record["hyphenationFactor"] != 0.1,
          "note attributes: hyphenation factor as a float")
    check("visibleRect" not in record and "backgroundColor" not in record, "note attributes: no old keys")
    components = resolve(objects, record.get("backgroundColorComponents"))
    check(class_name(objects, components) == "NSDictionary", "note attributes: components dictionary")
    keys = [resolve(objects, key) for key in components["NS.keys"]]
    values = [resolve(objects, value) for value in components["NS.objects"]]
    colour = dict(zip(keys, values))
    check(sorted(colour) == ["alpha", "blue", "green", "red"], f"note attributes: component keys {sorted(colour)}")
    # The CMYK colour (0, 0.5, 1, 0) in device RGB; colours keep 16 bits a channel.
    wanted = {"red": 1.0, "green": 0.5, "blue": 0.0, "alpha": 1.0}
    check(all(abs(colour.get(key, -1) - value) <= 1 / 65535 for key, value in wanted.items()),
          f"note attributes: components {colour}")
    check(all(type(value) is float for value in colour.values()), "note attributes: components are reals")
    typing = resolve(objects, record.get("typingAttributes"))
    check(class_name(objects, typing) == "NSDictionary", "note attributes: typing attributes")
    typing_keys = [resolve(objects, key) for key in typing["NS.keys"]]
    check(typing_keys == ["NSColor"], f"note attributes: typing keys {typing_keys}")
    check(class_name(objects, resolve(objects, typing["NS.objects"][0])) == "NSColor", "typing colour")


def check_every_kind(folder):
    for name in ("every-kind.xml", "every-kind.bplist"):
        plist = load(folder, name)
        expected = {
            "string": "Grüße <&> 日本",
            "integer": 42,
            "negative": -7,
            "large": 9000000000,
            "real": 0.9,
            "whole real": 1.0,
            "true": True,
            "false": False,
            "date": datetime.datetime(2026, 11, 15, 23, 27, 53),
            "data": b"x" * 200,
            "array": ["a", "b"],
            "empty": {},
        }
        for key, value in expected.items():
            check(plist.get(key) == value and type(plist.get(key)) is type(value), f"{name}: {key} = {plist.get(key)!r}")
        check(set(plist) == set(expected), f"{name}: keys")
    text = (folder / "every-kind.xml").read_text(encoding="utf-8")
    keys = [line.strip()[5:-6] for line in text.splitlines() if line.strip().startswith("<key>")]
    check(keys == sorted(keys), "xml: keys sorted")


def main():
    writer = sys.argv[1]
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([writer, folder], check=True)
        folder = Path(folder)
        check_string(folder)
        check_colors(folder)
        check_note_attributes(folder)
        check_every_kind(folder)
    for failure in failures:
        print("FAIL:", failure)
    print("checked keyed archives and property lists:", "failed" if failures else "all fine")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
