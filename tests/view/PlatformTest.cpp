// The X platform: a private Xvfb when DISPLAY is unset, stopped with the
// session; the realised, unmapped shell; a clear error without any server;
// the "Unix" table's shell.
#include <gtest/gtest.h>

#include <X11/Intrinsic.h>
#include <X11/Xlib.h>
#include <signal.h>

#include <cerrno>
#include <cstdlib>

#define FOLIO_HOST_SIDE
#include "UnixTable.h"
#include "folio/UnixHFT.h"
#include "platform/XSession.h"

using folio::platform::PlatformError;
using folio::platform::XSession;

namespace {

bool processAlive(int pid)
{
  return pid > 0 && (kill(pid, 0) == 0 || errno == EPERM);
}

struct ViewPlatform : ::testing::Test {
  void SetUp() override { unsetenv("DISPLAY"); }
};

} // namespace

TEST_F(ViewPlatform, StartsAPrivateXvfbWithoutDisplay)
{
  if (folio::platform::findProgram("Xvfb").empty())
    GTEST_SKIP() << "no Xvfb on this machine";
  auto session = XSession::open();
  ASSERT_NE(session, nullptr);
  EXPECT_TRUE(session->privateServer());
  EXPECT_TRUE(processAlive(session->serverPid()));
  EXPECT_EQ(session->displayName().rfind(":", 0), 0u);
  ASSERT_NE(session->display(), nullptr);
  EXPECT_EQ(DefaultDepth(session->display(), DefaultScreen(session->display())), 24);
  EXPECT_EQ(DisplayWidth(session->display(), DefaultScreen(session->display())), 1280);
  EXPECT_EQ(std::getenv("DISPLAY"), nullptr); // the process environment is left alone
}

TEST_F(ViewPlatform, StopsThePrivateServerWithTheSession)
{
  if (folio::platform::findProgram("Xvfb").empty())
    GTEST_SKIP() << "no Xvfb on this machine";
  int pid = 0;
  {
    auto session = XSession::open();
    pid = session->serverPid();
    ASSERT_TRUE(processAlive(pid));
  }
  EXPECT_FALSE(processAlive(pid));
}

TEST_F(ViewPlatform, ShellIsRealisedAndUnmapped)
{
  if (folio::platform::findProgram("Xvfb").empty())
    GTEST_SKIP() << "no Xvfb on this machine";
  auto session = XSession::open();
  Widget shell = session->shell();
  ASSERT_NE(shell, nullptr);
  EXPECT_TRUE(XtIsRealized(shell));
  ASSERT_NE(XtWindow(shell), 0u);
  XWindowAttributes attrs;
  ASSERT_NE(XGetWindowAttributes(session->display(), XtWindow(shell), &attrs), 0);
  EXPECT_EQ(attrs.map_state, IsUnmapped);
  EXPECT_EQ(XtDisplay(shell), session->display());
  // An extension can make a bitmap on the shell's window, as the plug-in does for its icon.
  static const unsigned char bits[] = {0xFF, 0x81, 0x81, 0xFF};
  Pixmap pm =
      XCreateBitmapFromData(XtDisplay(shell), XtWindow(shell), reinterpret_cast<const char *>(bits), 8, 4);
  EXPECT_NE(pm, 0u);
  XFreePixmap(XtDisplay(shell), pm);
}

TEST_F(ViewPlatform, MappedShellWhenAsked)
{
  if (folio::platform::findProgram("Xvfb").empty())
    GTEST_SKIP() << "no Xvfb on this machine";
  XSession::Options options;
  options.mapped = true;
  options.width = 200;
  options.height = 100;
  auto session = XSession::open(options);
  XSync(session->display(), False);
  XWindowAttributes attrs;
  ASSERT_NE(XGetWindowAttributes(session->display(), XtWindow(session->shell()), &attrs), 0);
  EXPECT_EQ(attrs.map_state, IsViewable);
  EXPECT_EQ(attrs.width, 200);
}

TEST_F(ViewPlatform, WithoutDisplayAndWithoutXvfbTheErrorSaysSo)
{
  XSession::Options options;
  options.xvfbProgram = "no-such-x-server-program";
  try {
    XSession::open(options);
    FAIL() << "opened without any X server";
  } catch (const PlatformError &e) {
    std::string what = e.what();
    EXPECT_NE(what.find("DISPLAY is not set"), std::string::npos) << what;
    EXPECT_NE(what.find("no-such-x-server-program"), std::string::npos) << what;
  }
}

TEST_F(ViewPlatform, AnUnreachableDisplayIsAClearError)
{
  setenv("DISPLAY", ":32767", 1);
  try {
    XSession::open();
    FAIL() << "opened a display that does not exist";
  } catch (const PlatformError &e) {
    EXPECT_NE(std::string(e.what()).find("cannot open the X display \":32767\""), std::string::npos)
        << e.what();
  }
  unsetenv("DISPLAY");
}

TEST_F(ViewPlatform, StandardCursorsAreMadeOnce)
{
  if (folio::platform::findProgram("Xvfb").empty())
    GTEST_SKIP() << "no Xvfb on this machine";
  auto session = XSession::open();
  Cursor arrow = session->standardCursor(0);
  EXPECT_NE(arrow, 0u);
  EXPECT_EQ(session->standardCursor(0), arrow);
  EXPECT_NE(session->standardCursor(4), arrow);
  EXPECT_EQ(session->standardCursor(6), 0u);
  EXPECT_EQ(session->standardCursor(-1), 0u);
}

TEST_F(ViewPlatform, UnixTableAnswersTheShell)
{
  if (folio::platform::findProgram("Xvfb").empty())
    GTEST_SKIP() << "no Xvfb on this machine";
  auto session = XSession::open();
  std::vector<FSProc> table = folio::tables::buildUnixTable(session.get());
  ASSERT_EQ(table.size(), static_cast<size_t>(UnixNUMSELECTORS));
  EXPECT_EQ(table[0], nullptr);
  auto entry = reinterpret_cast<UnixAppGetShellWidgetSELPROTO>(table[UnixAppGetShellWidgetSEL]);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry(), static_cast<void *>(session->shell()));
}

TEST_F(ViewPlatform, UnixTableWithoutASessionAnswersNull)
{
  std::vector<FSProc> table = folio::tables::buildUnixTable(nullptr);
  auto entry = reinterpret_cast<UnixAppGetShellWidgetSELPROTO>(table[UnixAppGetShellWidgetSEL]);
  EXPECT_EQ(entry(), nullptr);
}

TEST(ViewPlatformPath, FindProgramLooksOnPath)
{
  EXPECT_EQ(folio::platform::findProgram("sh").empty(), false);
  EXPECT_EQ(folio::platform::findProgram("/bin/sh"), "/bin/sh");
  EXPECT_EQ(folio::platform::findProgram("no-such-program-anywhere"), "");
  EXPECT_EQ(folio::platform::findProgram(""), "");
}
