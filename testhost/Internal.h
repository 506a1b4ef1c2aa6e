// Internal.h: what the table files of the test host share (not for tests).
#pragma once

#include <csetjmp>
#include <initializer_list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#define FOLIO_HOST_SIDE
#include "TestHost.h"
#include "core/Callback.h"
#include "folio/CoreHFT.h"
#include "folio/FolioSupportHFT.h"
#include "folio/FolioViewHFT.h"
#include "folio/ObjHFT.h"
#include "folio/PDModelHFT.h"
#include "folio/UnixHFT.h"

namespace testhost {

struct TestHost::Impl {
  HostObject ext{"ext0"};
  HostObject menubar{"menubar"};
  HostObject toolbar{"toolbar"};
  HostObject fileSys{"filesys"};
  HostObject progressData{"pmdata"};
  HostObject cancelData{"canceldata"};
  HostObject standardCursors[16];
  HostObject tableObjects[kTableCount];

  std::vector<HFTEntry> tables[kTableCount];
  std::set<FSUns32> versions[kTableCount];

  std::vector<std::string> atomStrings{""}; // index 0: no atom
  std::map<std::string, FSAtom> atoms;

  std::vector<std::unique_ptr<_t_FSCallback>> callbackStore;
  std::map<FSProc, int> procs;

  std::map<const void *, std::string> names;
  std::set<std::string> usedNames;

  std::map<std::string, void *> config;

  struct Frame {
    void *environ;
    restoreEnvironProc restore;
  };
  std::vector<Frame> frames;
  FSInt32 lastError = 0;
};

// The TestHost alive now; the table entries abort when there is none.
TestHost &H();

// Records a call of the plug-in; answers its index in the log.
size_t rec(const std::string &op, std::initializer_list<std::string> args = {});
// Sets the result text of a recorded call.
void res(size_t index, const std::string &result);
// Text forms that need the host's names.
std::string N(const void *handle);
std::string I(long long v);
std::string cbName(FSCallback cb);

// Fill one group of tables (entry arrays already sized, all recording no-ops).
void fillCoreTable(TestHost &h);
void fillSupportTable(TestHost &h);
void fillUnixTable(TestHost &h);
void fillModelTable(TestHost &h);
void fillViewTable(TestHost &h);
// Makes every entry of every table a recording no-op "Table#N".
void fillUnknownEntries(TestHost &h);

// Progress monitor and cancel test procedures of the host.
void installProgressMonitor(TestHost &h);
FSBool hostCancelProc(void *clientData);

} // namespace testhost
