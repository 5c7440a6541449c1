#ifndef OPDS_OBJECT_H_
#define OPDS_OBJECT_H_

#include <boost/unordered_map.hpp>
#include <cstdint>
#include <string>

/// The model of an OPDS catalogue: elements that a parser builds and joins into a tree.
namespace OPDS {

/// An element's attributes: name to value, as the parser read them.
using AttributeMap = boost::unordered_map<std::string, std::string>;

/// Base of every element of a catalogue. An element belongs on one thread at a time.
class Object {
 public:
  /// \param code  the element's kind code; each class has its own.
  explicit Object(std::int32_t code) : kind(code) {}

  std::int32_t kind;  ///< what class the element is of

  virtual ~Object() = default;

  /// Offers a child element.
  /// \return true when this element took it over and will delete it; false when it stays the
  ///     caller's, as here.
  virtual bool addChild(Object* /*child*/) { return false; }

  /// Offers text that stands in the element. Ignored here.
  virtual void appendContent(const std::string& /*text*/) {}
};

}  // namespace OPDS

#endif  // OPDS_OBJECT_H_
