#!/usr/bin/python3
"""Reads a library file with Python's own plistlib, independently of the project's reader,
and checks the layout the target expects. Prints what is wrong and exits 1, or exits 0."""
import plistlib
import re
import sys

UUID = re.compile(r"^[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$")
problems = []


def check(condition, message):
    if not condition:
        problems.append(message)


def main(path, expected_items):
    with open(path, "rb") as f:
        data = f.read()
    check(data.startswith(b'<?xml version="1.0" encoding="UTF-8"?>\n<!DOCTYPE plist'), "not an XML property list")
    library = plistlib.loads(data)
    check(sorted(library) == ["Entities", "ExporterVersion", "RemoveFileOnCompletion"], f"top-level keys {sorted(library)}")
    check(type(library.get("ExporterVersion")) is int and library["ExporterVersion"] == 350, "ExporterVersion")
    check(isinstance(library.get("RemoveFileOnCompletion"), str), "RemoveFileOnCompletion is no path")
    entities = library.get("Entities", {})
    for table in ["ItemGroup", "SmartGroup", "RuleSet", "RuleValue", "Label", "Item"]:
        check(isinstance(entities.get(table), dict), f"table {table} missing")
    for name, table in entities.items():
        for key, record in table.items():
            check(record.get("com.orvantis.Nortavel.EntityName") == name, f"{name} {key}: entity name")
            check(record.get("identifier") == key, f"{name} {key}: identifier")
    for key, rule_set in entities.get("RuleSet", {}).items():
        check(UUID.match(key) is not None, f"rule set {key} is no upper-case UUID")
        check(type(rule_set.get("matchAll")) is bool, f"rule set {key}: matchAll")
        for value in rule_set.get("ruleValues", []):
            rule_value = entities["RuleValue"].get(value)
            check(rule_value is not None and rule_value["ruleSet"] == key, f"rule value {value} of {key}")
    for key, rule_value in entities.get("RuleValue", {}).items():
        archive = plistlib.loads(rule_value["valueData"])
        check(archive.get("$archiver") == "NSKeyedArchiver" and archive.get("$version") == 100000, f"{key}: archive")
        objects = archive.get("$objects", [])
        root = archive.get("$top", {}).get("root")
        check(objects[:1] == ["$null"] and isinstance(root, plistlib.UID), f"{key}: $objects or $top")
        check(isinstance(objects[root.data], str), f"{key}: root is no string")
        check(type(rule_value.get("conditionType")) is int and rule_value["conditionType"] == 101, f"{key}: conditionType")
    for key, label in entities.get("Label", {}).items():
        for component in ["redComponent", "greenComponent", "blueComponent", "alphaComponent"]:
            check(type(label.get(component)) is float and 0 <= label[component] <= 1, f"label {key}: {component}")
    items = entities.get("Item", {})
    check(len(items) == expected_items, f"{len(items)} item records, expected {expected_items}")
    for key, item in items.items():
        check(type(item.get("itemType")) is int and item["itemType"] in (1, 2, 3, 6, 7), f"item {key}: itemType")
        check(item.get("extensionHidden") is True, f"item {key}: extensionHidden")
        check(item.get("groups", [None])[0] == "LibraryGroup", f"item {key}: groups")
        for date in ["dateCreated", "dateModified"]:
            if date in item:
                check(hasattr(item[date], "year"), f"item {key}: {date} is no date")
    if problems:
        print("\n".join(problems))
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], int(sys.argv[2])))
