#include "fb2_metadata.h"

#include <fstream>
#include <memory>
#include <string>

#include "archive.h"
#include "document_reader.h"

namespace scanner {
namespace {

/// Reads the description, which precedes the text.
class DescriptionReader : public DocumentReader {
 public:
  BookMetadata metadata;

 private:
  bool IsInTitleInfo() const {
    return path().size() > 3 && path()[1] == "description" && path()[2] == "title-info";
  }
  bool IsAuthor() const { return IsInTitleInfo() && path().size() == 4 && path()[3] == "author"; }

  bool IsField() const override {
    if (!IsInTitleInfo()) return false;
    const std::string& name = path().back();
    if (path().size() == 4) return name == "book-title";
    return path().size() == 5 && path()[3] == "author" &&
           (name == "first-name" || name == "middle-name" || name == "last-name");
  }

  void StartElement(const Attributes&) override {
    if (path().size() == 2 && path()[1] == "body") Stop();
    if (IsAuthor()) author_.clear();
  }

  void AddField(const std::string& text) override {
    if (path().size() == 4) {
      metadata.SetTitle(text);
    } else {
      author_ += " " + text;
    }
  }

  void EndElement() override {
    if (IsAuthor()) metadata.AddAuthor(author_);
    if (path().size() == 2 && path()[1] == "description") Stop();
  }

  std::string author_;  // the parts of a name
};

BookMetadata ReadDescription(DocumentReader::Source source) {
  DescriptionReader reader;
  reader.Read(std::move(source));
  return reader.metadata;
}

}  // namespace

BookMetadata ReadFb2Metadata(const std::filesystem::path& path) {
  const auto file = std::make_shared<std::ifstream>(path, std::ios::binary);
  return ReadDescription([file](char* buffer, std::size_t size) {
    file->read(buffer, static_cast<std::streamsize>(size));
    return static_cast<std::int64_t>(file->gcount());
  });
}

BookMetadata ReadZippedFb2Metadata(const std::filesystem::path& path) {
  const Archive archive(path);
  return ReadDescription(archive.OpenFirst());
}

}  // namespace scanner
