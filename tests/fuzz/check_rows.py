#!/usr/bin/env python3
"""Every exported function is called by a row of the table: the rows' object files refer to it. Left out are what
classes keep private, whose execution is pzel_fuzz --covers' business, and tables.

    check_rows.py LIBRARY HEADERS OBJECT...     HEADERS is the folder of the library's headers
"""
import pathlib
import re
import subprocess
import sys

library, headers, objects = sys.argv[1], sys.argv[2], sys.argv[3:]


def lines(*command, text=None):
    return subprocess.run(command, input=text, capture_output=True, text=True, check=True).stdout.splitlines()


def names(*command):
    found = sorted({line.split()[-1] for line in lines("nm", *command) if "_Z" in line})
    return set(lines("c++filt", text="\n".join(found)))


def private_members():
    found = set()
    for header in pathlib.Path(headers).rglob("*.h"):
        owner, hidden = None, False
        for line in header.read_text().splitlines():
            if start := re.match(r"(?:class|struct) (?:PZEL_API )?(\w+)[^;]*{", line):
                owner, hidden = start[1], False
            elif re.match(r"  (private|public|protected):", line):
                hidden = "private" in line
            elif owner and hidden and (member := re.match(r"    [\w:<>*&\[\], ]*?(\w+)\(", line)):
                found.add(f"{owner}::{member[1]}(")
    return found


hidden = private_members()
exported = {name for name in names("-D", "--defined-only", library)
            if "(" in name and "<" not in name.split("(")[0] and not name.startswith("std::")
            and not any(member in name for member in hidden)}
called = names("-u", *objects)
missing = sorted(exported - called)
for name in missing:
    print(f"no row calls {name}")
if not missing and exported:
    print(f"rows: {len(exported)} functions, all called; {len(hidden)} members are private")
sys.exit(bool(missing) or not exported)
