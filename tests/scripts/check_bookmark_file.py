#!/usr/bin/python3
"""Reads bookmark files written by this program with Python's own property-list reader.

Usage: check_bookmark_file.py WRITER
WRITER is the write_bookmark_files program; it writes its files into a temporary folder,
and every file must be a binary property list holding exactly the expected keys and values.
"""
import os
import plistlib
import subprocess
import sys
import tempfile

# The name key is written only for a name of the bookmark's own: a host standing in for a
# missing name is not, and neither is an empty name.
EXPECTED = {
    "named.webloc": {"URL": "https://www.example.org/start?lang=en#top",
                     "public.url-name": "Example \u2013 Start Page"},
    "host-only.webloc": {"URL": "http://host.example.org/page.html"},
    "no-address.inetloc": {"URL": "", "public.url-name": "Nowhere"},
    "nothing.inetloc": {"URL": ""},
    "mail.mailloc": {"URL": "mailto:someone@example.org"},
    "empty-name.ftploc": {"URL": "ftp://ftp.example.org/pub/"},
}


def main():
    if len(sys.argv) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    failures = []
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run([sys.argv[1], folder], check=True, timeout=120)
        written = sorted(os.listdir(folder))
        if written != sorted(EXPECTED):
            failures.append(f"files written: {written}")
        for name, expected in sorted(EXPECTED.items()):
            path = os.path.join(folder, name)
            try:
                with open(path, "rb") as handle:
                    data = handle.read()
                if not data.startswith(b"bplist00"):
                    failures.append(f"{name}: not a binary property list")
                    continue
                plist = plistlib.loads(data, fmt=plistlib.FMT_BINARY)
            except (OSError, plistlib.InvalidFileException, ValueError) as error:
                failures.append(f"{name}: {error}")
                continue
            if plist != expected:
                failures.append(f"{name}: read {plist!r}, expected {expected!r}")
            else:
                print(f"PASS: {name}")
    for failure in failures:
        print(f"FAIL: {failure}")
    print(f"{len(EXPECTED) - len(failures)} passed, {len(failures)} failed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
