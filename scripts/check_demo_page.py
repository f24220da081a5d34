#!/usr/bin/env python3
# SPDX-License-Identifier: BSD-3-Clause
"""Checks what a browser made of the page of `make demo`.

usage: check_demo_page.py FOLDER WORK

FOLDER holds index.html and the phantoms; WORK the page's elements (early.html, late.html) and pictures of
its head (early.png, late.png) at two moments. The first line of output tells what is wrong.
"""
import html.parser
import pathlib
import sys

LARGEST_BYTES = 15_000_000


class Elements(html.parser.HTMLParser):
    """Start tags with their attributes, and the text outside scripts and styles."""

    def __init__(self, path):
        super().__init__()
        self.tags, self.words, self.inside = [], [], ""
        self.feed(path.read_text())

    def handle_starttag(self, tag, attrs):
        self.tags.append((tag, dict(attrs)))
        self.inside = tag

    def handle_endtag(self, tag):
        self.inside = ""

    def handle_data(self, data):
        if self.inside not in ("script", "style"):
            self.words.append(data)

    def named(self, tag):
        return [attributes for name, attributes in self.tags if name == tag]

    def steps(self):
        return {attributes["id"]: int(attributes.get("data-steps", 0))
                for attributes in self.named("div") if attributes.get("class") == "animation"}


def findings(folder, work):
    """Yields a sentence for everything that is not as it should be."""
    size = (folder / "index.html").stat().st_size
    if size > LARGEST_BYTES:
        yield f"the page takes {size} bytes"
    early, late = Elements(work / "early.html"), Elements(work / "late.html")
    images = late.named("img")
    root = late.named("html")[0]
    if not images or root.get("data-images") != str(len(images)):
        yield f"the browser met {root.get('data-images')} images of {len(images)}"
    if root.get("data-loaded") != str(len(images)):
        yield f"{root.get('data-loaded')} of {len(images)} images were loaded"
    if not all(image.get("alt") for image in images):
        yield "an image has no text"
    yield from outside(late)
    words = " ".join(late.words)
    for phantom in sorted((folder / "phantoms").glob("*.dcm")):
        if phantom.name not in words.split():
            yield f"{phantom.name} is not named"
    yield from headings(late)
    before, after = early.steps(), late.steps()
    if set(after) != {"heart-beat", "ultrasound-clip"}:
        yield f"the animations are {sorted(after)}"
    for name, steps in after.items():
        if not 0 < before.get(name, 0) < steps:
            yield f"{name} stands still"
    if (work / "early.png").read_bytes() == (work / "late.png").read_bytes():
        yield "nothing moves on the page"


def outside(page):
    """Sentences on links and sources that leave the page or lead nowhere in it."""
    names = {attributes.get("id") for _, attributes in page.tags}
    for tag, attributes in page.tags:
        for key in ("src", "href", "srcset", "action", "data", "poster"):
            target = attributes.get(key)
            if target is None or target.startswith("data:"):
                continue
            if not target.startswith("#") or target[1:] not in names:
                yield f"{tag} leads to {target[:80]}"


def headings(page):
    levels = [int(tag[1]) for tag, _ in page.tags if tag in ("h1", "h2", "h3", "h4", "h5", "h6")]
    if levels.count(1) != 1 or levels[0] != 1:
        yield "the page needs one main heading, at its head"
    if any(deeper > level + 1 for level, deeper in zip(levels, levels[1:])):
        yield "a level of headings is left out"


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    wrong = list(findings(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])))
    if wrong:
        sys.exit("\n".join(wrong))
    print("the page is whole and its heart beats")
