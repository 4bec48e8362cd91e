// The toolkit-independent state of a dialog: its caption and the state of
// each named control, which a view shows and whose events it forwards.
#ifndef TARVPLACES_UI_FORM_MODEL_H_
#define TARVPLACES_UI_FORM_MODEL_H_

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tarv::ui {

// One control as a view shows it. Texts are UTF-8; a caption's "&" marks
// the mnemonic letter.
struct ControlState {
  std::string text;  // caption of a label, button or frame; content of a text or combo box
  bool visible = true;
  bool enabled = true;
  bool read_only = false;          // text boxes
  bool checked = false;            // option buttons and check boxes
  std::vector<std::string> items;  // list and combo boxes; TAB separates columns
  std::vector<std::int32_t> item_data;
  std::int32_t list_index = -1;  // the selected item, -1 for none
};

class FormModel {
 public:
  // The name of member `index` of a control array: "tb_Eingabe_3".
  static std::string Member(std::string_view array, int index);

  const std::string& Caption() const { return caption_; }
  // The control of that name; throws std::out_of_range for an unknown name.
  const ControlState& Control(std::string_view name) const;
  // Every control by name, for views that build or check their widgets.
  const std::map<std::string, ControlState, std::less<>>& Controls() const { return controls_; }

 protected:
  ControlState& Add(std::string name);
  ControlState& C(std::string_view name);
  ControlState& C(std::string_view array, int index) { return C(Member(array, index)); }
  void SetCaption(std::string caption) { caption_ = std::move(caption); }

 private:
  std::string caption_;
  std::map<std::string, ControlState, std::less<>> controls_;
};

}  // namespace tarv::ui

#endif  // TARVPLACES_UI_FORM_MODEL_H_
