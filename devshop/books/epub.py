"""Writes a title as EPUB 3."""

import zipfile
from html import escape
from pathlib import Path
from xml.etree import ElementTree

from book import Book, Chapter, chapters
from plates import plate

CONTENTS = {"de": "Inhalt", "el": "Περιεχόμενα", "en": "Contents", "fr": "Table des matières",
            "pl": "Spis treści"}
COVER = {"de": "Umschlag", "el": "Εξώφυλλο", "en": "Cover", "fr": "Couverture", "pl": "Okładka"}

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
<head>
<title>{title}</title>
<link rel="stylesheet" type="text/css" href="style.css"/>
</head>
<body>
{body}
</body>
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
    <dc:date>{date}</dc:date>
    <meta property="dcterms:modified">{date}T00:00:00Z</meta>
    <meta name="cover" content="cover-image"/>
  </metadata>
  <manifest>
    {manifest}
  </manifest>
  <spine>
    {spine}
  </spine>
</package>
"""


class Package:
    """The pages and pictures of a publication, in the order in which they are added."""

    def __init__(self, book: Book):
        self.book = book
        self.files: dict[str, bytes] = {}
        self.manifest: list[str] = []
        self.spine: list[str] = []

    def add(self, id: str, name: str, media_type: str, data: bytes, properties: str = ""):
        self.files[name] = data
        attribute = f' properties="{properties}"' if properties else ""
        self.manifest.append(
            f'<item id="{id}" href="{name}" media-type="{media_type}"{attribute}/>')

    def add_page(self, id: str, title: str, body: str, properties: str = ""):
        text = PAGE.format(language=self.book.language, title=escape(title), body=body)
        self.add(id, f"{id}.xhtml", "application/xhtml+xml", text.encode(), properties)
        self.spine.append(id)

    def add_chapter(self, id: str, chapter: Chapter):
        for block in chapter.blocks:
            if block.find("br") is not None:
                block.set("class", "verse")
            picture = block.find("img")
            if picture is not None:
                block.set("class", "plate")
                number = picture.get("src").removeprefix("plate:")
                picture.set("src", f"plate-{number}.png")
                self.add(f"plate-{number}", f"plate-{number}.png", "image/png", plate(int(number)))
        body = "".join(ElementTree.tostring(block, "unicode") for block in chapter.blocks)
        self.add_page(id, chapter.heading, f'<section epub:type="chapter">\n{body}</section>')

    def document(self) -> str:
        facts = {name: escape(value) for name, value in vars(self.book).items()
                 if isinstance(value, str)}
        return PACKAGE.format(**facts, date=self.book.published[:10],
                              manifest="\n    ".join(self.manifest),
                              spine="\n    ".join(f'<itemref idref="{id}"/>' for id in self.spine))


def bound(book: Book, cover: bytes, style: str) -> Package:
    """The publication with all that belongs into it."""
    package = Package(book)
    package.add("style", "style.css", "text/css", style.encode())
    package.add("cover-image", "cover.png", "image/png", cover, "cover-image")
    title, author = escape(book.title), escape(book.author)
    package.add_page("cover", COVER[book.language], '<section epub:type="cover" class="cover">'
                     f'<img src="cover.png" alt="{title}"/></section>')
    package.add_page("titlepage", book.title, f'<section epub:type="titlepage">\n<p class="author">'
                     f'{author}</p>\n<h1 class="title">{title}</h1>\n</section>')
    named = [(f"chapter-{number:02}", chapter) for number, chapter in enumerate(chapters(book), 1)]
    entries = "\n".join(f'<li><a href="{id}.xhtml">{escape(chapter.heading)}</a></li>'
                        for id, chapter in named)
    heading = CONTENTS[book.language]
    package.add_page("nav", heading, f'<nav epub:type="toc">\n<h1>{heading}</h1>\n'
                     f'<ol>\n{entries}\n</ol>\n</nav>', "nav")
    for id, chapter in named:
        package.add_chapter(id, chapter)
    return package


def write_epub(book: Book, cover: bytes, style: str, path: Path):
    package = bound(book, cover, style)
    with zipfile.ZipFile(path, "w") as archive:

        def store(name: str, data, method=zipfile.ZIP_DEFLATED):
            info = zipfile.ZipInfo(name, book.published_at.timetuple()[:6])
            info.external_attr = 0o644 << 16
            archive.writestr(info, data, method)

        # Readers tell the format by this entry: it comes first and as it is.
        store("mimetype", "application/epub+zip", zipfile.ZIP_STORED)
        store("META-INF/container.xml", CONTAINER)
        store("book/package.opf", package.document())
        for name, data in package.files.items():
            packed = zipfile.ZIP_STORED if name.endswith(".png") else zipfile.ZIP_DEFLATED
            store(f"book/{name}", data, packed)
