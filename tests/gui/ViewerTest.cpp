// The folio viewer with the real plug-in, under a private Xvfb, driven by
// xdotool with the real pointer and keys. Nothing here calls into the host:
// the tests find controls by the names on their windows, read pixels from
// the server and check the written files with qpdf.
#include <gtest/gtest.h>

#include "GuiSupport.h"
#include "pdfgen.h"
#include "support/PageTransform.h"

#include <X11/Xlib.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#ifndef GUI_FOLIO
#define GUI_FOLIO "folio"
#endif
#ifndef GUI_MKPDF
#define GUI_MKPDF "mkpdf"
#endif

namespace {

using Box = std::array<double, 4>; // left bottom right top, points

const guitest::Rgb kRed{255, 0, 0};

// Every page's effective crop box (the media box when there is none), read
// with qpdf, an independent reader.
std::vector<Box> cropBoxes(const std::string &pdf)
{
  std::string script =
      "import json,subprocess,sys\n"
      "j=json.loads(subprocess.run(['qpdf','--json=2',sys.argv[1]],capture_output=True,text=True)"
      ".stdout)\n"
      "objs=j['qpdf'][1]\n"
      "def get(o,k):\n"
      "  while o is not None:\n"
      "    if k in o: return o[k]\n"
      "    p=o.get('/Parent'); o=objs['obj:'+p]['value'] if p else None\n"
      "  return None\n"
      "for p in j['pages']:\n"
      "  o=objs['obj:'+p['object']]['value']\n"
      "  b=get(o,'/CropBox') or get(o,'/MediaBox')\n"
      "  print(' '.join(str(float(v)) for v in b))\n";
  std::string out = guitest::capture({"python3", "-c", script, pdf}, "", 60000);
  std::vector<Box> boxes;
  std::istringstream in(out);
  Box b;
  while (in >> b[0] >> b[1] >> b[2] >> b[3])
    boxes.push_back(b);
  return boxes;
}

class GuiViewer : public ::testing::Test {
protected:
  void SetUp() override
  {
    ASSERT_TRUE(xvfb.ok()) << "Xvfb did not start";
    const auto *info = ::testing::UnitTest::GetInstance()->current_test_info();
    dir = guitest::outputDir(std::string(info->test_suite_name()) + "." + info->name());
    dpy = XOpenDisplay(xvfb.display().c_str());
    ASSERT_NE(dpy, nullptr);
  }
  void TearDown() override
  {
    if (HasFailure())
      guitest::screenshot(xvfb.display(), dir + "/failure.png");
    if (folio) {
      folio->signal(SIGTERM);
      folio->wait(5000);
    }
    if (dpy)
      XCloseDisplay(dpy);
  }

  std::string makePdf(const std::string &name, const std::vector<std::string> &args)
  {
    std::string path = dir + "/" + name;
    std::vector<std::string> argv{GUI_MKPDF};
    argv.insert(argv.end(), args.begin(), args.end());
    argv.push_back(path);
    EXPECT_EQ(guitest::run(argv, xvfb.display(), 120000), 0) << "mkpdf failed";
    return path;
  }

  // Starts folio on `pdf` and waits until its page view is up. The viewer
  // keeps its View menu choices in the config file: unless `env` names one,
  // it gets a folder of this test's own, never the user's.
  void startFolio(const std::string &pdf, const std::vector<std::string> &env = {})
  {
    std::vector<std::string> argv{GUI_FOLIO};
    if (!pdf.empty())
      argv.push_back(pdf);
    std::vector<std::string> fullEnv = env;
    if (std::none_of(env.begin(), env.end(),
                     [](const std::string &e) { return e.rfind("XDG_CONFIG_HOME=", 0) == 0; }))
      // Absolute: a relative XDG_CONFIG_HOME is ignored, and the viewer
      // would then use the user's own config file.
      fullEnv.push_back("XDG_CONFIG_HOME=" + std::filesystem::absolute(dir + "/config").string());
    folio = guitest::start(argv, xvfb.display(), fullEnv, dir + "/folio.log");
    ASSERT_TRUE(folio->started());
    pageView = guitest::findWindow(xvfb.display(), "page view", 20000);
    ASSERT_NE(pageView, 0u) << "the viewer did not come up";
    settle();
  }

  // Lets the viewer catch up: a round trip through the server and a short
  // pause for the viewer's own round trip.
  void settle(int ms = 250)
  {
    XSync(dpy, False);
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
  }

  unsigned long window(const std::string &name, int timeoutMs = 10000)
  {
    unsigned long w = guitest::findWindow(xvfb.display(), name, timeoutMs);
    EXPECT_NE(w, 0u) << "no window named " << name;
    return w;
  }

  // Clicks the middle of the window named `name`.
  void press(const std::string &name)
  {
    unsigned long w = window(name);
    if (!w)
      return;
    XWindowAttributes a;
    XGetWindowAttributes(dpy, w, &a);
    ASSERT_TRUE(guitest::clickInWindow(xvfb.display(), w, a.width / 2, a.height / 2));
    settle(150);
  }

  // Chooses a menu item through the menus with the pointer: the title, then
  // each cascade, then the item.
  void chooseMenu(const std::vector<std::string> &path)
  {
    for (const auto &name : path)
      press(name);
    settle();
  }

  void key(const std::string &keys)
  {
    ASSERT_EQ(guitest::xdo(xvfb.display(),
                           {"mousemove", "--window", std::to_string(pageView), "5", "5", "key", keys}),
              0);
    settle();
  }

  // A drag in the page view from the first point to the last, through the
  // others, with `modifier` ("ctrl") held when given.
  void drag(const std::vector<std::pair<int, int>> &points, const std::string &modifier = {})
  {
    std::string w = std::to_string(pageView);
    std::vector<std::string> args;
    for (size_t i = 0; i < points.size(); i++) {
      args.insert(args.end(), {"mousemove", "--window", w, std::to_string(points[i].first),
                               std::to_string(points[i].second)});
      if (i == 0) {
        if (!modifier.empty())
          args.insert(args.end(), {"keydown", modifier});
        args.insert(args.end(), {"mousedown", "1"});
      }
      args.insert(args.end(), {"sleep", "0.05"});
    }
    args.insert(args.end(), {"mouseup", "1"});
    if (!modifier.empty())
      args.insert(args.end(), {"sleep", "0.2", "keyup", modifier});
    ASSERT_EQ(guitest::xdo(xvfb.display(), args), 0);
    settle();
  }

  void clickAt(int x, int y)
  {
    ASSERT_TRUE(guitest::clickInWindow(xvfb.display(), pageView, x, y));
    settle();
  }

  guitest::Snapshot shot()
  {
    settle(100);
    return guitest::Snapshot(dpy, pageView);
  }

  // Snapshots until `pred` holds (the viewer may lag behind the input on a
  // loaded machine); the last one when it never does.
  template <class Pred> guitest::Snapshot shotUntil(Pred pred, int timeoutMs = 8000)
  {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    guitest::Snapshot s = shot();
    while (!pred(s) && std::chrono::steady_clock::now() < deadline)
      s = shot();
    return s;
  }
  bool hasRed(const guitest::Snapshot &s)
  {
    int l, t, r, b;
    return redOutline(s, l, t, r, b);
  }
  int redWidth(const guitest::Snapshot &s)
  {
    int l, t, r, b;
    return redOutline(s, l, t, r, b) ? r - l : -1;
  }
  auto pixelIs(std::pair<int, int> at, guitest::Rgb colour)
  {
    return [at, colour](const guitest::Snapshot &s) { return s.at(at.first, at.second) == colour; };
  }
  // The file's boxes once `pred` holds of them (a save may still be under
  // way when the test gets there).
  template <class Pred> std::vector<Box> boxesUntil(const std::string &pdf, Pred pred, int timeoutMs = 15000)
  {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    std::vector<Box> boxes = cropBoxes(pdf);
    while (!pred(boxes) && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
      boxes = cropBoxes(pdf);
    }
    return boxes;
  }

  // The device rectangle (left, top, right, bottom) of the red media-box
  // outline: the bounding box of the pure red pixels; false when none.
  bool redOutline(const guitest::Snapshot &s, int &l, int &t, int &r, int &b)
  {
    l = t = 1 << 30;
    r = b = -1;
    for (int y = 0; y < s.height(); y++)
      for (int x = 0; x < s.width(); x++)
        if (s.at(x, y) == kRed) {
          l = std::min(l, x);
          t = std::min(t, y);
          r = std::max(r, x);
          b = std::max(b, y);
        }
    return r >= 0;
  }

  // The page point (x, y) in device space of the shown page at 100%, from
  // the media box outline (media box 0 0 612 792, not rotated).
  std::pair<int, int> device(double x, double y) const
  {
    testsupport::PageTransform letter; // 0 0 612 792 at 100%
    letter.originX = mediaL;
    letter.originY = mediaB - 792;
    return letter.pixel(x, y);
  }

  // The document most tests crop: two letter pages with a black rectangle
  // on each, open in the viewer. Answers its path.
  std::string openTwoPages()
  {
    std::string pdf = makePdf("two.pdf", {"--pages", "2", "--rect", "150,150,450,650"});
    startFolio(pdf);
    return pdf;
  }

  // Selects the crop tool, drags out the region (100, 700)-(400, 300) and
  // clicks inside it: the plug-in then asks which pages to crop.
  void drawRegionAndClickInside()
  {
    selectCropToolAndMeasure();
    drag({device(100, 700), device(400, 300)});
    auto inside = device(250, 500);
    clickAt(inside.first, inside.second);
  }

  // Saves the document as `name` in the test's folder with Ctrl+Shift+S;
  // `out` is the absolute path typed.
  void saveAs(const std::string &name, std::string &out)
  {
    key("ctrl+shift+s");
    ASSERT_NE(window("Save As"), 0u);
    // The field holds the document's own path: select it all and type over it.
    out = std::filesystem::absolute(dir + "/" + name).string();
    ASSERT_EQ(guitest::xdo(xvfb.display(), {"key", "ctrl+slash"}), 0);
    ASSERT_EQ(guitest::xdo(xvfb.display(), {"type", out}), 0);
    ASSERT_EQ(guitest::xdo(xvfb.display(), {"key", "Return"}), 0);
    settle(500);
  }

  // Selects the crop tool with Ctrl+9 and finds the media box outline.
  void selectCropToolAndMeasure()
  {
    key("ctrl+9");
    guitest::Snapshot s = shotUntil([&](const guitest::Snapshot &x) { return hasRed(x); });
    int r, t;
    ASSERT_TRUE(redOutline(s, mediaL, t, r, mediaB)) << "no media box outline";
    EXPECT_EQ(r - mediaL, 612);
    EXPECT_EQ(mediaB - t, 792);
  }

  testsupport::XServer xvfb;
  std::string dir;
  Display *dpy = nullptr;
  std::unique_ptr<testsupport::ChildProcess> folio; // the viewer
  unsigned long pageView = 0;
  int mediaL = 0, mediaB = 0;
};

// The outline is a closed rectangle of pure red pixels along all four edges.
void expectRedRectangle(const guitest::Snapshot &s, int l, int t, int r, int b)
{
  EXPECT_EQ(s.count(l, t, r - l + 1, 1, kRed), r - l + 1) << "top edge";
  EXPECT_EQ(s.count(l, b, r - l + 1, 1, kRed), r - l + 1) << "bottom edge";
  EXPECT_EQ(s.count(l, t, 1, b - t + 1, kRed), b - t + 1) << "left edge";
  EXPECT_EQ(s.count(r, t, 1, b - t + 1, kRed), b - t + 1) << "right edge";
}

TEST_F(GuiViewer, CropToolButtonShowsTheMediaBoxOutline)
{
  std::string pdf = makePdf("letter.pdf", {"--pages", "2", "--rect", "100,100,300,300"});
  startFolio(pdf);
  int l, t, r, b;
  EXPECT_FALSE(redOutline(shot(), l, t, r, b)) << "outline shown before the tool was chosen";
  press("QUIL:PageShear");
  guitest::Snapshot s = shotUntil([&](const guitest::Snapshot &x) { return hasRed(x); });
  ASSERT_TRUE(redOutline(s, l, t, r, b));
  EXPECT_EQ(r - l, 612);
  EXPECT_EQ(b - t, 792);
  expectRedRectangle(s, l, t, r, b);
}

TEST_F(GuiViewer, CtrlNineSelectsTheCropTool)
{
  std::string pdf = makePdf("letter.pdf", {"--rect", "100,100,300,300"});
  startFolio(pdf);
  selectCropToolAndMeasure();
  // With the crop tool a drag draws a region (the hand tool would scroll).
  auto [x0, y0] = device(100, 700);
  auto [x1, y1] = device(400, 400);
  drag({{x0, y0}, {x1, y1}});
  const guitest::Rgb black{0, 0, 0};
  guitest::Snapshot s = shotUntil(pixelIs({x1 + 3, y1 + 3}, black));
  // The region's outline and its four corner handles (7 x 7 squares) are
  // drawn in the view's colour, black, over white paper.
  EXPECT_EQ(s.count(x0 + 4, y0, x1 - x0 - 8, 1, black), x1 - x0 - 8) << "top edge of the region";
  EXPECT_EQ(s.count(x0, y0 + 4, 1, y1 - y0 - 8, black), y1 - y0 - 8) << "left edge of the region";
  for (auto [cx, cy] : {std::pair{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}}) {
    EXPECT_EQ(s.count(cx - 3, cy - 3, 7, 1, black), 7) << "handle top at " << cx << "," << cy;
    EXPECT_EQ(s.count(cx - 3, cy + 3, 7, 1, black), 7) << "handle bottom at " << cx << "," << cy;
    EXPECT_EQ(s.count(cx - 3, cy - 3, 1, 7, black), 7) << "handle left at " << cx << "," << cy;
    EXPECT_EQ(s.count(cx + 3, cy - 3, 1, 7, black), 7) << "handle right at " << cx << "," << cy;
  }
}

TEST_F(GuiViewer, DragResizeMoveAndApplyToAllPagesThenSave)
{
  std::string pdf =
      makePdf("three.pdf", {"--pages", "3", "--text", "72,720,20,HELL", "--rect", "150,150,450,650"});
  startFolio(pdf);
  selectCropToolAndMeasure();
  // Drag out (100,700)-(400,300), pull the right-bottom corner to (450,250),
  // move the whole region by (-20,+30) with Ctrl held on a handle.
  auto a = device(100, 700), b = device(400, 300), c = device(450, 250);
  drag({a, device(250, 500), b});
  drag({b, device(420, 280), c});
  drag({a, device(90, 715), device(80, 730)}, "ctrl");
  // A click inside the region applies it: answer "All" in the real dialog.
  auto inside = device(250, 500);
  clickAt(inside.first, inside.second);
  press("All");
  key("ctrl+s");
  std::vector<Box> boxes = boxesUntil(pdf, [](const std::vector<Box> &b) {
    return b.size() == 3 && b[0] != Box{0, 0, 612, 792} && b[2] != Box{0, 0, 612, 792};
  });
  ASSERT_EQ(boxes.size(), 3u);
  for (const Box &box : boxes) {
    EXPECT_NEAR(box[0], 80, 1.0);
    EXPECT_NEAR(box[1], 280, 1.0);
    EXPECT_NEAR(box[2], 430, 1.0);
    EXPECT_NEAR(box[3], 730, 1.0);
  }
  // The part of the media box outside the new crop box is shown dimmed.
  auto out = device(40, 100);
  guitest::Snapshot s = shotUntil(pixelIs(out, {0xaf, 0xaf, 0xaf}));
  guitest::Rgb dimmed = s.at(out.first, out.second);
  EXPECT_EQ(dimmed, (guitest::Rgb{0xaf, 0xaf, 0xaf})) << "(white + 0x60) / 2";
  auto in = device(300, 700);
  EXPECT_EQ(s.at(in.first, in.second), (guitest::Rgb{255, 255, 255}));
}

TEST_F(GuiViewer, CancelInThePagesQuestionChangesNothing)
{
  std::string pdf = openTwoPages();
  drawRegionAndClickInside();
  ASSERT_NE(window("Cancel"), 0u);
  key("Escape");
  // The region was used up: it is gone from the view.
  auto corner = device(100, 700);
  auto onEdge = std::make_pair(corner.first + 10, corner.second);
  EXPECT_EQ(shotUntil(pixelIs(onEdge, {255, 255, 255})).at(onEdge.first, onEdge.second),
            (guitest::Rgb{255, 255, 255}));
  key("ctrl+s");
  std::vector<Box> boxes = boxesUntil(pdf, [](const std::vector<Box> &b) { return b.size() == 2; });
  ASSERT_EQ(boxes.size(), 2u);
  for (const Box &box : boxes)
    EXPECT_EQ(box, (Box{0, 0, 612, 792}));
}

TEST_F(GuiViewer, ShowAndHideMediaBoxFromTheMenu)
{
  std::string pdf = makePdf("letter.pdf", {"--rect", "100,100,300,300"});
  startFolio(pdf);
  int l, t, r, b;
  chooseMenu({"Extensions", "QUIL:Page Shear", "QUIL:PSShowMediaBox"});
  guitest::Snapshot on = shotUntil([&](const guitest::Snapshot &x) { return hasRed(x); });
  ASSERT_TRUE(redOutline(on, l, t, r, b));
  EXPECT_EQ(r - l, 612);
  EXPECT_EQ(b - t, 792);
  expectRedRectangle(on, l, t, r, b);
  // The submenu now offers Hide in the same place.
  chooseMenu({"Extensions", "QUIL:Page Shear", "QUIL:PSHideMediaBox"});
  EXPECT_FALSE(hasRed(shotUntil([&](const guitest::Snapshot &x) { return !hasRed(x); })))
      << "outline still shown after Hide";
  chooseMenu({"Extensions", "QUIL:Page Shear", "QUIL:PSShowMediaBox"});
  EXPECT_TRUE(hasRed(shotUntil([&](const guitest::Snapshot &x) { return hasRed(x); })));
}

TEST_F(GuiViewer, CancelTheBoundingBoxRunFromTheProgressWindow)
{
  const int pages = 4000;
  std::string pdf = makePdf("long.pdf", {"--pages", std::to_string(pages), "--crop", "20,20,592,772",
                                         "--rect", "100,100,200,200", "--ellipse", "300,400,50,80", "--text",
                                         "72,720,20,HELL THEFT FILE"});
  struct stat before {};
  ASSERT_EQ(::stat(pdf.c_str(), &before), 0);
  const off_t sizeBefore = before.st_size;
  startFolio(pdf);
  chooseMenu({"Extensions", "QUIL:Page Shear", "QUIL:PageShearBBox"});
  press("All");
  // Press Cancel in the progress window as soon as it is up.
  std::string w = std::to_string(pageView);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"search",   "--sync",    "--onlyvisible", "--name",
                                          "^Each$",   "mousemove", "--window",      "%1",
                                          "8",        "8",         "click",         "1",
                                          "search",   "--sync",    "--onlyvisible", "--name",
                                          "^Cancel$", "mousemove", "--window",      "%1",
                                          "8",        "8",         "click",         "1"},
                         30000),
            0);
  press("OK"); // "Cancelled."
  key("ctrl+s");
  // The save appends to the file; wait for it.
  std::vector<Box> boxes = boxesUntil(pdf, [&](const std::vector<Box> &b) {
    struct stat st {};
    return b.size() == static_cast<size_t>(pages) && ::stat(pdf.c_str(), &st) == 0 &&
           st.st_size != sizeBefore;
  });
  ASSERT_EQ(boxes.size(), static_cast<size_t>(pages));
  struct stat st {};
  ASSERT_EQ(::stat(pdf.c_str(), &st), 0);
  ASSERT_NE(st.st_size, sizeBefore) << "the document was not saved";
  // Pages before the cancel have their old crop box back; the page at which
  // it was cancelled keeps its box (the all-zero box the plug-in puts back is
  // not written); the pages after it were not touched.
  for (int i = 0; i < pages; i++)
    EXPECT_EQ(boxes[i], (Box{20, 20, 592, 772})) << "page index " << i;
}

// A page whose contents take hours to read (a form of a million path
// operators that draw nothing, drawn a hundred thousand times) between two
// quick pages, with a page budget far beyond that: only the click on Cancel
// can stop the run inside that page. It reaches the run there, which is
// cancelled the usual way: "Cancelled.", and every page keeps its box.
TEST_F(GuiViewer, CancelReachesTheRunInsideOneSlowPage)
{
  namespace gen = folio::pdfgen;
  const std::string ink = "<< /Length 22 >>\nstream\n100 200 200 200 re f\n\nendstream";
  auto pageObj = [](int contents) {
    return "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] /CropBox [20 20 592 772] /Contents " +
           std::to_string(contents) + " 0 R /Resources << /XObject << /A 8 0 R >> >> >>";
  };
  std::vector<std::string> o = {
      "<< /Type /Catalog /Pages 2 0 R >>",
      "<< /Type /Pages /Kids [3 0 R 4 0 R 5 0 R] /Count 3 >>",
      pageObj(6),
      pageObj(7),
      pageObj(6),
      ink,
      gen::flateStream("", "/A Do\n", 100000),
      gen::flateStream("/Type /XObject /Subtype /Form /BBox [0 0 612 792]", "0 0 m 1 1 l n\n", 1000000)};
  std::string pdf = dir + "/slow-second.pdf";
  {
    std::ofstream out(pdf, std::ios::binary);
    out << gen::rawPdf(o, "/Root 1 0 R");
    ASSERT_TRUE(out.good());
  }
  struct stat before {};
  ASSERT_EQ(::stat(pdf.c_str(), &before), 0);
  startFolio(pdf, {"FOLIO_PAGE_BUDGET=100000,4096"});
  chooseMenu({"Extensions", "QUIL:Page Shear", "QUIL:PageShearBBox"});
  press("All");
  // Each; then Cancel as soon as the progress window is up: page 1 is done
  // at once, page 2 has just begun.
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"search",   "--sync",    "--onlyvisible", "--name",
                                          "^Each$",   "mousemove", "--window",      "%1",
                                          "8",        "8",         "click",         "1",
                                          "search",   "--sync",    "--onlyvisible", "--name",
                                          "^Cancel$", "mousemove", "--window",      "%1",
                                          "8",        "8",         "click",         "1"},
                         30000),
            0);
  ASSERT_NE(window("OK", 30000), 0u) << "the run was not cancelled inside the slow page";
  press("OK"); // "Cancelled."
  key("ctrl+s");
  std::vector<Box> boxes = boxesUntil(pdf, [&](const std::vector<Box> &b) {
    struct stat st {};
    return b.size() == 3 && ::stat(pdf.c_str(), &st) == 0 && st.st_size != before.st_size;
  });
  struct stat st {};
  ASSERT_EQ(::stat(pdf.c_str(), &st), 0);
  ASSERT_NE(st.st_size, before.st_size) << "the document was not saved";
  ASSERT_EQ(boxes.size(), 3u);
  // Page 1 has its old box back, page 2 (where the run was cancelled) keeps
  // its box, page 3 was not reached.
  for (int i = 0; i < 3; i++)
    EXPECT_EQ(boxes[i], (Box{20, 20, 592, 772})) << "page index " << i;
}

TEST_F(GuiViewer, RevertThrowsAwayTheCrop)
{
  std::string pdf = openTwoPages();
  drawRegionAndClickInside();
  press("Current");
  // The cropped page shows the area outside the crop box dimmed.
  auto out = device(40, 100);
  EXPECT_EQ(shotUntil(pixelIs(out, {0xaf, 0xaf, 0xaf})).at(out.first, out.second),
            (guitest::Rgb{0xaf, 0xaf, 0xaf}));
  chooseMenu({"File", "QUIL:PSRevert"});
  press("OK"); // "Are you sure you want to revert to last saved version?"
  settle(500);
  pageView = guitest::findWindow(xvfb.display(), "page view");
  guitest::Snapshot s = shotUntil(pixelIs(out, {255, 255, 255}));
  EXPECT_EQ(s.at(out.first, out.second), (guitest::Rgb{255, 255, 255})) << "still cropped after Revert";
  std::vector<Box> boxes = cropBoxes(pdf);
  ASSERT_EQ(boxes.size(), 2u);
  for (const Box &box : boxes)
    EXPECT_EQ(box, (Box{0, 0, 612, 792}));
}

TEST_F(GuiViewer, ZoomShortcutsScaleThePage)
{
  std::string pdf = makePdf("letter.pdf", {"--rect", "100,100,300,300"});
  startFolio(pdf);
  selectCropToolAndMeasure();
  key("ctrl+minus"); // Zoom Out: 100% -> 75%
  int l, t, r, b;
  ASSERT_TRUE(
      redOutline(shotUntil([&](const guitest::Snapshot &x) { return redWidth(x) == 459; }), l, t, r, b));
  EXPECT_EQ(r - l, 459);
  EXPECT_EQ(b - t, 594);
  key("ctrl+equal"); // Zoom In: back to 100%
  ASSERT_TRUE(
      redOutline(shotUntil([&](const guitest::Snapshot &x) { return redWidth(x) == 612; }), l, t, r, b));
  EXPECT_EQ(r - l, 612);
  key("ctrl+equal"); // 125%: wider than the window, so the outline's
  key("ctrl+1");     // sides are out of sight; Actual Size brings it back
  ASSERT_TRUE(
      redOutline(shotUntil([&](const guitest::Snapshot &x) { return redWidth(x) == 612; }), l, t, r, b));
  EXPECT_EQ(r - l, 612);
  EXPECT_EQ(b - t, 792);
}

TEST_F(GuiViewer, FitWidthAndFitPageFillTheWindow)
{
  std::string pdf = makePdf("letter.pdf", {"--rect", "100,100,300,300"});
  startFolio(pdf);
  selectCropToolAndMeasure();
  XWindowAttributes a;
  XGetWindowAttributes(dpy, pageView, &a);
  key("ctrl+2"); // Fit Width: the page spans the window less the margins
  int l, t, r, b;
  ASSERT_TRUE(
      redOutline(shotUntil([&](const guitest::Snapshot &x) { return redWidth(x) != 612; }), l, t, r, b));
  EXPECT_NEAR(r - l, a.width - 16, 1);
  EXPECT_NEAR(l, 8, 1);
  key("ctrl+0"); // Fit Page: all of the page in sight, as large as it fits
  guitest::Snapshot s = shotUntil([&](const guitest::Snapshot &x) {
    int l2, t2, r2, b2;
    return redOutline(x, l2, t2, r2, b2) && t2 > 0 && b2 < a.height - 1 && l2 > 0;
  });
  ASSERT_TRUE(redOutline(s, l, t, r, b));
  expectRedRectangle(s, l, t, r, b);
  EXPECT_NEAR(b - t, a.height - 16, 1) << "a letter page is limited by the height here";
}

TEST_F(GuiViewer, ARotatedPageIsShownTurned)
{
  std::string pdf = makePdf("turned.pdf", {"--rotate", "90", "--rect", "100,100,300,300"});
  startFolio(pdf);
  key("ctrl+9");
  key("ctrl+minus"); // 75%, so that all of the turned page is in sight
  int l, t, r, b;
  guitest::Snapshot s = shotUntil([&](const guitest::Snapshot &x) { return redWidth(x) == 594; });
  ASSERT_TRUE(redOutline(s, l, t, r, b));
  EXPECT_EQ(r - l, 594);
  EXPECT_EQ(b - t, 459);
  expectRedRectangle(s, l, t, r, b);
}

std::string readFile(const std::string &path)
{
  std::ifstream in(path);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

TEST_F(GuiViewer, PageKeysChangePagesAndTheStatisticsAreWrittenAtQuit)
{
  std::string pdf = makePdf("three.pdf", {"--pages", "3", "--rect", "100,100,300,300"});
  std::string stats = dir + "/stats.txt";
  startFolio(pdf, {"FOLIO_REDRAW_STATS=" + stats});
  key("Next");
  key("Next");
  key("Next"); // already on the last page: nothing happens
  key("Prior");
  key("ctrl+q");
  EXPECT_EQ(folio->wait(10000).exitCode, 0);
  folio.reset();
  std::string text = readFile(stats);
  // The first page shown, then pages 2, 3 and 2 again.
  EXPECT_NE(text.find("page change   n=4 "), std::string::npos) << text;
  EXPECT_NE(text.find("redraw"), std::string::npos) << text;
  EXPECT_NE(text.find("present"), std::string::npos) << text;
}

TEST_F(GuiViewer, QuitAsksBeforeClosingADocumentWithUnsavedChanges)
{
  std::string pdf = openTwoPages();
  drawRegionAndClickInside();
  press("Current");
  key("ctrl+q");
  // "Save changes to ... before closing?": Cancel keeps the viewer running.
  press("Cancel");
  EXPECT_TRUE(folio->running());
  key("ctrl+q");
  press("Don't Save");
  EXPECT_EQ(folio->wait(10000).exitCode, 0);
  folio.reset();
  std::vector<Box> boxes = cropBoxes(pdf);
  ASSERT_EQ(boxes.size(), 2u);
  for (const Box &box : boxes)
    EXPECT_EQ(box, (Box{0, 0, 612, 792}));
}

TEST_F(GuiViewer, HandToolDragScrollsThePage)
{
  std::string pdf = makePdf("letter.pdf", {"--text", "72,720,24,HELL THEFT", "--ellipse", "306,396,150,200",
                                           "--frame", "100,100,500,300,6"});
  startFolio(pdf);
  press("Hand");
  key("ctrl+equal"); // 125%: the page is taller than the window
  // The page at 125% is wider than the window: the grey margin is gone.
  guitest::Snapshot before = shotUntil([](const guitest::Snapshot &x) {
    return !(x.at(2, 400) == guitest::Rgb{0x80, 0x80, 0x80});
  });
  drag({{300, 400}, {300, 420}, {300, 440}});
  guitest::Snapshot after = shotUntil([&](const guitest::Snapshot &x) {
    for (int y = 100; y < 700; y += 5)
      for (int xx = 0; xx < x.width(); xx += 3)
        if (!(x.at(xx, y) == before.at(xx, y)))
          return true;
    return false;
  });
  // The page moved down by the 40 pixels the pointer moved.
  int rowsChecked = 0, rowsMoved = 0, rowsChanged = 0;
  for (int y = 100; y < 700; y += 7) {
    bool same = true, unchanged = true;
    for (int x = 0; x < before.width(); x += 3) {
      same = same && after.at(x, y) == before.at(x, y - 40);
      unchanged = unchanged && after.at(x, y) == before.at(x, y);
    }
    rowsChecked++;
    rowsMoved += same;
    rowsChanged += !unchanged;
  }
  EXPECT_EQ(rowsMoved, rowsChecked);
  EXPECT_GT(rowsChanged, 20) << "the view did not scroll at all";
}

TEST_F(GuiViewer, MouseWheelAtTheEndOfAPageTurnsToTheNext)
{
  std::string pdf = makePdf("three.pdf", {"--pages", "3", "--rect", "100,100,300,300"});
  std::string stats = dir + "/stats.txt";
  startFolio(pdf, {"FOLIO_REDRAW_STATS=" + stats});
  std::string w = std::to_string(pageView);
  // At 100% the page fits the window: each step of the wheel turns a page.
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"mousemove", "--window", w, "300", "300", "click", "5"}), 0);
  settle();
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"click", "5"}), 0);
  settle();
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"click", "5"}), 0); // already on the last page
  settle();
  key("ctrl+q");
  EXPECT_EQ(folio->wait(10000).exitCode, 0);
  folio.reset();
  std::string text = readFile(stats);
  EXPECT_NE(text.find("page change   n=3 "), std::string::npos) << text;
}

TEST_F(GuiViewer, GoToPageAsksForANumber)
{
  std::string pdf = makePdf("five.pdf", {"--pages", "5", "--rect", "100,100,300,300"});
  std::string stats = dir + "/stats.txt";
  startFolio(pdf, {"FOLIO_REDRAW_STATS=" + stats});
  key("ctrl+g");
  ASSERT_NE(window("Go To Page"), 0u);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"type", "4"}), 0);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"key", "Return"}), 0);
  settle();
  key("ctrl+g");
  ASSERT_NE(window("Go To Page"), 0u);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"type", "9"}), 0); // no such page: nothing happens
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"key", "Return"}), 0);
  settle();
  key("ctrl+q");
  EXPECT_EQ(folio->wait(10000).exitCode, 0);
  folio.reset();
  std::string text = readFile(stats);
  // The first page, then page 4.
  EXPECT_NE(text.find("page change   n=2 "), std::string::npos) << text;
}

TEST_F(GuiViewer, OpenASecondDocumentAndSwitchBackFromTheWindowMenu)
{
  std::string letter = makePdf("letter.pdf", {"--rect", "100,100,300,300"});
  makePdf("a5.pdf", {"--media", "0,0,420,595", "--rect", "50,50,200,200"});
  startFolio(letter);
  selectCropToolAndMeasure();
  key("ctrl+o");
  ASSERT_NE(window("Open"), 0u);
  // The file name field starts with the current folder: add the rest.
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"type", dir + "/a5.pdf"}), 0);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"key", "Return"}), 0);
  settle(500);
  int l, t, r, b;
  ASSERT_TRUE(
      redOutline(shotUntil([&](const guitest::Snapshot &x) { return redWidth(x) == 420; }), l, t, r, b))
      << "the outline is global: the new document has it too";
  EXPECT_EQ(r - l, 420);
  EXPECT_EQ(b - t, 595);
  chooseMenu({"Window", "Window:1"});
  ASSERT_TRUE(
      redOutline(shotUntil([&](const guitest::Snapshot &x) { return redWidth(x) == 612; }), l, t, r, b));
  EXPECT_EQ(r - l, 612);
  EXPECT_EQ(b - t, 792);
}

TEST_F(GuiViewer, SaveAsWritesTheCropToANewFile)
{
  std::string pdf = openTwoPages();
  drawRegionAndClickInside();
  press("All");
  std::string out;
  ASSERT_NO_FATAL_FAILURE(saveAs("saved-as.pdf", out));
  std::vector<Box> saved = boxesUntil(out, [](const std::vector<Box> &b) { return b.size() == 2; });
  ASSERT_EQ(saved.size(), 2u);
  for (const Box &box : saved) {
    EXPECT_NEAR(box[0], 100, 1.0);
    EXPECT_NEAR(box[1], 300, 1.0);
    EXPECT_NEAR(box[2], 400, 1.0);
    EXPECT_NEAR(box[3], 700, 1.0);
  }
  std::vector<Box> original = cropBoxes(pdf);
  ASSERT_EQ(original.size(), 2u);
  for (const Box &box : original)
    EXPECT_EQ(box, (Box{0, 0, 612, 792})) << "the original was changed";
}

TEST_F(GuiViewer, CropToolButtonIsDisabledWithoutADocument)
{
  makePdf("letter.pdf", {"--rect", "100,100,300,300"});
  startFolio("");
  // Disabled: the press does nothing, so the media-box display stays off
  // (had the tool been chosen, the outline would show on the next document).
  press("QUIL:PageShear");
  key("ctrl+o");
  ASSERT_NE(window("Open"), 0u);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"type", dir + "/letter.pdf"}), 0);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"key", "Return"}), 0);
  // Wait for the page itself (white paper at its middle).
  guitest::Snapshot s = shotUntil([](const guitest::Snapshot &x) {
    return x.at(x.width() / 2, 200) == guitest::Rgb{255, 255, 255};
  });
  ASSERT_EQ(s.at(s.width() / 2, 200), (guitest::Rgb{255, 255, 255})) << "the document did not open";
  EXPECT_FALSE(hasRed(s));
  // With a document that may be edited the button works.
  press("QUIL:PageShear");
  EXPECT_TRUE(hasRed(shotUntil([&](const guitest::Snapshot &x) { return hasRed(x); })));
}

// The name of the window `w` ("" when it has none).
std::string windowName(Display *dpy, unsigned long w)
{
  char *name = nullptr;
  std::string out;
  if (XFetchName(dpy, w, &name) && name) {
    out = name;
    XFree(name);
  }
  return out;
}

// The text of the viewer's status line: its window is named "status: TEXT".
std::string statusText(Display *dpy, const std::string &display)
{
  std::string out =
      guitest::capture({"xdotool", "search", "--onlyvisible", "--name", "^status: "}, display, 5000);
  unsigned long id = std::strtoul(out.c_str(), nullptr, 10);
  std::string name = id ? windowName(dpy, id) : "";
  return name.rfind("status: ", 0) == 0 ? name.substr(8) : "";
}

TEST_F(GuiViewer, SaveAsRetitlesTheWindowAndLaterSavesGoToTheNewFile)
{
  std::string pdf = openTwoPages();
  ASSERT_NE(window("two.pdf - Folio"), 0u);
  // The Window menu's one item is as wide as its label, the file's name.
  auto itemWidth = [&] {
    chooseMenu({"Window"});
    XWindowAttributes a{};
    if (unsigned long item = window("Window:1"))
      XGetWindowAttributes(dpy, item, &a);
    key("Escape");
    return a.width;
  };
  int before = itemWidth();
  std::string out;
  ASSERT_NO_FATAL_FAILURE(saveAs("renamed.pdf", out));
  EXPECT_NE(window("renamed.pdf - Folio"), 0u) << "the title still names the old file";
  // The Window menu lists the document once, under its new, longer name.
  int after = itemWidth();
  std::printf("Window menu item %d pixels wide before Save As, %d after\n", before, after);
  EXPECT_GT(after, before + 10) << "the Window menu still names the old file";
  // A crop, then Ctrl+S: written to the new file, the old one untouched.
  drawRegionAndClickInside();
  press("All");
  EXPECT_NE(window("renamed.pdf * - Folio"), 0u);
  key("ctrl+s");
  EXPECT_NE(window("renamed.pdf - Folio"), 0u);
  std::vector<Box> saved = boxesUntil(out, [](const std::vector<Box> &b) {
    return b.size() == 2 && b[0] != Box{0, 0, 612, 792};
  });
  ASSERT_EQ(saved.size(), 2u);
  for (const Box &box : saved) {
    EXPECT_NEAR(box[0], 100, 1.0);
    EXPECT_NEAR(box[3], 700, 1.0);
  }
  for (const Box &box : cropBoxes(pdf))
    EXPECT_EQ(box, (Box{0, 0, 612, 792})) << "the first file was written";
}

// Pixels of a button that are neither its background nor its shadows: the
// icon's dark ink.
int inkPixels(const guitest::Snapshot &s)
{
  int n = 0;
  for (int y = 4; y < s.height() - 4; y++)
    for (int x = 4; x < s.width() - 4; x++) {
      guitest::Rgb p = s.at(x, y);
      if (p.r + p.g + p.b < 3 * 0x50)
        n++;
    }
  return n;
}

TEST_F(GuiViewer, ADisabledToolButtonKeepsItsSizeAndShowsItsIconGreyed)
{
  makePdf("letter.pdf", {"--rect", "100,100,300,300"});
  startFolio("");
  unsigned long crop = window("QUIL:PageShear"), hand = window("Hand");
  ASSERT_TRUE(crop && hand);
  XWindowAttributes off, handAttrs;
  XGetWindowAttributes(dpy, crop, &off);
  XGetWindowAttributes(dpy, hand, &handAttrs);
  int greyInk = inkPixels(guitest::Snapshot(dpy, crop));
  key("ctrl+o");
  ASSERT_NE(window("Open"), 0u);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"type", dir + "/letter.pdf"}), 0);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"key", "Return"}), 0);
  settle(800);
  XWindowAttributes on;
  XGetWindowAttributes(dpy, crop, &on);
  int ink = inkPixels(guitest::Snapshot(dpy, crop));
  std::printf("crop button %dx%d disabled, %dx%d enabled; icon ink %d disabled, %d enabled\n", off.width,
              off.height, on.width, on.height, greyInk, ink);
  EXPECT_EQ(off.width, on.width) << "the disabled button is drawn narrower";
  EXPECT_EQ(off.height, on.height);
  EXPECT_GE(off.width, 20);
  // Greyed: about half of the icon's ink, stippled away.
  EXPECT_GT(ink, 20);
  EXPECT_GT(greyInk, ink / 4);
  EXPECT_LT(greyInk, ink * 3 / 4);
}

TEST_F(GuiViewer, TheReadOnlyEditionsEmptyExtensionsMenuSaysSo)
{
  std::string pdf = makePdf("letter.pdf", {"--rect", "100,100,300,300"});
  // The plug-in notes at start that it needs the editing edition; the
  // viewer comes up once the note is answered.
  folio = guitest::start(
      {GUI_FOLIO, pdf}, xvfb.display(),
      {"FOLIO_EDITION=read-only", "XDG_CONFIG_HOME=" + std::filesystem::absolute(dir + "/config").string()},
      dir + "/folio.log");
  ASSERT_TRUE(folio->started());
  if (guitest::findWindow(xvfb.display(), "OK", 20000))
    press("OK");
  pageView = window("page view", 20000);
  ASSERT_NE(pageView, 0u);
  settle();
  chooseMenu({"Extensions"});
  unsigned long entry = window("(no extensions)");
  ASSERT_NE(entry, 0u);
  XWindowAttributes a;
  XGetWindowAttributes(dpy, entry, &a);
  EXPECT_GT(a.width, 40) << "the entry is not a readable line";
  key("Escape");
}

TEST_F(GuiViewer, TheProgressWindowNamesThePageAndItsBarMatchesIt)
{
  const int pages = 4000;
  std::string pdf =
      makePdf("long.pdf", {"--pages", std::to_string(pages), "--rect", "100,100,200,200", "--ellipse",
                           "300,400,50,80", "--text", "72,720,20,HELL THEFT FILE"});
  startFolio(pdf);
  chooseMenu({"Extensions", "QUIL:Page Shear", "QUIL:PageShearBBox"});
  press("All");
  press("Each");
  unsigned long bar = window("progress bar", 20000);
  ASSERT_NE(bar, 0u);
  std::string out =
      guitest::capture({"xdotool", "search", "--sync", "--onlyvisible", "--name", "^Page [0-9]+ of 4000$"},
                       xvfb.display(), 20000);
  unsigned long label = std::strtoul(out.c_str(), nullptr, 10);
  ASSERT_NE(label, 0u) << "no \"Page n of N\" beside the bar";
  const guitest::Rgb fill{0x2a, 0x5d, 0xb0};
  // The window goes when the run ends, maybe between two reads.
  XSetErrorHandler([](Display *, XErrorEvent *) { return 0; });
  int checks = 0;
  for (int i = 0; i < 5; i++) {
    int before = 0, after = 0;
    if (std::sscanf(windowName(dpy, label).c_str(), "Page %d of", &before) != 1)
      break;
    guitest::Snapshot s(dpy, bar);
    if (std::sscanf(windowName(dpy, label).c_str(), "Page %d of", &after) != 1 || !s.ok())
      break;
    int inner = s.width() - 2;
    int filled = s.count(1, s.height() / 2, inner, 1, fill);
    std::printf("page %d..%d of %d: bar %d of %d pixels\n", before, after, pages, filled, inner);
    // The bar is filled to the share of the page the label names (a page
    // may go by between the reads).
    EXPECT_GE(filled, static_cast<int>(static_cast<double>(before) / pages * inner) - 2);
    EXPECT_LE(filled, static_cast<int>(static_cast<double>(after) / pages * inner) + 2);
    checks++;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  EXPECT_GT(checks, 0) << "the run ended before the bar could be read";
  // Stop the run if it is still going.
  if (guitest::findWindow(xvfb.display(), "Cancel", 500)) {
    press("Cancel");
    if (guitest::findWindow(xvfb.display(), "OK", 3000))
      press("OK"); // "Cancelled."
  }
}

// Closes a top-level window as a window manager would: WM_DELETE_WINDOW.
void closeWindow(Display *dpy, unsigned long w)
{
  XEvent e{};
  e.xclient.type = ClientMessage;
  e.xclient.window = w;
  e.xclient.message_type = XInternAtom(dpy, "WM_PROTOCOLS", False);
  e.xclient.format = 32;
  e.xclient.data.l[0] = static_cast<long>(XInternAtom(dpy, "WM_DELETE_WINDOW", False));
  e.xclient.data.l[1] = CurrentTime;
  XSendEvent(dpy, w, False, NoEventMask, &e);
  XFlush(dpy);
}

TEST_F(GuiViewer, ClosingTheEachOrBiggestQuestionLeavesNoProgressWindowBehind)
{
  std::string pdf = makePdf("three.pdf", {"--pages", "3", "--rect", "100,100,300,300"});
  startFolio(pdf);
  chooseMenu({"Extensions", "QUIL:Page Shear", "QUIL:PageShearBBox"});
  press("All");
  ASSERT_NE(window("Each"), 0u);
  // Closed without a button: the command began a progress operation and
  // leaves without ending it.
  closeWindow(dpy, window("Folio"));
  settle(500);
  EXPECT_EQ(guitest::findWindow(xvfb.display(), "Progress", 1500), 0u) << "the progress window stayed up";
  // The viewer still takes input: Ctrl+Q quits.
  key("ctrl+q");
  EXPECT_EQ(folio->wait(10000).exitCode, 0);
  folio.reset();
}

TEST_F(GuiViewer, TheStatusLineShowsTheRegionWhileItIsDrawnInTheChosenUnit)
{
  std::string pdf = makePdf("letter.pdf", {"--rect", "100,100,300,300"});
  std::string config = std::filesystem::absolute(dir + "/config").string();
  std::remove((config + "/folio/folio.conf").c_str()); // left by an earlier run
  startFolio(pdf, {"XDG_CONFIG_HOME=" + config});
  EXPECT_EQ(statusText(dpy, xvfb.display()).find("Page 1 of 1"), 0u) << statusText(dpy, xvfb.display());
  selectCropToolAndMeasure();
  // Hold the button down mid-drag and read the status line.
  auto [x0, y0] = device(100, 700);
  auto [x1, y1] = device(400, 300);
  std::string w = std::to_string(pageView);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"mousemove", "--window", w, std::to_string(x0), std::to_string(y0),
                                          "mousedown", "1", "sleep", "0.1", "mousemove", "--window", w,
                                          std::to_string(x1), std::to_string(y1)}),
            0);
  std::string want = "Region: left 100  bottom 300  width 300  height 400 pt";
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(8);
  std::string text = statusText(dpy, xvfb.display());
  while (text != want && std::chrono::steady_clock::now() < deadline) {
    settle(100);
    text = statusText(dpy, xvfb.display());
  }
  EXPECT_EQ(text, want);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"mouseup", "1"}), 0);
  settle();
  // Millimetres from View > Units; resizing the region shows them.
  chooseMenu({"View", "Units", "Units:millimetres"});
  auto [x2, y2] = device(450, 250);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"mousemove", "--window", w, std::to_string(x1), std::to_string(y1),
                                          "mousedown", "1", "sleep", "0.1", "mousemove", "--window", w,
                                          std::to_string(x2), std::to_string(y2)}),
            0);
  // 100 pt = 35.28 mm, 250 pt = 88.19 mm, width 350 pt = 123.47 mm, height 450 pt = 158.75 mm.
  want = "Region: left 35.28  bottom 88.19  width 123.47  height 158.75 mm";
  deadline = std::chrono::steady_clock::now() + std::chrono::seconds(8);
  text = statusText(dpy, xvfb.display());
  while (text != want && std::chrono::steady_clock::now() < deadline) {
    settle(100);
    text = statusText(dpy, xvfb.display());
  }
  EXPECT_EQ(text, want);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"mouseup", "1"}), 0);
  settle();
  // Applied, the status line shows the page's new crop box in the same unit.
  auto inside = device(250, 500);
  clickAt(inside.first, inside.second);
  press("Current"); // "Crop this page?"
  text = statusText(dpy, xvfb.display());
  EXPECT_NE(text.find("Crop box: left 35.28  bottom 88.19  width 123.47  height 158.75 mm"),
            std::string::npos)
      << text;
  // The unit is remembered in the config file and used at the next start.
  EXPECT_NE(readFile(config + "/folio/folio.conf").find("units = millimetres"), std::string::npos);
  key("ctrl+q");
  press("Don't Save");
  EXPECT_EQ(folio->wait(10000).exitCode, 0);
  startFolio(pdf, {"XDG_CONFIG_HOME=" + config});
  text = statusText(dpy, xvfb.display());
  EXPECT_NE(text.find("Crop box: left 0  bottom 0  width 215.9  height 279.4 mm"), std::string::npos) << text;
}

// The device rectangle of the white paper along the middle row and column
// of the page view: the page's shown area.
bool paperBounds(const guitest::Snapshot &s, int &l, int &t, int &r, int &b)
{
  const guitest::Rgb white{255, 255, 255};
  l = t = 1 << 30;
  r = b = -1;
  for (int x = 0; x < s.width(); x++)
    if (s.at(x, s.height() / 2) == white) {
      l = std::min(l, x);
      r = std::max(r, x);
    }
  for (int y = 0; y < s.height(); y++)
    if (s.at(s.width() / 2, y) == white) {
      t = std::min(t, y);
      b = std::max(b, y);
    }
  return r >= 0 && b >= 0;
}

TEST_F(GuiViewer, ShowCroppedPagesShowsOnlyTheCropBoxAndARegionDrawnThereLandsRight)
{
  std::string pdf = makePdf("cropped.pdf", {"--crop", "100,100,400,500", "--rect", "300,150,350,200"});
  std::string config = std::filesystem::absolute(dir + "/config").string();
  std::remove((config + "/folio/folio.conf").c_str()); // left by an earlier run
  startFolio(pdf, {"XDG_CONFIG_HOME=" + config});
  int l, t, r, b;
  // Off: the media box with the outside of the crop box dimmed (waiting for
  // the first page to be drawn: on a loaded machine it may take a while).
  ASSERT_TRUE(paperBounds(shotUntil([&](const guitest::Snapshot &x) {
                            int l2, t2, r2, b2;
                            return paperBounds(x, l2, t2, r2, b2);
                          }),
                          l, t, r, b));
  EXPECT_EQ(r - l + 1, 300);
  chooseMenu({"View", "ShowCroppedPages"});
  guitest::Snapshot s = shotUntil([&](const guitest::Snapshot &x) {
    int l2, t2, r2, b2;
    return paperBounds(x, l2, t2, r2, b2) && x.at(l2 - 1, x.height() / 2) == guitest::Rgb{0x80, 0x80, 0x80};
  });
  ASSERT_TRUE(paperBounds(s, l, t, r, b));
  EXPECT_EQ(r - l + 1, 300);
  EXPECT_EQ(b - t + 1, 400);
  // Only the crop box is shown: the background right around it.
  EXPECT_EQ(s.at(l - 1, (t + b) / 2), (guitest::Rgb{0x80, 0x80, 0x80}));
  EXPECT_EQ(s.at(r + 1, (t + b) / 2), (guitest::Rgb{0x80, 0x80, 0x80}));
  EXPECT_EQ(s.at((l + r) / 2, b + 1), (guitest::Rgb{0x80, 0x80, 0x80}));
  // The black mark at page (300..350, 150..200) is where the crop box puts it.
  testsupport::PageTransform cropped{100, 100, 400, 500};
  cropped.originX = l;
  cropped.originY = t;
  auto [markX, markY] = cropped.pixel(325, 175);
  EXPECT_EQ(s.at(markX, markY), (guitest::Rgb{0, 0, 0}));
  EXPECT_NE(readFile(config + "/folio/folio.conf").find("show-cropped-pages = yes"), std::string::npos);
  // A region drawn in this view: page (150, 450) to (350, 200), the crop
  // box's top-left being page (100, 500).
  key("ctrl+9");
  drag({cropped.pixel(150, 450), cropped.pixel(250, 300), cropped.pixel(350, 200)});
  auto [insideX, insideY] = cropped.pixel(250, 350);
  clickAt(insideX, insideY);
  press("Current"); // "Crop this page?"
  key("ctrl+s");
  std::vector<Box> boxes = boxesUntil(pdf, [](const std::vector<Box> &x) {
    return x.size() == 1 && x[0] != Box{100, 100, 400, 500};
  });
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_NEAR(boxes[0][0], 150, 1.0);
  EXPECT_NEAR(boxes[0][1], 200, 1.0);
  EXPECT_NEAR(boxes[0][2], 350, 1.0);
  EXPECT_NEAR(boxes[0][3], 450, 1.0);
  // The view now lays out the new crop box, and Fit Width fits it.
  s = shotUntil([&](const guitest::Snapshot &x) {
    int l2, t2, r2, b2;
    return paperBounds(x, l2, t2, r2, b2) && r2 - l2 + 1 == 200;
  });
  ASSERT_TRUE(paperBounds(s, l, t, r, b));
  EXPECT_EQ(r - l + 1, 200);
  EXPECT_EQ(b - t + 1, 250);
  key("ctrl+2");
  s = shotUntil([&](const guitest::Snapshot &x) {
    int l2, t2, r2, b2;
    return paperBounds(x, l2, t2, r2, b2) && r2 - l2 + 1 > 300;
  });
  ASSERT_TRUE(paperBounds(s, l, t, r, b));
  XWindowAttributes a;
  XGetWindowAttributes(dpy, pageView, &a);
  EXPECT_NEAR(r - l + 1, a.width - 16, 2);
  // The choice is remembered: the next start shows the cropped page.
  key("ctrl+q");
  ASSERT_EQ(folio->wait(10000).exitCode, 0);
  folio.reset();
  startFolio(pdf, {"XDG_CONFIG_HOME=" + config});
  s = shotUntil([&](const guitest::Snapshot &x) {
    int l2, t2, r2, b2;
    return paperBounds(x, l2, t2, r2, b2) && r2 - l2 + 1 == 200;
  });
  ASSERT_TRUE(paperBounds(s, l, t, r, b));
  EXPECT_EQ(r - l + 1, 200);
  EXPECT_EQ(b - t + 1, 250);
}

// A pressed button has its shadows swapped: dark along the top-left edge,
// light along the bottom-right one.
bool looksPressed(Display *dpy, unsigned long button)
{
  guitest::Snapshot s(dpy, button);
  auto light = [](guitest::Rgb p) { return p.r + p.g + p.b; };
  return light(s.at(1, 1)) < light(s.at(s.width() - 2, s.height() - 2));
}

TEST_F(GuiViewer, ToolBarButtonLooksPressedWhileItsToolIsActive)
{
  std::string pdf = makePdf("letter.pdf", {"--rect", "100,100,300,300"});
  startFolio(pdf);
  unsigned long crop = window("QUIL:PageShear"), hand = window("Hand");
  ASSERT_TRUE(crop && hand);
  EXPECT_TRUE(looksPressed(dpy, hand)) << "the hand tool is the default tool";
  EXPECT_FALSE(looksPressed(dpy, crop));
  key("ctrl+9");
  shotUntil([&](const guitest::Snapshot &x) { return hasRed(x); });
  settle();
  EXPECT_TRUE(looksPressed(dpy, crop));
  EXPECT_FALSE(looksPressed(dpy, hand));
  press("Hand");
  settle();
  EXPECT_FALSE(looksPressed(dpy, crop));
  EXPECT_TRUE(looksPressed(dpy, hand));
}

} // namespace

TEST_F(GuiViewer, APasswordIsAskedForWithRetriesAndTheDocumentOpens)
{
  std::string pdf = makePdf("locked.pdf", {"--rect", "100,100,300,300", "--encrypt-modify", "secret,owner"});
  startFolio(pdf);
  // The first answer is wrong: the dialog comes back for another attempt.
  unsigned long dialog = window("Password");
  ASSERT_NE(dialog, 0u);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"type", "--delay", "20", "nope"}), 0);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"key", "Return"}), 0);
  // The answered dialog goes and a new one comes (a different window).
  unsigned long again = dialog;
  for (int i = 0; i < 100 && (again == dialog || again == 0); ++i) {
    settle(100);
    again = guitest::findWindow(xvfb.display(), "Password", 100);
  }
  ASSERT_NE(again, 0u);
  ASSERT_NE(again, dialog);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"type", "--delay", "20", "secret"}), 0);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"key", "Return"}), 0);
  settle();
  // The document is open and may be cropped: the crop tool shows its outline.
  selectCropToolAndMeasure();
  key("ctrl+q");
  EXPECT_EQ(folio->wait(10000).exitCode, 0);
  folio.reset();
}

TEST_F(GuiViewer, CancellingThePasswordDialogOpensNothing)
{
  std::string pdf = makePdf("locked.pdf", {"--encrypt-modify", "secret,owner"});
  startFolio(pdf);
  ASSERT_NE(window("Password"), 0u);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"key", "Escape"}), 0); // the dialog's Cancel
  settle();
  // The viewer says why nothing opened, and goes on running.
  unsigned long ok = window("OK");
  ASSERT_NE(ok, 0u);
  press("OK");
  EXPECT_TRUE(folio->running());
  key("ctrl+q");
  EXPECT_EQ(folio->wait(10000).exitCode, 0);
  folio.reset();
}

TEST_F(GuiViewer, APageThatCannotBeReadGivesOneAlertAndTheViewerGoesOn)
{
  // Page 1 is a page; the tree's second kid is a node whose only kid is
  // itself, and the root claims three pages.
  const char *const objects[] = {"<< /Type /Catalog /Pages 2 0 R >>",
                                 "<< /Type /Pages /Kids [3 0 R 4 0 R] /Count 3 >>",
                                 "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] >>",
                                 "<< /Type /Pages /Parent 2 0 R /Kids [4 0 R] /Count 2 >>"};
  std::string pdf = "%PDF-1.7\n";
  std::vector<size_t> offsets;
  for (size_t i = 0; i < 4; ++i) {
    offsets.push_back(pdf.size());
    pdf += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
  }
  const size_t xref = pdf.size();
  pdf += "xref\n0 5\n0000000000 65535 f \n";
  for (size_t o : offsets) {
    char line[32];
    std::snprintf(line, sizeof line, "%010zu 00000 n \n", o);
    pdf += line;
  }
  pdf += "trailer\n<< /Size 5 /Root 1 0 R >>\nstartxref\n" + std::to_string(xref) + "\n%%EOF\n";
  const std::string path = dir + "/cycle.pdf";
  std::ofstream(path, std::ios::binary) << pdf;
  startFolio(path);
  key("Next"); // page 2 cannot be found
  // One alert says why; once it is answered no other follows.
  unsigned long alert = window("OK");
  ASSERT_NE(alert, 0u);
  press("OK");
  // Wait for that alert to go (however loaded the machine), then look for another.
  for (int i = 0; i < 100 && guitest::findWindow(xvfb.display(), "OK", 100) == alert; ++i)
    settle(100);
  EXPECT_EQ(guitest::findWindow(xvfb.display(), "OK", 1500), 0u) << "the alert came back";
  ASSERT_TRUE(folio->running()) << "the viewer ended";
  key("ctrl+q");
  EXPECT_EQ(folio->wait(10000).exitCode, 0);
  folio.reset();
}

// The label a menu item shows, as its window's icon name says it.
static std::string shownLabel(Display *dpy, unsigned long window)
{
  char *name = nullptr;
  std::string label;
  if (XGetIconName(dpy, window, &name) && name) {
    label = name;
    XFree(name);
  }
  return label;
}

TEST_F(GuiViewer, UndoAndRedoACropWithTheKeysAndTheEditMenu)
{
  std::string pdf = openTwoPages();
  drawRegionAndClickInside();
  press("Current");
  auto out = device(40, 100);
  const guitest::Rgb dimmed{0xaf, 0xaf, 0xaf}, white{255, 255, 255};
  EXPECT_EQ(shotUntil(pixelIs(out, dimmed)).at(out.first, out.second), dimmed) << "not cropped";
  const Box media{0, 0, 612, 792};
  key("ctrl+s");
  std::vector<Box> boxes =
      boxesUntil(pdf, [&](const std::vector<Box> &b) { return b.size() == 2 && b[0] != media; });
  ASSERT_EQ(boxes.size(), 2u);
  ASSERT_NE(boxes[0], media) << "the crop was not saved";

  // The Edit menu names what Undo takes back; Redo has nothing yet.
  press("Edit");
  EXPECT_EQ(shownLabel(dpy, window("Undo")), "Undo Crop Region");
  EXPECT_EQ(shownLabel(dpy, window("Redo")), "Redo");
  key("Escape");

  // Undo after the save works on the document in memory, which changes
  // again: Ctrl+S writes the boxes as they were.
  key("ctrl+z");
  EXPECT_EQ(shotUntil(pixelIs(out, white)).at(out.first, out.second), white) << "Ctrl+Z left the crop";
  key("ctrl+s");
  boxes = boxesUntil(pdf, [&](const std::vector<Box> &b) { return b.size() == 2 && b[0] == media; });
  ASSERT_EQ(boxes.size(), 2u);
  for (const Box &box : boxes)
    EXPECT_EQ(box, media);

  press("Edit");
  EXPECT_EQ(shownLabel(dpy, window("Undo")), "Undo");
  EXPECT_EQ(shownLabel(dpy, window("Redo")), "Redo Crop Region");
  key("Escape");

  key("ctrl+shift+z");
  EXPECT_EQ(shotUntil(pixelIs(out, dimmed)).at(out.first, out.second), dimmed) << "Ctrl+Shift+Z did not redo";
  key("ctrl+z");
  EXPECT_EQ(shotUntil(pixelIs(out, white)).at(out.first, out.second), white);
  key("ctrl+y");
  EXPECT_EQ(shotUntil(pixelIs(out, dimmed)).at(out.first, out.second), dimmed) << "Ctrl+Y did not redo";
  key("ctrl+s");
  boxes = boxesUntil(pdf, [](const std::vector<Box> &b) {
    return b.size() == 2 && b[0] != Box{0, 0, 612, 792};
  });
  ASSERT_EQ(boxes.size(), 2u);
  EXPECT_NEAR(boxes[0][0], 100, 1.0);
  EXPECT_NEAR(boxes[0][3], 700, 1.0);
  EXPECT_EQ(boxes[1], media);
}

TEST_F(GuiViewer, PreferencesSetTheBoundingBoxMarginAndKeepItInTheConfigFile)
{
  std::string pdf = makePdf("one.pdf", {"--pages", "1", "--rect", "100,100,300,300"});
  startFolio(pdf, {"XDG_CONFIG_HOME=" + std::filesystem::absolute(dir).string()});
  chooseMenu({"View", "Preferences"});
  ASSERT_NE(window("Preferences"), 0u);
  // The field holds the margin now in use (0): replace it.
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"key", "End", "BackSpace", "BackSpace", "BackSpace", "type", "10"}),
            0);
  ASSERT_EQ(guitest::xdo(xvfb.display(), {"key", "Return"}), 0);
  settle();
  EXPECT_NE(readFile(dir + "/folio/folio.conf").find("bbox-margin = 10\n"), std::string::npos);

  chooseMenu({"Extensions", "QUIL:Page Shear", "QUIL:PageShearBBox"});
  key("ctrl+s");
  const Box media{0, 0, 612, 792};
  std::vector<Box> boxes =
      boxesUntil(pdf, [&](const std::vector<Box> &b) { return b.size() == 1 && b[0] != media; });
  ASSERT_EQ(boxes.size(), 1u);
  EXPECT_NEAR(boxes[0][0], 90, 0.25);
  EXPECT_NEAR(boxes[0][1], 90, 0.25);
  EXPECT_NEAR(boxes[0][2], 310, 0.25);
  EXPECT_NEAR(boxes[0][3], 310, 0.25);
}
