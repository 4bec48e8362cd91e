// The place manager's places: the letter filter and the search that list
// them, and the fields and timetable of the place shown.
#include <algorithm>

#include "text/codepage.h"
#include "ui/placemanager/dlg_placemanager.h"
#include "ui/placemanager/placemanager_controls.h"
#include "util/text.h"

namespace tarv::ui {
namespace {

constexpr int kLetters = 26;
constexpr std::size_t kSearchHistory = 10;

}  // namespace

void DlgPlacemanager::FillLetterFilter() {
  ControlState& abc = C("cb_ABC");
  abc.items = {Choose("All", "Alle")};
  for (char c = 'A'; c < 'A' + kLetters; ++c)
    abc.items.emplace_back(1, c);
  abc.list_index = 0;
  abc.text = abc.items[0];
}

// The list by the letter filter; a letter without places switches to all.
void DlgPlacemanager::FillPlaceList() {
  ControlState& abc = C("cb_ABC");
  if (abc.list_index <= 0) {
    abc.list_index = 0;
    FillPlaceList("*");
  } else {
    FillPlaceList(abc.items[static_cast<std::size_t>(abc.list_index)]);
    if (Control("li_SuchOrte").items.empty()) {
      abc.list_index = 0;
      FillPlaceList("*");
    }
  }
  abc.text = abc.items[static_cast<std::size_t>(abc.list_index)];
}

void DlgPlacemanager::FillPlaceList(const std::string& search, bool by_other_names) {
  ControlState& list = C("li_SuchOrte");
  listed_by_other_name_.clear();
  listed_search_ = search;
  const std::int32_t count = CurrentCountry() != nullptr
                                 ? ListPlaces(CountryCode(), search, true, list,
                                              by_other_names ? &listed_by_other_name_ : nullptr)
                                 : 0;
  if (CurrentCountry() == nullptr) {
    list.items.clear();
    list.item_data.clear();
    list.list_index = -1;
  }
  C("lb_AnzOrte").text =
      std::to_string(count) + (count == 1 ? Choose(" Place", " Ort") : Choose(" Places", " Orte"));
  SelectListedPlace();
}

void DlgPlacemanager::SelectListedPlace() {
  ControlState& list = C("li_SuchOrte");
  list.list_index = -1;
  if (place_.record == 0) return;
  for (std::size_t i = 0; i < list.item_data.size(); ++i) {
    if (list.item_data[i] == place_.record &&
        TextEqual(AnsiFromUtf8(PlaceNameOfItem(list.items[i])), AnsiFromUtf8(place_.name))) {
      list.list_index = static_cast<std::int32_t>(i);
      return;
    }
  }
}

void DlgPlacemanager::ShowPlace(const PlaceData& place) {
  place_ = place;
  city_ = place.name;
  longitude_ = static_cast<float>(place.longitude);
  latitude_ = static_cast<float>(place.latitude);
  timetable_ = place.timetable;
  index_ = place.record;
  ShowCountryCode();
  C("tb_Eingabe_3").text = place.name;
  C("tb_Eingabe_5").text = good_longitude_ = LongitudeText(place.longitude);
  C("tb_Eingabe_6").text = good_latitude_ = LatitudeText(place.latitude);
  C("lb_Definiert").visible = place.IsUserPlace();
  // In the first step of a new place the place shown is its reference.
  if (step_ == 1) new_timetable_ = place.timetable;
  ShowTimetable(place.timetable);
  SelectListedPlace();
  UpdateActionButtons();
}

// The host's place when the atlas does not hold it: its own name and
// coordinates, nothing selected.
void DlgPlacemanager::ShowUnlistedPlace() {
  PlaceData place;
  place.name = city_;
  place.longitude = longitude_;
  place.latitude = latitude_;
  place.timetable = timetable_;
  ShowPlace(place);
}

void DlgPlacemanager::ShowTimetable(std::int16_t timetable) {
  shown_timetable_ = timetable;
  const bool with_zones = Control("ch_DatumZonen").checked;
  timetable_listing_ = timetable > 0 && TimetableCount(CountryCode()) > 0
                           ? ListTimetable(CountryCode(), timetable, with_zones, AtlasLanguage())
                           : TimetableListing{};
  ControlState& list = C("li_Zeittabelle");
  list.items = timetable_listing_.items;
  list.list_index = -1;
  C("tb_Eingabe_7").text = timetable > 0 ? std::to_string(timetable) : std::string();
  C("tb_Eingabe_4").text =
      timetable_listing_.items.empty() ? std::string() : StandardZone(CountryCode(), timetable);
  // Browsing a place whose own zone history (a user place's: the zone named
  // for it or the map's) differs from the timetable: the line under the list
  // says so.
  // Otherwise it tells where the place's times come from.
  std::string note;
  if (step_ == 0) {
    note = OwnHistoryNote(CountryCode(), place_, timetable, AtlasLanguage());
    if (note.empty()) note = ZoneSourceNote(CountryCode(), place_, AtlasLanguage());
  }
  C("lb_Zeittabelle_1").text = note;
  C("ig_Sommerzeit").visible =
      std::any_of(timetable_listing_.entries.begin(), timetable_listing_.entries.end(),
                  [](const TimetableEntryLine& e) { return e.summer_time; });
}

void DlgPlacemanager::LoadFirstListedPlace() {
  const ControlState& list = Control("li_SuchOrte");
  if (list.items.empty()) {
    ShowPlace(PlaceData{});
    return;
  }
  li_SuchOrte_Click(0);
}

void DlgPlacemanager::Fill_FORM_From_Disk() {
  const auto place = FindPlace(CountryCode(), place_.name, place_.record);
  if (place) {
    ShowPlace(*place);
  } else {
    ShowPlace(place_);
  }
}

void DlgPlacemanager::Search(const std::string& text) {
  if (!LeavePlace()) return;
  const std::string search = Trim(text);
  ControlState& field = C("cb_Eingabe_3");
  field.text = search;
  if (!search.empty()) {
    auto& history = field.items;
    history.erase(std::remove(history.begin(), history.end(), search), history.end());
    history.insert(history.begin(), search);
    if (history.size() > kSearchHistory) history.resize(kSearchHistory);
  }
  field.list_index = -1;
  FillPlaceList(search.empty() ? "*" : search, true);
  const auto& items = Control("li_SuchOrte").items;
  if (items.empty()) return;
  // The list holds every place beginning with the text; a whole name typed
  // means that place, even where a longer name comes first ("München" and
  // "Münchenbernsdorf"). Otherwise the first place is loaded.
  const std::string wanted = AnsiFromUtf8(search);
  auto named = [&](bool letters_only) {
    return std::find_if(items.begin(), items.end(), [&](const std::string& item) {
      const std::string name = PlaceNameOfItem(item);
      return letters_only ? SamePlaceName(name, search) : TextEqual(AnsiFromUtf8(name), wanted);
    });
  };
  auto it = named(false);
  if (it == items.end()) it = named(true);
  li_SuchOrte_Click(it == items.end() ? 0 : static_cast<std::int32_t>(it - items.begin()));
}

}  // namespace tarv::ui
