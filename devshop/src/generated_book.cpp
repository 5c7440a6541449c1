#include "generated_book.h"

#include <unicode/unistr.h>
#include <zip.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "cover.h"
#include "html.h"

namespace devshop {
namespace {

constexpr zip_uint16_t kDosTime = 0, kDosDate = 0x5021;  // 2020-01-01

constexpr char kContainer[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<container version="1.0" xmlns="urn:oasis:names:tc:opendocument:xmlns:container">
  <rootfiles>
    <rootfile full-path="package.opf" media-type="application/oebps-package+xml"/>
  </rootfiles>
</container>
)";

std::string PackageDocument(const Title& title) {
  return R"(<?xml version="1.0" encoding="UTF-8"?>
<package xmlns="http://www.idpf.org/2007/opf" version="3.0" unique-identifier="ean">
  <metadata xmlns:dc="http://purl.org/dc/elements/1.1/">
    <dc:identifier id="ean">urn:isbn:)" +
         title.ean + "</dc:identifier>\n    <dc:title>" + EscapeHtml(title.title) +
         "</dc:title>\n    <dc:creator>" + EscapeHtml(title.author) +
         "</dc:creator>\n    <dc:language>" + title.language + R"(</dc:language>
    <meta property="dcterms:modified">2020-01-01T00:00:00Z</meta>
  </metadata>
  <manifest>
    <item id="cover" href="cover.png" media-type="image/png" properties="cover-image"/>
    <item id="text" href="text.xhtml" media-type="application/xhtml+xml" properties="nav"/>
  </manifest>
  <spine><itemref idref="text"/></spine>
</package>
)";
}

/// The text, which is its own table of contents.
std::string TextDocument(const Title& title) {
  const std::string name = EscapeHtml(title.title);
  return R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE html>
<html xmlns="http://www.w3.org/1999/xhtml" xmlns:epub="http://www.idpf.org/2007/ops">
<head><title>)" +
         name + "</title></head>\n<body>\n<h1 id=\"text\">" + name + "</h1>\n<p>" +
         EscapeHtml(title.author) + "</p>\n<p>" + EscapeHtml(title.summary) +
         "</p>\n<nav epub:type=\"toc\"><ol><li><a href=\"#text\">" + name +
         "</a></li></ol></nav>\n</body>\n</html>\n";
}

void Require(bool done) {
  if (!done) throw std::runtime_error("Cannot create the archive of a generated EPUB.");
}

/// The first file is stored, since readers detect the format by it; the others are compressed.
std::string CreateArchive(const std::vector<std::pair<std::string, std::string>>& files) {
  using Source = std::unique_ptr<zip_source_t, decltype(&zip_source_free)>;
  const Source buffer(zip_source_buffer_create(nullptr, 0, 0, nullptr), zip_source_free);
  Require(buffer != nullptr);
  zip_t* archive = zip_open_from_source(buffer.get(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
  Require(archive != nullptr);
  zip_source_keep(buffer.get());  // the archive releases one reference
  for (const auto& [name, content] : files) {
    zip_source_t* source = zip_source_buffer(archive, content.data(), content.size(), 0);
    const auto index = zip_file_add(archive, name.c_str(), source, ZIP_FL_ENC_UTF_8);
    if (index == 0) zip_set_file_compression(archive, 0, ZIP_CM_STORE, 0);
    if (index >= 0) {
      zip_file_set_dostime(archive, static_cast<zip_uint64_t>(index), kDosTime, kDosDate, 0);
    }
  }
  if (zip_close(archive) != 0) {
    zip_discard(archive);
    Require(false);
  }
  zip_stat_t info;
  Require(zip_source_stat(buffer.get(), &info) == 0 && zip_source_open(buffer.get()) == 0);
  std::string bytes(static_cast<std::size_t>(info.size), '\0');
  const bool complete = zip_source_read(buffer.get(), bytes.data(), bytes.size()) ==
                        static_cast<zip_int64_t>(bytes.size());
  zip_source_close(buffer.get());
  Require(complete);
  return bytes;
}

/// A string of PDF that holds any Unicode text.
std::string PdfString(const std::string& utf8) {
  const auto text = icu::UnicodeString::fromUTF8(utf8);
  std::string hex = "<FEFF";
  for (int32_t i = 0; i < text.length(); ++i) {
    char digits[5];
    std::snprintf(digits, sizeof digits, "%04X", unsigned{text[i]});
    hex += digits;
  }
  return hex + ">";
}

/// One page that shows the EAN, since the fonts that every viewer has lack most scripts.
std::string CreatePdf(const Title& title) {
  const std::string page = "BT /F1 24 Tf 60 500 Td (EAN " + title.ean + ") Tj ET";
  const std::string fonts = "<< /Font << /F1 5 0 R >> >> >>";
  const std::vector<std::string> objects{
      "<< /Type /Catalog /Pages 2 0 R >>",
      "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
      "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 420 595] /Contents 4 0 R /Resources " + fonts,
      "<< /Length " + std::to_string(page.size()) + " >>\nstream\n" + page + "\nendstream",
      "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>",
      "<< /Title " + PdfString(title.title) + " /Author " + PdfString(title.author) + " >>"};
  std::string pdf = "%PDF-1.4\n%\xE2\xE3\xCF\xD3\n", table = "0000000000 65535 f \n";
  for (std::size_t i = 0; i < objects.size(); ++i) {
    char row[21];
    std::snprintf(row, sizeof row, "%010zu 00000 n \n", pdf.size());
    table += row;
    pdf += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
  }
  const std::string size = std::to_string(objects.size() + 1);
  return pdf + "xref\n0 " + size + "\n" + table + "trailer\n<< /Size " + size +
         " /Root 1 0 R /Info 6 0 R >>\nstartxref\n" + std::to_string(pdf.size()) + "\n%%EOF\n";
}

}  // namespace

std::string GenerateBookFile(const Title& title) {
  if (title.format == "pdf") return CreatePdf(title);
  if (title.format == "txt") {
    return title.author + "\n\n" + title.title + "\n\n" + title.summary + "\n";
  }
  return CreateArchive({{"mimetype", "application/epub+zip"},
                        {"META-INF/container.xml", kContainer},
                        {"package.opf", PackageDocument(title)},
                        {"text.xhtml", TextDocument(title)},
                        {"cover.png", DrawCover(title.ean)}});
}

}  // namespace devshop
