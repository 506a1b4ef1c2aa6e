// XDisplay.cpp: the test process's X display: DISPLAY when it can be opened,
// else a private Xvfb, and a realised shell widget on it.
#include "XDisplay.h"

#include "TestHost.h"

#include <X11/Shell.h>
#include <X11/StringDefs.h>

#include <cstdlib>

#include "support/XServer.h"

namespace testhost {
namespace {

// The private server, when one is needed: started on first use, stopped at
// exit by its destructor (and with the process if it is killed).
testsupport::XServer &privateServer()
{
  static testsupport::XServer server;
  return server;
}

XDisplayInfo openDisplay()
{
  XDisplayInfo info;
  XtToolkitInitialize();
  XtAppContext app = XtCreateApplicationContext();
  int argc = 0;

  // XtOpenDisplay answers null on failure; XtOpenApplication would exit.
  const char *env = std::getenv("DISPLAY");
  if (env != nullptr && *env != '\0') {
    info.display = XtOpenDisplay(app, env, "pgsheartest", "PgShearTest", nullptr, 0, &argc, nullptr);
    if (info.display != nullptr)
      info.name = env;
  }
  if (info.display == nullptr) {
    const testsupport::XServer &server = privateServer();
    if (!server.ok()) {
      info.error = server.error();
      return info;
    }
    const std::string &name = server.display();
    info.display = XtOpenDisplay(app, name.c_str(), "pgsheartest", "PgShearTest", nullptr, 0, &argc, nullptr);
    if (info.display == nullptr) {
      info.error = "cannot open the private display " + name;
      return info;
    }
    info.name = name;
    info.privateServer = true;
  }

  // A small shell that is realised (it has a window) but never mapped.
  info.shell =
      XtVaAppCreateShell("pgsheartest", "PgShearTest", applicationShellWidgetClass, info.display, XtNwidth,
                         64, XtNheight, 64, XtNmappedWhenManaged, False, static_cast<void *>(nullptr));
  XtRealizeWidget(info.shell);
  XSync(info.display, False);
  info.error.clear();
  return info;
}

} // namespace

const XDisplayInfo &testXDisplay()
{
  static const XDisplayInfo info = openDisplay();
  return info;
}

Widget testShellWidget()
{
  return testXDisplay().shell;
}

bool attachTestXDisplay(TestHost &host)
{
  Widget shell = testShellWidget();
  if (shell == nullptr)
    return false;
  host.setShellWidget(shell);
  return true;
}

} // namespace testhost
