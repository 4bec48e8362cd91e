#include "atlas/place_image.h"

#include <algorithm>
#include <cmath>

#include "atlas/atlas_fault.h"
#include "atlas/atlas_state.h"
#include "atlas/country_table.h"
#include "atlas/name_match.h"
#include "atlas/place_paths.h"
#include "platform/file_status.h"
#include "platform/paths.h"
#include "text/bytes.h"
#include "text/codepage.h"
#include "text/lz.h"
#include "util/text.h"

namespace tarv {
namespace {

// Derived data per expanded image, dropped with the image.
class PlaceImages {
 public:
  // nullptr with `error` 0 for a file that does not exist.
  std::shared_ptr<const PlaceImage> Get(const std::string& file, std::int32_t& error) {
    auto bytes = ExistingImage(file, error, IsUserFile(file) ? Packing::kAsFound : Packing::kSzdd);
    if (!bytes) return nullptr;
    {
      const std::shared_lock<std::shared_mutex> lock(mutex_);
      if (const auto it = images_.find(file); it != images_.end() && it->second->bytes() == bytes) {
        return it->second;
      }
    }
    const std::unique_lock<std::shared_mutex> lock(mutex_);
    auto& slot = images_[file];
    if (slot && slot->bytes() == bytes) return slot;
    if (std::string problem = PlaceFileProblem(*bytes, file); !problem.empty()) {
      images_.erase(file);
      NoteMalformedFile({file, std::move(problem)});
      error = LZERROR_BADVALUE;
      return nullptr;
    }
    if (images_.size() > kMaxFiles) {
      images_.clear();
      return images_[file] = std::make_shared<const PlaceImage>(std::move(bytes));
    }
    slot = std::make_shared<const PlaceImage>(std::move(bytes));
    return slot;
  }

 private:
  static constexpr std::size_t kMaxFiles = 512;
  std::shared_mutex mutex_;
  std::map<std::string, std::shared_ptr<const PlaceImage>> images_;
};

PlaceImages& Images() {
  return CurrentAtlas().Derived<PlaceImages>();
}

}  // namespace

std::string PlaceFileProblem(std::string_view bytes, const std::string& file) {
  // The component writes a country's file only with places in it, and a
  // user file keeps at least its deleted records: an empty one was cut.
  if (bytes.empty()) return "holds no record: the file was emptied";
  if (bytes.size() % kPlaceRecordSize != 0) {
    return std::to_string(bytes.size() % kPlaceRecordSize) +
           " bytes after the last whole record: the file was cut or added to";
  }
  const std::size_t count = bytes.size() / kPlaceRecordSize;
  if (count > kMaxPlaceRecords) {
    return std::to_string(count) + " records, more than a place file holds (32767)";
  }
  const auto name_at = file.find_last_of("\\/") + 1;
  const std::string code = file.substr(name_at, file.find('.', name_at) - name_at);
  const std::int16_t timetables = std::max<std::int16_t>(HaveTimetables(code), 1);
  for (std::size_t r = 0; r < count; ++r) {
    const std::string_view bytes_of = bytes.substr(r * kPlaceRecordSize, kPlaceRecordSize);
    if (bytes_of[0] == kDeletedMark) continue;
    const PlaceRecord place = DecodePlaceRecord(bytes_of);
    if (!std::isfinite(place.Longitude) || std::fabs(place.Longitude) > 180.0F ||
        !std::isfinite(place.Latitude) || std::fabs(place.Latitude) > 90.0F) {
      return "record " + std::to_string(r + 1) + ": coordinates " +
             std::to_string(place.Longitude) + ", " + std::to_string(place.Latitude);
    }
    if (place.Timetable < 0 || place.Timetable > timetables) {
      return "record " + std::to_string(r + 1) + ": timetable " + std::to_string(place.Timetable) +
             " where the country has " + std::to_string(timetables);
    }
  }
  return {};
}

RunIndex::RunIndex(std::string_view bytes, std::int32_t first, std::int32_t last) : first_(first) {
  const auto count = static_cast<std::size_t>(last - first + 1);
  ends_.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const auto record = static_cast<std::size_t>(first) + i;
    AppendCleanString(bytes.substr((record - 1) * kPlaceRecordSize, kPlaceNameWidth), letters_);
    for (std::size_t k = capitals_.size(); k < letters_.size(); ++k) {
      capitals_ += AnsiUpper(letters_[k]);
      classes_ += FoldAccentClass(letters_[k]);
    }
    ends_.push_back(static_cast<std::uint32_t>(letters_.size()));
  }
  by_capitals_.Build(capitals_, ends_);
  by_classes_.Build(classes_, ends_);
}

std::shared_ptr<const RunIndex> PlaceImage::Run(std::int32_t first, std::int32_t last) const {
  {
    const std::shared_lock<std::shared_mutex> lock(mutex_);
    if (const auto it = runs_.find({first, last}); it != runs_.end()) return it->second;
  }
  const std::unique_lock<std::shared_mutex> lock(mutex_);
  if (runs_.size() >= kMaxRuns) runs_.clear();  // only an index rewritten often gets here
  auto& run = runs_[{first, last}];
  if (!run) run = std::make_shared<const RunIndex>(*bytes_, first, last);
  return run;
}

const std::string& PlaceImage::IndexFor(bool user) const {
  const std::size_t kind = user ? 1 : 0;
  std::call_once(index_once_[kind], [&] {
    std::string& index = index_[kind];
    char previous = '\0';
    for (std::int32_t r = 1; r <= RecordCount(); ++r) {
      const std::string_view name = NameField(r);
      // Leading blanks skipped: the index letter never depends on the end.
      const char letter =
          user ? AnsiUpper(name[0])
               : IndexLetter(name.substr(std::min(name.find_first_not_of(' '), name.size())));
      if (r > 1 && letter == previous) continue;
      index += letter;
      AppendInt32(index, r);
      previous = letter;
    }
  });
  return index_[kind];
}

std::shared_ptr<const PlaceImage> PlaceImageOf(const std::string& file, std::int32_t& error) {
  return Images().Get(file, error);
}

}  // namespace tarv
