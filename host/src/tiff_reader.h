// Reading the plain kind of TIFF file without OpenImageIO: strips of 8- or 16-bit grey or RGB
// values, with or without an alpha that is stored premultiplied, uncompressed or deflated, with
// or without horizontal differencing. The plug-in's icons are such files, and reading them here
// spares every start of the program the loading of OpenImageIO; other TIFFs go to it.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace host::tiff
{
class Reader
{
public:
  Reader() = default;
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;
  ~Reader();

  enum class Result
  {
    Ok,
    Other,  ///< no TIFF, or a kind this reader leaves to OpenImageIO (tiles, LZW, planes...)
    Failed, ///< a broken TIFF: `Error()` says what
  };
  /// Reads the header and the first directory; Other for a file that is no TIFF of this kind.
  Result Open(const std::string& path);
  int Width() const { return width; }
  int Height() const { return height; }
  int Channels() const { return channels; }
  int Depth() const { return depth; } ///< 8 or 16 bits a value
  /// The values, channels interleaved, as stored (an alpha's colours premultiplied), for 8-bit files.
  Result Read(unsigned char* out);
  /// As above for 16-bit files, as 0 to 1.
  Result Read(float* out);
  const std::string& Error() const { return error; }

private:
  Result Fail(const std::string& what);
  /// Strip `s`'s rows, decompressed and undifferenced, in file order.
  Result Strip(size_t s, std::vector<unsigned char>& rows);
  uint32_t Value(const unsigned char* p, int bytes) const;

  std::FILE* file = nullptr;
  bool bigEndian = false;
  int width = 0, height = 0, channels = 0, depth = 0;
  int compression = 1, predictor = 1;
  uint32_t rowsPerStrip = 0;
  std::vector<uint32_t> offsets, counts;
  std::string error;
};
} // namespace host::tiff
