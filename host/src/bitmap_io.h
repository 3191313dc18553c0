// Writing pictures to disk, whole or not at all.
#pragma once

#include <string>

#include "c4d.h"

namespace host
{
/// Saves `bmp` in the format its name's extension says: .png (8 bits a channel), .tif or .tiff
/// (16 bits, or 32-bit float with `floatData`), .exr (32-bit float). The alpha channel goes along
/// where the picture has one. The picture is written under a temporary name beside `path` and
/// renamed over it at the end, so `path` never holds half a picture. Pixels are converted to the
/// file's type on `threads` threads (0: every core). False with `error` set.
Bool SaveBitmap(const BaseBitmap& bmp, const std::string& path, Bool floatData, std::string* error,
                Int32 threads = 0);

/// Whether SaveBitmap knows the extension of `path`; `floatOnly` tells if it holds floats only.
Bool IsPictureName(const std::string& path, Bool* holdsFloat = nullptr);
} // namespace host
