#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""arrows.py [ROOT]: reads the includes of all sources below src/ and holds them against the rules below.

Prints what breaks a rule, a line each, and at the end what was measured. Exit status 1 when a rule is broken.
"""
import collections
import pathlib
import re
import sys

# From which targets a target may include public headers; its own files are always allowed.
TARGETS = {
    "platform": set(),
    "core": {"platform"},
    "codecs": {"core"},
    "imaging": {"core", "platform", "codecs"},
    "phantoms": {"imaging", "core"},
    "tools": {"imaging", "core", "phantoms"},
    "python": {"imaging", "core"},
}
# Within core and imaging a folder includes only folders to its left; those between bars are of one height.
# The sources of the faces (zrdcmexport/*.cpp, zrimaging/*.cpp) may include every folder; public headers none
# but public ones.
ORDER = {
    "core": ["dicom", "streams|samples|dictionary|series", "decoding|writing", "volumes"],
    "imaging": ["texts|output|geometry", "files", "pixels", "images|series|export|volumes", "pictures", "formats"],
}
FACES = {"core": "zrdcmexport", "imaging": "zrimaging"}
# What the codecs are built with as well, inspectors and a header of sizes: a program that uses the codecs alone
# needs no core.
SHARED = {"codecs": {f"src/core/{name}.h" for name in (
    "dicom/FrameSize", "streams/Fragments", "streams/Jpeg2000Frames", "streams/Jpeg2000Stream")}}
# Where the sources of a target begin, and what a quoted or angled name of theirs is relative to.
BASES = ["src/platform", "src/core", "src/codecs", "src/imaging", "src/tools/zrdcm", "src/python", "src"]
LARGEST_SHARE = 0.28
INCLUDE = re.compile(r'^\s*#\s*include\s+["<]([^">]+)[">]', re.M)


def target_of(path):
    return path.split("/")[1]


def folder_of(path):
    return path.rsplit("/", 1)[0]


def subject_of(path):
    """The folder within core or imaging that orders it; None for the faces and other targets."""
    parts = path.split("/")
    if parts[1] == "core" and parts[2] != FACES["core"]:
        return parts[2]
    if parts[1] == "imaging" and len(parts) > 4:
        return parts[3]
    return None


def height_of(target, subject):
    for height, names in enumerate(ORDER[target]):
        if subject in names.split("|"):
            return height
    return None


def public_headers(root):
    """Headers that are installed: those that a CMakeLists.txt lists as such."""
    found = set()
    for lists in sorted((root / "src").rglob("CMakeLists.txt")):
        text = lists.read_text(encoding="utf-8")
        folder = lists.parent.relative_to(root).as_posix()
        for block in re.findall(r"(?:public_headers|HEADERS|FILES)\s+([^)]*)", text):
            found |= {f"{folder}/{name}" for name in re.findall(r"[\w/]+\.(?:h|def)\b", block)}
    return found


def resolve(root, source, name):
    """The file of ours that an include names; None for all others."""
    for base in [folder_of(source), *BASES]:
        path = (root / base / name).resolve()
        if path.is_file() and path.is_relative_to(root):
            return path.relative_to(root).as_posix()
    return None


def read_graph(root):
    graph = {}
    lines = collections.Counter()
    for path in sorted((root / "src").rglob("*")):
        if path.suffix not in (".h", ".cpp", ".def"):
            continue
        source = path.relative_to(root).as_posix()
        text = path.read_text(encoding="utf-8")
        lines[folder_of(source)] += text.count("\n")
        names = [resolve(root, source, name) for name in INCLUDE.findall(text)]
        graph[source] = [name for name in names if name and name.startswith("src/")]
    return graph, lines


def broken_arrows(graph, public):
    for source, included in graph.items():
        for header in included:
            own, other = target_of(source), target_of(header)
            if own == other:
                yield from broken_heights(source, header)
            elif other not in TARGETS[own]:
                yield f"{source} includes {header}: src/{own} must not know src/{other}"
            elif header not in public | SHARED.get(own, set()) and other != "phantoms":
                yield f"{source} includes {header}, which is not a public header of src/{other}"
        if source in public:
            yield from (f"{source} is public and includes {header}, which is not"
                        for header in included if header not in public)


def broken_heights(source, header):
    target, own, other = target_of(source), subject_of(source), subject_of(header)
    if target not in ORDER or other is None:
        return
    for subject in filter(None, (own, other)):
        if height_of(target, subject) is None:
            yield f"{source}: the folder {subject} has no place in the order of src/{target}"
            return
    if own is not None and own != other and height_of(target, own) <= height_of(target, other):
        yield f"{source} includes {header}: {own} is not above {other}"


def circles(graph):
    """Files that reach themselves by includes, each circle once."""
    state, found = {}, []

    def visit(source, road):
        state[source] = "open"
        for header in graph.get(source, []):
            if state.get(header) == "open":
                found.append([*road[road.index(header):], header])
            elif header not in state:
                visit(header, [*road, header])
        state[source] = "closed"

    for source in graph:
        if source not in state:
            visit(source, [source])
    return found


def is_template_of_class(circle):
    """A template's definitions and the header of its class may include each other."""
    stems = {re.sub(r"(Inline|Impl|Template)$", "", pathlib.PurePath(file).stem) for file in circle}
    return len(stems) == 1


def main():
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".").resolve()
    graph, lines = read_graph(root)
    public = public_headers(root)
    wrong = list(broken_arrows(graph, public))
    wrong += ["a circle: " + " -> ".join(circle) for circle in circles(graph) if not is_template_of_class(circle)]
    total = sum(lines.values())
    wrong += [f"{folder} has {100 * count / total:.1f} % of all lines; more than {100 * LARGEST_SHARE:.0f} % "
              "is a folder of several subjects"
              for folder, count in lines.items() if count > LARGEST_SHARE * total]
    print(*wrong, sep="\n" if wrong else "")
    largest, count = lines.most_common(1)[0]
    print(f"{len(graph)} files, {sum(map(len, graph.values()))} includes of ours, {len(public)} public headers; "
          f"largest folder {largest} with {100 * count / total:.1f} %; {len(wrong)} faults")
    sys.exit(1 if wrong or not graph or not public else 0)


if __name__ == "__main__":
    main()
