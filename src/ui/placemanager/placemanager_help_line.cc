// The help line under the buttons: the text of the control that has the
// focus or the mouse, in the rule of language each text follows.
#include "ui/placemanager/dlg_placemanager.h"
#include "ui/placemanager/help_texts.h"

namespace tarv::ui {

void DlgPlacemanager::SetHilfeIndex(std::int16_t key) {
  SetHilfeIndex(KeyedHelpText(key, Language()));
}

void DlgPlacemanager::SetHilfeIndex(const std::string& text) {
  C("lb_InfoLine").text = AtlasLanguage().Choose(text, text);
}

void DlgPlacemanager::tb_Eingabe_GotFocus(std::int16_t Index) {
  const std::string name = Member("tb_Eingabe", Index);
  if (Controls().find(name) != Controls().end()) view_.SelectText(name);
  SetHilfeIndex(Index);
}

void DlgPlacemanager::cb_Eingabe_GotFocus(std::int16_t Index) {
  SetHilfeIndex(static_cast<std::int16_t>(-Index));
}

void DlgPlacemanager::li_Zeittabelle_GotFocus() {
  SetHilfeIndex(std::int16_t{-15});
}

void DlgPlacemanager::bt_Action_GotFocus(std::int16_t Index) {
  SetHilfeIndex(ActionHelpText(Index, Language()));
}

void DlgPlacemanager::bt_OK_GotFocus(std::int16_t Index) {
  // During a step the line keeps the step's own texts.
  if (step_ != 0) return;
  const Bilingual text = OkHelpText(Index);
  SetHilfeIndex(Choose(text.english, text.german));
}

void DlgPlacemanager::bt_CANCEL_GotFocus(std::int16_t Index) {
  if (step_ != 0) return;
  const Bilingual text = CancelHelpText(Index);
  SetHilfeIndex(Choose(text.english, text.german));
}

void DlgPlacemanager::cb_ABC_GotFocus() {
  SetHilfeIndex(LetterFilterHelpText(Language()));
}

void DlgPlacemanager::cb_Zone_GotFocus() {
  SetHilfeIndex(Choose(
      "The zone the new place follows: the zone the map gives at its coordinates, or another one "
      "you choose.",
      "Die Zone, der der neue Ort folgt: die Zone, die die Karte an seinen Koordinaten angibt, "
      "oder eine andere, die Sie wählen."));
}

void DlgPlacemanager::rb_Eingabe_GotFocus(std::int16_t Index) {
  const Bilingual text = OptionHelpText(Index);
  SetHilfeIndex(Choose(text.english, text.german));
}

void DlgPlacemanager::pn_Eingabe_MouseMove(std::int16_t Index) {
  SetHilfeIndex(static_cast<std::int16_t>(-Index));
}

}  // namespace tarv::ui
