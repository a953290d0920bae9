#!/usr/bin/python3
"""Makes the static Fraunces faces the interface draws with.

Qt 6.4 can't set a variable font's axes, so each face is fixed here at build
time: weight 380, soft, not wonky, at an optical size for text and one for
display, upright and italic. Each gets a family name of its own, so that the
application asks for "Fraunces Text" or "Fraunces Display" by name.

Usage: make_font_instances.py SOURCE_FOLDER OUTPUT_FOLDER
"""
import os
import sys

from fontTools.ttLib import TTFont
from fontTools.varLib import instancer

SIZES = {"Text": 18, "Display": 72}
STYLES = {"": "normal", "-Italic": "italic"}


def rename(font, family, italic):
    style = "Italic" if italic else "Regular"
    names = font["name"]
    for record in list(names.names):
        if record.nameID in (16, 17, 21, 22, 25):
            names.removeNames(nameID=record.nameID)
    names.setName(family, 1, 3, 1, 0x409)
    names.setName(style, 2, 3, 1, 0x409)
    names.setName(f"{family} {style}", 4, 3, 1, 0x409)
    names.setName(f"{family.replace(' ', '')}-{style}", 6, 3, 1, 0x409)
    font["OS/2"].usWeightClass = 400


def main(source, output):
    os.makedirs(output, exist_ok=True)
    for suffix, style in STYLES.items():
        for name, size in SIZES.items():
            font = TTFont(os.path.join(source, f"fraunces-latin-full-{style}.woff2"))
            font = instancer.instantiateVariableFont(
                font, {"wght": 380, "opsz": size, "SOFT": 100, "WONK": 0})
            font.flavor = None
            rename(font, f"Fraunces {name}", bool(suffix))
            font.save(os.path.join(output, f"Fraunces{name}{suffix}.ttf"))


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2])
