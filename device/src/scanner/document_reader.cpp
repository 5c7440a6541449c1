#include "document_reader.h"

#include <algorithm>
#include <utility>

namespace scanner {
namespace {

// Far above what large books need. They bound the time of a document to about a second, and its
// memory to some 20 MiB: libxml2 keeps a whole tag, whose attributes it compares with each other.
constexpr std::int64_t kMaxDocument_bytes = 4 << 20;
constexpr std::int64_t kMaxMarkup_bytes = 64 << 10;
constexpr std::size_t kMaxAttributes = 100;
constexpr std::size_t kMaxDepth = 32;
constexpr std::size_t kMaxText_bytes = 64 << 10;

/// A name without its prefix.
std::string_view LocalName(const xmlChar* name) {
  const std::string_view text = reinterpret_cast<const char*>(name);
  return text.substr(text.find(':') + 1);
}

}  // namespace

std::string DocumentReader::Attributes::Get(std::string_view name) const {
  for (const xmlChar** pair = pairs_; pair && *pair; pair += 2) {
    if (LocalName(pair[0]) == name) return pair[1] ? reinterpret_cast<const char*>(pair[1]) : "";
  }
  return "";
}

std::size_t DocumentReader::Attributes::size() const {
  std::size_t size = 0;
  while (pairs_ && pairs_[2 * size]) ++size;
  return size;
}

void DocumentReader::Read(Source source) {
  if (!source) return;
  source_ = std::move(source);
  xmlSAXHandler handler{};
  handler.internalSubset = OnDocumentType;
  handler.startElement = OnStart;
  handler.endElement = OnEnd;
  handler.characters = handler.ignorableWhitespace = OnCharacters;
  parser_.reset(
      xmlCreateIOParserCtxt(&handler, this, OnRead, nullptr, this, XML_CHAR_ENCODING_NONE));
  if (!parser_) return;
  xmlCtxtUseOptions(parser_.get(),
                    XML_PARSE_NONET | XML_PARSE_RECOVER | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
  xmlParseDocument(parser_.get());
  while (!path_.empty()) OnEnd(this, nullptr);  // what damage has left open
}

int DocumentReader::OnRead(void* self, char* buffer, int size) {
  DocumentReader* reader = From(self);
  if (reader->read_bytes_ > kMaxDocument_bytes ||
      reader->read_bytes_ - reader->handled_bytes_ > kMaxMarkup_bytes) {
    return -1;
  }
  const std::int64_t count = reader->source_(buffer, static_cast<std::size_t>(size));
  if (count > 0) reader->read_bytes_ += count;
  return static_cast<int>(count);
}

void DocumentReader::OnDocumentType(void* self, const xmlChar*, const xmlChar*, const xmlChar*) {
  const xmlParserInput* input = From(self)->parser_->input;
  if (input->cur < input->end && *input->cur == '[') From(self)->Stop();
}

void DocumentReader::OnStart(void* self, const xmlChar* name, const xmlChar** pairs) {
  DocumentReader* reader = From(self);
  reader->handled_bytes_ = reader->read_bytes_;
  const Attributes attributes(pairs);
  if (reader->path_.size() == kMaxDepth || attributes.size() > kMaxAttributes) {
    return reader->Stop();
  }
  reader->path_.emplace_back(LocalName(name));
  if (reader->IsField()) reader->text_.clear();
  reader->StartElement(attributes);
}

void DocumentReader::OnEnd(void* self, const xmlChar*) {
  DocumentReader* reader = From(self);
  reader->handled_bytes_ = reader->read_bytes_;
  if (reader->path_.empty()) return;
  if (reader->IsField()) reader->AddField(reader->text_);
  reader->EndElement();
  reader->path_.pop_back();
}

void DocumentReader::OnCharacters(void* self, const xmlChar* text, int size) {
  DocumentReader* reader = From(self);
  reader->handled_bytes_ = reader->read_bytes_;
  const std::size_t left_bytes = kMaxText_bytes - reader->text_.size();
  reader->text_.append(reinterpret_cast<const char*>(text),
                       std::min(static_cast<std::size_t>(size), left_bytes));
}

}  // namespace scanner
