"""Lays out a title as PDF, and its front cover as PNG, with htmldoc and pdftoppm."""

import colorsys
import os
import subprocess

from book import Book

PAGE = """<html lang="{language}"><head><meta charset="utf-8"><title>{title}</title>
<meta name="author" content="{author}"></head>
<body {colours}>
<p><i>{author}</i></p><br><p><font size="{title_size}"><b>{title}</b></font></p>
{content}</body></html>
"""


def lay_out(book: Book, content: str, size: str, *options: str, colours="") -> bytes:
    """A PDF that begins with author and title; an unchanged title has unchanged bytes."""
    page = PAGE.format(**book.escaped(), title_size=3 if len(book.title) > 100 else 5,
                       content=content, colours=colours)
    return subprocess.run(
        ["htmldoc", "--quiet", "--webpage", "-t", "pdf14", "--charset", "utf-8", "--embedfonts",
         "--bodyfont", "serif", "--headingfont", "serif", "--headfootfont", "serif", "--size", size,
         "--header", "...", *options, "-"],
        input=page.encode(), stdout=subprocess.PIPE, check=True,
        env=os.environ | {"SOURCE_DATE_EPOCH": f"{book.published_at.timestamp():.0f}",
                          "TZ": "UTC"}).stdout


def make_pdf(book: Book) -> bytes:
    return lay_out(book, f"<!-- PAGE BREAK -->\n{book.html()}", "148x210mm", "--fontsize", "10.5",
                   "--footer", ".1.")


def make_cover(book: Book) -> bytes:
    hue = int(book.ean[:12]) * 0.618034 % 1  # similar EANs, different hues
    background = "".join(f"{round(255 * part):02x}"
                         for part in colorsys.hls_to_rgb(hue, 0.25, 0.45))
    pdf = lay_out(book, "", "105x148mm", "--left", "10mm", "--right", "10mm", "--top", "15mm",
                  "--fontsize", "13", "--footer", "...",
                  colours=f'bgcolor="#{background}" text="#ffffff"')
    return subprocess.run(
        ["pdftoppm", "-png", "-singlefile", "-scale-to-x", "600", "-scale-to-y", "848", "-"],
        input=pdf, stdout=subprocess.PIPE, check=True).stdout
