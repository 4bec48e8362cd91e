// The IANA zones the user named for places of their own, kept beside each
// user file so that the user file's records stay as every reader knows them:
// "USER\D.dao" has "USER\D.TZN". A text in the atlas's code page, a line per
// place in name order:
//
//   the place's name as the user file keeps it (no padding), a TAB, the IANA
//   zone ("America/Chicago"), CR LF
//
// Readers refuse a line without a TAB, an empty name or zone, a zone that is
// not printable ASCII or longer than 64 characters, a name twice (any case),
// and a last line without its CR LF. A place without a line follows the zone
// map at its coordinates.
#ifndef TARVPLACES_ATLAS_USER_ZONES_H_
#define TARVPLACES_ATLAS_USER_ZONES_H_

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarv {

// (name, zone) pairs.
using NamedZones = std::vector<std::pair<std::string, std::string>>;

// "C:\Atlas\USER\D.dao" gives "C:\Atlas\USER\D.TZN".
std::string UserZonesPathOf(const std::string& user_file);

// Whether `zone` can be stored: 1-64 printable ASCII characters.
bool StorableZoneName(std::string_view zone);

// The file's bytes, lines sorted by name. Throws std::invalid_argument for
// a pair the format cannot hold.
std::string EncodeUserZones(NamedZones zones);

class UserZones {
 public:
  // Checks and decodes the file's bytes (the third argument is unused: the
  // zones are checked against the atlas's where they are used). Throws
  // FormatViolation naming `file`.
  UserZones(std::string_view bytes, const std::string& file, std::size_t = 0);

  // The zone named for the place `name` (any case, padding ignored).
  std::optional<std::string> ZoneOf(std::string_view name) const;
  const NamedZones& entries() const { return zones_; }

 private:
  NamedZones zones_;
};

}  // namespace tarv

#endif  // TARVPLACES_ATLAS_USER_ZONES_H_
