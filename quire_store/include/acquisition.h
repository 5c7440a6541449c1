#ifndef QUIRE_ACQUISITION_H_
#define QUIRE_ACQUISITION_H_

#include <boost/ptr_container/ptr_vector.hpp>
#include <sstream>
#include <string>

#include "opds/object.h"
#include "quire_export.h"

namespace OPDS {

/// What a client finally gets when it follows an acquisition link of a catalogue, possibly in
/// several steps: a ticket that leads to an EPUB has an EPUB as its child. An element belongs on
/// one thread at a time.
class QUIRE_EXPORT IndirectAcquisition : public Object {
 public:
  /// The kind code of this class.
  static constexpr std::int32_t kKind = 9;

  /// \param attributes  "type" gives the MIME type; others are ignored.
  explicit IndirectAcquisition(const AttributeMap& attributes);

  /// Takes over another indirect acquisition, after the earlier ones, and will delete it.
  /// \return false for any other element, which stays the caller's. Null is refused.
  bool addChild(Object* child) override;

  std::string type;                                 ///< MIME type; empty when not given
  boost::ptr_vector<IndirectAcquisition> children;  ///< in document order; owned
};

}  // namespace OPDS

namespace saltmoor::quire {

/// Appends the formats of acquisition elements, in upper case and joined by commas, each parent
/// before its children: "EPUB,PDF". Unknown types add nothing and duplicates stay.
/// \param out  what it holds already counts as an entry.
/// \param has_acsm  set to true when an Adobe Digital Editions ticket is among them, which is not
///     listed itself; never set to false, so the caller starts it so.
QUIRE_EXPORT void MakeFormat(std::stringstream& out, bool& has_acsm,
                             const boost::ptr_vector<OPDS::IndirectAcquisition>& items);

}  // namespace saltmoor::quire

#endif  // QUIRE_ACQUISITION_H_
