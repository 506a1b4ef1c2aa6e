// FileSys.cpp: the local file system and path names.
#include "model/FileSys.h"

namespace folio::model {

FileSys &FileSys::defaultFileSys()
{
  static FileSys local;
  return local;
}

PathName *PathName::create(const std::string &path, FileSys &fs)
{
  return new PathName(path, fs);
}

void PathName::release(PathName *pathName)
{
  delete pathName;
}

} // namespace folio::model
