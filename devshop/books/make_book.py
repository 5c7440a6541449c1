#!/usr/bin/env python3
"""Creates the file of one title and its cover, or the catalogue of all.

    make_book.py book TEXT DIRECTORY            writes NAME.FORMAT and, for EPUB and PDF, NAME.png
    make_book.py catalogue DIRECTORY TEXT...    writes catalogue.json

The same text has the same bytes.
"""

import json
import subprocess
import sys
import textwrap
from pathlib import Path

from book import TYPES, Book, read_book
from epub import write_epub
from pdf import make_cover, make_pdf

TICKET = """<?xml version="1.0" encoding="UTF-8"?>
<fulfillmentToken fulfillmentType="buy" xmlns="http://ns.adobe.com/adept">
  <distributor>urn:uuid:00000000-0000-4000-8000-{ean:.12}</distributor>
  <operatorURL>https://shop.quire.example/fulfilment</operatorURL>
  <transaction>{ean}-1</transaction>
  <resourceItemInfo>
    <resource>urn:isbn:{ean}</resource>
    <resourceItem>0</resourceItem>
    <metadata xmlns:dc="http://purl.org/dc/elements/1.1/">
      <dc:title>{title}</dc:title>
      <dc:creator>{author}</dc:creator>
      <dc:language>{language}</dc:language>
      <dc:format>application/epub+zip</dc:format>
    </metadata>
  </resourceItemInfo>
</fulfillmentToken>
"""


def make_text(book: Book) -> str:
    paragraphs = filter(None, [book.author, book.title, *book.body.strip().split("\n\n")])
    return "\n\n".join(textwrap.fill(paragraph, 76) for paragraph in paragraphs) + "\n"


def make_book(text: Path, directory: Path):
    book = read_book(text)
    path = directory / book.file
    if book.cover:
        cover = make_cover(book)
        (directory / book.cover).write_bytes(cover)
    if book.format == "epub":
        write_epub(book, cover, path)
    elif book.format == "pdf":
        path.write_bytes(make_pdf(book))
    else:
        content = make_text(book) if book.format == "txt" else TICKET.format(**book.escaped())
        path.write_text(content, encoding="utf-8")


def entry(book: Book) -> dict:
    facts = {name: value for name, value in vars(book).items()
             if name not in ("name", "format", "body", "padding_bytes")}
    facts |= {"file": book.file, "type": TYPES[book.format]}
    return facts | ({"cover": book.cover} if book.cover else {})


def make_catalogue(directory: Path, texts: list[Path]):
    books = {}
    for book in map(read_book, texts):
        other = books.setdefault(book.ean, book)
        if other is not book:
            raise ValueError(f"{other.file} and {book.file} have the same EAN {book.ean}")
    catalogue = {"books": [entry(book) for book in books.values()]}
    (directory / "catalogue.json").write_text(
        json.dumps(catalogue, ensure_ascii=False, indent=2) + "\n", encoding="utf-8")


def main(arguments: list[str]) -> str | None:
    try:
        match arguments:
            case ["book", text, directory]:
                make_book(Path(text), Path(directory))
            case ["catalogue", directory, *texts]:
                make_catalogue(Path(directory), [Path(text) for text in texts])
            case _:
                return __doc__
    except (OSError, ValueError, subprocess.CalledProcessError) as error:
        return f"make_book: {error}"


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
