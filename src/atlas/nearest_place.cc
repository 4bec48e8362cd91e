#include "atlas/nearest_place.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <vector>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/place_image.h"
#include "text/bytes.h"
#include "text/lz.h"
#include "util/file_tests.h"
#include "util/number_text.h"
#include "util/text.h"

namespace tarv {
namespace {

// No pair of valid coordinates lies this far apart.
constexpr double kNoDistance = 1000.0;
// Places whose coordinates lie beyond this are no real places; they are
// checked one by one, so that they cannot stretch the grid.
constexpr double kOrdinaryCoordinates = 1000.0;
// Distances are compared as computed; cell edges are only known to this
// much, so a search stops only when its best lies clearly inside.
constexpr double kEdgeMargin = 1e-9;

bool CountriesLoaded() {
  InitializeCountries("", "Country.dat", false, false);
  return CurrentAtlas().countries_loaded;
}

// The distance the search measures: plain differences of the numbers.
double PlaneDistance(float place_longitude, float place_latitude, double longitude,
                     double latitude) {
  const double dx = std::fabs(static_cast<double>(place_longitude) - longitude);
  const double dy = std::fabs(static_cast<double>(place_latitude) - latitude);
  // pow(x, 2) is exact for a square, so x * x gives the same distance.
  return std::sqrt(dx * dx + dy * dy);
}

// The places of one expanded place file arranged by where they lie: a grid of
// cells over the box of their coordinates, each cell listing its records in
// file order. The nearest place is then found among the cells around the
// point, widening ring by ring until no cell left out could hold a place as
// near, instead of measuring every record of the file.
class PlaceGrid {
 public:
  explicit PlaceGrid(std::shared_ptr<const std::string> image) : image_(std::move(image)) {
    const std::string_view bytes = *image_;
    const auto count = static_cast<std::int32_t>(
        std::min<std::size_t>(bytes.size() / kPlaceRecordSize, kMaxPlaceRecords));
    longitudes_.resize(static_cast<std::size_t>(count));
    latitudes_.resize(static_cast<std::size_t>(count));
    std::vector<std::int32_t> ordinary;
    for (std::int32_t r = 0; r < count; ++r) {
      const std::string_view record =
          bytes.substr(static_cast<std::size_t>(r) * kPlaceRecordSize, kPlaceRecordSize);
      if (record[0] == kDeletedMark) {
        deleted_.push_back(r);
        continue;
      }
      const float lon = DecodeFloat32(record, kPlaceLongitudeAt);
      const float lat = DecodeFloat32(record, kPlaceLatitudeAt);
      longitudes_[static_cast<std::size_t>(r)] = lon;
      latitudes_[static_cast<std::size_t>(r)] = lat;
      // A coordinate that is not a number is never near anything.
      if (!std::isfinite(lon) || !std::isfinite(lat)) continue;
      if (std::fabs(lon) > kOrdinaryCoordinates || std::fabs(lat) > kOrdinaryCoordinates) {
        odd_.push_back(r);
      } else {
        ordinary.push_back(r);
      }
    }
    Arrange(ordinary);
  }

  const std::shared_ptr<const std::string>& image() const { return image_; }

  // The record (0-based) nearest to the point among those strictly nearer
  // than `best` (and than `range` when it is not 0); ties go to the lower
  // record. -1 when none is.
  std::int32_t Nearest(double longitude, double latitude, double range, double& best) const {
    std::int32_t found = -1;
    auto consider = [&](std::int32_t r) {
      const auto i = static_cast<std::size_t>(r);
      const double distance = PlaneDistance(longitudes_[i], latitudes_[i], longitude, latitude);
      if (range != 0.0 && !(distance < range)) return;
      if (distance < best || (distance == best && found >= 0 && r < found)) {
        best = distance;
        found = r;
      }
    };
    for (const std::int32_t r : odd_)
      consider(r);
    if (cells_.empty() || !std::isfinite(longitude) || !std::isfinite(latitude)) return found;
    const std::int64_t cx = Column(longitude);
    const std::int64_t cy = Row(latitude);
    const double reach = range == 0.0 ? kNoDistance : std::min(range, kNoDistance);
    for (std::int64_t ring = 0;; ++ring) {
      VisitRing(cx, cy, ring, consider);
      // Cells are assigned by rounded arithmetic, so a record may sit one
      // cell beyond its true place: only the block inside this ring is
      // known to hold every record that lies in it.
      const std::int64_t inner = ring - 1;
      double gap = std::numeric_limits<double>::infinity();
      bool all_visited = true;
      if (cx - ring > 0) {
        all_visited = false;
        gap = std::min(gap, longitude - (west_ + static_cast<double>(cx - inner) * width_));
      }
      if (cx + ring < columns_ - 1) {
        all_visited = false;
        gap = std::min(gap, west_ + static_cast<double>(cx + inner + 1) * width_ - longitude);
      }
      if (cy - ring > 0) {
        all_visited = false;
        gap = std::min(gap, latitude - (south_ + static_cast<double>(cy - inner) * height_));
      }
      if (cy + ring < rows_ - 1) {
        all_visited = false;
        gap = std::min(gap, south_ + static_cast<double>(cy + inner + 1) * height_ - latitude);
      }
      if (all_visited || gap - kEdgeMargin >= reach) break;
      if (ring > 0 && best + kEdgeMargin < gap) break;
    }
    return found;
  }

  // How many records before `record` are not deleted.
  std::int32_t LiveBefore(std::int32_t record) const {
    const auto deleted = std::lower_bound(deleted_.begin(), deleted_.end(), record);
    return record - static_cast<std::int32_t>(deleted - deleted_.begin());
  }

 private:
  void Arrange(const std::vector<std::int32_t>& records) {
    if (records.empty()) return;
    float west = longitudes_[static_cast<std::size_t>(records[0])];
    float east = west;
    float south = latitudes_[static_cast<std::size_t>(records[0])];
    float north = south;
    for (const std::int32_t r : records) {
      const auto i = static_cast<std::size_t>(r);
      west = std::min(west, longitudes_[i]);
      east = std::max(east, longitudes_[i]);
      south = std::min(south, latitudes_[i]);
      north = std::max(north, latitudes_[i]);
    }
    west_ = west;
    south_ = south;
    // About one record per cell.
    const double span_x = std::max(static_cast<double>(east) - west, 1e-6);
    const double span_y = std::max(static_cast<double>(north) - south, 1e-6);
    const double cells = static_cast<double>(records.size());
    columns_ = std::clamp<std::int64_t>(std::llround(std::sqrt(cells * span_x / span_y)), 1, 2048);
    rows_ = std::clamp<std::int64_t>(std::llround(cells / static_cast<double>(columns_)), 1, 2048);
    // A hair wider, so that the eastern and northern edges fall inside.
    width_ = span_x / static_cast<double>(columns_) * (1 + 1e-9);
    height_ = span_y / static_cast<double>(rows_) * (1 + 1e-9);
    std::vector<std::int32_t> cell_of(records.size());
    cells_.assign(static_cast<std::size_t>(columns_ * rows_) + 1, 0);
    for (std::size_t k = 0; k < records.size(); ++k) {
      const auto i = static_cast<std::size_t>(records[k]);
      cell_of[k] =
          static_cast<std::int32_t>(Row(latitudes_[i]) * columns_ + Column(longitudes_[i]));
      ++cells_[static_cast<std::size_t>(cell_of[k]) + 1];
    }
    for (std::size_t c = 1; c < cells_.size(); ++c)
      cells_[c] += cells_[c - 1];
    members_.resize(records.size());
    std::vector<std::int32_t> next(cells_.begin(), cells_.end() - 1);
    for (std::size_t k = 0; k < records.size(); ++k) {
      members_[static_cast<std::size_t>(next[static_cast<std::size_t>(cell_of[k])]++)] = records[k];
    }
  }

  // Clamped before the conversion: a point far off the grid has no integer cell.
  static std::int64_t CellIndex(double offset, double size, std::int64_t count) {
    const double cell = std::clamp(std::floor(offset / size), 0.0, static_cast<double>(count - 1));
    return static_cast<std::int64_t>(cell);
  }
  std::int64_t Column(double longitude) const {
    return CellIndex(longitude - west_, width_, columns_);
  }
  std::int64_t Row(double latitude) const { return CellIndex(latitude - south_, height_, rows_); }

  template <typename Visit>
  void VisitCell(std::int64_t column, std::int64_t row, Visit& visit) const {
    if (column < 0 || column >= columns_ || row < 0 || row >= rows_) return;
    const auto cell = static_cast<std::size_t>(row * columns_ + column);
    for (auto k = cells_[cell]; k < cells_[cell + 1]; ++k)
      visit(members_[static_cast<std::size_t>(k)]);
  }

  // The cells whose row and column are both at most `ring` from the point's
  // cell, one of them exactly.
  template <typename Visit>
  void VisitRing(std::int64_t cx, std::int64_t cy, std::int64_t ring, Visit& visit) const {
    if (ring == 0) {
      VisitCell(cx, cy, visit);
      return;
    }
    for (std::int64_t column = std::max<std::int64_t>(cx - ring, 0);
         column <= std::min(cx + ring, columns_ - 1); ++column) {
      VisitCell(column, cy - ring, visit);
      VisitCell(column, cy + ring, visit);
    }
    for (std::int64_t row = std::max<std::int64_t>(cy - ring + 1, 0);
         row <= std::min(cy + ring - 1, rows_ - 1); ++row) {
      VisitCell(cx - ring, row, visit);
      VisitCell(cx + ring, row, visit);
    }
  }

  std::shared_ptr<const std::string> image_;  // held, so its address cannot be reused
  std::vector<float> longitudes_;
  std::vector<float> latitudes_;
  std::vector<std::int32_t> deleted_;  // in record order
  std::vector<std::int32_t> odd_;      // far outside any map
  double west_ = 0;
  double south_ = 0;
  double width_ = 1;
  double height_ = 1;
  std::int64_t columns_ = 0;
  std::int64_t rows_ = 0;
  std::vector<std::int32_t> cells_;    // where each cell's records start in members_
  std::vector<std::int32_t> members_;  // record numbers, cell by cell, in file order
};

// The grids of the atlas's place files, each for the file's current image.
struct PlaceGrids {
  std::shared_mutex mutex;
  std::map<std::string, std::shared_ptr<const PlaceGrid>> grids;
};

std::shared_ptr<const PlaceGrid> SharedGridOf(const std::string& file,
                                              std::shared_ptr<const std::string> image) {
  PlaceGrids& known = CurrentAtlas().Derived<PlaceGrids>();
  {
    const std::shared_lock<std::shared_mutex> lock(known.mutex);
    const auto it = known.grids.find(file);
    if (it != known.grids.end() && it->second->image() == image) return it->second;
  }
  // Checked once per version of the file, as the grid is built.
  if (std::string problem = PlaceFileProblem(*image, file); !problem.empty()) {
    NoteMalformedFile({file, std::move(problem)});
    return nullptr;
  }
  auto grid = std::make_shared<const PlaceGrid>(std::move(image));
  const std::unique_lock<std::shared_mutex> lock(known.mutex);
  if (known.grids.size() >= 64) known.grids.clear();
  known.grids[file] = grid;
  return grid;
}

// The grid as this thread last had it for the file's image: the grid holds
// the image, so the same image is the same version of the file.
std::shared_ptr<const PlaceGrid> GridOf(const std::string& file,
                                        std::shared_ptr<const std::string> image) {
  struct Known {
    std::string file;
    std::shared_ptr<const PlaceGrid> grid;
  };
  auto& known = PerThread<std::array<Known, 4>>();
  for (const auto& k : known) {
    if (k.grid && k.file == file && k.grid->image() == image) return k.grid;
  }
  auto grid = WithOwnCount(SharedGridOf(file, std::move(image)));
  if (!grid) return nullptr;
  std::rotate(known.rbegin(), known.rbegin() + 1, known.rend());
  known.front() = {file, grid};
  return grid;
}

}  // namespace

std::optional<NearestPlace> FindNearestPlace(std::string_view code, double longitude,
                                             double latitude, double range_degrees) {
  if (!CountriesLoaded()) return std::nullopt;
  const std::string place_file = GetCompressedPlaceFile(Trim(code));
  std::optional<NearestPlace> best;
  double best_distance = kNoDistance;
  std::int32_t position = 0;
  // User places come first and win ties; their file is small and read as it
  // lies. Only the winner is decoded.
  const std::string user_file = Get_UserFile(place_file);
  if (Exist(user_file)) {
    std::int32_t error = 0;
    const auto image = ExpandedImage(user_file, error);
    if (!image) {
      PlaceList unused;
      Read_Cp_ORTE(place_file, unused);  // reports the error as a full read does
      return std::nullopt;
    }
    const std::string_view bytes = *image;
    if (std::string problem = PlaceFileProblem(bytes, user_file); !problem.empty()) {
      NoteMalformedFile({user_file, std::move(problem)});
      return std::nullopt;
    }
    const std::size_t count =
        std::min<std::size_t>(bytes.size() / kPlaceRecordSize, kMaxPlaceRecords);
    for (std::size_t r = 0; r < count; ++r) {
      const std::string_view record = bytes.substr(r * kPlaceRecordSize, kPlaceRecordSize);
      if (record[0] == kDeletedMark) continue;
      const double distance =
          PlaneDistance(DecodeFloat32(record, kPlaceLongitudeAt),
                        DecodeFloat32(record, kPlaceLatitudeAt), longitude, latitude);
      const bool in_range = range_degrees == 0.0 || distance < range_degrees;
      if (in_range && distance < best_distance) {
        best_distance = distance;
        const auto number = static_cast<std::int16_t>(r + 1);
        best = NearestPlace{DecodePlaceRecord(record),
                            PlaceRef{"", static_cast<std::int16_t>(-number)}, position, distance};
      }
      ++position;
    }
  }
  if (!Exist(place_file)) return NotedAsNoFile(place_file) ? std::nullopt : best;
  std::int32_t error = 0;
  auto image = ExpandedImage(place_file, error, Packing::kSzdd);
  if (!image) {
    PlaceList unused;
    Read_Cp_ORTE(place_file, unused);
    return std::nullopt;
  }
  const auto grid = GridOf(place_file, std::move(image));
  if (!grid) return std::nullopt;
  const std::int32_t r = grid->Nearest(longitude, latitude, range_degrees, best_distance);
  if (r < 0) return best;
  const std::string_view record =
      std::string_view(*grid->image())
          .substr(static_cast<std::size_t>(r) * kPlaceRecordSize, kPlaceRecordSize);
  return NearestPlace{DecodePlaceRecord(record), PlaceRef{"", static_cast<std::int16_t>(r + 1)},
                      position + grid->LiveBefore(r), best_distance};
}

std::string NearestPlaceLine(const NearestPlace& nearest, bool with_position) {
  std::string line(nearest.place.NameField());
  line += '\t' + SingleToText(nearest.place.Longitude);
  line += '\t' + SingleToText(nearest.place.Latitude);
  line += '\t' + std::to_string(nearest.place.Timetable);
  if (with_position) line += '\t' + std::to_string(nearest.position);
  return line;
}

void SearchNearestPlace(std::string& result, std::string_view code, double longitude,
                        double latitude, double range_degrees) {
  if (!CountriesLoaded()) return;
  const auto nearest = FindNearestPlace(code, longitude, latitude, range_degrees);
  result = nearest ? NearestPlaceLine(*nearest, range_degrees == 0.0) : std::string();
}

}  // namespace tarv
