"""Writes a title as PDF, a small paperback of A5 pages."""

import io
from pathlib import Path
from xml.etree import ElementTree
from xml.sax.saxutils import escape

from reportlab import rl_config
from reportlab.lib.enums import TA_CENTER, TA_JUSTIFY
from reportlab.lib.pagesizes import A5
from reportlab.lib.styles import ParagraphStyle
from reportlab.lib.units import mm
from reportlab.lib.utils import ImageReader
from reportlab.pdfbase import pdfmetrics
from reportlab.pdfbase.ttfonts import TTFont
from reportlab.platypus import (BaseDocTemplate, CondPageBreak, Frame, ListFlowable,
                                NextPageTemplate, PageBreak, PageTemplate, Paragraph, Spacer)

from book import Book, chapters

WIDTH, HEIGHT = A5
HYPHENATION = {"de": "de_DE", "en": "en_GB"}
TEXT = ParagraphStyle("text", fontName="Cardo", fontSize=10.5, leading=14.5, alignment=TA_JUSTIFY,
                      allowWidows=0, allowOrphans=0)
AFTER_LIST = ParagraphStyle("after list", TEXT, spaceBefore=6)
INDENTED = ParagraphStyle("indented", TEXT, firstLineIndent=5 * mm)
QUOTE = ParagraphStyle("quote", TEXT, leftIndent=6 * mm, rightIndent=6 * mm, spaceBefore=6,
                       spaceAfter=6)
ITEM = ParagraphStyle("item", TEXT, alignment=0)
HEADING = ParagraphStyle("heading", TEXT, fontSize=16, leading=20, alignment=0, spaceBefore=22,
                         spaceAfter=9)
TITLE = ParagraphStyle("title", TEXT, fontName="Cardo-Bold", fontSize=20, leading=26,
                       alignment=TA_CENTER)
AUTHOR = ParagraphStyle("author", TEXT, fontName="Cardo-Italic", fontSize=13, leading=18,
                        alignment=TA_CENTER, spaceAfter=8 * mm)


def register(fonts: Path):
    for name, file in (("Cardo", "Cardo104s"), ("Cardo-Bold", "Cardob101"),
                       ("Cardo-Italic", "Cardoi99")):
        pdfmetrics.registerFont(TTFont(name, fonts / f"{file}.ttf"))
    rl_config.canvas_basefontname = "Cardo"  # else each page names a font that is not embedded
    pdfmetrics.registerFontFamily("Cardo", "Cardo", "Cardo-Bold", "Cardo-Italic", "Cardo-Italic")


def markup(element: ElementTree.Element) -> str:
    """The inside of a block in the markup that Paragraph takes."""
    tags = {"em": "i", "strong": "b", "br": "br"}
    text = escape(element.text or "")
    for child in element:
        tag = tags[child.tag]
        text += f"<{tag}>{markup(child)}</{tag}>" + escape(child.tail or "")
    return text


def flowables(block: ElementTree.Element, previous: str) -> list:
    """The block set in type; `previous` is the tag of the block above it."""
    if block.tag == "p":
        style = {"p": INDENTED, "ul": AFTER_LIST, "ol": AFTER_LIST}.get(previous, TEXT)
        return [Paragraph(markup(block), style)]
    if block.tag == "blockquote":
        return [Paragraph(markup(paragraph), QUOTE) for paragraph in block]
    if block.tag in ("ul", "ol"):
        mark = ({"bulletType": "1", "bulletFormat": "%s."} if block.tag == "ol" else
                {"bulletType": "bullet", "start": "–"})
        return [ListFlowable([Paragraph(markup(item), ITEM) for item in block], **mark,
                             bulletFontName="Cardo", bulletFontSize=10.5, leftIndent=6 * mm)]
    raise ValueError(f"a PDF knows no <{block.tag}>")


class Paperback(BaseDocTemplate):
    def __init__(self, file, book: Book, cover: bytes):
        super().__init__(file, pagesize=A5, invariant=1, title=book.title, author=book.author,
                         subject=book.summary, lang=book.language)
        frame = Frame(20 * mm, 22 * mm, WIDTH - 40 * mm, HEIGHT - 42 * mm, 0, 0, 0, 0)
        self.addPageTemplates([
            PageTemplate("cover", frame, onPage=lambda canvas, _: canvas.drawImage(
                ImageReader(io.BytesIO(cover)), 0, 0, WIDTH, HEIGHT)),
            PageTemplate("title", frame),
            PageTemplate("text", frame, onPage=self.number_page)])

    @staticmethod
    def number_page(canvas, document):
        canvas.setFont("Cardo", 9)
        canvas.drawCentredString(WIDTH / 2, 12 * mm, str(canvas.getPageNumber()))

    def afterFlowable(self, flowable):
        if getattr(flowable, "style", None) is HEADING:
            key = heading = flowable.getPlainText()
            self.canv.bookmarkPage(key)
            self.canv.addOutlineEntry(heading, key)


def write_pdf(book: Book, cover: bytes, fonts: Path, path: Path):
    register(fonts)
    for style in (TEXT, AFTER_LIST, INDENTED, QUOTE):
        style.hyphenationLang = HYPHENATION.get(book.language)
    story = [NextPageTemplate("title"), PageBreak(), Spacer(0, 45 * mm),
             Paragraph(escape(book.author), AUTHOR), Paragraph(escape(book.title), TITLE),
             NextPageTemplate("text"), PageBreak()]
    for chapter in chapters(book):
        story += [CondPageBreak(35 * mm), Paragraph(escape(chapter.heading), HEADING)]
        previous = "h1"
        for block in chapter.blocks[1:]:
            story += flowables(block, previous)
            previous = block.tag
    Paperback(str(path), book, cover).build(story)
