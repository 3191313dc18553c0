// BaseBitmap: a picture held by the host, RGB with an optional alpha channel.
#pragma once

#include <vector>

#include "c4d_string.h"
#include "c4d_types.h"

using UInt16 = std::uint16_t;

enum IMAGERESULT : Int32
{
  IMAGERESULT_OK = 1,
  IMAGERESULT_NOTEXISTING = -1,
  IMAGERESULT_WRONGTYPE = -2,
  IMAGERESULT_OUTOFMEMORY = -3,
};

/// Pixel layouts of GetPixelCnt and SetPixelCnt.
enum COLORMODE : Int32
{
  COLORMODE_RGBf = 36,  ///< red, green, blue: 3 floats, 12 bytes a pixel
  COLORMODE_ARGBf = 37, ///< alpha, red, green, blue: 4 floats, 16 bytes a pixel
};

class BaseBitmap
{
public:
  static BaseBitmap* Alloc();
  static void Free(BaseBitmap*& bmp);

  /// Makes an empty (black) picture of the given size; sizes of 0 or below, or beyond memory, fail.
  IMAGERESULT Init(Int32 width, Int32 height, Int32 depth = 24);
  /// Loads a picture file (PNG, TIFF, JPEG, OpenEXR, HDR); a file's alpha becomes the alpha channel.
  /// On failure the bitmap is left empty.
  IMAGERESULT Init(const Filename& name, Int32 frame = -1, Bool* ismovie = nullptr);

  Int32 GetBw() const { return width; }
  Int32 GetBh() const { return height; }
  Bool HasAlpha() const { return !alpha.empty(); }

  /// Reads `cnt` pixels of row `y` from column `x` into `buffer`, `inc` bytes a pixel, in `mode`.
  /// Pixels outside the picture read as black; without an alpha channel alpha reads 1.
  Bool GetPixelCnt(Int32 x, Int32 y, Int32 cnt, UChar* buffer, Int32 inc, COLORMODE mode, Int32 flags = 0) const;
  /// Writes `cnt` pixels of row `y` from column `x`; pixels outside the picture are skipped.
  /// In COLORMODE_ARGBf the alpha goes to the alpha channel where there is one.
  Bool SetPixelCnt(Int32 x, Int32 y, Int32 cnt, const UChar* buffer, Int32 inc, COLORMODE mode, Int32 flags = 0);

  /// A copy of the whole picture, or null.
  BaseBitmap* GetClone() const;
  /// Makes `dst` a copy of this picture (size, colour and alpha); false without memory.
  Bool CopyTo(BaseBitmap* dst) const;

  /// One pixel as 0 to 255 a component; outside the picture black.
  void GetPixel(Int32 x, Int32 y, UInt16* r, UInt16* g, UInt16* b) const;
  /// Sets one pixel from 0 to 255 a component; outside the picture nothing.
  void SetPixel(Int32 x, Int32 y, Int32 r, Int32 g, Int32 b);

  /// The alpha channel, or null. This host keeps the alpha inside the picture, so the channel's
  /// handle is the picture itself.
  BaseBitmap* GetInternalChannel() { return HasAlpha() ? this : nullptr; }
  const BaseBitmap* GetInternalChannel() const { return HasAlpha() ? this : nullptr; }
  /// Gives the picture an alpha channel (of 0, transparent) where it has none and returns it;
  /// only internal channels exist here. Null without memory.
  BaseBitmap* AddChannel(Bool internal, Bool straight);
  /// The alpha of one pixel as 0 to 255, from `channel` as GetInternalChannel gave it.
  void GetAlphaPixel(const BaseBitmap* channel, Int32 x, Int32 y, UInt16* val) const;
  void SetAlphaPixel(BaseBitmap* channel, Int32 x, Int32 y, Int32 val);

  /// Scales the source rectangle (inclusive corners) of this picture into the destination
  /// rectangle of `dest` with bicubic interpolation, alpha along where both have it.
  void ScaleBicubic(BaseBitmap* dest, Int32 srcXMin, Int32 srcYMin, Int32 srcXMax, Int32 srcYMax, Int32 dstXMin,
                    Int32 dstYMin, Int32 dstXMax, Int32 dstYMax) const;

protected:
  BaseBitmap() = default;
  virtual ~BaseBitmap() = default;

  Int32 width = 0;
  Int32 height = 0;
  std::vector<Float32> rgb;   ///< 3 floats a pixel, rows from the top, 0 to 1
  std::vector<Float32> alpha; ///< 1 float a pixel, or empty
};
