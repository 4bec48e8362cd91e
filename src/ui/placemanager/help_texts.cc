#include "ui/placemanager/help_texts.h"

namespace tarv::ui {
namespace {

// The wording is kept exactly as users of the classic place manager know it,
// slips included ("einer neuer Ort", "choosen", "except of").
constexpr Bilingual kPlaceSearch = {
    "To search a place in the actual country, type the beginning of a place and press RETURN. "
    "All such places will be shown. Wildcards (*,?,[]) are possible.",
    "Zum Suchen eines Ortes im aktuellen Land, geben Sie den Anfang eines Ortes ein und drücken "
    "Sie die EINGABETASTE. Es werden alle passenden Orte in der Liste angezeigt. "
    "Platzhalterzeichen (*,?,[]) sind möglich."};
constexpr Bilingual kCountryByName = {
    "To search a country, type the beginning of a country and press RETURN. All places will be "
    "shown.",
    "Zum Auswählen eines Landes, geben Sie den Anfang des Ländernamen ein und drücken Sie die "
    "EINGABETASTE. Es werden alle Orte (oder nur die mit dem gewählten Anfangsbuchstaben) in der "
    "Orte-Liste angezeigt."};
constexpr Bilingual kCountryByCode = {
    "To search a country, type the shortcut of a country and press RETURN. All places will be "
    "shown.",
    "Zum Auswählen eines Landes, geben Sie den Anfang der Länderkennung ein und drücken Sie die "
    "EINGABETASTE. Es werden alle Orte (oder nur die mit dem gewählten Anfangsbuchstaben) in der "
    "Orte-Liste angezeigt."};
constexpr Bilingual kTimetableList = {
    "Click on an item and the data of the choosen timezone will be shown below.",
    "Klicken Sie auf einen Eintrag und es werden die Daten der gewählten Zeitzone darunter "
    "angezeigt."};
constexpr Bilingual kPlaceName = {
    "Here you can change the actual name of the place. A new Place will be created; its data is "
    "given priority to already existing places in the database.",
    "Hier können Sie den aktuellen Ort verändern. Es wird einer neuer Ort angelegt, der bei der "
    "Zeitzonenermittlung Vorrang hat gegenüber dem Ort in der Datenbank."};
constexpr Bilingual kCoordinates = {
    "Here you can change coordinates of the actual place. A new Place will be created; its data "
    "is given priority to already existing places in the database.",
    "Hier können Sie Koordinaten des aktuellen Ortes verändern. Es wird einer neuer Ort angelegt, "
    "der bei der Zeitzonenermittlung Vorrang hat gegenüber dem Ort in der Datenbank."};
constexpr Bilingual kCountryName = {"This is the name for the actual country.",
                                    "Hier wird das ausgewählte Land angezeigt."};
constexpr Bilingual kCountryCode = {
    "This is the shortcut of the actual country.",
    "Hier wird das Länderkennzeichen des ausgewählten Landes angezeigt."};
constexpr Bilingual kBaseZone = {
    "This is the name for basic timezone for the actual country/place.",
    "Hier wird die Information über die heutige Basis-Zeitzone des ausgewählten Landes "
    "angezeigt."};
constexpr Bilingual kContinent = {
    "This is the continent of the actual country.",
    "Hier wird der dazugehörige Kontinent des ausgewählten Landes angezeigt."};
constexpr Bilingual kCountryInfo = {
    "This is information about the actual country.",
    "Hier werden Informationen, wenn vorhanden, des ausgewählten Landes angezeigt."};
constexpr Bilingual kReadOnlySuffix = {" (Can not be changed).",
                                       " (Kann nicht bearbeitet werden)."};

constexpr Bilingual kNewPlace = {
    "Here you can create a new place in the database. But first you must select a matching place "
    "in the vicinity of the new place to get a matching timezone table.",
    "Hier können Sie einen neuen Ort für das aktuelle Land anlegen. Zuvor muß ein Bezugsort "
    "gewählt werden, der in der Nähe liegt, damit die Zeitzonentabelle für Zeit- und "
    "Zonenautomatik festgelegt werden kann."};
constexpr Bilingual kDeletePlace = {
    "Here you can delete the actual place if it is user defined.",
    "Hier können Sie den aktuellen Ort löschen. - Nur möglich bei einem benutzerdefinierten Ort."};
constexpr Bilingual kSelectTimetable = {
    "Here you can select a matching timezone table for a user defined place.",
    "Hier können für einen selbstdefinierten Ort die zugehörige Zeitzonentabelle für die Zeit- "
    "und Zonenautomatik festlegen."};
constexpr Bilingual kLetterFilter = {
    "Click on a letter. All places beginning with this letter will be shown. If there is no such "
    "place, all places will be shown.",
    "Klicken Sie auf einen Buchstaben. Es werden in der Orteliste alle Orte angezeigt, die mit "
    "diesem Buchstaben beginnen. Sollte kein passender Ort gefunden werden, wird automatisch auf "
    "'Alle' Orte umgeschaltet."};
constexpr Bilingual kCancelEdit = {"Cancels editing of this place.",
                                   "Hier können Sie die Bearbeitung des Ortes abbrechen."};
constexpr Bilingual kClose = {"Closes the Place Manager.",
                              "Hier wird der Ortemanager geschlossen."};
constexpr Bilingual kConfirmEdit = {
    "Confirm the changes for the user defined place.",
    "Hier übernehmen Sie die Änderungen des benutzerdefinierten Ortes. Der Ort hat bei der "
    "Zeitzonenermittlung Vorrang gegenüber dem Ort in der Datenbank."};
constexpr Bilingual kUsaStates = {"Shows all the states of the USA",
                                  "Zeigt in der Länderliste alle Bundesstaaten der USA an."};
constexpr Bilingual kOtherCountries = {"Shows all countries except of the USA",
                                       "Zeigt in der Länderliste alle Länder außer der USA an."};
constexpr Bilingual kNone = {"", ""};

// The read-only fields and their texts (shown with the suffix).
const Bilingual* ReadOnlyFieldText(std::int16_t key) {
  switch (key) {
    case 13:
      return &kCountryName;
    case 14:
      return &kCountryCode;
    case 16:
      return &kBaseZone;
    case 30:
      return &kContinent;
    case 31:
      return &kCountryInfo;
    default:
      return nullptr;
  }
}

const Bilingual& EditableOrListText(std::int16_t key) {
  switch (key) {
    case -3:
      return kPlaceSearch;
    case -13:
      return kCountryByName;
    case -14:
      return kCountryByCode;
    case -15:
      return kTimetableList;
    case 3:
      return kPlaceName;
    case 5:
    case 6:
      return kCoordinates;
    default:
      return kNone;
  }
}

}  // namespace

bool DialogRuleIsEnglish(std::int32_t language) noexcept {
  return language == 1 || language == 3;
}

std::string ByDialogRule(const Bilingual& bilingual, std::int32_t language) {
  return DialogRuleIsEnglish(language) ? bilingual.english : bilingual.german;
}

std::string KeyedHelpText(std::int16_t key, std::int32_t language) {
  if (const Bilingual* text = ReadOnlyFieldText(key)) {
    return ByDialogRule(*text, language) + ByDialogRule(kReadOnlySuffix, language);
  }
  return ByDialogRule(EditableOrListText(key), language);
}

std::string ActionHelpText(std::int16_t index, std::int32_t language) {
  switch (index) {
    case 1:
      return ByDialogRule(kNewPlace, language);
    case 2:
      return ByDialogRule(kDeletePlace, language);
    case 5:
      return ByDialogRule(kSelectTimetable, language);
    default:
      return {};
  }
}

std::string LetterFilterHelpText(std::int32_t language) {
  return ByDialogRule(kLetterFilter, language);
}

Bilingual OkHelpText(std::int16_t index) {
  return index == 1 ? kConfirmEdit : kClose;
}

Bilingual CancelHelpText(std::int16_t index) {
  return index == 1 ? kCancelEdit : kClose;
}

Bilingual OptionHelpText(std::int16_t index) {
  return index == 1 ? kUsaStates : kOtherCountries;
}

std::string OtherNameNote(const std::string& place, const std::string& search,
                          std::int32_t language) {
  const bool beginning = !search.empty() && search.back() == '*';
  const std::string name = beginning ? search.substr(0, search.size() - 1) : search;
  if (DialogRuleIsEnglish(language)) {
    return place + ": found by another of its names, " +
           (beginning ? "one beginning with \u201C" : "\u201C") + name +
           "\u201D; listed under its own.";
  }
  return place + ": unter einem anderen seiner Namen gefunden, " +
         (beginning ? "einem, der mit \u201E" + name + "\u201C beginnt"
                    : "\u201E" + name + "\u201C") +
         "; aufgef\u00FChrt unter seinem eigenen.";
}

}  // namespace tarv::ui
