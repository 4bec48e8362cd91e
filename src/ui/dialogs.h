// The application a Qt dialog needs.
#ifndef TARVPLACES_UI_DIALOGS_H_
#define TARVPLACES_UI_DIALOGS_H_

#include <QApplication>
#include <cstdint>
#include <memory>
#include <string>

namespace tarv::ui {

// Makes sure a QApplication exists while the object lives: creates one when
// there is none and deletes it again at the end. The process's LC_NUMERIC
// stays as it was (Qt would set it from the environment), so numbers the
// atlas writes keep their format.
class ApplicationScope {
 public:
  ApplicationScope();
  ~ApplicationScope();
  ApplicationScope(const ApplicationScope&) = delete;
  ApplicationScope& operator=(const ApplicationScope&) = delete;

  // True when this object created the application.
  bool Created() const { return owned_ != nullptr; }

 private:
  std::unique_ptr<QApplication> owned_;
};

}  // namespace tarv::ui

#endif  // TARVPLACES_UI_DIALOGS_H_
