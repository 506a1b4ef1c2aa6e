// ViewTestSupport.h: what the view tests share: generated PDFs in a private
// temporary folder, recording ports, and host callbacks of test procedures.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "core/Callback.h"
#include "pdfgen.h"
#include "view/Application.h"

namespace viewtest {

// A page of a generated test document.
using Sheet = decltype(folio::pdfgen::mixedPage(0));

// A folder under the test temp dir, unique to this process and test.
inline std::string tempPath(const std::string &name)
{
  const ::testing::TestInfo *info = ::testing::UnitTest::GetInstance()->current_test_info();
  std::string dir = ::testing::TempDir() + "folio-view-" + std::to_string(getpid()) + "-" +
                    (info ? std::string(info->test_suite_name()) + "." + info->name() : std::string("x"));
  std::string cmd = "mkdir -p '" + dir + "'";
  if (std::system(cmd.c_str()) != 0)
    ADD_FAILURE() << "cannot make " << dir;
  return dir + "/" + name;
}

// Removes this process's temporary folders when the tests end.
struct TempCleanup : ::testing::Environment {
  void TearDown() override
  {
    std::string cmd = "rm -rf '" + ::testing::TempDir() + "folio-view-" + std::to_string(getpid()) + "-'*";
    if (std::system(cmd.c_str()) != 0)
      std::fprintf(stderr, "could not remove the test folders\n");
  }
};
inline const bool kTempCleanupRegistered = (::testing::AddGlobalTestEnvironment(new TempCleanup), true);

inline Sheet page(double x0, double y0, double x1, double y1, int rotate = 0)
{
  Sheet sheet;
  sheet.media = {x0, y0, x1, y1};
  sheet.rotate = rotate;
  sheet.writeRotate = rotate != 0;
  return sheet;
}

// Writes a PDF of `pages` and answers its path.
inline std::string makePdf(const std::string &name, const std::vector<Sheet> &pages)
{
  std::string path = tempPath(name);
  folio::pdfgen::writeDocument(path, pages);
  return path;
}

inline FSCallback callback(FSProc proc)
{
  return folio::callbackCreate(nullptr, proc);
}

template <class Fn> FSCallback callbackOf(Fn fn)
{
  return callback(reinterpret_cast<FSProc>(fn));
}

inline Fixed fx(double v)
{
  return static_cast<Fixed>(v * 65536.0 + (v < 0 ? -0.5 : 0.5));
}
inline double unfx(Fixed f)
{
  return f / 65536.0;
}

// Ports that record what they were asked and answer from queues.
struct RecordingPorts : folio::view::AlertPort,
                        folio::view::ProgressPort,
                        folio::view::CancelPort,
                        folio::view::DragPort,
                        folio::view::ModifierPort,
                        folio::view::CursorPort,
                        folio::view::PresentPort {
  std::vector<std::string> log;
  std::vector<int> answers; // for ask(), in order; 0 when exhausted
  bool confirmAnswer = true;
  bool cancelAnswer = false;
  FSInt32 modifierWord = 0;
  FVRect dragResult{0, 0, 0, 0};
  std::vector<FVRect> presented;

  int ask(const folio::view::Question &q) override
  {
    std::string line = "ask " + std::to_string(q.iconType) + " " + q.message;
    for (const auto &b : q.buttons)
      line += " [" + b + "]";
    log.push_back(line);
    if (answers.empty())
      return 0;
    int a = answers.front();
    answers.erase(answers.begin());
    return a;
  }
  void note(const std::string &m) override { log.push_back("note " + m); }
  bool confirm(const std::string &m) override
  {
    log.push_back("confirm " + m);
    return confirmAnswer;
  }
  void begin() override { log.push_back("begin"); }
  void end() override { log.push_back("end"); }
  void setDuration(FSInt32 d) override { log.push_back("duration " + std::to_string(d)); }
  void setValue(FSInt32 v) override { log.push_back("value " + std::to_string(v)); }
  bool cancelRequested() override
  {
    log.push_back("poll");
    return cancelAnswer;
  }
  FVRect dragOutNewRect(folio::view::PageView &, FSInt16 x, FSInt16 y) override
  {
    log.push_back("dragout " + std::to_string(x) + " " + std::to_string(y));
    return dragResult;
  }
  FVRect dragRect(folio::view::PageView &, FSInt16 x, FSInt16 y, const FVRect &, FSInt16 type,
                  const FVRect *) override
  {
    log.push_back("drag " + std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(type));
    return dragResult;
  }
  FSInt32 modifiers() override { return modifierWord; }
  void setCursor(FVCursor c) override
  {
    log.push_back("cursor " + std::to_string(reinterpret_cast<intptr_t>(c)));
  }
  FVCursor standardCursor(FSInt32 id) override
  {
    return reinterpret_cast<FVCursor>(static_cast<intptr_t>(100 + id));
  }
  void present(folio::view::PageView &, const FVRect &area) override { presented.push_back(area); }

  folio::view::Ports ports()
  {
    folio::view::Ports p;
    p.alerts = this;
    p.progress = this;
    p.cancel = this;
    p.drag = this;
    p.modifiers = this;
    p.cursors = this;
    p.present = this;
    return p;
  }
};

} // namespace viewtest
