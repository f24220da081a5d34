#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""usage: peers.py BUILD_FOLDER RESULTS.json [ROUNDS] -- the library and other readers on the same files.

Each reading is a process of its own, so that its peak memory can be told; readers take turns. The CPU
time is what the process takes for the reading alone, without its start. Readers that are not installed
are named.
"""
import json
import os
import pathlib
import subprocess
import sys
import tempfile

SYNTAXES = {"native": 300, "rle": 30, "jpeg_lossless": 30, "jpeg_ls": 30}
SERIES = 5000
MIB = 1 << 20


def run(command):
    """(standard output, error text, peak MiB, CPU ms of the whole process), output None on failure."""
    with tempfile.TemporaryFile() as errors:
        process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=errors)
        output = process.stdout.read().decode()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        process.stdout.close()
        errors.seek(0)
        text = errors.read().decode().strip()
    cpu = (usage.ru_utime + usage.ru_stime) * 1e3
    return (output if process.returncode == 0 else None), text, usage.ru_maxrss * 1024 / MIB, cpu


def python_with_pydicom():
    for candidate in ("/usr/bin/python3", sys.executable):
        if run([candidate, "-c", "import numpy, pydicom"])[0] is not None:
            return candidate
    return None


class Results:
    def __init__(self):
        self.runs = []
        self.failed = {}

    def add(self, name, milliseconds, peak_mib, **counters):
        self.runs.append({"run_name": name, "run_type": "iteration", "time_unit": "ms",
                          "cpu_time": milliseconds, "peak_mib": peak_mib, **counters})

    def measure(self, name, command):
        if name in self.failed:
            return
        output, errors, peak_mib, _ = run(command)
        if output is None:
            self.failed[name] = errors.splitlines()[-1] if errors else "no message"
            print(f"{name}: {self.failed[name]}", file=sys.stderr)
        else:
            self.add(name, float(output), peak_mib)


def measure_verbs(results, reader, zrdcm, folder):
    """CPU time and peak memory of each verb; for a dataset of 1,000 MiB also as a multiple of its samples."""
    native, large, square = f"{folder}/native.dcm", f"{folder}/large.dcm", f"{folder}/square.raw"
    phantoms = f"{folder}/phantoms"
    subprocess.run([reader, "phantom", large, "native", "2000"], check=True)
    pathlib.Path(square).write_bytes(bytes(8192 * 8192 * 2))
    commands = {
        "samples": [phantoms],
        "info": [native],
        "decode": [native, "-o", f"{folder}/all.raw"],
        "split": [native, "-o", f"{folder}/split"],
        "sheet": [native, "-o", f"{folder}/sheet.png"],
        "overlays": [f"{phantoms}/ct-abdomen-overlays.dcm", "-o", f"{folder}/overlays"],
        "lut": [f"{phantoms}/mr-head-modality-lut.dcm"],
        "text": [native, "Rows"],
        "dict": [],
        "export": ["--from", native, "--pixels", square, "--columns", "8192", "--rows", "8192",
                   "-o", f"{folder}/square.dcm"],
        "split/1000MiB": [large, "-o", f"{folder}/large"],
        "sheet/1000MiB": [large, "-o", f"{folder}/large.png"],
    }
    for name, arguments in commands.items():
        text, errors, peak_mib, cpu = run([zrdcm, name.split("/")[0], *arguments])
        if text is None:
            raise SystemExit(f"zrdcm {name}: {errors}")
        large_only = {"peak_of_samples": peak_mib * MIB / os.path.getsize(large)} if large in arguments else {}
        results.add(f"zrdcm/{name}", cpu, peak_mib, **large_only)
    os.remove(large)


def main():
    build = pathlib.Path(sys.argv[1])
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 5
    reader = str(build / "bench/zrdcmexport_bench_reader")
    zrdcm = str(build / "src/tools/zrdcm/zrdcm")
    readers = {name: [reader, name] for name in ("library", "dcmtk", "dicomimage", "gdcm")}
    itk = build / "bench/zrdcmexport_bench_itk_reader"
    if itk.exists():
        readers["itk"] = [str(itk)]
    else:
        print("ITK: not installed", file=sys.stderr)
    python = python_with_pydicom()
    if python:
        readers["pydicom"] = [python, str(pathlib.Path(__file__).parent / "pydicom_reader.py")]
    else:
        print("pydicom: not installed", file=sys.stderr)

    results = Results()
    with tempfile.TemporaryDirectory() as folder:
        for syntax, frames in SYNTAXES.items():
            path = f"{folder}/{syntax}.dcm"
            subprocess.run([reader, "phantom", path, syntax, str(frames)], check=True)
            samples = frames * 512 * 512 * 2
            print(f"{syntax}: compressed {samples / os.path.getsize(path):.2f} to 1", file=sys.stderr)
            for _ in range(rounds):
                for name, command in readers.items():
                    results.measure(f"files_{syntax}/{name}", command + [path])
        measure_verbs(results, reader, zrdcm, folder)

        if python:
            writer = str(pathlib.Path(__file__).parent / "pydicom_writer.py")
            for _ in range(rounds):
                results.measure("export/pydicom", [python, writer])

        series = pathlib.Path(folder) / "series"
        series.mkdir()
        subprocess.run([reader, "series", str(series), str(SERIES)], check=True)
        files = sorted(str(path) for path in series.iterdir())
        for _ in range(rounds):
            results.measure("sort/headers", [reader, "headers", str(series)])
            output, errors, peak_mib, cpu = run([zrdcm, "sort", *files])
            if output is None:
                raise SystemExit(errors)
            results.add("sort/zrdcm", cpu, peak_mib)
    pathlib.Path(sys.argv[2]).write_text(json.dumps({"benchmarks": results.runs}, indent=1) + "\n",
                                         encoding="utf-8")


if __name__ == "__main__":
    main()
