// The Qt dialogs of the atlas (library tarvplaces_ui): the place manager and
// the timetable chooser.
//
//   tarv::ui::InstallDialogs();   // once, at start-up
//   tarv::classPlaces places;
//   std::string city = "München", country = "D";
//   if (places.ShowPlacemanager(&city, &country)) { /* the user's place */ }
//
// A host without a QApplication of its own gets one for the duration of each
// dialog; a host with one shows the dialogs in its own event loop. Message
// boxes of the dialogs go through the message sink (tarv::SetMessageSink):
// a Qt host that wants them on screen installs DialogMessageSink().
#ifndef TARVPLACES_UI_H_
#define TARVPLACES_UI_H_

#include <cstdint>
#include <string>

#include "tarvplaces/message_sink.h"

namespace tarv::ui {

// Installs the Qt place manager as the factory of ShowPlacemanager
// (tarvplaces/placemanager.h). Safe to call more than once.
void InstallDialogs();

// A message sink that shows each message in a QMessageBox with the buttons
// and icon of its style and returns the button pressed. Needs a
// QApplication while a message is shown.
MessageSink DialogMessageSink();

// Renders the place manager opened on `city` in `country` (what
// ShowPlacemanager would show on the default atlas), or the timetable
// chooser of `country` with `timetable` highlighted, into a PNG file,
// without a screen when the platform "offscreen" is chosen. Returns false
// when the file could not be written.
bool SavePlaceManagerPicture(const std::string& city, const std::string& country,
                             const std::string& png_file);
bool SaveTimetableChooserPicture(const std::string& country, std::int16_t timetable,
                                 const std::string& png_file);

}  // namespace tarv::ui

#endif  // TARVPLACES_UI_H_
