#!/usr/bin/env python3
"""Makes the file of one title (and its cover), or the catalogue of all.

    make_book.py book FONTS TEXT FOLDER      writes FOLDER/NAME.FORMAT and, for a cover, NAME.png
    make_book.py catalogue FOLDER TEXT...    writes FOLDER/catalogue.json

The same text gives the same bytes.
"""

import json
import sys
import textwrap
from pathlib import Path
from xml.sax.saxutils import escape

from book import TYPES, Book, read_book

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


def write_text(book: Book, path: Path):
    paragraphs = filter(None, [book.author, book.title, *book.body.strip().split("\n\n")])
    text = "\n\n".join(textwrap.fill(paragraph, 76) for paragraph in paragraphs)
    path.write_text(text + "\n", encoding="utf-8")


def write_ticket(book: Book, path: Path):
    facts = {name: escape(value) for name, value in vars(book).items() if isinstance(value, str)}
    path.write_text(TICKET.format(**facts), encoding="utf-8")


def make_book(fonts: Path, text: Path, folder: Path):
    book = read_book(text)
    path = folder / book.file
    if book.format == "txt":
        write_text(book, path)
    elif book.format == "acsm":
        write_ticket(book, path)
    else:
        from cover import draw_cover
        cover = draw_cover(book, fonts)
        (folder / book.cover).write_bytes(cover)
        if book.format == "pdf":
            from pdf import write_pdf
            write_pdf(book, cover, fonts, path)
        else:
            from epub import write_epub
            style = Path(__file__).with_name("style.css").read_text(encoding="utf-8")
            write_epub(book, cover, style, path)


def entry(book: Book) -> dict:
    inner = ("name", "format", "body")
    facts = {name: value for name, value in vars(book).items() if name not in inner}
    facts |= {"file": book.file, "type": TYPES[book.format]}
    return facts | ({"cover": book.cover} if book.cover else {})


def make_catalogue(folder: Path, texts: list[Path]):
    books = [read_book(text) for text in texts]
    for place, book in enumerate(books):
        for other in books[:place]:
            if book.ean == other.ean:
                raise ValueError(f"{other.file} and {book.file} have the same EAN {book.ean}")
    catalogue = json.dumps({"books": [entry(book) for book in books]}, ensure_ascii=False, indent=2)
    (folder / "catalogue.json").write_text(catalogue + "\n", encoding="utf-8")


def main(arguments: list[str]) -> str | None:
    try:
        match arguments:
            case ["book", fonts, text, folder]:
                make_book(Path(fonts), Path(text), Path(folder))
            case ["catalogue", folder, *texts]:
                make_catalogue(Path(folder), [Path(text) for text in texts])
            case _:
                return __doc__
    except (OSError, ValueError) as error:
        return f"make_book: {error}"


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
