// The texts of the place manager's help line and how their language is
// chosen.
//
// Two rules are kept side by side because hosts know them both: the keyed
// help texts and the direct texts of the action buttons and the letter
// filter take English for the language numbers 1 and 3 and German for every
// other number; the texts of the OK and cancel buttons and of the option
// buttons are handed to TarvLanguage::Choose (German for 2 only).
#ifndef TARVPLACES_UI_PLACEMANAGER_HELP_TEXTS_H_
#define TARVPLACES_UI_PLACEMANAGER_HELP_TEXTS_H_

#include <cstdint>
#include <string>

namespace tarv::ui {

// A text in both languages (UTF-8).
struct Bilingual {
  const char* english;
  const char* german;
};

// The dialogs' own rule: true for the language numbers 1 and 3.
bool DialogRuleIsEnglish(std::int32_t language) noexcept;

// The text of `bilingual` by the dialogs' own rule.
std::string ByDialogRule(const Bilingual& bilingual, std::int32_t language);

// The keyed help text: a positive key is the index of a text field (3, 5,
// 6, 13, 14, 16, 30, 31), a negative one the negated index of a combo box,
// a panel or the timetable list (-3, -13, -14, -15). The read-only fields
// end in " (Kann nicht bearbeitet werden)." / " (Can not be changed).".
// Any other key gives "". Language by the dialogs' own rule.
std::string KeyedHelpText(std::int16_t key, std::int32_t language);

// Direct texts of the action buttons (1 new, 2 delete, 3 and 4 change,
// 5 timetable); "" for 3, 4 and unknown indices. By the dialogs' own rule.
std::string ActionHelpText(std::int16_t index, std::int32_t language);

// Direct text of the letter filter. By the dialogs' own rule.
std::string LetterFilterHelpText(std::int32_t language);

// The note on a listed place found by another of its names than the one it
// is listed under: "München: found by another of its names, “Munich”;
// listed under its own." `search` is the text searched; a beginning (it ends
// in "*") is named as such. By the dialogs' own rule.
std::string OtherNameNote(const std::string& place, const std::string& search,
                          std::int32_t language);

// Pairs for TarvLanguage::Choose: bt_OK and bt_CANCEL with index 1 (edit)
// or 0 (close), rb_Eingabe with index 1 (USA) or 0 (other countries).
Bilingual OkHelpText(std::int16_t index);
Bilingual CancelHelpText(std::int16_t index);
Bilingual OptionHelpText(std::int16_t index);

}  // namespace tarv::ui

#endif  // TARVPLACES_UI_PLACEMANAGER_HELP_TEXTS_H_
