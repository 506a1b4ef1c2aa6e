// TableHost.h: the host side of the table tests: an application with
// recording ports behind a "FolioView" table, reached by the test the way an
// extension reaches it (through gFolioViewHFT and the call macros).
#pragma once

#include <string>
#include <vector>

#include "folio/FolioTypes.h"

namespace tablehost {

// Makes the application and its table; answers the table to bind.
HFT start();
void stop();
// Opens a generated one-page PDF (media box 0 0 w h, rotation) in the
// application; answers the FVDoc it became.
FVDoc openPage(double w, double h, int rotate);
// What the ports were asked, in order (see RecordingPorts).
std::vector<std::string> &log();
// Answers of the next questions; the confirmation answer; the drag result.
void setAnswers(const std::vector<int> &answers);
void setConfirm(bool answer);
void setDragResult(FVRect r);
void setModifiers(FSInt32 word);
// A pixel of the active document's frame: 0xRRGGBB.
unsigned pixel(int x, int y);
// The tool bar's button names in order; a menu's item names in order.
std::vector<std::string> toolBarNames();
std::vector<std::string> menuNames(const char *menuName);
int drawingCount();
int itemRefCount(FVMenuItem item);
// What an extension gets from the core table: callbacks and atoms.
FSCallback callback(FSProc proc);
FSAtom atom(const char *name);
// A path name of a generated one-page PDF (or of `missing` when true: a file
// that does not exist), as the model's support table hands them out.
FSPathName pathOfNewPdf(bool missing);
// The active document's title ("" when none).
std::string activeTitle();
// A tool bar button's state as the host asks it.
bool buttonEnabled(FVToolButton b);
bool buttonMarked(FVToolButton b);
void pressButton(FVToolButton b);
// Replaces the front end's alert, cancel, progress, drag and modifier ports
// with ones that throw std::runtime_error on every call (a front end or view
// failing under an entry).
void useThrowingPorts();

} // namespace tablehost
