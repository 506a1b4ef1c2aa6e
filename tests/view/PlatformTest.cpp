// The X platform: a private Xvfb when DISPLAY is unset, stopped with the
// session; the realised, unmapped shell; a clear error without any server;
// the "Unix" table's shell.
#include <gtest/gtest.h>

#include <X11/Intrinsic.h>
#include <X11/Xlib.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#define FOLIO_HOST_SIDE
#include "folio/UnixHFT.h"
#include "platform/XSession.h"
#include "tables/UnixTable.h"

using folio::platform::PlatformError;
using folio::platform::XSession;

namespace {

bool processAlive(int pid)
{
  return pid > 0 && (kill(pid, 0) == 0 || errno == EPERM);
}

// True when `pid` is gone within about two seconds. The server is not our
// child here (a child of the forked host), so it is seen through /proc: a
// zombie left for its dead parent counts as gone.
bool goneSoon(int pid)
{
  for (int i = 0; i < 200; ++i) {
    std::string stat = "/proc/" + std::to_string(pid) + "/stat";
    FILE *f = std::fopen(stat.c_str(), "r");
    if (!f)
      return true;
    char buf[256] = {0};
    size_t n = std::fread(buf, 1, sizeof buf - 1, f);
    std::fclose(f);
    std::string text(buf, n);
    size_t close = text.rfind(')');
    if (close != std::string::npos && close + 2 < text.size() && text[close + 2] == 'Z')
      return true;
    usleep(10000);
  }
  return false;
}

// Forks a host that opens a session, reports its server's pid and then ends
// by `how`: 0 exit() without destroying the session, 1 killed by SIGKILL.
int serverOfAHostThatEnds(int how)
{
  int fds[2];
  if (pipe(fds) != 0)
    return 0;
  pid_t child = fork();
  if (child == 0) {
    close(fds[0]);
    int pid = 0;
    try {
      pid = XSession::open().release()->serverPid(); // never destroyed
    } catch (...) {
    }
    if (write(fds[1], &pid, sizeof pid) != sizeof pid)
      _exit(2);
    if (how == 1)
      pause(); // until killed
    std::exit(0);
  }
  close(fds[1]);
  int pid = 0;
  if (read(fds[0], &pid, sizeof pid) != sizeof pid)
    pid = 0;
  close(fds[0]);
  if (how == 1)
    kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  return pid;
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

TEST_F(ViewPlatform, ThePrivateServerEndsWhenTheHostExits)
{
  if (folio::platform::findProgram("Xvfb").empty())
    GTEST_SKIP() << "no Xvfb on this machine";
  int pid = serverOfAHostThatEnds(0);
  ASSERT_GT(pid, 0);
  EXPECT_TRUE(goneSoon(pid));
}

TEST_F(ViewPlatform, ThePrivateServerEndsWhenTheHostIsKilled)
{
  if (folio::platform::findProgram("Xvfb").empty())
    GTEST_SKIP() << "no Xvfb on this machine";
  int pid = serverOfAHostThatEnds(1);
  ASSERT_GT(pid, 0);
  EXPECT_TRUE(goneSoon(pid));
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

// A stand-in server program: reports display `number` on the -displayfd
// descriptor (or nothing when `number` is empty), writes its pid to
// `pidFile`, then stays up (or exits at once when `stay` is false).
static std::string fakeServer(const std::string &dir, const std::string &number, bool stay)
{
  std::string path = dir + "/fake-xserver";
  std::string pidFile = dir + "/fake-xserver.pid";
  FILE *f = std::fopen(path.c_str(), "w");
  if (!f)
    return {};
  std::fprintf(f, "#!/bin/sh\necho $$ > '%s'\n", pidFile.c_str());
  if (!number.empty())
    std::fprintf(f, "eval \"echo %s >&$2\"\n", number.c_str());
  std::fprintf(f, stay ? "exec sleep 30\n" : "exit 1\n");
  std::fclose(f);
  chmod(path.c_str(), 0755);
  return path;
}

static int readPid(const std::string &dir)
{
  FILE *f = std::fopen((dir + "/fake-xserver.pid").c_str(), "r");
  int pid = 0;
  if (f) {
    if (std::fscanf(f, "%d", &pid) != 1)
      pid = 0;
    std::fclose(f);
  }
  return pid;
}

static void removeDir(const std::string &dir)
{
  std::remove((dir + "/fake-xserver").c_str());
  std::remove((dir + "/fake-xserver.pid").c_str());
  rmdir(dir.c_str());
}

static std::string scratchDir()
{
  char tmpl[] = "/tmp/folio-view-platform-XXXXXX";
  const char *d = mkdtemp(tmpl);
  return d ? d : "/tmp";
}

TEST_F(ViewPlatform, AServerWhoseDisplayCannotBeOpenedIsStopped)
{
  std::string dir = scratchDir();
  XSession::Options options;
  options.xvfbProgram = fakeServer(dir, "32766", true);
  try {
    XSession::open(options);
    FAIL() << "opened a display nobody serves";
  } catch (const PlatformError &e) {
    EXPECT_NE(std::string(e.what()).find("cannot open the X display \":32766\""), std::string::npos)
        << e.what();
  }
  int pid = readPid(dir);
  EXPECT_GT(pid, 0);
  EXPECT_FALSE(processAlive(pid));
  removeDir(dir);
}

TEST_F(ViewPlatform, AServerThatDiesAtStartIsAClearError)
{
  std::string dir = scratchDir();
  XSession::Options options;
  options.xvfbProgram = fakeServer(dir, "", false);
  try {
    XSession::open(options);
    FAIL() << "opened without a server";
  } catch (const PlatformError &e) {
    EXPECT_NE(std::string(e.what()).find("did not start"), std::string::npos) << e.what();
  }
  removeDir(dir);
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
  std::vector<FSProc> table = folio::tables::makeUnixTable(session.get());
  ASSERT_EQ(table.size(), static_cast<size_t>(UnixNUMSELECTORS));
  EXPECT_EQ(table[0], nullptr);
  auto entry = reinterpret_cast<UnixAppGetShellWidgetSELPROTO>(table[UnixAppGetShellWidgetSEL]);
  ASSERT_NE(entry, nullptr);
  EXPECT_EQ(entry(), static_cast<void *>(session->shell()));
}

TEST_F(ViewPlatform, UnixTableWithoutASessionAnswersNull)
{
  std::vector<FSProc> table = folio::tables::makeUnixTable(nullptr);
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
