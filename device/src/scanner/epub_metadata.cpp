#include "epub_metadata.h"

#include <string>

#include "archive.h"
#include "document_reader.h"

namespace scanner {
namespace {

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
  BookMetadata metadata;

 private:
  bool IsField() const override {
    if (path().size() < 3 || path()[1] != "metadata") return false;
    // The first version of the format has one more level.
    const std::size_t level = path()[2] == "dc-metadata" ? 4 : 3;
    return path().size() == level && (path().back() == "title" || path().back() == "creator");
  }

  void StartElement(const Attributes& attributes) override {
    if (IsField()) role_ = attributes.Get("role");
  }

  void AddField(const std::string& text) override {
    if (path().back() == "title") {
      metadata.SetTitle(text);
    } else if (role_.empty() || role_ == "aut") {
      metadata.AddAuthor(text);
    }
  }

  void EndElement() override {
    if (path().size() == 2 && path()[1] == "metadata") Stop();
  }

  std::string role_;
};

}  // namespace

BookMetadata ReadEpubMetadata(const std::filesystem::path& file) {
  const Archive archive(file);
  ContainerReader container;
  container.Read(archive.Open("META-INF/container.xml"));
  PackageReader package;
  if (!container.package.empty()) package.Read(archive.Open(container.package));
  return package.metadata;
}

}  // namespace scanner
