#ifndef QUIRE_APPS_COMMON_CATALOGUE_ERROR_H_
#define QUIRE_APPS_COMMON_CATALOGUE_ERROR_H_

#include <stdexcept>
#include <string>

namespace app {

/// Thrown when the catalogue cannot be read. The text is for the user: what happened, and what to
/// do next.
class CatalogueError : public std::runtime_error {
 public:
  explicit CatalogueError(const std::string& text, bool server_is_unreachable = false)
      : std::runtime_error(text), is_unreachable(server_is_unreachable) {}

  bool is_unreachable;
};

/// Thrown when a section that the user named does not exist.
class SectionNotFound : public CatalogueError {
 public:
  using CatalogueError::CatalogueError;
};

}  // namespace app

#endif  // QUIRE_APPS_COMMON_CATALOGUE_ERROR_H_
