// ModelHandles.h: conversions between the model's objects and the opaque handles
// of the C interface.
//
// A handle is the object's address, cast (the interface's struct _t_... types
// are never defined; nobody dereferences a handle). So a handle is valid
// exactly as long as its object: PDDoc until the Document is destroyed,
// PDPage as long as its document, FSFile as long as its document, FSPathName
// until PathName::release, FSFileSys for the life of the process. Null maps
// to null both ways.
#pragma once

#include "folio/FolioTypes.h"
#include "model/Document.h"
#include "model/FileSys.h"
#include "model/Page.h"

namespace folio::model {

inline PDDoc toPDDoc(Document *d)
{
  return reinterpret_cast<PDDoc>(d);
}
inline Document *fromPDDoc(PDDoc d)
{
  return reinterpret_cast<Document *>(d);
}
inline PDPage toPDPage(Page *p)
{
  return reinterpret_cast<PDPage>(p);
}
inline Page *fromPDPage(PDPage p)
{
  return reinterpret_cast<Page *>(p);
}
inline FSFile toFSFile(File *f)
{
  return reinterpret_cast<FSFile>(f);
}
inline File *fromFSFile(FSFile f)
{
  return reinterpret_cast<File *>(f);
}
inline FSPathName toFSPathName(PathName *p)
{
  return reinterpret_cast<FSPathName>(p);
}
inline PathName *fromFSPathName(FSPathName p)
{
  return reinterpret_cast<PathName *>(p);
}
inline FSFileSys toFSFileSys(FileSys *f)
{
  return reinterpret_cast<FSFileSys>(f);
}
inline FileSys *fromFSFileSys(FSFileSys f)
{
  return reinterpret_cast<FileSys *>(f);
}

// The path string of a path name ("" for null); valid while the path name is.
inline const char *pathNameString(FSPathName p)
{
  return p ? fromFSPathName(p)->path().c_str() : "";
}

} // namespace folio::model
