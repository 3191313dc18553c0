// BaseBitmap: a picture held by the host, RGB with an optional alpha channel.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
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

/// A picture: RGB with an optional alpha channel. Depths up to 32 keep 8 bits a channel, as a
/// picture for the screen; deeper ones (96 and 128 bits) keep floats, for renders.
class BaseBitmap
{
public:
  static BaseBitmap* Alloc();
  static void Free(BaseBitmap*& bmp);

  /// Makes an empty (black) picture of the given size, 8 bits a channel up to depth 32 and float
  /// beyond; sizes of 0 or below, or beyond memory, fail.
  IMAGERESULT Init(Int32 width, Int32 height, Int32 depth = 24);
  /// Loads a picture file (PNG, TIFF, JPEG, OpenEXR, HDR); a file's alpha becomes the alpha channel.
  /// A file of 8 bits a channel stays 8-bit, any other is float. On failure the bitmap is left empty.
  IMAGERESULT Init(const Filename& name, Int32 frame = -1, Bool* ismovie = nullptr);

  Int32 GetBw() const { return width; }
  Int32 GetBh() const { return height; }
  Bool HasAlpha() const { return hasAlpha; }
  /// Whether the picture keeps floats (else 8 bits a channel).
  Bool IsFloat() const { return isFloat; }

  /// Reads `cnt` pixels of row `y` from column `x` into `buffer`, `inc` bytes a pixel, in `mode`.
  /// Pixels outside the picture read as black; without an alpha channel alpha reads 1.
  Bool GetPixelCnt(Int32 x, Int32 y, Int32 cnt, UChar* buffer, Int32 inc, COLORMODE mode, Int32 flags = 0) const;
  /// Writes `cnt` pixels of row `y` from column `x`; pixels outside the picture are skipped. An
  /// 8-bit picture keeps each value clamped to 0..1 and rounded to the nearest 1/255.
  /// In COLORMODE_ARGBf the alpha goes to the alpha channel where there is one.
  Bool SetPixelCnt(Int32 x, Int32 y, Int32 cnt, const UChar* buffer, Int32 inc, COLORMODE mode, Int32 flags = 0);

  /// A copy of the whole picture, or null.
  BaseBitmap* GetClone() const;
  /// Makes `dst` a copy of this picture (size, depth, colour and alpha); false without memory.
  Bool CopyTo(BaseBitmap* dst) const;

  /// One pixel as 0 to 255 a component; outside the picture black.
  void GetPixel(Int32 x, Int32 y, UInt16* r, UInt16* g, UInt16* b) const;
  /// Sets one pixel from 0 to 255 a component; outside the picture nothing.
  void SetPixel(Int32 x, Int32 y, Int32 r, Int32 g, Int32 b);
  /// The colour of Line, 0 to 255 per component.
  void SetPen(Int32 r, Int32 g, Int32 b) { pen[0] = r, pen[1] = g, pen[2] = b; }
  /// A line of single pixels in the pen's colour from (x1, y1) to (x2, y2), both ends drawn;
  /// what lies outside the bitmap is left out.
  void Line(Int32 x1, Int32 y1, Int32 x2, Int32 y2);

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
  Int32 pen[3] = {0, 0, 0};

  /// Colour value i (pixel i / 3, channel i % 3) and alpha of pixel p, as 0 to 1.
  Float32 Colour(size_t i) const { return isFloat ? rgb[i] : kByteValue[rgb8[i]]; }
  Float32 Alpha(size_t p) const { return isFloat ? alpha[p] : kByteValue[alpha8[p]]; }
  void SetColour(size_t i, Float32 v)
  {
    if (isFloat)
      rgb[i] = v;
    else
      rgb8[i] = ToByte(v);
  }
  void SetAlpha(size_t p, Float32 v)
  {
    if (isFloat)
      alpha[p] = v;
    else
      alpha8[p] = ToByte(v);
  }
  /// 0..1 clamped (NaN as 0) and rounded to the nearest of 256 steps.
  static UChar ToByte(Float32 v)
  {
    return static_cast<UChar>((v > 0.0f ? (v < 1.0f ? v : 1.0f) : 0.0f) * 255.0f + 0.5f);
  }
  static const std::array<Float32, 256> kByteValue; ///< byte b as b / 255

  /// The index of pixel (x, y) among the stored ones, or -1 where none is stored: outside the
  /// picture, or outside the rectangle that a picture cropped to its content keeps.
  std::ptrdiff_t StoredAt(Int64 x, Int64 y) const
  {
    x -= storeX, y -= storeY;
    return x >= 0 && y >= 0 && x < storeW && y < storeH ? static_cast<std::ptrdiff_t>(y * storeW + x) : -1;
  }

  Int32 width = 0;
  Int32 height = 0;
  Int32 storeX = 0, storeY = 0, storeW = 0, storeH = 0; ///< the stored rectangle; all of it but for a crop
  /// A picture made as it is read rather than stored (the host's marker pictures): the three
  /// colours of each of `cnt` pixels from (x, y) on, all inside the picture. Empty for a stored one.
  std::function<void(Int32 x, Int32 y, Int32 cnt, Float32* rgb)> made;
  Bool isFloat = false;
  Bool hasAlpha = false;
  // Float pictures fill the first two, 8-bit ones the others; rows from the top, 3 values a pixel.
  std::vector<Float32> rgb;
  std::vector<Float32> alpha;
  std::vector<UChar> rgb8;
  std::vector<UChar> alpha8;
};
