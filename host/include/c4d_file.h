// Files for plug-ins: folder listings, loading scenes into documents, and the operating system's
// opening of a file with its application.
#pragma once

#include <vector>

#include "c4d_string.h"
#include "c4d_types.h"

class BaseDocument;
class BaseThread;

/// The entries of a folder, one by one, in the order the file system gives them.
class BrowseFiles
{
public:
  static BrowseFiles* Alloc();
  static void Free(BrowseFiles*& bf);

  /// Starts a listing of `directory`; a folder that doesn't exist lists nothing.
  void Init(const Filename& directory, Int32 flags);
  /// Steps to the next entry; false when there is none.
  Bool GetNext();
  /// The current entry's name, without its folder.
  Filename GetFilename() const;
  Bool IsDir() const;

private:
  BrowseFiles() = default;
  struct Entry
  {
    Filename name;
    Bool dir = false;
  };
  std::vector<Entry> entries;
  Int32 at = -1;
};

/// What LoadDocument takes from a scene file.
enum : Int32
{
  SCENEFILTER_OBJECTS = 1,
  SCENEFILTER_MATERIALS = 2,
};

/// A new document loaded from a scene file, which the caller owns, or null; `error` says why.
BaseDocument* LoadDocument(const Filename& name, Int32 loadFlags, BaseThread* thread, String* error = nullptr);

/// The operating system's "open this file with its application", with `parameters` for it.
/// Above 32 means the system took it; the application runs on its own.
Int64 SystemOpenFile(const Filename& file, const String& parameters);
