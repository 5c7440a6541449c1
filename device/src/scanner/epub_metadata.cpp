#include "epub_metadata.h"

#include <libxml/parser.h>
#include <zip.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string_view>
#include <vector>

#include "../text.h"

namespace scanner {
namespace {

// Far above what large books need. They bound the time of a book to about a second, and its memory
// to some 20 MiB: libzip keeps the whole directory of an archive, and libxml2 a whole tag, whose
// attributes it compares with each other.
constexpr std::uint32_t kMaxDirectory_bytes = 2 << 20;  // some 20,000 files
constexpr std::int64_t kMaxDocument_bytes = 4 << 20;
constexpr std::int64_t kMaxMarkup_bytes = 64 << 10;
constexpr std::size_t kMaxAttributes = 100;
constexpr std::size_t kMaxDepth = 32;
constexpr std::size_t kMaxText_bytes = 64 << 10;
constexpr std::size_t kMaxField_bytes = 1000;

struct Free {
  void operator()(zip_t* zip) const { zip_discard(zip); }
  void operator()(zip_file_t* file) const { zip_fclose(file); }
  void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
};
template <typename T>
using Owned = std::unique_ptr<T, Free>;

/// Whether an archive's directory is small enough to be read. Its size is in the record at the end,
/// which a comment of 64 KiB may follow; archives of 4 GiB have another record before it.
bool HasSmallDirectory(const std::filesystem::path& path) {
  constexpr std::size_t kRecord_bytes = 22, kLocator_bytes = 20, kMaxTail_bytes = 66'000;
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  const std::streamoff size = file.tellg();
  std::string tail(std::min<std::size_t>(kMaxTail_bytes, std::max<std::streamoff>(size, 0)), '\0');
  file.seekg(-static_cast<std::streamoff>(tail.size()), std::ios::end);
  if (!file.read(tail.data(), static_cast<std::streamsize>(tail.size()))) return false;
  for (std::size_t at = 0; (at = tail.find("PK\5\6", at)) != std::string::npos; ++at) {
    if (at + kRecord_bytes > tail.size()) break;
    std::uint32_t directory_bytes = 0;
    for (int i = 3; i >= 0; --i) {
      directory_bytes = directory_bytes << 8 | static_cast<unsigned char>(tail[at + 12 + i]);
    }
    if (directory_bytes > kMaxDirectory_bytes) return false;
    if (at >= kLocator_bytes && tail.compare(at - kLocator_bytes, 4, "PK\6\7") == 0) return false;
  }
  return true;
}

/// A name without its prefix.
std::string_view LocalName(const xmlChar* name) {
  const std::string_view text = reinterpret_cast<const char*>(name);
  return text.substr(text.find(':') + 1);
}

/// Reads an XML document of an archive, element by element. Reading ends at the first excess of a
/// limit, and at a document type with declarations of its own, whose entities could expand without
/// end. Other damage is skipped.
class DocumentReader {
 public:
  virtual ~DocumentReader() = default;

  void Read(zip_t* zip, const std::string& name) {
    file_.reset(zip_fopen(zip, name.c_str(), 0));
    if (!file_) return;
    xmlSAXHandler handler{};
    handler.internalSubset = OnDocumentType;
    handler.startElement = OnStart;
    handler.endElement = OnEnd;
    handler.characters = handler.ignorableWhitespace = OnCharacters;
    parser_.reset(
        xmlCreateIOParserCtxt(&handler, this, OnRead, nullptr, this, XML_CHAR_ENCODING_NONE));
    if (!parser_) return;
    xmlCtxtUseOptions(parser_.get(), XML_PARSE_NONET | XML_PARSE_RECOVER | XML_PARSE_NOERROR |
                                         XML_PARSE_NOWARNING);
    xmlParseDocument(parser_.get());
    while (!path_.empty()) OnEnd(this, nullptr);  // what damage has left open
  }

 protected:
  class Attributes {
   public:
    explicit Attributes(const xmlChar** pairs) : pairs_(pairs) {}
    /// Empty if it is missing.
    std::string Get(std::string_view name) const {
      for (const xmlChar** pair = pairs_; pair && *pair; pair += 2) {
        if (LocalName(pair[0]) == name)
          return pair[1] ? reinterpret_cast<const char*>(pair[1]) : "";
      }
      return "";
    }
    std::size_t size() const {
      std::size_t size = 0;
      while (pairs_ && pairs_[2 * size]) ++size;
      return size;
    }

   private:
    const xmlChar** pairs_;
  };

  /// The names, without prefixes, of the element that begins or ends and of those around it.
  const std::vector<std::string>& path() const { return path_; }
  void Stop() { xmlStopParser(parser_.get()); }

  virtual void StartElement(const Attributes& attributes) = 0;
  virtual void EndElement() {}
  virtual void AddText(std::string_view) {}

 private:
  static DocumentReader* From(void* self) { return static_cast<DocumentReader*>(self); }

  static int OnRead(void* self, char* buffer, int size) {
    DocumentReader* reader = From(self);
    if (reader->read_bytes_ > kMaxDocument_bytes ||
        reader->read_bytes_ - reader->handled_bytes_ > kMaxMarkup_bytes) {
      return -1;
    }
    const zip_int64_t count =
        zip_fread(reader->file_.get(), buffer, static_cast<zip_uint64_t>(size));
    if (count > 0) reader->read_bytes_ += count;
    return static_cast<int>(count);
  }

  static void OnDocumentType(void* self, const xmlChar*, const xmlChar*, const xmlChar*) {
    const xmlParserInput* input = From(self)->parser_->input;
    if (input->cur < input->end && *input->cur == '[') From(self)->Stop();
  }

  static void OnStart(void* self, const xmlChar* name, const xmlChar** pairs) {
    DocumentReader* reader = From(self);
    reader->handled_bytes_ = reader->read_bytes_;
    const Attributes attributes(pairs);
    if (reader->path_.size() == kMaxDepth || attributes.size() > kMaxAttributes) {
      return reader->Stop();
    }
    reader->path_.emplace_back(LocalName(name));
    reader->StartElement(attributes);
  }

  static void OnEnd(void* self, const xmlChar*) {
    DocumentReader* reader = From(self);
    reader->handled_bytes_ = reader->read_bytes_;
    if (reader->path_.empty()) return;
    reader->EndElement();
    reader->path_.pop_back();
  }

  static void OnCharacters(void* self, const xmlChar* text, int size) {
    DocumentReader* reader = From(self);
    reader->handled_bytes_ = reader->read_bytes_;
    reader->AddText({reinterpret_cast<const char*>(text), static_cast<std::size_t>(size)});
  }

  Owned<zip_file_t> file_;
  Owned<xmlParserCtxt> parser_;
  std::int64_t read_bytes_ = 0;
  std::int64_t handled_bytes_ = 0;  // what had been read at the last element or text
  std::vector<std::string> path_;
};

/// Finds the package document.
class ContainerReader : public DocumentReader {
 public:
  std::string package;

 private:
  void StartElement(const Attributes& attributes) override {
    if (path().back() != "rootfile") return;
    package = attributes.Get("full-path");
    Stop();
  }
};

class PackageReader : public DocumentReader {
 public:
  EpubMetadata metadata;

 private:
  bool IsField() const {
    if (path().size() < 3 || path()[1] != "metadata") return false;
    // The first version of the format has one more level.
    const std::size_t level = path()[2] == "dc-metadata" ? 4 : 3;
    return path().size() == level && (path().back() == "title" || path().back() == "creator");
  }

  void StartElement(const Attributes& attributes) override {
    if (!IsField()) return;
    text_.clear();
    role_ = attributes.Get("role");
  }

  void AddText(std::string_view text) override {
    if (text_.size() < kMaxText_bytes) text_ += text.substr(0, kMaxText_bytes - text_.size());
  }

  void EndElement() override {
    if (path().size() == 2 && path()[1] == "metadata") Stop();
    if (!IsField()) return;
    const std::string text = NormalizeSpace(text_);
    if (path().back() == "title") {
      if (metadata.title.empty()) metadata.title = Truncate(text, kMaxField_bytes);
    } else if (!text.empty() && (role_.empty() || role_ == "aut")) {
      metadata.author =
          Truncate(metadata.author.empty() ? text : metadata.author + ", " + text, kMaxField_bytes);
    }
  }

  std::string text_;
  std::string role_;
};

}  // namespace

EpubMetadata ReadEpubMetadata(const std::filesystem::path& file) {
  if (!HasSmallDirectory(file)) return {};
  const Owned<zip_t> zip(zip_open(file.c_str(), ZIP_RDONLY, nullptr));
  if (!zip) return {};
  ContainerReader container;
  container.Read(zip.get(), "META-INF/container.xml");
  PackageReader package;
  if (!container.package.empty()) package.Read(zip.get(), container.package);
  return package.metadata;
}

}  // namespace scanner
