#include "catalogue.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <set>
#include <utility>

#include "crypto.h"
#include "ean.h"
#include "epub_metadata.h"
#include "generated_titles.h"
#include "json.h"
#include "money.h"
#include "start_error.h"
#include "timestamp.h"
#include "unicode.h"

namespace devshop {
namespace {

constexpr std::array<std::pair<const char*, const char*>, 4> kTypes{{
    {"epub", "application/epub+zip"},
    {"pdf", "application/pdf"},
    {"txt", "text/plain"},
    {"acsm", "application/vnd.adobe.adept+xml"},
}};

std::string Format(const std::filesystem::path& file) {
  const std::string extension = file.extension().string();
  return FoldCase(extension.substr(std::min<std::size_t>(1, extension.size())));
}

/// Empty when the file is no book.
std::string MimeType(const std::filesystem::path& file) {
  const auto format = Format(file);
  const auto found = std::find_if(kTypes.begin(), kTypes.end(),
                                  [&](const auto& row) { return format == row.first; });
  return found == kTypes.end() ? std::string() : found->second;
}

bool IsPlainName(const std::string& file) {
  return !file.empty() && file.find('/') == std::string::npos && file != "..";
}

Title ReadTitle(const Json& json, const std::filesystem::path& directory,
                const std::string& where) {
  const auto invalid = [&](const std::string& what) {
    return StartError(where + " " + what + "; correct the catalogue or build it again.");
  };
  if (!json.is_object()) throw invalid("is not an object");
  const auto text = [&](const char* name, const std::string& fallback) {
    const auto found = json.find(name);
    if (found == json.end() || found->is_null()) return fallback;
    if (!found->is_string())
      throw invalid("has a \"" + std::string(name) + "\" that is not a string");
    return found->get<std::string>();
  };
  Title title;
  title.ean = text("ean", "");
  title.title = text("title", "");
  title.author = text("author", "");
  title.language = text("language", "");
  title.summary = text("summary", "");
  title.subject = text("subject", "");
  title.currency = text("currency", "EUR");
  title.published = text("published", "");
  title.file = text("file", "");
  title.type = text("type", MimeType(title.file));
  title.format = Format(title.file);
  title.cover = text("cover", "");
  title.out_of_sale = json.value("out_of_sale", Json(false)) == Json(true);
  const auto price = ParseAmount(text("price", ""));
  if (title.ean.empty() || title.title.empty()) throw invalid("lacks \"ean\" or \"title\"");
  if (!price) throw invalid("needs a \"price\" such as \"4.99\"");
  title.price_hundredths = *price;
  for (const auto& file : {title.file, title.cover.empty() ? title.file : title.cover}) {
    if (!IsPlainName(file) || !std::filesystem::is_regular_file(directory / file)) {
      throw invalid("names the file \"" + file + "\", which is not in the directory");
    }
  }
  return title;
}

std::vector<Title> ReadCatalogue(const std::filesystem::path& directory) {
  const auto path = directory / "catalogue.json";
  std::ifstream file(path);
  const Json json = Json::parse(file, nullptr, false);
  if (!json.is_object() || !json.contains("books") || !json["books"].is_array()) {
    throw StartError(path.string() +
                     " is not a JSON object with an array \"books\"; build it again.");
  }
  std::vector<Title> titles;
  std::set<std::string> eans;
  for (const Json& book : json["books"]) {
    const auto where = path.string() + ": book " + std::to_string(titles.size() + 1);
    titles.push_back(ReadTitle(book, directory, where));
    if (!eans.insert(titles.back().ean).second) {
      throw StartError(where + " has the EAN of another, " + titles.back().ean +
                       "; give each book its own.");
    }
  }
  return titles;
}

/// A valid EAN derived from the file's name.
std::string CreateEan(const std::string& file) {
  const auto hash = std::stoull(Sha256Hex(file).substr(0, 12), nullptr, 16) % 1'000'000'000;
  const std::string digits = std::to_string(hash);
  return CompleteEan("979" + std::string(9 - digits.size(), '0') + digits);
}

Title CreateTitle(const std::filesystem::path& path) {
  Title title;
  title.file = path.filename().string();
  title.ean = CreateEan(title.file);
  title.title = path.stem().string();
  title.type = MimeType(path);
  title.format = Format(path);
  struct stat info {};
  if (stat(path.c_str(), &info) == 0) title.published = FormatTime(info.st_mtime);
  if (title.type == "application/epub+zip") ReadEpubMetadata(path, title);
  return title;
}

std::vector<Title> ListBookFiles(const std::filesystem::path& directory) {
  std::vector<Title> titles;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    if (entry.is_regular_file() && !MimeType(entry.path()).empty()) {
      titles.push_back(CreateTitle(entry.path()));
    }
  }
  std::sort(titles.begin(), titles.end(),
            [](const Title& one, const Title& other) { return one.file < other.file; });
  return titles;
}

/// Throws StartError.
std::vector<Title> ReadTitles(const std::filesystem::path& directory) try {
  if (!std::filesystem::is_directory(directory)) {
    throw StartError("There is no books directory " + directory.string() +
                     "; build the target devshop_books, or name a directory with --books.");
  }
  const bool has_catalogue = std::filesystem::exists(directory / "catalogue.json");
  auto titles = has_catalogue ? ReadCatalogue(directory) : ListBookFiles(directory);
  if (titles.empty()) {
    throw StartError("The books directory " + directory.string() +
                     " holds no EPUB, PDF, text or ACSM file; name another with --books.");
  }
  return titles;
} catch (const std::filesystem::filesystem_error& error) {
  throw StartError(std::string("Cannot read the books: ") + error.what() +
                   "; name a readable directory with --books.");
}

/// Appends generated titles until there are `min_titles`.
std::vector<Title> AddGenerated(std::vector<Title> titles, std::size_t min_titles) {
  if (titles.size() >= min_titles) return titles;
  auto generated = GenerateTitles(min_titles - titles.size());
  std::move(generated.begin(), generated.end(), std::back_inserter(titles));
  return titles;
}

}  // namespace

Catalogue::Catalogue(const std::filesystem::path& directory, std::size_t min_titles)
    : directory_(directory),
      titles_(AddGenerated(ReadTitles(directory), min_titles)),
      index_(titles_) {}

}  // namespace devshop
