// ToolTestSupport.h: the fixture of the crop tool suite: a test host with the
// real plug-in started up (or stopped before its initialisation), and small
// helpers over the call log.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "Log.h"
#include "PluginSymbols.h"
#include "TestHost.h"

namespace tooltest {

using testhost::dev;
using testhost::pts;

class ToolTest : public ::testing::Test {
protected:
  testhost::TestHost h;
  std::unique_ptr<PluginSymbols> syms;

  // Loads the plug-in and runs main, setup and the handshake, but not the
  // initialisation: a test changes the world first, then calls init().
  void prepare()
  {
    ASSERT_TRUE(h.load(PGSHEAR_SO)) << h.error();
    ASSERT_EQ(h.callMain(), 1);
    ASSERT_EQ(h.callSetup(), 1);
    ASSERT_EQ(h.callHandshake(), 1);
    syms = std::make_unique<PluginSymbols>(PGSHEAR_SO, h.symbol("main"));
    ASSERT_TRUE(syms->ok()) << syms->error();
  }

  // Runs the initialisation; answers its result. The log from the call on
  // is what initLog() gives.
  FSBool init()
  {
    initStart_ = h.log.size();
    return h.callInit();
  }

  // prepare() + init() on the default world.
  void startUp()
  {
    prepare();
    ASSERT_EQ(init(), 1);
  }

  // Calls logged from `from` on, as text without results.
  std::vector<std::string> textsFrom(size_t from) const
  {
    std::vector<std::string> all = h.log.texts();
    return std::vector<std::string>(all.begin() + static_cast<long>(std::min(from, all.size())), all.end());
  }
  std::vector<std::string> initLog() const { return textsFrom(initStart_); }

  // Clears the log (to look at the calls of one action only).
  void clearLog() { h.log.clear(); }

  // The plug-in's procedure wrapped by a callback ("null" for none).
  std::string procOf(FSCallback cb) const
  {
    return syms->nameAt(reinterpret_cast<const void *>(testhost::TestHost::callbackTarget(cb)));
  }
  // True when the callback wraps the named procedure of the plug-in.
  bool wraps(FSCallback cb, const std::string &proc) const
  {
    void *want = syms->address(proc);
    return want != nullptr && reinterpret_cast<void *>(testhost::TestHost::callbackTarget(cb)) == want;
  }

  // Shared state of the plug-in.
  FSBool &gCropRegion() const { return syms->global<FSBool>("gCropRegion"); }
  FixedRect &gfixRCropRegion() const { return syms->global<FixedRect>("gfixRCropRegion"); }
  FSInt16 &gOrigPageRot() const { return syms->global<FSInt16>("gOrigPageRot"); }
  FixedRect &gfixROrigMedBox() const { return syms->global<FixedRect>("gfixROrigMedBox"); }
  FSBool &gShowMediaBoxOn() const { return syms->global<FSBool>("gShowMediaBoxOn"); }
  FVMenuItem &ShowMediaBox() const { return syms->global<FVMenuItem>("ShowMediaBox"); }
  FVMenuItem &HideMediaBox() const { return syms->global<FVMenuItem>("HideMediaBox"); }
  FSCallback &pageViewDidChange() const { return syms->global<FSCallback>("pageViewDidChange"); }
  FSCallback &cropViewDidChange() const { return syms->global<FSCallback>("cropViewDidChange"); }
  FVToolRec &PageShearTool() const { return syms->global<FVToolRec>("PageShearTool"); }
  FVTool tool() const { return &PageShearTool(); }

  std::string dump() const { return "\n--- log ---\n" + h.log.dump(); }

private:
  size_t initStart_ = 0;
};

// Text form of a FixedRect, for comparisons with readable failures.
inline std::string R(const FixedRect &r)
{
  return testhost::fxRect(r);
}
inline std::string R(const FVRect &r)
{
  return testhost::fvRect(r);
}

} // namespace tooltest
