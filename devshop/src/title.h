#ifndef DEVSHOP_TITLE_H_
#define DEVSHOP_TITLE_H_

#include <string>

namespace devshop {

/// A title for sale.
struct Title {
  std::string ean;
  std::string title;
  std::string author;
  std::string language;
  std::string summary;
  std::string subject;
  long price_hundredths = 100;
  std::string currency = "EUR";
  std::string published;     ///< "YYYY-MM-DD HH:MM:SS", UTC
  std::string file;          ///< name in the books directory
  std::string type;          ///< MIME type of the file
  std::string format;        ///< extension of the file, in lower case without the dot
  std::string cover;         ///< name in the books directory; empty: drawn when asked for
  bool out_of_sale = false;  ///< listed, but cannot be put into a cart
  bool generated = false;    ///< `file` is generated for each download

  /// The type without its parameters.
  std::string BareType() const { return type.substr(0, type.find(';')); }
  /// The MIME type of the cover.
  std::string CoverType() const;
};

/// A format as a reader sees it, such as "EPUB".
std::string FormatName(const std::string& format);

}  // namespace devshop

#endif  // DEVSHOP_TITLE_H_
