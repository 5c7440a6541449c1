"""Draws the front cover of a title."""

import colorsys
import io
import math
import random
from pathlib import Path

from PIL import Image, ImageDraw, ImageFont

from book import Book

SIZE = WIDTH, HEIGHT = 600, 848  # the proportions of A5
MARGIN = 56


def fitting(draw, text: str, font_file: Path, sizes, height: int):
    """The lines of the text, their font in the first size that fits, and their distance."""
    for size in sizes:
        font = ImageFont.truetype(str(font_file), size)
        lines = [""]
        for word in text.replace(" –", "\N{NO-BREAK SPACE}–").split(" "):
            longer = f"{lines[-1]} {word}".strip()
            if draw.textlength(longer, font) <= WIDTH - 2 * MARGIN:
                lines[-1] = longer
            else:
                lines.append(word)
        widest = max(draw.textlength(line, font) for line in lines)
        if len(lines) * size * 1.25 <= height and widest <= WIDTH - 2 * MARGIN:
            break
    return lines, font, size * 1.25


def waves(draw, source: random.Random, hue: float):
    """Bands of water on the lower half, each with its own swell."""
    for band in range(9):
        base = 440 + band * 46
        swell, length = source.uniform(6, 22), source.uniform(22, 60)
        phase = source.uniform(0, 2 * math.pi)
        crest = [(x, base + swell * math.sin(x / length + phase)) for x in range(0, WIDTH + 4, 4)]
        colour = colorsys.hls_to_rgb(hue + band * 0.012, 0.62 - band * 0.05, 0.42)
        draw.polygon([*crest, (WIDTH, HEIGHT), (0, HEIGHT)],
                     fill=tuple(round(part * 255) for part in colour))


def draw_cover(book: Book, fonts: Path) -> bytes:
    """The cover as PNG."""
    source = random.Random(book.ean)
    picture = Image.new("RGB", SIZE, (246, 240, 226))
    draw = ImageDraw.Draw(picture)
    waves(draw, source, int(book.ean[:12]) * 0.618034 % 1)  # neighbours differ
    ink = (44, 36, 32)
    y = 150
    lines, font, step = fitting(draw, book.title, fonts / "Cardob101.ttf", range(58, 18, -2), 270)
    for line in lines:
        draw.text((MARGIN, y), line, ink, font)
        y += step
    lines, font, step = fitting(draw, book.author, fonts / "Cardoi99.ttf", range(32, 18, -2), 80)
    for number, line in enumerate(lines):
        draw.text((MARGIN, 60 + number * step), line, ink, font)
    file = io.BytesIO()
    picture.quantize(64, dither=Image.Dither.NONE).save(file, "PNG", optimize=True)
    return file.getvalue()
