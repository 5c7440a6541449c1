/// \file
/// Reads untrusted XML within limits.

#ifndef DEVICE_SCANNER_DOCUMENT_READER_H_
#define DEVICE_SCANNER_DOCUMENT_READER_H_

#include <libxml/parser.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace scanner {

/// Reads an XML document element by element, at most 4 MiB of it. Reading ends at the first excess
/// of a limit, and at a document type with declarations of its own, whose entities could expand
/// without end. Other damage is skipped.
class DocumentReader {
 public:
  /// Reads up to `size` bytes into `buffer`.
  /// \return how many; 0 at the end, a negative number on failure.
  using Source = std::function<std::int64_t(char* buffer, std::size_t size)>;

  virtual ~DocumentReader() = default;

  /// Does nothing without a source.
  void Read(Source source);

 protected:
  class Attributes {
   public:
    explicit Attributes(const xmlChar** pairs) : pairs_(pairs) {}
    /// Empty if it is missing.
    std::string Get(std::string_view name) const;
    std::size_t size() const;

   private:
    const xmlChar** pairs_;
  };

  /// The names, without prefixes, of the element that begins or ends and of those around it.
  const std::vector<std::string>& path() const { return path_; }
  void Stop() { xmlStopParser(parser_.get()); }

  virtual void StartElement(const Attributes&) {}
  virtual void EndElement() {}
  /// Whether the text of the element is wanted.
  virtual bool IsField() const { return false; }
  /// Called with at most 64 KiB of a field's text before EndElement.
  virtual void AddField(const std::string&) {}

 private:
  static DocumentReader* From(void* self) { return static_cast<DocumentReader*>(self); }
  static int OnRead(void* self, char* buffer, int size);
  static void OnDocumentType(void* self, const xmlChar*, const xmlChar*, const xmlChar*);
  static void OnStart(void* self, const xmlChar* name, const xmlChar** pairs);
  static void OnEnd(void* self, const xmlChar*);
  static void OnCharacters(void* self, const xmlChar* text, int size);

  struct FreeParser {
    void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
  };

  Source source_;
  std::unique_ptr<xmlParserCtxt, FreeParser> parser_;
  std::int64_t read_bytes_ = 0;
  std::int64_t handled_bytes_ = 0;  // what had been read at the last element or text
  std::vector<std::string> path_;
  std::string text_;  // since the last field began
};

}  // namespace scanner

#endif  // DEVICE_SCANNER_DOCUMENT_READER_H_
