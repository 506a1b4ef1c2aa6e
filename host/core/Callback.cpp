// Callback.cpp: the host's callbacks. Every live callback is in one set, so a
// destroy of a stray pointer is ignored and what is left is freed at exit.
#include "core/Callback.h"

#include <mutex>
#include <unordered_set>

namespace folio {
namespace {

struct CallbackSet {
  std::mutex mutex;
  std::unordered_set<FSCallback> live;
  ~CallbackSet()
  {
    for (FSCallback cb : live)
      delete cb;
  }
};

CallbackSet &callbacks()
{
  static CallbackSet set;
  return set;
}

} // namespace

FSCallback callbackCreate(ExtensionID extension, FSProc proc)
{
  if (!proc)
    return nullptr;
  auto *cb = new _t_FSCallback{extension, proc};
  CallbackSet &set = callbacks();
  std::lock_guard<std::mutex> lock(set.mutex);
  set.live.insert(cb);
  return cb;
}

void callbackDestroy(FSCallback callback)
{
  if (!callback)
    return;
  CallbackSet &set = callbacks();
  std::lock_guard<std::mutex> lock(set.mutex);
  if (set.live.erase(callback))
    delete callback;
}

void callbackDestroyAllOf(ExtensionID extension)
{
  CallbackSet &set = callbacks();
  std::lock_guard<std::mutex> lock(set.mutex);
  for (auto it = set.live.begin(); it != set.live.end();) {
    if ((*it)->extension == extension) {
      delete *it;
      it = set.live.erase(it);
    } else {
      ++it;
    }
  }
}

std::size_t callbackCount()
{
  CallbackSet &set = callbacks();
  std::lock_guard<std::mutex> lock(set.mutex);
  return set.live.size();
}

} // namespace folio
