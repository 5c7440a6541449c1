"""Writes a title as EPUB 3."""

import random
import re
import zipfile
from pathlib import Path

from book import Book

CONTAINER = """<?xml version="1.0" encoding="UTF-8"?>
<container version="1.0" xmlns="urn:oasis:names:tc:opendocument:xmlns:container">
  <rootfiles>
    <rootfile full-path="book/package.opf" media-type="application/oebps-package+xml"/>
  </rootfiles>
</container>
"""

PAGE = """<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE html>
<html xmlns="http://www.w3.org/1999/xhtml" xmlns:epub="http://www.idpf.org/2007/ops"
      lang="{language}" xml:lang="{language}">
<head><title>{title}</title></head>
<body>
{content}</body>
</html>
"""

PACKAGE = """<?xml version="1.0" encoding="UTF-8"?>
<package xmlns="http://www.idpf.org/2007/opf" version="3.0" unique-identifier="ean">
  <metadata xmlns:dc="http://purl.org/dc/elements/1.1/">
    <dc:identifier id="ean">urn:isbn:{ean}</dc:identifier>
    <dc:title>{title}</dc:title>
    <dc:creator>{author}</dc:creator>
    <dc:language>{language}</dc:language>
    <dc:subject>{subject}</dc:subject>
    <dc:description>{summary}</dc:description>
    <meta property="dcterms:modified">{published_at:%Y-%m-%dT%H:%M:%SZ}</meta>
  </metadata>
  <manifest>
    <item id="cover" href="cover.png" media-type="image/png" properties="cover-image"/>
    <item id="nav" href="nav.xhtml" media-type="application/xhtml+xml" properties="nav"/>
    <item id="text" href="text.xhtml" media-type="application/xhtml+xml"/>
  </manifest>
  <spine>
    <itemref idref="text"/>
  </spine>
</package>
"""


def build_package(book: Book, cover: bytes) -> dict[str, str | bytes]:
    """The files of the archive by name, in order."""
    facts = book.escaped() | {"published_at": book.published_at}
    text, entries = book.html(), ""
    for number, heading in enumerate(re.findall("<h1>(.*)</h1>", text), 1):
        text = text.replace("<h1>", f'<h1 id="chapter-{number}">', 1)
        entries += f'<li><a href="text.xhtml#chapter-{number}">{heading}</a></li>\n'
    nav = f'<nav epub:type="toc">\n<ol>\n{entries}</ol>\n</nav>\n'
    files = {
        "mimetype": "application/epub+zip",  # readers detect the format by it: first, uncompressed
        "META-INF/container.xml": CONTAINER,
        "book/package.opf": PACKAGE.format(**facts),
        "book/nav.xhtml": PAGE.format(content=nav, **facts),
        "book/text.xhtml": PAGE.format(content=text, **facts),
        "book/cover.png": cover,
    }
    if book.padding_bytes:
        files["META-INF/padding"] = random.Random(book.ean).randbytes(book.padding_bytes)
    return files


def write_epub(book: Book, cover: bytes, path: Path):
    with zipfile.ZipFile(path, "w") as archive:
        for name, content in build_package(book, cover).items():
            info = zipfile.ZipInfo(name, book.published_at.timetuple()[:6])
            info.external_attr = 0o644 << 16
            archive.writestr(
                info, content, zipfile.ZIP_STORED if name == "mimetype" else zipfile.ZIP_DEFLATED)
