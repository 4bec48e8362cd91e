// The place manager's country choice: the two country lists, the country
// shown, and a country found by its typed name or code.
#include <algorithm>

#include "text/codepage.h"
#include "ui/placemanager/dlg_placemanager.h"
#include "util/text.h"

namespace tarv::ui {
namespace {

bool BeginsWithAnyCase(const std::string& text, const std::string& prefix) {
  return UCase(AnsiFromUtf8(text)).rfind(UCase(AnsiFromUtf8(prefix)), 0) == 0;
}

}  // namespace

const CountryChoice* DlgPlacemanager::CurrentCountry() const {
  if (country_ < 0 || static_cast<std::size_t>(country_) >= countries_.size()) return nullptr;
  return &countries_[static_cast<std::size_t>(country_)];
}

std::string DlgPlacemanager::CountryCode() const {
  const CountryChoice* country = CurrentCountry();
  return country != nullptr ? country->code : std::string();
}

void DlgPlacemanager::FillCountryLists(bool usa) {
  countries_ = CountryChoices(usa);
  country_ = -1;
  ControlState& names = C("cb_Eingabe_13");
  ControlState& codes = C("cb_Eingabe_14");
  names.items.clear();
  codes.items.clear();
  for (const auto& country : countries_) {
    names.items.push_back(country.title);
    codes.items.push_back(country.code);
  }
  names.list_index = codes.list_index = -1;
  names.text.clear();
  codes.text.clear();
}

void DlgPlacemanager::SelectCountry(std::int32_t list_index) {
  if (list_index < 0 || static_cast<std::size_t>(list_index) >= countries_.size()) return;
  country_ = list_index;
  const CountryChoice& country = countries_[static_cast<std::size_t>(list_index)];
  C("cb_Eingabe_13").list_index = C("cb_Eingabe_14").list_index = list_index;
  C("cb_Eingabe_13").text = country.title;
  C("cb_Eingabe_14").text = country.code;
  C("tb_Eingabe_13").text = country.title;
  C("tb_Eingabe_14").text = country.code;
  C("tb_Eingabe_16").text = country.base_zone;
  C("tb_Eingabe_30").text = country.continent;
  C("tb_Eingabe_31").text = country.info;
  ShowCountryCode();
  const bool usa = Control("rb_Eingabe_1").checked;
  C("ig_Land_0").visible = !usa;
  C("ig_Land_1").visible = usa;
  C("ig_Land_2").visible = false;
}

// The host's code stays while it names the country shown ("RUS" for "SSR").
void DlgPlacemanager::ShowCountryCode() {
  const CountryChoice* country = CurrentCountry();
  if (country == nullptr) return;
  if (!TextEqual(AnsiFromUtf8(InternalCountryCode(country_short_)), AnsiFromUtf8(country->code))) {
    country_short_ = country->code;
  }
}

// Exact code or title first, then the first beginning; the other option's
// list is searched too, so "USCA" typed among the other countries works.
bool DlgPlacemanager::FindCountry(const std::string& text, bool by_code) {
  const std::string wanted = Trim(text);
  if (wanted.empty()) return false;
  for (const bool usa_list : {Control("rb_Eingabe_1").checked, !Control("rb_Eingabe_1").checked}) {
    const auto choices = CountryChoices(usa_list);
    auto key = [by_code](const CountryChoice& c) { return by_code ? c.code : c.title; };
    auto it = std::find_if(choices.begin(), choices.end(), [&](const CountryChoice& c) {
      return TextEqual(AnsiFromUtf8(key(c)), AnsiFromUtf8(wanted));
    });
    if (it == choices.end()) {
      it = std::find_if(choices.begin(), choices.end(),
                        [&](const CountryChoice& c) { return BeginsWithAnyCase(key(c), wanted); });
    }
    if (it == choices.end()) continue;
    if (usa_list != Control("rb_Eingabe_1").checked) {
      C("rb_Eingabe_1").checked = usa_list;
      C("rb_Eingabe_0").checked = !usa_list;
      FillCountryLists(usa_list);
    }
    SelectCountry(static_cast<std::int32_t>(it - choices.begin()));
    return true;
  }
  return false;
}

}  // namespace tarv::ui
