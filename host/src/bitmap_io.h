// Writing pictures to disk, whole or not at all.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <OpenImageIO/paramlist.h>

#include "c4d.h"

namespace host
{
/// Saves `bmp` in the format its name's extension says: .png or .jpg/.jpeg (8 bits a channel,
/// JPEG without alpha), .tif or .tiff
/// (16 bits, or 32-bit float with `floatData`), .exr (32-bit float). The alpha channel goes along
/// where the picture has one (in TIFF as associated alpha, the colours premultiplied as the bitmap
/// holds them). The picture is written under a temporary name beside `path` and
/// renamed over it at the end, so `path` never holds half a picture. Pixels are converted to the
/// file's type on `threads` threads (0: every core). False with `error` set.
Bool SaveBitmap(const BaseBitmap& bmp, const std::string& path, Bool floatData, std::string* error,
                Int32 threads = 0);

/// How a picture is written beyond its pixels.
struct SaveOptions
{
  Bool floatData = false; ///< data rather than colours: 32-bit float in .tif, refused in .png
  Int32 threads = 0;
  std::string compression = "zip"; ///< OpenEXR: "zip", "piz", "dwaa" or "none"
  Bool half = false;               ///< OpenEXR: 16-bit float channels
  Int32 quality = 90;              ///< JPEG: 1 to 100
  /// An XMP packet for the file's metadata, in JPEG (an APP1 segment) and PNG (an iTXt chunk).
  std::string xmp;
  /// Header attributes by OpenImageIO's names, for the formats OpenImageIO writes (OpenEXR, JPEG).
  OIIO::ParamValueList attributes;
};

/// SaveBitmap with the file's settings and header in `options`.
Bool SaveBitmap(const BaseBitmap& bmp, const std::string& path, const SaveOptions& options, std::string* error);

/// Several pictures of one size as the views of one OpenEXR file (`path` must end in .exr), by the
/// format's multi-view convention: the views' names in the `multiView` attribute, the first view's
/// channels unprefixed (R, G, B, A), every other's prefixed by its name (right.R). Whole or not at
/// all, as SaveBitmap.
Bool SaveViews(const std::vector<std::pair<std::string, const BaseBitmap*>>& views, const std::string& path,
               const SaveOptions& options, std::string* error);

/// Whether SaveBitmap knows the extension of `path`; `floatOnly` tells if it holds floats only.
/// `bmp` as the bytes of an 8-bit PNG file (with alpha where it has one), for a picture served
/// rather than written.
Bool EncodePng(const BaseBitmap& bmp, std::vector<unsigned char>& bytes, std::string* error);

Bool IsPictureName(const std::string& path, Bool* holdsFloat = nullptr);
} // namespace host
