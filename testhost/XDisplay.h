// XDisplay.h: a real X display and a realised shell widget for the test
// process, for whatever needs an X server in a test (the plug-in makes its
// icon and cursors on the display of the "Unix" table's shell widget).
//
// The display is the one named by DISPLAY when that can be opened; otherwise
// (DISPLAY unset, or not reachable) a private Xvfb is started for the process
// with `-displayfd`, so tests never depend on a display being set. That Xvfb
// is stopped when the process exits (and dies with the process if it is
// killed). Everything is made on first use and lives until exit; nothing here
// is thread-safe (the tests and the plug-in run on one thread).
#ifndef TESTHOST_XDISPLAY_H
#define TESTHOST_XDISPLAY_H

#include <X11/Intrinsic.h>
#include <X11/Xlib.h>

#include <string>

namespace testhost {

class TestHost;

struct XDisplayInfo {
  Display *display = nullptr; // the Xt display connection (owned here)
  Widget shell = nullptr;     // a realised 64 x 64 application shell, never mapped
  std::string name;           // the display name opened, e.g. ":3"
  bool privateServer = false; // true when a private Xvfb was started for it
  std::string error;          // why there is no display, when display is null
};

// Opens the display and realises the shell on the first call; later calls
// return the same record. On failure display and shell are null and error
// says why.
const XDisplayInfo &testXDisplay();

// The realised shell widget, or null when no display could be had: what the
// test host's "Unix" table hands out as the application's shell widget.
Widget testShellWidget();

// Hands the realised shell widget to the host's "Unix" table (entry 1 then
// answers it). False, with the host left as it was, when there is no display.
bool attachTestXDisplay(TestHost &host);

} // namespace testhost

#endif // TESTHOST_XDISPLAY_H
