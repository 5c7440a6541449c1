#ifndef QUIRE_ACQUISITION_H_
#define QUIRE_ACQUISITION_H_

#include <boost/ptr_container/ptr_vector.hpp>
#include <sstream>
#include <string>

#include "opds/object.h"
#include "quire_export.h"

namespace OPDS {

/// What an acquisition link of a catalogue leads to, possibly in several steps: a ticket that leads
/// to an EPUB has an EPUB as its child. Not thread-safe.
class QUIRE_EXPORT IndirectAcquisition : public Object {
 public:
  /// The kind code of this class.
  static constexpr std::int32_t kKind = 9;

  /// \param attributes  "type" is the MIME type; others are ignored.
  explicit IndirectAcquisition(const AttributeMap& attributes);

  /// Appends another indirect acquisition and takes ownership of it.
  /// \return false for null and for any other element, which remains the caller's.
  bool addChild(Object* child) override;

  std::string type;                                 ///< MIME type; empty when there is none
  boost::ptr_vector<IndirectAcquisition> children;  ///< in document order; owned
};

}  // namespace OPDS

namespace saltmoor::quire {

/// Appends the formats of acquisition elements, in upper case, separated by commas, each parent
/// before its children: "EPUB,PDF". Unknown types are left out, duplicates are not.
/// \param out  its present content counts as an entry.
/// \param has_acsm  set to true when a ticket of Adobe Digital Editions is among them, which is not
///     listed; never set to false.
QUIRE_EXPORT void MakeFormat(std::stringstream& out, bool& has_acsm,
                             const boost::ptr_vector<OPDS::IndirectAcquisition>& items);

}  // namespace saltmoor::quire

#endif  // QUIRE_ACQUISITION_H_
