#!/usr/bin/env bash
# Checks the books that the development shop sells, with the tools that readers and viewers are measured by.
set -euo pipefail
here=$(dirname "$(realpath "$0")")

fail() { echo "books_test: $*" >&2; exit 1; }

element() { # <local name>: prints the first such element's text of the XML on standard input
  xmllint --xpath "string(//*[local-name()='$1'])" -
}

expect() { # <what> <found> <expected>
  [ "$2" = "$3" ] || fail "$1 is \"$2\", expected \"$3\""
}

titles() { # <type>: prints <file> <tab> <title> <tab> <author> <tab> <language> of each title of the type
  jq -r --arg type "$1" '.books[] | select(.type == $type) | [.file, .title, .author, .language] | join("\t")' \
    "$books/catalogue.json"
}

catalogue() { # <books>
  books=$1
  jq -r '
    def check(what; holds): if holds then empty else what end;
    .books as $books
    | check("fewer than 12 titles"; $books | length >= 12),
      check("not every format is there";
            [$books[] | .file | split(".")[-1]] | unique == ["acsm", "epub", "pdf", "txt"]),
      check("not exactly one is out of sale"; [$books[] | select(.out_of_sale)] | length == 1),
      check("no title is longer than 255 characters"; $books | any(.title | length > 255)),
      ($books[] | check("\(.file): no title, language or summary";
                        [.title, .language, .summary] | all(length > 0)))
    ' "$books/catalogue.json" | (! grep . >&2) || fail "the catalogue is wrong"
  jq -r '.books[] | .file, (.cover // empty)' "$books/catalogue.json" | while read -r file; do
    [ -s "$books/$file" ] || fail "$file is in the catalogue but not in the directory"
  done
  titles "text/plain; charset=utf-8" | while IFS=$'\t' read -r file title _; do
    iconv -f UTF-8 -t UTF-8 "$books/$file" | grep -F "$title" >/dev/null || fail "$file lacks its title"
  done
  titles application/vnd.adobe.adept+xml | while IFS=$'\t' read -r file title _; do
    expect "$file's title" "$(element title <"$books/$file")" "$title"
  done
}

epubs() { # <books>
  books=$1
  titles application/epub+zip | while IFS=$'\t' read -r file title author language; do
    package=$(unzip -p "$books/$file" book/package.opf)
    expect "$file's title" "$(element title <<<"$package")" "$title"
    expect "$file's author" "$(element creator <<<"$package")" "$author"
    expect "$file's language" "$(element language <<<"$package")" "$language"
  done
  # The options shorten the start of the Java machine.
  java -XX:TieredStopAtLevel=1 -XX:+UseSerialGC -cp /usr/share/java/bsh.jar:/usr/share/java/epubcheck.jar \
    bsh.Interpreter "$here/check_epubs.bsh" "$books"/*.epub || fail "not every EPUB is valid"
}

pdfs() { # <books>
  books=$1
  titles application/pdf | while IFS=$'\t' read -r file title author _; do
    qpdf --check "$books/$file" >/dev/null || fail "$file is damaged"
    expect "$file's title" "$(pdfinfo "$books/$file" | sed -n 's/^Title: *//p')" "$title"
    expect "$file's author" "$(pdfinfo "$books/$file" | sed -n 's/^Author: *//p')" "$author"
    pdftotext "$books/$file" - | tr -s '[:space:]' ' ' | grep -F "$author $title" >/dev/null ||
      fail "$file does not show its author and title"
    pdffonts "$books/$file" | awk 'NR > 2 && $(NF - 4) != "yes" { exit 1 }' ||
      fail "$file has a font that is not embedded"
  done
  pdftotext "$books/grossmutters-kueche.pdf" - | grep 'Küchenwaage' >/dev/null ||
    fail "the cookery book has lost its umlauts"
}

# The same text has the same bytes, so that a rebuilt shop serves the same files.
repeatable() { # <books> <texts> <make_book>...
  local books=$1 texts=$2 file
  shift 2
  for file in atlas-der-nebelinseln.epub slow-trains-north.pdf; do
    LC_ALL=C TZ=Asia/Tokyo "$@" book "$texts/$file.md" "$scratch"
    cmp "$books/$file" "$scratch/$file"
    cmp "$books/${file%.*}.png" "$scratch/${file%.*}.png"
  done
}

# The message names the file and the mistake in it.
rejects() { # <texts> <make_book>...
  local good=$1/und-dann-stille.txt.md text=$scratch/a.txt.md
  shift
  local make_book=("$@")
  expect_error() { # <words of the message>
    if "${make_book[@]}" catalogue "$scratch" "$scratch"/*.md 2>"$scratch/error"; then
      fail "accepted, expected an error with \"$1\""
    fi
    grep -qF "$1" "$scratch/error" || fail "\"$1\" is missing in: $(cat "$scratch/error")"
  }
  expect_error_after() { # <sed script> <words of the message>
    sed "$1" "$good" >"$text"
    expect_error "$2"
  }
  expect_error_after 's/^ean: .*/ean: 9780000000001/' "a.txt.md: 9780000000001 is not an EAN-13"
  expect_error_after 's/^price: .*/price: free/' "a.txt.md: the price 'free'"
  expect_error_after 's/^published: .*/published: 2013-02-29 00:00:00/' "a.txt.md: published"
  expect_error_after '/^summary: /d' "a.txt.md: missing or unknown in the header: summary"
  expect_error_after '2s/.*/no colon here/' "a.txt.md:2: expected"
  expect_error_after '2s/.*/padding_bytes: many/' "a.txt.md: padding_bytes"
  cp "$good" "$text"
  cp "$good" "$scratch/b.txt.md"
  expect_error "a.txt and b.txt have the same EAN"
  mv "$scratch/b.txt.md" "$scratch/b.docx.md"
  expect_error "b.docx.md: the name must be"
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
"$@"
