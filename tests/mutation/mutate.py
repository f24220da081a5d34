#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""Puts small slips into the library, one at a time, and counts how many of them the tests notice.

Works on a copy of the sources in a build folder. There the archive that tests link is a shared library
with nothing hidden: a slip costs one compilation and one link, and no test program is built again.
Each mutant is compiled and linked in a folder of its own, so that the copy stays as it is.
README.md beside this file says how to read the report.
"""
import argparse
import concurrent.futures
import csv
import json
import os
import pathlib
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import threading
import time

import mutants

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
CORE = "src/core"
LIBRARY = "libzrdcmexport_static.so"

# Test programs of each subject, in the order in which they are asked; (program, filter).
SUBJECTS = {
    "decoding": ([("decoding/slice_decoding_tests", "*")],
                 ["decoding/SliceDecoding.cpp", "decoding/SliceAttributes.cpp",
                  "decoding/SampleMemory.cpp", "decoding/Decoders.cpp",
                  "decoding/Colour.cpp", "decoding/Monochrome.cpp"]),
    # Without the images of one value, which take most of the time.
    "streams": ([("streams/streams_tests", "-*Constant*"), ("decoding/slice_decoding_tests", "*")],
                ["streams/CodecGuard.cpp", "streams/FragmentStream.cpp", "streams/Fragments.cpp",
                 "streams/Inspector.cpp", "streams/Jpeg.cpp", "streams/JpegLs.cpp",
                 "streams/JpegMarkers.cpp", "streams/NestedImages.cpp", "streams/Rle.cpp",
                 "streams/TransferSyntaxes.cpp"]),
    "numbers": ([("dicom/dicom_tests", "*")], ["dicom/Numbers.cpp", "dicom/ImageAttributes.cpp"]),
    "frames": ([("decoding/frame_tests", "*")],
               ["decoding/ImageFrames.cpp", "decoding/FrameFragments.cpp", "zrdcmexport/ZrFrames.cpp"]),
    "record": ([("decoding/slice_tests", "*")], ["zrdcmexport/ZrSliceImage.cpp"]),
    "overlays": ([("decoding/slice_tests", "*"), ("decoding/slice_decoding_tests", "*Overlay*")],
                 ["decoding/EmbeddedOverlays.cpp"]),
    "splitting": ([("volumes/multiframe_tests", "*")],
                  ["volumes/FrameOrder.cpp", "volumes/Splitting.cpp", "volumes/MultiFrameImage.cpp"]),
    "lookup tables": ([("samples/lut_tests", "-*Model*")],
                      ["zrdcmexport/ExDicomUtilitiesLUT.cpp", "samples/LutReading.cpp",
                       "samples/LutWriting.cpp"]),
    "transform": ([("samples/lut_tests", "-*Model*"), ("samples/lut_tests", "*Model*")],
                  ["samples/Transform.cpp", "samples/TargetTransform.cpp", "samples/Kernels.cpp",
                   "samples/Domain.cpp"]),
    "rendering": ([("dictionary/dict_tests", "*")], ["dictionary/ValueText.cpp"]),
    "comparison": ([("series/series_tests", "*")], ["series/Comparison.cpp"]),
    # Without the tests that hand every kind of file to other readers: they take most of the time.
    "tag tree": ([("writing/export_tests", "-*/FileWith*:*/FileOf*")], ["writing/ZrDcmData.cpp"]),
    "writer": ([("writing/export_tests", "-*/FileWith*:*/FileOf*")],
               ["writing/ZrDcmExportPrivate.cpp", "writing/OutputFile.cpp", "writing/CallersSamples.cpp"]),
}
SUBJECT_OF = {name: subject for subject, (_, files) in SUBJECTS.items() for name in files}

# What turns the archive of the tests into a shared library, and spares each mutant the reading of DCMTK's
# headers. Each must be found in the copy.
CHANGES = [
    (f"{CORE}/CMakeLists.txt", "zr_configure_target(zrdcmexport_objects)\n",
     "zr_configure_target(zrdcmexport_objects)\ntarget_precompile_headers(zrdcmexport_objects PRIVATE\n"
     '  <dcmtk/config/osconfig.h> <dcmtk/dcmdata/dctk.h> <dcmtk/dcmimgle/dcmimage.h>)\n'),
    (f"{CORE}/CMakeLists.txt", "add_library(zrdcmexport_static STATIC", "add_library(zrdcmexport_static SHARED"),
    ("cmake/ZrTargets.cmake", "CXX_VISIBILITY_PRESET hidden", "CXX_VISIBILITY_PRESET default"),
    ("cmake/ZrTargets.cmake", "VISIBILITY_INLINES_HIDDEN ON", "VISIBILITY_INLINES_HIDDEN OFF"),
]


class Stop(Exception):
    """Something is wrong with the run itself."""


def run(command, log, cwd=None):
    with open(log, "wb") as out:
        if subprocess.run(command, cwd=cwd, stdout=out, stderr=subprocess.STDOUT, check=False).returncode:
            raise Stop(f"{shlex.join(map(str, command))} failed, see {log}")


def copy_sources(target):
    """Brings the copy up to date; files that did not change keep their time, so little is built."""
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                            cwd=ROOT, capture_output=True, check=True).stdout.decode().split("\0")
    wanted = {name for name in listed if name and (ROOT / name).is_file()}
    for name in wanted:
        text = (ROOT / name).read_bytes()
        for file, before, after in CHANGES:
            if file == name:
                if before.encode() not in text:
                    raise Stop(f"{file} has no '{before}' any more: CHANGES wants care")
                text = text.replace(before.encode(), after.encode())
        copy = target / name
        if not copy.is_file() or copy.read_bytes() != text:
            copy.parent.mkdir(parents=True, exist_ok=True)
            copy.write_bytes(text)
            shutil.copymode(ROOT / name, copy)
    for copy in [path for path in target.rglob("*") if path.is_file()]:
        if str(copy.relative_to(target)) not in wanted:
            copy.unlink()


class Build:
    """The copy, built without any slip."""

    def __init__(self, folder, subjects, jobs):
        self.sources = folder / "sources"
        self.folder = folder / "build"
        folder.mkdir(parents=True, exist_ok=True)
        copy_sources(self.sources)
        # No debug information and no optimisation: compiling is most of the time of a mutant.
        run(["cmake", "-G", "Ninja", "-S", self.sources, "-B", self.folder, "-DCMAKE_BUILD_TYPE=Debug",
             "-DCMAKE_CXX_FLAGS_DEBUG=-O0 -w", "-DZRDCMEXPORT_BUILD_TOOLS=OFF",
             "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", "--log-level=WARNING"], folder / "configure.log")
        programs = sorted({pathlib.Path(program).name for subject in subjects
                           for program, _ in SUBJECTS[subject][0]})
        run(["ninja", "-C", self.folder, "-j", str(jobs), "zrdcmexport_static", *programs],
            folder / "build.log")
        with open(self.folder / "compile_commands.json", encoding="utf-8") as commands:
            self.compile = {entry["file"]: entry for entry in json.load(commands)
                            if entry["file"].startswith(f"{self.sources}/{CORE}/")}
        links = subprocess.run(["ninja", "-C", self.folder, "-t", "commands", "-s", f"{CORE}/{LIBRARY}"],
                               capture_output=True, check=True, text=True).stdout.splitlines()
        self.link = re.search(r"(?:^|&& )(\S*(?:g\+\+|c\+\+|clang\+\+)\S* .*?-shared .*?)(?: &&|$)",
                              links[-1]).group(1)

    def source_of(self, name):
        found = [path for path in map(pathlib.Path, self.compile) if str(path).endswith(f"/{CORE}/{name}")]
        if len(found) != 1:
            raise Stop(f"{len(found)} sources are called {name}: SUBJECTS wants care")
        return found[0]

    def object_of(self, name):
        entry = self.compile[str(self.source_of(name))]
        words = shlex.split(entry["command"])
        return words, words[words.index("-o") + 1]


def limits():
    resource.setrlimit(resource.RLIMIT_AS, (12 << 30, 12 << 30))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 28, 1 << 28))


# A heap that aborts where memory beyond a block was written, as the sanitizers of CI would. It touches
# whatever is allocated, so the tests that reserve gigabytes without using them stay out.
GUARDED_HEAP = {"LD_PRELOAD": "libc_malloc_debug.so.0", "MALLOC_CHECK_": "3"}
RESERVES_GIGABYTES = "*Gigabytes*"


def test(build, subject, library_folder, times, guarded=False):
    """What the tests of a subject say: 'survived', or why they did not pass."""
    for program, names in SUBJECTS[subject][0]:
        if guarded:
            names += (":" if "-" in names else "-") + RESERVES_GIGABYTES
        path = build.folder / "tests/core" / program
        temporary = library_folder / "tmp"
        temporary.mkdir(parents=True, exist_ok=True)
        environment = dict(os.environ, LD_LIBRARY_PATH=str(library_folder), TMPDIR=str(temporary),
                           **(GUARDED_HEAP if guarded else {}))
        begun = time.monotonic()
        process = subprocess.Popen([path, "--gtest_fail_fast", "--gtest_brief=1", f"--gtest_filter={names}"],
                                   cwd=temporary, env=environment, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT, preexec_fn=limits,
                                   start_new_session=True)
        known = times.get((program, names))
        try:
            out, _ = process.communicate(timeout=3 * known + 5 if known else 300)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.communicate()
            return "timeout"
        finally:
            shutil.rmtree(temporary, ignore_errors=True)
        if process.returncode < 0:
            return f"signal {-process.returncode}"
        if process.returncode != 0:
            found = re.search(rb"\[  FAILED  \] ([\w/.]+)", out)
            return found.group(1).decode() if found else f"exit status {process.returncode}"
        if known is None:
            times[(program, names)] = time.monotonic() - begun
    return "survived"


def try_mutant(build, mutant, folder, times):
    """(outcome, detail) of one mutant."""
    name = mutant.file
    source_file = build.source_of(name)
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    (folder / name).write_text(mutant.apply(source_file.read_text()))
    words, old_object = build.object_of(name)
    new_object = folder / "mutant.o"
    words[words.index("-o") + 1] = str(new_object)
    words[words.index(str(source_file))] = str(folder / name)
    words += ["-I", str(source_file.parent)]
    with open(folder / "log", "wb") as log:
        if subprocess.run(words, cwd=build.folder, stdout=log, stderr=log, check=False).returncode:
            return "not compiled", ""
        if new_object.read_bytes() == (build.folder / old_object).read_bytes():
            return "same code", ""
        link = shlex.split(build.link)
        link[link.index(old_object)] = str(new_object)
        link[link.index("-o") + 1] = str(folder / LIBRARY)
        if subprocess.run(link, cwd=build.folder, stdout=log, stderr=log, check=False).returncode:
            return "not compiled", "does not link"
    verdict = test(build, SUBJECT_OF[name], folder, times)
    if verdict == "survived":
        verdict = test(build, SUBJECT_OF[name], folder, times, guarded=True)
    return ("survived", "") if verdict == "survived" else ("killed", verdict)


def read_table(path):
    if not path.exists():
        return []
    with open(path, encoding="utf-8", newline="") as table:
        rows = [row for row in csv.reader(table, delimiter="\t", quoting=csv.QUOTE_NONE)]
    return [row for row in rows if row and not row[0].startswith("#")]


def summary(rows, equivalent, out):
    columns = ("mutants", "killed", "equivalent", "survived", "not compiled")
    counts = {}
    survivors = []
    for file, line, _, before, after, outcome, _ in rows:
        if outcome == "same code" or (outcome == "survived" and (file, before, after) in equivalent):
            outcome = "equivalent"
        if outcome == "survived":
            survivors.append((file, line, before, after))
        for name in (file, "all"):
            entry = counts.setdefault(name, dict.fromkeys(columns, 0))
            entry["mutants"] += 1
            entry[outcome] += 1

    print(f"{'file':38}" + "".join(f"{column:>13}" for column in columns) + f"{'share':>9}", file=out)
    share = 1.0
    for name in sorted(counts, key=lambda file: (file == "all", file)):
        entry = counts[name]
        judged = entry["killed"] + entry["survived"]
        share = entry["killed"] / judged if judged else 1.0
        print(f"{name:38}" + "".join(f"{entry[column]:13}" for column in columns) + f"{100 * share:8.1f}%",
              file=out)
    if survivors:
        print("\nsurvivors:", file=out)
    for file, line, before, after in survivors:
        print(f"  {file}:{line}\n    - {before}\n    + {after}", file=out)
    return share


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n", maxsplit=1)[0])
    parser.add_argument("--count", type=int, default=360, help="mutants to choose (default 360)")
    parser.add_argument("--seed", default="1", help="chooses others (default 1)")
    parser.add_argument("--build", type=pathlib.Path, default=ROOT / "build/mutation", help="folder to work in")
    parser.add_argument("--subject", action="append", choices=list(SUBJECTS), help="these subjects only")
    parser.add_argument("--survivors", action="store_true",
                        help="try only what survived the last run or was not tried, and keep the other results")
    parser.add_argument("--jobs", type=int, default=1, help="mutants at a time (default 1)")
    parser.add_argument("--nice", type=int, default=5, help="how far to stand back for others (default 5)")
    parser.add_argument("--goal", type=float, default=85, help="share of killed mutants to reach, in percent")
    return parser.parse_args()


def main():
    arguments = parse_arguments()
    os.nice(arguments.nice)
    begun = time.monotonic()
    subjects = arguments.subject or list(SUBJECTS)
    folder = arguments.build.resolve()
    build = Build(folder, subjects, arguments.jobs)

    times = {}
    for subject in subjects:
        clean = folder / "clean"
        clean.mkdir(exist_ok=True)
        for guarded in (False, True):
            verdict = test(build, subject, clean, times, guarded)
            if verdict != "survived":
                break
        if verdict != "survived":
            raise Stop(f"the tests of {subject} fail without any slip: {verdict}")
    print(f"built and tested without slips after {time.monotonic() - begun:.0f} s", flush=True)

    sources = {name: build.source_of(name).read_text() for subject in SUBJECTS for name in SUBJECTS[subject][1]}
    chosen = mutants.choose({name: mutants.mutants_of(name, text) for name, text in sources.items()},
                            arguments.count, arguments.seed)
    results = folder / "results.tsv"
    known = {tuple(row[0:1] + row[2:5]): row for row in read_table(results)} if arguments.survivors else {}

    def key_of(mutant):
        return (mutant.file, mutant.kind, *mutant.before_and_after(sources[mutant.file]))

    equivalent = {tuple(row[:3]) for row in read_table(HERE / "equivalent.tsv")}
    for file, before, _ in sorted(equivalent):
        if before not in [line.strip() for line in sources.get(file, "").splitlines()]:
            raise Stop(f"equivalent.tsv knows a line that {file} does not have: {before}")

    def is_known(mutant):
        file, _, before, after = key = key_of(mutant)
        return key in known and (known[key][5] != "survived" or (file, before, after) in equivalent)

    chosen = [mutant for mutant in chosen if SUBJECT_OF[mutant.file] in subjects]
    lock = threading.Lock()
    rows = {}

    def judge(index):
        mutant = chosen[index]
        was_known = is_known(mutant)
        if was_known:
            outcome, detail = known[key_of(mutant)][5:7]
        else:
            worker = folder / f"mutant-{threading.get_ident()}"
            outcome, detail = try_mutant(build, mutant, worker, times)
            shutil.rmtree(worker, ignore_errors=True)
        line = mutant.line(sources[mutant.file])
        with lock:
            rows[index] = [mutant.file, str(line), *key_of(mutant)[1:], outcome, detail]
            if not was_known:
                print(f"{len(rows)}/{len(chosen)} {mutant.file}:{line} {mutant.kind}: {outcome} {detail}", flush=True)
            known.pop(key_of(mutant), None)
            with open(results, "w", encoding="utf-8") as table:  # a run that is stopped can go on
                table.writelines("\t".join(row) + "\n" for row in [*(rows[i] for i in sorted(rows)), *known.values()])

    with concurrent.futures.ThreadPoolExecutor(arguments.jobs) as pool:
        list(pool.map(judge, range(len(chosen))))

    ordered = [rows[i] for i in sorted(rows)]
    with open(folder / "report.txt", "w", encoding="utf-8") as report:
        summary(ordered, equivalent, report)
    share = summary(ordered, equivalent, sys.stdout)
    print(f"\n{time.monotonic() - begun:.0f} seconds")
    return 0 if 100 * share >= arguments.goal else 1


if __name__ == "__main__":
    try:
        sys.exit(main())
    except Stop as stop:
        sys.exit(str(stop))
