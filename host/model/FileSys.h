// FileSys.h: the host's files, path names and file systems behind the
// interface handles FSFile, FSPathName and FSFileSys.
//
// There is one file system, the local one (FileSys::defaultFileSys(), owned by
// the host, never freed). A File belongs to the Document that opened it and
// lives as long as the document. A PathName is owned by whoever acquired it
// and freed with PathName::release (a path name that is never released is a
// small leak, nothing worse).
#pragma once

#include <string>

#include "folio/FolioTypes.h"

namespace folio::model {

class FileSys {
public:
  // The local file system; the same object for the life of the process.
  static FileSys &defaultFileSys();
  const char *name() const { return "local"; }
  // The file system at `address` when it is one (the function tables check
  // FSFileSys handles with it); null otherwise.
  static FileSys *live(const void *address);

private:
  FileSys() = default;
};

class PathName {
public:
  // A new path name for `path` (absolute or relative to the working folder,
  // kept as given), owned by the caller.
  static PathName *create(const std::string &path, FileSys &fs = FileSys::defaultFileSys());
  // Frees a path name from create() or File::acquirePathName; null is ignored.
  static void release(PathName *pathName);
  // The path name at `address` when it was created and not yet released (the
  // function tables check FSPathName handles with it); null otherwise.
  // Thread-safe.
  static PathName *live(const void *address);

  const std::string &path() const { return path_; }
  FileSys &fileSys() const { return *fs_; }

private:
  PathName(std::string path, FileSys &fs) : path_(std::move(path)), fs_(&fs) {}
  std::string path_;
  FileSys *fs_;
};

class File {
public:
  File(std::string path, FileSys &fs) : path_(std::move(path)), fs_(&fs) {}
  const std::string &path() const { return path_; }
  FileSys &fileSys() const { return *fs_; }
  // A new path name of this file, owned by the caller (PathName::release).
  PathName *acquirePathName() const { return PathName::create(path_, *fs_); }
  // After "save as": the document now lives at `path`.
  void setPath(std::string path) { path_ = std::move(path); }

private:
  std::string path_;
  FileSys *fs_;
};

} // namespace folio::model
