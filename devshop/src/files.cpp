#include "files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <random>

#include "crypto.h"
#include "faults.h"

namespace devshop {
namespace {

constexpr std::size_t kPiece_bytes = 256 * 1024;
constexpr int kLargestStandIn_bytes = 1 << 30;

struct Descriptor {
  explicit Descriptor(int number) : fd(number) {}
  ~Descriptor() { close(fd); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  const int fd;
};

struct Range {
  std::size_t first = 0;
  std::size_t size = 0;
};

enum class RangeAsked { kNone, kSatisfiable, kUnsatisfiable };

/// Reads a range of the form `bytes=A-B`, `bytes=A-` or `bytes=-N`. Anything else, several ranges
/// included, counts as no range, and the whole is sent.
RangeAsked read_range(std::string_view header, std::size_t whole, Range* range) {
  if (header.rfind("bytes=", 0) != 0) return RangeAsked::kNone;
  header.remove_prefix(6);
  const auto dash = header.find('-');
  if (dash == std::string_view::npos) return RangeAsked::kNone;
  const auto number = [](std::string_view text, std::size_t* value) {
    const auto end = text.data() + text.size();
    return std::from_chars(text.data(), end, *value).ptr == end && !text.empty();
  };
  std::size_t first = 0, last = 0;
  const auto tail = header.substr(dash + 1);
  if (dash == 0) {
    if (!number(tail, &last)) return RangeAsked::kNone;
    *range = {whole - std::min(whole, last), std::min(whole, last)};
  } else {
    if (!number(header.substr(0, dash), &first)) return RangeAsked::kNone;
    if (tail.empty()) {
      last = whole;
    } else if (!number(tail, &last) || last < first) {
      return RangeAsked::kNone;
    }
    if (first < whole) *range = {first, std::min(last, whole - 1) - first + 1};
  }
  return range->size > 0 ? RangeAsked::kSatisfiable : RangeAsked::kUnsatisfiable;
}

/// Bytes that never repeat within reach, so that an offset wrong by one shows.
std::string stand_in_bytes(std::size_t size, unsigned revision) {
  std::mt19937_64 random(revision);
  std::string bytes(size + 8, '\0');
  for (std::size_t i = 0; i < size; i += 8) {
    const auto word = random();
    for (unsigned b = 0; b < 8; ++b) bytes[i + b] = static_cast<char>(word >> (8 * b));
  }
  bytes.resize(size);
  return bytes;
}

std::string http_time(std::time_t time) {
  return format_time(time, "%a, %d %b %Y %H:%M:%S GMT");
}

void not_found(Response& response) {
  response.status = 404;
  response.set_content("There is no such file.\n", "text/plain");
}

std::string image_type(const std::string& file) {
  const auto extension = std::filesystem::path(file).extension();
  if (extension == ".svg") return "image/svg+xml";
  return extension == ".jpg" || extension == ".jpeg" ? "image/jpeg" : "image/png";
}

}  // namespace

std::optional<Files::Content> Files::open_file(const std::filesystem::path& path) {
  const auto file = std::make_shared<Descriptor>(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat info {};
  if (file->fd < 0 || fstat(file->fd, &info) != 0) return std::nullopt;
  const auto size = static_cast<std::size_t>(info.st_size);
  const auto nanoseconds = info.st_mtim.tv_sec * 1'000'000'000LL + info.st_mtim.tv_nsec;
  return Content{
      size, "\"" + std::to_string(nanoseconds) + "-" + std::to_string(size) + "\"",
      info.st_mtim.tv_sec, [file](std::size_t offset, std::size_t wanted, std::string* bytes) {
        bytes->resize(wanted);
        const auto got = pread(file->fd, bytes->data(), wanted, static_cast<off_t>(offset));
        bytes->resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        return got > 0;
      }};
}

Files::Content Files::open_bytes(std::shared_ptr<const std::string> bytes,
                                 const std::string& revision) {
  const std::string etag = "\"" + revision + "-" + std::to_string(bytes->size()) + "\"";
  return {bytes->size(), etag, std::time(nullptr),
          [bytes](std::size_t offset, std::size_t wanted, std::string* piece) {
            *piece = bytes->substr(offset, wanted);
            return true;
          }};
}

void Files::serve(const Content& content, const Manner& manner, const std::string& type,
                  const Request& request, Response& response) {
  const std::string modified = http_time(content.modified);
  if (manner.validators == "strong") response.set_header("ETag", content.etag);
  if (manner.validators != "none") response.set_header("Last-Modified", modified);
  response.set_header("Accept-Ranges", manner.ranges ? "bytes" : "none");

  Range sent{0, content.size_bytes};
  const std::string condition = request.header("If-Range");
  if (manner.ranges && (condition.empty() || condition == content.etag || condition == modified)) {
    Range range;
    const auto asked = read_range(request.header("Range"), content.size_bytes, &range);
    const std::string whole = "/" + std::to_string(content.size_bytes);
    if (asked == RangeAsked::kUnsatisfiable) {
      response.status = 416;
      response.set_header("Content-Range", "bytes *" + whole);
      return;
    }
    if (asked == RangeAsked::kSatisfiable) {
      sent = range;
      response.status = 206;
      response.set_header("Content-Range", "bytes " + std::to_string(range.first) + "-" +
                                               std::to_string(range.first + range.size - 1) +
                                               whole);
    }
  }
  const auto send = [read = content.read, sent](std::size_t offset, httplib::DataSink& sink) {
    std::string piece;
    const std::size_t wanted = std::min(sent.size - offset, kPiece_bytes);
    return read(sent.first + offset, wanted, &piece) && sink.write(piece.data(), piece.size());
  };
  if (sent.size == 0) {
    response.set_content("", type);
  } else if (manner.chunked) {
    response.set_chunked_content_provider(
        type, [send, sent](std::size_t offset, httplib::DataSink& sink) {
          if (offset < sent.size) return send(offset, sink);
          sink.done();
          return true;
        });
  } else {
    response.set_content_provider(sent.size, type,
                                  [send](std::size_t offset, std::size_t, httplib::DataSink& sink) {
                                    return send(offset, sink);
                                  });
  }
}

Files::Manner Files::manner_of(const std::string& ean) const {
  const std::lock_guard lock(mutex_);
  const auto found = manners_.find(ean);
  return found == manners_.end() ? Manner{} : found->second;
}

std::optional<Files::Content> Files::open_book(const Title& title, const Manner& manner) const {
  if (manner.bytes) return open_bytes(manner.bytes, manner.revision);
  return open_file(shop_.catalogue().path_of(title.file));
}

bool Files::is_customer(const std::string& ean, const std::string& token) {
  const std::lock_guard lock(shop_.mutex);
  return shop_.accounts.owns(ean, [&](const Account& account) {
    return equal_secrets(shop_.link_token(account, ean), token);
  });
}

void Files::answer_book(const Request& request, Response& response) {
  std::array<std::string, 5> parts;  // "", "files", token, EAN, name
  std::size_t at = 0;
  for (const char c : request.path) {
    if (c == '/' && at + 1 < parts.size()) {
      ++at;
    } else {
      parts[at] += c;
    }
  }
  const Title* title = shop_.catalogue().find(parts[3]);
  if (title == nullptr || parts[4] != title->file || !is_customer(title->ean, parts[2])) {
    return not_found(response);
  }
  const Manner manner = manner_of(title->ean);
  const auto content = open_book(*title, manner);
  if (!content) return not_found(response);
  response.set_header("Content-Disposition",
                      "attachment; filename*=UTF-8''" + percent_encode(title->file));
  response.set_header("Cache-Control", "private");
  serve(*content, manner, title->type, request, response);
}

void Files::answer_cover(const Request& request, Response& response) {
  const Title* title = shop_.catalogue().find(request.path.substr(request.path.rfind('/') + 1));
  const auto content = title == nullptr || title->cover.empty()
                           ? std::nullopt
                           : open_file(shop_.catalogue().path_of(title->cover));
  if (!content) return not_found(response);
  serve(*content, {}, image_type(title->cover), request, response);
}

Json Files::replace(const Json& instruction) {
  if (!instruction.is_object()) throw BadInstruction("An instruction is a JSON object.");
  const std::string ean = instruction.value("ean", "");
  const Title* title = shop_.catalogue().find(ean);
  if (title == nullptr) throw BadInstruction("No book has the \"ean\" \"" + ean + "\".");
  Manner manner = manner_of(ean);
  const unsigned revision = instruction.value("revision", 1U);
  for (const auto& [name, value] : instruction.items()) {
    if (name == "text") {
      manner.bytes = std::make_shared<std::string>(value.get<std::string>());
      manner.revision = sha256_hex(*manner.bytes).substr(0, 16);
    } else if (name == "size_bytes") {
      const auto size = std::clamp(value.get<int>(), 0, kLargestStandIn_bytes);
      manner.bytes =
          std::make_shared<std::string>(stand_in_bytes(static_cast<std::size_t>(size), revision));
      manner.revision = "revision-" + std::to_string(revision);
    } else if (name == "ranges") {
      manner.ranges = value.get<bool>();
    } else if (name == "chunked") {
      manner.chunked = value.get<bool>();
    } else if (name == "validators") {
      manner.validators = value.get<std::string>();
      if (manner.validators != "strong" && manner.validators != "date" &&
          manner.validators != "none") {
        throw BadInstruction("validators is strong, date or none.");
      }
    } else if (name != "ean" && name != "revision") {
      throw BadInstruction("Unknown field \"" + name +
                           "\"; there are ean, text, size_bytes, revision, ranges, chunked, "
                           "validators (strong, date, none).");
    }
  }
  {
    const std::lock_guard lock(mutex_);
    manners_[ean] = manner;
  }
  return book_json(*title);
}

void Files::restore() {
  const std::lock_guard lock(mutex_);
  manners_.clear();
}

Json Files::book_json(const Title& title) const {
  Json json{{"ean", title.ean}, {"title", title.title}, {"file", title.file}, {"type", title.type}};
  const Manner manner = manner_of(title.ean);
  std::string bytes;
  const auto content = open_book(title, manner);
  if (!content) return json;
  for (std::string piece; bytes.size() < content->size_bytes; bytes += piece) {
    if (!content->read(bytes.size(), content->size_bytes - bytes.size(), &piece)) break;
  }
  json["size_bytes"] = bytes.size();
  json["sha256"] = sha256_hex(bytes);
  json["etag"] = content->etag;
  return json;
}

Json Files::to_json() const {
  Json books = Json::array();
  for (const Title& title : shop_.catalogue().titles()) books.push_back(book_json(title));
  return {{"books", std::move(books)}};
}

}  // namespace devshop
