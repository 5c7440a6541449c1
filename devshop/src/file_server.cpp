#include "file_server.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <boost/algorithm/string/split.hpp>
#include <cstdio>
#include <random>
#include <vector>

#include "cover.h"
#include "crypto.h"
#include "fault_injector.h"
#include "generated_book.h"
#include "number.h"
#include "timestamp.h"
#include "url_encoding.h"

namespace devshop {
namespace {

constexpr int kMaxReplacement_bytes = 1 << 30;
constexpr std::time_t kGeneratedModified = 1'577'836'800;  // 2020-01-01
constexpr char kMissing[] = "There is no such file.";

struct Range {
  std::size_t first = 0;
  std::size_t size = 0;
};

/// Parses `bytes=A-B`, `bytes=A-` or `bytes=-N`; empty when it cannot be satisfied. Anything else,
/// several ranges included, is not a range: the complete file is sent.
std::optional<Range> ParseRange(const std::string& header, std::size_t size_bytes) {
  const auto dash = header.find('-');
  if (!header.starts_with("bytes=") || dash == std::string::npos) return std::nullopt;
  const std::string from = header.substr(6, dash - 6), to = header.substr(dash + 1);
  const auto first = ParseNumber(from), last = ParseNumber(to);
  if ((!first && !from.empty()) || (!last && !to.empty()) || (!first && !last)) {
    return std::nullopt;
  }
  if (!first) return Range{size_bytes - std::min(size_bytes, *last), std::min(size_bytes, *last)};
  if (last && *last < *first) return std::nullopt;
  if (*first >= size_bytes) return Range{};
  return Range{*first, std::min(last.value_or(size_bytes), size_bytes - 1) - *first + 1};
}

/// Pseudo-random bytes: data at a wrong offset does not compare equal.
std::string NoiseBytes(std::size_t size, unsigned revision) {
  std::mt19937_64 random(revision);
  std::string bytes(size + 8, '\0');
  for (std::size_t i = 0; i < size; i += 8) {
    const auto word = random();
    for (unsigned b = 0; b < 8; ++b) bytes[i + b] = static_cast<char>(word >> (8 * b));
  }
  bytes.resize(size);
  return bytes;
}

}  // namespace

std::optional<FileServer::Content> FileServer::OpenFile(const std::filesystem::path& path) {
  const std::shared_ptr<FILE> file(std::fopen(path.c_str(), "rbe"),
                                   [](FILE* open) { return open ? std::fclose(open) : 0; });
  struct stat info {};
  if (!file || fstat(fileno(file.get()), &info) != 0) return std::nullopt;
  const auto size = static_cast<std::size_t>(info.st_size);
  const auto nanoseconds = info.st_mtim.tv_sec * 1'000'000'000LL + info.st_mtim.tv_nsec;
  return Content{size, "\"" + std::to_string(nanoseconds) + "-" + std::to_string(size) + "\"",
                 info.st_mtim.tv_sec,
                 [file](std::size_t offset, std::size_t wanted, std::string* bytes) {
                   bytes->resize(wanted);
                   const auto got =
                       pread(fileno(file.get()), bytes->data(), wanted, static_cast<off_t>(offset));
                   bytes->resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
                   return got > 0;
                 }};
}

FileServer::Content FileServer::OpenBytes(std::shared_ptr<const std::string> bytes,
                                          const std::string& revision, std::time_t modified) {
  const std::string etag = "\"" + revision + "-" + std::to_string(bytes->size()) + "\"";
  return {bytes->size(), etag, modified,
          [bytes](std::size_t offset, std::size_t wanted, std::string* piece) {
            *piece = bytes->substr(offset, wanted);
            return true;
          }};
}

FileServer::Content FileServer::OpenGenerated(std::string bytes) {
  const std::string revision = Sha256Hex(bytes).substr(0, 16);
  return OpenBytes(std::make_shared<const std::string>(std::move(bytes)), revision,
                   kGeneratedModified);
}

void FileServer::Serve(const Content& content, const ServeOptions& options, const std::string& type,
                       const Request& request, Response& response) {
  const std::string modified = FormatHttpDate(content.modified);
  if (options.validators == "strong") response.SetHeader("ETag", content.etag);
  if (options.validators != "none") response.SetHeader("Last-Modified", modified);
  response.SetHeader("Accept-Ranges", options.ranges ? "bytes" : "none");

  Range sent{0, content.size_bytes};
  const std::string condition = request.GetHeader("If-Range");
  if (options.ranges && (condition.empty() || condition == content.etag || condition == modified)) {
    const auto range = ParseRange(request.GetHeader("Range"), content.size_bytes);
    const std::string total = "/" + std::to_string(content.size_bytes);
    if (range && range->size == 0) {
      response.status = 416;
      response.SetHeader("Content-Range", "bytes *" + total);
      return;
    }
    if (range) {
      sent = *range;
      response.status = 206;
      response.SetHeader("Content-Range", "bytes " + std::to_string(sent.first) + "-" +
                                              std::to_string(sent.first + sent.size - 1) + total);
    }
  }
  response.SetHeader("Content-Type", type);
  response.size_bytes = sent.size;
  response.chunked = options.chunked && sent.size > 0;
  response.read = [read = content.read, first = sent.first](std::size_t offset, std::size_t size,
                                                            std::string* bytes) {
    return read(first + offset, size, bytes);
  };
}

FileServer::ServeOptions FileServer::OptionsFor(const std::string& ean) const {
  const std::lock_guard lock(mutex_);
  const auto found = options_by_ean_.find(ean);
  return found == options_by_ean_.end() ? ServeOptions{} : found->second;
}

std::optional<FileServer::Content> FileServer::OpenBook(const Title& title,
                                                        const ServeOptions& options) const {
  if (options.bytes) return OpenBytes(options.bytes, options.revision, options.modified);
  if (title.generated) return OpenGenerated(GenerateBookFile(title));
  return OpenFile(shop_.catalogue().Path(title.file));
}

bool FileServer::IsCustomer(const std::string& ean, const std::string& token) {
  const std::lock_guard lock(shop_.mutex);
  return shop_.accounts.Owns(ean, [&](const Account& account) {
    return SecretsEqual(shop_.LinkToken(account, ean), token);
  });
}

void FileServer::ServeBook(const Request& request, Response& response) {
  std::vector<std::string> parts;  // "", "files", token, EAN, name
  boost::algorithm::split(parts, request.path, [](char c) { return c == '/'; });
  if (parts.size() != 5) return response.SetError(404, kMissing);
  const Title* title = shop_.catalogue().Find(parts[3]);
  if (title == nullptr || parts[4] != title->file || !IsCustomer(title->ean, parts[2])) {
    return response.SetError(404, kMissing);
  }
  const ServeOptions options = OptionsFor(title->ean);
  const auto content = OpenBook(*title, options);
  if (!content) return response.SetError(404, kMissing);
  response.SetHeader("Content-Disposition",
                     "attachment; filename*=UTF-8''" + PercentEncode(title->file));
  response.SetHeader("Cache-Control", "private");
  Serve(*content, options, title->type, request, response);
}

void FileServer::ServeCover(const Request& request, Response& response) {
  const Title* title = shop_.catalogue().Find(request.path.substr(request.path.rfind('/') + 1));
  if (title == nullptr) return response.SetError(404, kMissing);
  const auto content = title->cover.empty() ? OpenGenerated(DrawCover(title->ean))
                                            : OpenFile(shop_.catalogue().Path(title->cover));
  if (!content) return response.SetError(404, kMissing);
  Serve(*content, {}, title->CoverType(), request, response);
}

Json FileServer::Replace(const Json& fields) {
  if (!fields.is_object()) throw InvalidControlRequest("The request's body is not a JSON object.");
  const std::string ean = fields.value("ean", "");
  const Title* title = shop_.catalogue().Find(ean);
  if (title == nullptr) throw InvalidControlRequest("No book has the \"ean\" \"" + ean + "\".");
  ServeOptions options = OptionsFor(ean);
  const unsigned revision = fields.value("revision", 1U);
  options.modified = std::time(nullptr);
  for (const auto& [name, value] : fields.items()) {
    if (name == "text") {
      options.bytes = std::make_shared<std::string>(value.get<std::string>());
      options.revision = Sha256Hex(*options.bytes).substr(0, 16);
    } else if (name == "size_bytes") {
      const auto size = std::clamp(value.get<int>(), 0, kMaxReplacement_bytes);
      options.bytes =
          std::make_shared<std::string>(NoiseBytes(static_cast<std::size_t>(size), revision));
      options.revision = "revision-" + std::to_string(revision);
    } else if (name == "ranges") {
      options.ranges = value.get<bool>();
    } else if (name == "chunked") {
      options.chunked = value.get<bool>();
    } else if (name == "validators") {
      options.validators = value.get<std::string>();
      if (options.validators != "strong" && options.validators != "date" &&
          options.validators != "none") {
        throw InvalidControlRequest("validators is strong, date or none.");
      }
    } else if (name != "ean" && name != "revision") {
      throw InvalidControlRequest("Unknown field \"" + name +
                                  "\"; there are ean, text, size_bytes, revision, ranges, chunked, "
                                  "validators (strong, date, none).");
    }
  }
  {
    const std::lock_guard lock(mutex_);
    options_by_ean_[ean] = options;
  }
  return BookToJson(*title);
}

void FileServer::Restore() {
  const std::lock_guard lock(mutex_);
  options_by_ean_.clear();
}

Json FileServer::BookToJson(const Title& title) const {
  Json json{{"ean", title.ean}, {"title", title.title}, {"file", title.file}, {"type", title.type}};
  const ServeOptions options = OptionsFor(title.ean);
  std::string bytes;
  const auto content = OpenBook(title, options);
  if (!content) return json;
  content->read(0, content->size_bytes, &bytes);
  json["size_bytes"] = bytes.size();
  json["sha256"] = Sha256Hex(bytes);
  json["etag"] = content->etag;
  return json;
}

Json FileServer::ToJson() const {
  Json books = Json::array();
  for (const Title& title : shop_.catalogue().titles()) books.push_back(BookToJson(title));
  return {{"books", std::move(books)}};
}

}  // namespace devshop
