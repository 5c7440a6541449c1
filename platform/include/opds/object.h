#ifndef OPDS_OBJECT_H_
#define OPDS_OBJECT_H_

#include <boost/unordered_map.hpp>
#include <cstdint>
#include <string>

/// The elements of an OPDS catalogue, which a parser builds and joins into a tree.
namespace OPDS {

/// The attributes of an element: name to value, as parsed.
using AttributeMap = boost::unordered_map<std::string, std::string>;

/// Base class of all elements of a catalogue. Not thread-safe.
class Object {
 public:
  /// \param code  the kind of the element; each class has its own code.
  explicit Object(std::int32_t code) : kind(code) {}

  std::int32_t kind;  ///< the class of the element

  virtual ~Object() = default;

  /// Adds a child element. The base class refuses every child.
  /// \param child  owned by this element if the call returns true, otherwise by the caller.
  /// \return whether the child was added.
  virtual bool addChild(Object* /*child*/) { return false; }

  /// Appends to the text content of the element. The base class ignores it.
  virtual void appendContent(const std::string& /*text*/) {}
};

}  // namespace OPDS

#endif  // OPDS_OBJECT_H_
