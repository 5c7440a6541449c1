"""One title of the development shop, as its file in texts/ describes it.

The file is named NAME.FORMAT.md. A header of `key: value` lines ends at the first empty line; the
text below it is CommonMark, each first-level heading opens a chapter.
"""

import re
import subprocess
from dataclasses import dataclass, fields
from datetime import datetime
from pathlib import Path
from xml.etree import ElementTree

TYPES = {
    "epub": "application/epub+zip",
    "pdf": "application/pdf",
    "txt": "text/plain; charset=utf-8",
    "acsm": "application/vnd.adobe.adept+xml",
}
WITH_COVER = ("epub", "pdf")


@dataclass(frozen=True)
class Book:
    name: str  # of its files, without extension
    format: str
    body: str
    ean: str
    title: str
    author: str  # empty when nobody is known
    language: str
    summary: str
    subject: str
    price: str
    currency: str
    published: str
    out_of_sale: bool = False

    @property
    def file(self) -> str:
        return f"{self.name}.{self.format}"

    @property
    def cover(self) -> str | None:
        return f"{self.name}.png" if self.format in WITH_COVER else None

    @property
    def published_at(self) -> datetime:
        return datetime.strptime(self.published, "%Y-%m-%d %H:%M:%S")


def valid_ean(ean: str) -> bool:
    return bool(re.fullmatch(r"\d{13}", ean)) and not sum(
        int(digit) * (3 if place % 2 else 1) for place, digit in enumerate(ean)) % 10


def read_book(path: Path) -> Book:
    """Raises ValueError, naming the file and what is wrong in it."""
    try:
        name, format = re.fullmatch(r"([a-z0-9-]+)\.(\w+)\.md", path.name).groups()
        TYPES[format]
    except (AttributeError, KeyError):
        raise ValueError(f"{path}: the name must be NAME.FORMAT.md, "
                         f"the format one of {', '.join(TYPES)}")
    header, _, body = path.read_text(encoding="utf-8").partition("\n\n")
    entries = {}
    for number, line in enumerate(header.splitlines(), 1):
        key, colon, value = line.partition(":")
        if not colon or key in entries:
            raise ValueError(f"{path}:{number}: expected a new `key: value`, found {line!r}")
        entries[key] = value.strip()
    entries["out_of_sale"] = entries.get("out_of_sale") == "yes"
    wanted = {field.name for field in fields(Book)} - {"name", "format", "body"}
    if entries.keys() != wanted:
        raise ValueError(f"{path}: missing or unknown in the header: "
                         f"{', '.join(sorted(entries.keys() ^ wanted))}")
    book = Book(name, format, body, **entries)
    if not valid_ean(book.ean):
        raise ValueError(f"{path}: {book.ean} is no EAN-13 (wrong length or check digit)")
    if not re.fullmatch(r"\d+\.\d\d", book.price):
        raise ValueError(f"{path}: the price {book.price!r} must have two decimals")
    try:
        book.published_at
    except ValueError as error:
        raise ValueError(f"{path}: published: {error}")
    return book


@dataclass
class Chapter:
    heading: str
    blocks: list  # XHTML elements without namespace, the heading first


def chapters(book: Book) -> list[Chapter]:
    xhtml = subprocess.run(["cmark", "--smart"], input=book.body, capture_output=True,
                           encoding="utf-8", check=True).stdout
    result = []
    for block in ElementTree.fromstring(f"<body>{xhtml}</body>"):
        if block.tag == "h1":
            result.append(Chapter("".join(block.itertext()), []))
        if not result:
            raise ValueError(f"{book.file}: the text must begin with a heading")
        result[-1].blocks.append(block)
    return result
