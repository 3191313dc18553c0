// The picture formats the host doesn't read and write itself (OpenEXR, TIFF, JPEG, the rarer
// PNGs), through OpenImageIO in a module of their own. Linking OpenImageIO brings in some 260
// shared libraries and a sixth of a second of start-up; the module is loaded the first time a
// picture needs it, so a PNG render and every other command start without it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/paramlist.h>
#include <OpenImageIO/typedesc.h>

namespace host::pictures
{
/// What a picture file holds, from its header: the first subimage's data window.
struct Header
{
  int x = 0, y = 0, width = 0, height = 0;
  int depth = 1;
  int channels = 0;
  int alphaChannel = -1; ///< as the file names it; -1 where it names none
  OIIO::TypeDesc format; ///< the values as stored
};

class Reader
{
public:
  virtual ~Reader() = default;
  virtual const Header& Head() const = 0;
  /// Rows [y0, y1) of the data window, every channel, as `type`, tiled files too.
  virtual bool ReadRows(int y0, int y1, OIIO::TypeDesc type, void* out) = 0;
  /// What went wrong last, taken from the library.
  virtual std::string Error() = 0;
};

/// A picture to write: its size, its channels, the values' type in the file and its header.
struct Format
{
  int width = 0, height = 0;
  std::vector<std::string> channelNames;
  int alphaChannel = -1;
  OIIO::TypeDesc type;
  OIIO::ParamValueList attributes; ///< by OpenImageIO's names, such as "compression"
};

class Writer
{
public:
  virtual ~Writer() = default;
  /// Rows [y0, y1), every channel interleaved, as `type`, in order from the top.
  virtual bool WriteRows(int y0, int y1, OIIO::TypeDesc type, const void* data) = 0;
  virtual bool Close() = 0;
  virtual std::string Error() = 0;
};

/// The module's two entries.
struct Library
{
  std::unique_ptr<Reader> (*open)(const std::string& path, std::string& error);
  /// A writer chosen by the extension of `path` that writes its bytes through `proxy`.
  std::unique_ptr<Writer> (*create)(const std::string& path, const Format& format, OIIO::Filesystem::IOProxy* proxy,
                                    std::string& error);
};

/// The module, loaded on the first call from beside the host's own library; null with `error`
/// set where it can't be loaded. Safe from any thread.
const Library* Load(std::string* error);

/// The module's entry point, by which the loader finds the table.
using LibraryEntry = const Library* (*)();
constexpr const char* kEntryName = "c4dhost_picture_library";
} // namespace host::pictures
