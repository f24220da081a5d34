#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""check_messages.py SOURCES: docs/messages.md must have each message of the library, and no other.

A message is a literal of src/core with a blank in it. What has one and is no message stands below.
"""
import pathlib
import re
import sys

# A comment, a static_assert's or a #error's text (for who compiles), a character, or literals side by side.
TOKEN = re.compile(r'//[^\n]*|/\*.*?\*/|#error[^\n]*|static_assert\([^;]*;'
                   r"|'(?:[^'\\]|\\.)+'"
                   r'|((?:"(?:[^"\\\n]|\\.)*"\s*)+)', re.S)
NO_MESSAGES = {
    "%s: %s": "logger and text of DCMTK",
    "Reformat: %s": "what stands before a message in the log",
    "ZrDcmData: %s": "the same",
    ":<unknown function>": "a place in the sources",
    "Allura Xper, 7.6.3.2": "a value that is looked for",
    "Philips Medical Systems": "the same",
    "PALETTE COLOR": "the same",
    " +": "characters before a number",
    ": ": "what stands between a message and its reason",
    r" \\": "characters between values",
}
WITHOUT_MESSAGES = {"Table.cpp", "TransferSyntaxes.cpp"}  # names of attributes, of transfer syntaxes


def literals(text):
    for match in TOKEN.finditer(text):
        if match.group(1):
            yield "".join(re.findall(r'"((?:[^"\\\n]|\\.)*)"', match.group(1)))


def main():
    root = pathlib.Path(sys.argv[1])
    messages = {}
    for source in sorted((root / "src/core").rglob("*")):
        if source.suffix in (".h", ".cpp") and source.name not in WITHOUT_MESSAGES:
            for text in literals(source.read_text(encoding="utf-8")):
                if " " in text:
                    messages.setdefault(text, source.name)
    page = (root / "docs/messages.md").read_text(encoding="utf-8")
    shown = {span.replace(r"\|", "|") for span in re.findall(r"`([^`]+)`", page)}
    rows = set(re.findall(r"^\| `([^`]+)` \|", page, re.M))
    wrong = [f"{file}: no line says which input gives '{text}'"
             for text, file in messages.items() if text not in shown and text not in NO_MESSAGES]
    wrong += [f"no source has '{text}' any more" for text in sorted(rows) if text not in messages]
    wrong += [f"no source has '{text}', which is called no message" for text in NO_MESSAGES if text not in messages]
    print(*wrong, sep="\n")
    print(f"{len(rows)} messages, {len(wrong)} faults")
    sys.exit(1 if wrong or not rows else 0)


if __name__ == "__main__":
    main()
