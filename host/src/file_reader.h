// A picture file read by the host's own code rather than through OpenImageIO: its header first,
// then all its values at once.
#pragma once

#include <cstdio>
#include <string>

namespace host
{
class FileReader
{
public:
  FileReader() = default;
  FileReader(const FileReader&) = delete;
  FileReader& operator=(const FileReader&) = delete;
  virtual ~FileReader()
  {
    if (file)
      std::fclose(file);
  }

  enum class Result
  {
    Ok,
    Other,  ///< not this format, or a kind of it left to OpenImageIO
    Failed, ///< a broken file: `Error()` says what
  };
  /// Reads the header; nothing of the pixels yet, so that the size it claims can be checked first.
  virtual Result Open(const std::string& path) = 0;
  int Width() const { return width; }
  int Height() const { return height; }
  int Channels() const { return channels; }
  int Depth() const { return depth; } ///< 8 or 16 bits a value
  /// The values, channels interleaved, colours premultiplied by alpha where there is one (as
  /// OpenImageIO hands them out); for 8-bit files.
  virtual Result Read(unsigned char* out) = 0;
  /// As above for 16-bit files, as 0 to 1.
  virtual Result Read(float* out) = 0;
  const std::string& Error() const { return error; }

protected:
  Result Fail(const std::string& what)
  {
    error = what;
    return Result::Failed;
  }

  std::FILE* file = nullptr;
  int width = 0, height = 0, channels = 0, depth = 0;
  std::string error;
};
} // namespace host
