// Reading the plain kind of TIFF file without OpenImageIO: strips of 8- or 16-bit grey or RGB
// values, with or without an alpha that is stored premultiplied, uncompressed or deflated, with
// or without horizontal differencing. The plug-in's icons are such files, and reading them here
// spares every start of the program the loading of OpenImageIO; other TIFFs go to it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "file_reader.h"

namespace host::tiff
{
class Reader final : public FileReader
{
public:
  Result Open(const std::string& path) override;
  Result Read(unsigned char* out) override;
  Result Read(float* out) override;

private:
  /// Strip `s`'s rows, decompressed and undifferenced, in file order.
  Result Strip(size_t s, std::vector<unsigned char>& rows);
  uint32_t Value(const unsigned char* p, int bytes) const;

  bool bigEndian = false;
  int compression = 1, predictor = 1;
  uint32_t rowsPerStrip = 0;
  std::vector<uint32_t> offsets, counts;
};
} // namespace host::tiff
