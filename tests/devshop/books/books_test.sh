#!/usr/bin/env bash
# Checks the books that the development shop sells, with the tools that readers and viewers are
# measured by.
set -euo pipefail
here=$(dirname "$(realpath "$0")")
java_lib=/usr/share/java

fail() { echo "books_test: $*" >&2; exit 1; }

need() { # <command or file> <package>
  command -v "$1" >/dev/null || [ -e "$1" ] || fail "$1 is missing, run: apt-get install $2"
}

element() { # <local name>: the text of the first such element of the XML on standard input
  xmllint --xpath "string(//*[local-name()='$1'])" -
}

expect() { # <what> <found> <expected>
  [ "$2" = "$3" ] || fail "$1 is \"$2\", expected \"$3\""
}

titles() { # <type>: prints <file> <tab> <title> <tab> <author> of each title of the type
  jq -r --arg type "$1" \
    '.books[] | select(.type == $type) | [.file, .title, .author] | join("\t")' \
    "$books/catalogue.json"
}

catalogue() { # <books>
  books=$1
  need jq jq
  need xmllint libxml2-utils
  jq -r '
    def ean: test("^[0-9]{13}$") and
      ([explode | map(. - 48) | to_entries[] | .value * (if .key % 2 == 1 then 3 else 1 end)]
       | add % 10 == 0);
    def types: {epub: "application/epub+zip", pdf: "application/pdf",
                txt: "text/plain; charset=utf-8", acsm: "application/vnd.adobe.adept+xml"};
    def check(what; holds): if holds then empty else what end;
    .books as $books
    | check("fewer than 12 titles"; $books | length >= 12),
      check("an EAN occurs twice"; $books | map(.ean) | (unique | length) == length),
      check("not every format is there"; $books | map(.type) | unique == ([types[]] | sort)),
      check("not exactly one is out of sale"; [$books[] | select(.out_of_sale)] | length == 1),
      check("no title is longer than 255 characters"; $books | any(.title | length > 255)),
      ($books[]
       | check("\(.file): bad EAN \(.ean)"; .ean | ean),
         check("\(.file): bad price \(.price)"; .price | test("^[0-9]+[.][0-9]{2}$")),
         check("\(.file): bad date \(.published)";
               .published | strptime("%Y-%m-%d %H:%M:%S") | mktime > 0),
         check("\(.file): bad type \(.type)"; .type == types[.file | split(".")[-1]]),
         check("\(.file): no title, language or summary";
               [.title, .language, .summary] | all(length > 0)))
    ' "$books/catalogue.json" | (! grep . >&2) || fail "the catalogue is wrong"
  jq -r '.books[] | .file, (.cover // empty)' "$books/catalogue.json" | while read -r file; do
    [ -s "$books/$file" ] || fail "$file is in the catalogue but not in the folder"
  done
  titles "text/plain; charset=utf-8" | while IFS=$'\t' read -r file title _; do
    iconv -f UTF-8 -t UTF-8 "$books/$file" | grep -qF "$title" || fail "$file lacks its title"
  done
  titles application/vnd.adobe.adept+xml | while IFS=$'\t' read -r file title _; do
    expect "$file's title" "$(element title <"$books/$file")" "$title"
  done
}

epubs() { # <books>
  books=$1
  need java default-jre-headless
  need $java_lib/epubcheck.jar epubcheck
  need $java_lib/bsh.jar libbsh-java
  need jq jq
  need unzip unzip
  need xmllint libxml2-utils
  titles application/epub+zip | while IFS=$'\t' read -r file title author; do
    package=$(unzip -p "$books/$file" book/package.opf)
    expect "$file's title" "$(element title <<<"$package")" "$title"
    expect "$file's author" "$(element creator <<<"$package")" "$author"
  done
  # Only the quick compiler: the machine lives for seconds.
  java -XX:TieredStopAtLevel=1 -XX:+UseSerialGC -cp $java_lib/bsh.jar:$java_lib/epubcheck.jar \
    bsh.Interpreter "$here/check_epubs.bsh" "$books"/*.epub || fail "not every EPUB is valid"
}

pdfs() { # <books>
  books=$1
  need qpdf qpdf
  need pdftotext poppler-utils
  need jq jq
  titles application/pdf | while IFS=$'\t' read -r file title author; do
    qpdf --check "$books/$file" >/dev/null || fail "$file is damaged"
    expect "$file's title" "$(pdfinfo "$books/$file" | sed -n 's/^Title: *//p')" "$title"
    expect "$file's author" "$(pdfinfo "$books/$file" | sed -n 's/^Author: *//p')" "$author"
    pdftotext "$books/$file" - | tr -s '[:space:]' ' ' | grep -F "$author $title" >/dev/null ||
      fail "$file does not show its author and title"
    pdffonts "$books/$file" | awk 'NR > 2 && $(NF - 4) != "yes" { exit 1 }' ||
      fail "$file lacks a font"
  done
  pdftotext "$books/grossmutters-kueche.pdf" - | grep 'Küchenwaage' >/dev/null ||
    fail "the cookery book has lost its umlauts"
}

# The same text gives the same bytes, so that a rebuilt shop serves the same files.
repeatable() { # <books> <texts> <command that makes a book>...
  local books=$1 texts=$2
  shift 2
  for text in zolte-lodzie.epub slow-trains-north.pdf; do
    "$@" "$texts/$text.md" "$scratch"
    cmp "$books/$text" "$scratch/$text"
  done
  cmp "$books/zolte-lodzie.png" "$scratch/zolte-lodzie.png"
}

# A mistake in a text is told by its file's name.
refuses() { # <texts> <make_book>...
  local texts=$1 text=$scratch/a.txt.md
  shift
  local make_book=("$@") good=$texts/und-dann-stille.txt.md
  refused() { # <words of the message>
    if "${make_book[@]}" catalogue "$scratch" "$scratch"/*.md 2>"$scratch/error"; then
      fail "accepted though it should say: $1"
    fi
    grep -qF "$1" "$scratch/error" || fail "no word of \"$1\" in: $(cat "$scratch/error")"
  }
  spoilt() { # <sed script> <words of the message>
    sed "$1" "$good" >"$text"
    refused "$2"
  }
  spoilt 's/^ean: .*/ean: 9780000000001/' "a.txt.md: 9780000000001 is no EAN-13"
  spoilt 's/^price: .*/price: free/' "a.txt.md: the price 'free'"
  spoilt 's/^published: .*/published: 2013-02-29 00:00:00/' "a.txt.md: published"
  spoilt '/^summary: /d' "a.txt.md: missing or unknown in the header: summary"
  spoilt '2s/.*/no colon here/' "a.txt.md:2: expected"
  cp "$good" "$text"
  cp "$good" "$scratch/b.txt.md"
  refused "a.txt and b.txt have the same EAN"
  mv "$scratch/b.txt.md" "$scratch/b.docx.md"
  refused "b.docx.md: the name must be"
}

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
"$@"
