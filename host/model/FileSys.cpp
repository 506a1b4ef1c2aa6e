// FileSys.cpp: the local file system and path names.
#include "model/FileSys.h"

#include <memory>
#include <mutex>
#include <unordered_set>

namespace folio::model {

namespace {

// The path names created and not yet released (see PathName::live). Never
// destroyed: path names may outlive static destruction at exit.
struct LivePathNames {
  std::mutex mutex;
  std::unordered_set<const void *> addresses;
};

LivePathNames &livePathNames()
{
  static auto *live = new LivePathNames;
  return *live;
}

} // namespace

FileSys &FileSys::defaultFileSys()
{
  static FileSys local;
  return local;
}

FileSys *FileSys::live(const void *address)
{
  return address && address == &defaultFileSys() ? &defaultFileSys() : nullptr;
}

PathName *PathName::create(const std::string &path, FileSys &fs)
{
  std::unique_ptr<PathName> p(new PathName(path, fs));
  LivePathNames &l = livePathNames();
  std::lock_guard<std::mutex> lock(l.mutex);
  l.addresses.insert(p.get());
  return p.release();
}

void PathName::release(PathName *pathName)
{
  if (pathName) {
    LivePathNames &l = livePathNames();
    std::lock_guard<std::mutex> lock(l.mutex);
    l.addresses.erase(pathName);
  }
  delete pathName;
}

PathName *PathName::live(const void *address)
{
  if (!address)
    return nullptr;
  LivePathNames &l = livePathNames();
  std::lock_guard<std::mutex> lock(l.mutex);
  return l.addresses.count(address) ? static_cast<PathName *>(const_cast<void *>(address)) : nullptr;
}

} // namespace folio::model
