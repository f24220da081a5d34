#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""Gathers what scripts/demo.sh has made on one page that needs no other file and no network.

usage: demo_page.py FOLDER    reads FOLDER's pictures, info.json and commands.txt, writes FOLDER/index.html
"""
import base64
import concurrent.futures
import html
import json
import pathlib
import struct
import sys
import zlib

TEMPLATE = pathlib.Path(__file__).with_name("demo_page.html")
CODINGS = ("-rle", "-jpeg-ls", "-jpeg-lossless", "-jpeg-baseline")
PICTURES = (
    ("ct-thorax", "Thorax, CT", "signed samples, the window of the file"),
    ("ct-thorax-lungs", "The same thorax", "another window, for the lungs"),
    ("ct-abdomen", "Abdomen, CT", "overlays in the unused bits left out"),
    ("ct-abdomen-overlays", "The same abdomen", "its two embedded overlays in colour"),
    ("mr-head", "Head, MR", "modality values by a lookup table"),
    ("cr-hand", "Hand, CR", "MONOCHROME1: small samples are bright"),
    ("nm-uptake", "Uptake, NM", "palette colours"),
    ("us-heart-ybr", "Heart, US", "YBR made RGB"),
    ("rt-dose", "Dose grid", "one plane of a volume"),
)
text = html.escape


class Page:
    """The pieces of the page, taken from one folder of results."""

    def __init__(self, folder):
        self.folder = folder
        lines = (folder / "commands.txt").read_text().splitlines()
        self.commands = dict(line.split("\t", 1) for line in lines)
        self.files = {pathlib.Path(file["file"]).stem: file
                      for file in json.loads((folder / "info.json").read_text())}
        # Packing takes nearly all of the time and lets other threads run.
        self.packers = concurrent.futures.ThreadPoolExecutor()
        self.packing = {}

    def image(self, path, alt, attributes=""):
        self.packing[path] = self.packers.submit(packed, (self.folder / f"{path}.png").read_bytes())
        return f'<img src="{{{{IMAGE {path}}}}}" alt="{text(alt)}"{attributes}>'

    def command(self, made):
        return f'<pre class="command" tabindex="0"><code>{text(self.commands[made])}</code></pre>'

    def animation(self, name, frames, milliseconds):
        """The first picture shows without scripts; `frames` are (path, caption)."""
        images = "".join(
            self.image(path, caption, ' class="shown"' if number == 0 else ' aria-hidden="true"')
            for number, (path, caption) in enumerate(frames))
        return (f'<div class="animation" id="{name}" data-milliseconds="{milliseconds}">'
                f'<div class="stage">{images}</div><div class="controls">'
                f'<button type="button">Pause</button><span class="caption">{text(frames[0][1])}</span>'
                '</div></div>')

    def heart(self):
        volumes = json.loads((self.folder / "heart/manifest.json").read_text())["volumes"]
        beat = sorted((volume for volume in volumes if volume["rrInterval"] == 0),
                      key=lambda volume: volume["timeSlot"])
        return self.animation("heart-beat", [
            (f'heart/{pathlib.Path(volume["sheet"]).stem}',
             f'Gated heart, time slot {volume["timeSlot"] + 1} of {len(beat)}: '
             f'{len(volume["slices"])} slices') for volume in beat], 160)

    def clip(self):
        pictures = sorted(self.folder.glob("us-heart-[0-9]*.png"))
        return self.animation("ultrasound-clip", [
            (picture.stem, f"Ultrasound of a heart, frame {number + 1} of {len(pictures)}")
            for number, picture in enumerate(pictures)], 90)

    def pictures(self):
        return "".join(
            f'<figure>{self.image(path, f"{title}: {what}")}<figcaption><h3>{text(title)}</h3>'
            f'<p>{text(what)}</p>{self.command(path)}</figcaption></figure>'
            for path, title, what in PICTURES)

    def plain(self):
        return [name for name in self.files if not name.endswith(CODINGS)]

    def phantoms(self):
        return "".join(self.phantom(name) for name in self.plain())

    def phantom(self, name):
        file = self.files[name]
        rows = "".join(f"<dt>{text(key)}</dt><dd>{text(value)}</dd>" for key, value in attributes(file))
        copies = [name] + [name + coding for coding in CODINGS if name + coding in self.files]
        codings = "".join(self.coding(copy) for copy in copies)
        made = f"sheets/{name}"
        return (f'<article id="{name}"><h3>{name}</h3><div class="columns"><figure>'
                f'{self.image(made, f"Sheet of {name}: every frame with its number")}'
                f'<figcaption>{self.command(made)}</figcaption></figure><div><dl>{rows}</dl>'
                '<table><caption>The same image, coded</caption><thead><tr><th scope="col">File</th>'
                '<th scope="col">Transfer syntax</th><th scope="col">KiB</th></tr></thead>'
                f'<tbody>{codings}</tbody></table><details><summary>zrdcm info --json</summary>'
                f'<pre tabindex="0">{text(json.dumps(file, indent=1))}</pre></details></div></div></article>')

    def coding(self, name):
        kibibytes = (self.folder / f"phantoms/{name}.dcm").stat().st_size / 1024
        syntax = self.files[name]["transferSyntax"]["name"]
        return f"<tr><td>{name}.dcm</td><td>{text(syntax)}</td><td>{kibibytes:.0f}</td></tr>"

    def index(self):
        return "".join(f'<li><a href="#{name}">{name}</a></li>' for name in self.plain())

    def write(self):
        pieces = {
            "FILES": str(len(self.files)), "PHANTOMS": str(len(self.plain())),
            "HEART": self.heart(), "HEART_COMMAND": self.command("heart"),
            "CLIP": self.clip(), "CLIP_COMMAND": self.command("us-heart"),
            "PICTURES": self.pictures(), "CORONAL_COMMANDS": self.command("coronal"),
            "CORONAL_SHEET_COMMAND": self.command("ct-head-coronal"),
            "CORONAL": self.image("ct-head-coronal", "Coronal slices of the head, front to back"),
            "SAMPLES_COMMAND": self.command("phantoms"),
            "INDEX": self.index(), "ARTICLES": self.phantoms(),
        }
        page = TEMPLATE.read_text()
        for name, piece in pieces.items():
            page = page.replace("{{" + name + "}}", piece)
        for path, png in self.packing.items():
            data = base64.b64encode(png.result()).decode()
            page = page.replace("{{IMAGE " + path + "}}", f"data:image/png;base64,{data}")
        (self.folder / "index.html").write_text(page)


def packed(png):
    """The same picture in fewer bytes: zrdcm packs quickly, a page to pass on should be small."""
    header, data, at = b"", b"", 8
    while at < len(png):
        length, kind = struct.unpack(">I4s", png[at:at + 8])
        if kind == b"IDAT":
            data += png[at + 8:at + 8 + length]
        elif kind != b"IEND":
            header += png[at:at + 12 + length]
        at += 12 + length
    data = zlib.compress(zlib.decompress(data), 8)
    return png[:8] + header + chunk(b"IDAT", data) + chunk(b"IEND", b"")


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def attributes(file):
    """Yields (name, value) of what one wants to know of a file at a glance."""
    pixels, image, splitting = file["pixelFormat"], file["image"], file["splitting"]
    yield "SOP class", file["sopClass"]["name"]
    yield "Modality", file["modality"]
    yield "Size", f'{image["columns"]} x {image["rows"]}, frames: {image["frames"]}'
    yield "Pixels", (f'{pixels["photometricInterpretation"]}, {pixels["bitsStored"]} of '
                     f'{pixels["bitsAllocated"]} bits, {"signed" if pixels["signed"] else "unsigned"}')
    if image["rescale"]:
        yield "Rescale", "slope {:g}, intercept {:g}".format(*image["rescale"])
    if image["voiWindow"]:
        yield "Window", "centre {:g}, width {:g}".format(*image["voiWindow"])
    if image["pixelSpacing"]:
        yield "Pixel spacing", "{:g} x {:g} mm".format(*image["pixelSpacing"])
    for kind, table in file["luts"].items():
        if table:
            yield f"{kind.capitalize()} table", f'{table["entries"]} entries of {table["bits"]} bits'
    if file["overlays"]:
        yield "Overlays", ", ".join("{} x {}".format(*plane["size"]) for plane in file["overlays"])
    if splitting["splittable"]:
        yield "Splits into", f'volumes: {len(splitting["volumes"])}, by {splitting["pointerKind"]}'
    elif splitting["reason"]:
        yield "Not split", splitting["reason"]


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    Page(pathlib.Path(sys.argv[1])).write()
