"""A title of the development shop, read from its file in texts/.

The file is named NAME.FORMAT.md. A header of `key: value` lines ends at the first empty line. The
rest is CommonMark; each first-level heading opens a chapter.
"""

import re
import subprocess
from dataclasses import dataclass, fields
from datetime import datetime, timezone
from html import escape
from pathlib import Path

TYPES = {
    "epub": "application/epub+zip",
    "pdf": "application/pdf",
    "txt": "text/plain; charset=utf-8",
    "acsm": "application/vnd.adobe.adept+xml",
}


@dataclass(frozen=True)
class Book:
    name: str  # of its files, without extension
    format: str
    body: str  # CommonMark
    ean: str
    title: str
    author: str  # empty when unknown
    language: str
    summary: str
    subject: str
    price: str
    currency: str
    published: str  # YYYY-MM-DD HH:MM:SS, UTC
    out_of_sale: bool
    padding_bytes: int  # incompressible bytes in an EPUB, so that its download takes a while

    @property
    def file(self) -> str:
        return f"{self.name}.{self.format}"

    @property
    def cover(self) -> str | None:
        return f"{self.name}.png" if self.format in ("epub", "pdf") else None

    @property
    def published_at(self) -> datetime:
        parsed = datetime.strptime(self.published, "%Y-%m-%d %H:%M:%S")
        return parsed.replace(tzinfo=timezone.utc)

    def escaped(self) -> dict[str, str]:
        """The fields as a template of XML or HTML takes them."""
        return {name: escape(str(value)) for name, value in vars(self).items()}

    def html(self) -> str:
        return subprocess.run(["cmark", "--smart"], input=self.body, stdout=subprocess.PIPE,
                              encoding="utf-8", check=True).stdout


def is_ean(text: str) -> bool:
    return bool(re.fullmatch(r"[0-9]{13}", text)) and not sum(
        int(digit) * (3 if place % 2 else 1) for place, digit in enumerate(text)) % 10


def read_header(path: Path, header: str) -> dict:
    entries = {}
    for number, line in enumerate(header.splitlines(), 1):
        key, colon, value = line.partition(":")
        if not colon or key in entries:
            raise ValueError(f"{path}:{number}: expected a new `key: value`, found {line!r}")
        entries[key] = value.strip()
    entries["out_of_sale"] = entries.get("out_of_sale") == "yes"
    padding = entries.setdefault("padding_bytes", "0")
    if not padding.isdecimal():
        raise ValueError(f"{path}: padding_bytes: {padding!r} is not a number")
    entries["padding_bytes"] = int(padding)
    wanted = {field.name for field in fields(Book)} - {"name", "format", "body"}
    if entries.keys() != wanted:
        raise ValueError(f"{path}: missing or unknown in the header: "
                         f"{', '.join(sorted(entries.keys() ^ wanted))}")
    return entries


def read_book(path: Path) -> Book:
    """Raises ValueError that names the file and what is wrong in it."""
    name = re.fullmatch(rf"([a-z0-9-]+)\.({'|'.join(TYPES)})\.md", path.name)
    if not name:
        raise ValueError(f"{path}: the name must be NAME.FORMAT.md, "
                         f"the format one of {', '.join(TYPES)}")
    header, _, body = path.read_text(encoding="utf-8").partition("\n\n")
    book = Book(*name.groups(), body, **read_header(path, header))
    if not is_ean(book.ean):
        raise ValueError(f"{path}: {book.ean} is not an EAN-13 (wrong length or check digit)")
    if not re.fullmatch(r"[0-9]+\.[0-9]{2}", book.price):
        raise ValueError(f"{path}: the price {book.price!r} must have two decimals")
    try:
        book.published_at
    except ValueError as error:
        raise ValueError(f"{path}: published: {error}")
    return book
