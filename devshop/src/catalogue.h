#ifndef DEVSHOP_CATALOGUE_H_
#define DEVSHOP_CATALOGUE_H_

#include <filesystem>
#include <string>
#include <vector>

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
  std::string cover;         ///< name in the books directory; empty: none
  bool out_of_sale = false;  ///< listed, but cannot be put into a cart

  /// The type without its parameters.
  std::string BareType() const { return type.substr(0, type.find(';')); }
};

/// The titles of a books directory, read once. Thread-safe.
class Catalogue {
 public:
  /// Reads the directory's `catalogue.json` or, without one, makes a title of each book file.
  /// Throws StartError.
  explicit Catalogue(const std::filesystem::path& directory);

  const std::vector<Title>& titles() const { return titles_; }
  /// Null when there is none.
  const Title* Find(const std::string& ean) const;
  /// The titles with `words` in title, author, subject, summary or EAN, compared without case.
  std::vector<const Title*> Search(const std::string& words) const;
  std::filesystem::path Path(const std::string& file) const { return directory_ / file; }

 private:
  std::filesystem::path directory_;
  std::vector<Title> titles_;
};

}  // namespace devshop

#endif  // DEVSHOP_CATALOGUE_H_
