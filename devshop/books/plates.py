"""Draws the plates of the atlas: relief maps of islands that nobody has visited.

The same number gives the same map everywhere. The paper's grain keeps the pictures from
compressing, so that the atlas takes a while to download.
"""

import io
import random

from PIL import Image, ImageDraw, ImageMath

SIZE = (600, 800)
GRAIN = 7
SEA = 96  # heights below are water
# (height, colour): from the deep sea over the strand to the snow
COLOURS = [(0, (24, 54, 92)), (70, (52, 104, 146)), (SEA - 1, (150, 192, 204)),
           (SEA, (226, 210, 160)), (SEA + 6, (198, 204, 132)), (130, (104, 150, 84)),
           (172, (124, 116, 74)), (212, (150, 126, 104)), (232, (238, 238, 234)),
           (255, (255, 255, 255))]


def palette() -> list[int]:
    colours = []
    for (low, start), (high, end) in zip(COLOURS, COLOURS[1:]):
        for height in range(low, high):
            part = (height - low) / (high - low)
            colours += [round(a + (b - a) * part) for a, b in zip(start, end)]
    return colours + list(COLOURS[-1][1])


def noise(source: random.Random, width: int, height: int) -> Image.Image:
    return Image.frombytes("L", (width, height), source.randbytes(width * height))


def relief(source: random.Random) -> Image.Image:
    """Heights as floats, 0 to 255: octaves of noise, sunk towards the margins of the sheet."""
    heights = Image.new("F", SIZE)
    for octave in range(8):
        cells = 3 << octave
        layer = noise(source, cells, cells * 4 // 3).convert("F").resize(SIZE, Image.BICUBIC)
        heights = ImageMath.eval("a + b * w", a=heights, b=layer, w=0.5 ** (octave + 1))
    distance = Image.radial_gradient("L").convert("F").resize(SIZE, Image.BICUBIC)
    return ImageMath.eval("min(max((h - 128) * 1.9 + 215 - d * 1.15, 0), 255)",
                          h=heights, d=distance)


def plate(number: int) -> bytes:
    """The plate as PNG."""
    width, height = SIZE
    source = random.Random(number)
    heights = relief(source)
    lit = ImageMath.eval("a - b", a=heights.crop((1, 1, width + 1, height + 1)), b=heights)
    water = ImageMath.eval("h < sea", h=heights, sea=SEA)
    tinted = heights.convert("L")
    tinted.putpalette(palette())
    grain = noise(source, width, height).convert("F")
    channels = [
        ImageMath.eval("convert(min(max(c + l * (7 - w * 6) + (g / 255 - 0.5) * n, 0), 255), 'L')",
                       c=channel, l=lit, w=water, g=grain, n=2 * GRAIN)
        for channel in tinted.convert("RGB").split()]
    picture = Image.merge("RGB", channels)
    draw = ImageDraw.Draw(picture, "RGBA")
    for x in range(100, width, 100):
        draw.line((x, 0, x, height), fill=(255, 255, 255, 60))
    for y in range(100, height, 100):
        draw.line((0, y, width, y), fill=(255, 255, 255, 60))
    draw.rectangle((0, 0, width - 1, height - 1), outline=(40, 30, 20), width=3)
    draw.rectangle((7, 7, width - 8, height - 8), outline=(40, 30, 20), width=1)
    file = io.BytesIO()
    picture.save(file, "PNG")
    return file.getvalue()
