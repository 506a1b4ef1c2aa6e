// RelSupport.cpp: folio runs, process memory, X-Resource counts.
#include "RelSupport.h"

#include <X11/Xlib.h>
#include <X11/extensions/XRes.h>

#include <fstream>

namespace rel {

Child::Child(const std::string &program, const std::vector<std::string> &args, const std::string &configHome,
             const RunOptions &options)
    : testsupport::ChildProcess(
          [&] {
            std::vector<std::string> argv = options.wrap;
            argv.push_back(program);
            argv.insert(argv.end(), args.begin(), args.end());
            return argv;
          }(),
          [&] {
            testsupport::RunOptions o = testsupport::folioRunOptions(configHome, options.display);
            o.input = options.input;
            o.env.insert(o.env.end(), options.env.begin(), options.env.end());
            o.cwd = options.cwd;
            return o;
          }())
{
}

RunResult runProgram(const std::string &program, const std::vector<std::string> &args,
                     const std::string &configHome, const RunOptions &options)
{
  Child c(program, args, configHome, options);
  return c.wait();
}

RunResult runBatchSampling(const std::string &program, const std::string &configHome,
                           const std::string &display, const std::string &script,
                           const std::function<bool(pid_t)> &sample)
{
  RunOptions o;
  o.display = display;
  o.input = script;
  Child c(program, {"--batch", "-"}, configHome, o);
  while (!c.finished() && sample(c.pid()))
    sleepSeconds(0.02);
  return c.wait();
}

long selfPeakRssKb()
{
  std::ifstream in("/proc/self/status");
  std::string line;
  while (std::getline(in, line))
    if (line.rfind("VmHWM:", 0) == 0)
      return std::stol(line.substr(6));
  return 0;
}

long rssKbOf(pid_t pid)
{
  std::ifstream in("/proc/" + std::to_string(pid) + "/status");
  std::string line;
  while (std::getline(in, line))
    if (line.rfind("VmRSS:", 0) == 0)
      return std::stol(line.substr(6));
  return 0;
}

namespace {
// A client that goes away between two requests makes the server answer with
// an error; the counts are then simply not available.
int ignoreXError(Display *, XErrorEvent *)
{
  return 0;
}
} // namespace

XResWatch::XResWatch(const std::string &display)
{
  XSetErrorHandler(ignoreXError);
  Display *d = XOpenDisplay(display.c_str());
  if (!d)
    return;
  int event, error, major = 0, minor = 0;
  if (!XResQueryExtension(d, &event, &error) || !XResQueryVersion(d, &major, &minor) ||
      (major == 1 && minor < 2)) {
    XCloseDisplay(d);
    return;
  }
  display_ = d;
}

XResWatch::~XResWatch()
{
  if (display_)
    XCloseDisplay(static_cast<Display *>(display_));
}

bool XResWatch::countsOf(pid_t pid, ResourceCounts &counts)
{
  counts.clear();
  if (!display_)
    return false;
  Display *d = static_cast<Display *>(display_);
  XResClientIdSpec wanted{0, XRES_CLIENT_ID_PID_MASK};
  long numIds = 0;
  XResClientIdValue *ids = nullptr;
  if (XResQueryClientIds(d, 1, &wanted, &numIds, &ids) != Success)
    return false;
  XID base = 0;
  bool found = false;
  for (long i = 0; i < numIds; ++i) {
    if (XResGetClientIdType(&ids[i]) == XRES_CLIENT_ID_PID && XResGetClientPid(&ids[i]) == pid) {
      // The client's id is the first member of the value.
      base = reinterpret_cast<const XResClientIdSpec *>(&ids[i])->client;
      found = true;
      break;
    }
  }
  XResClientIdsDestroy(numIds, ids);
  if (!found)
    return false;
  int numTypes = 0;
  XResType *types = nullptr;
  if (!XResQueryClientResources(d, base, &numTypes, &types))
    return false;
  for (int i = 0; i < numTypes; ++i) {
    char *name = XGetAtomName(d, types[i].resource_type);
    counts[name ? name : "?"] = static_cast<int>(types[i].count);
    if (name)
      XFree(name);
  }
  if (types)
    XFree(types);
  return true;
}

int XResWatch::total(const ResourceCounts &counts)
{
  int t = 0;
  for (const auto &kv : counts)
    t += kv.second;
  return t;
}

} // namespace rel
