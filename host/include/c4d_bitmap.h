// BaseBitmap: a picture of RGB pixels held by the host.
#pragma once

#include <vector>

#include "c4d_types.h"

enum IMAGERESULT : Int32
{
  IMAGERESULT_OK = 1,
  IMAGERESULT_NOTEXISTING = -1,
  IMAGERESULT_WRONGTYPE = -2,
  IMAGERESULT_OUTOFMEMORY = -3,
};

class BaseBitmap
{
public:
  static BaseBitmap* Alloc();
  static void Free(BaseBitmap*& bmp);

  /// Makes an empty (black) picture of the given size; sizes of 0 or below, or beyond memory, fail.
  IMAGERESULT Init(Int32 width, Int32 height, Int32 depth = 24);
  Int32 GetBw() const { return width; }
  Int32 GetBh() const { return height; }

protected:
  BaseBitmap() = default;
  virtual ~BaseBitmap() = default;

  Int32 width = 0;
  Int32 height = 0;
  std::vector<Float32> rgb; ///< 3 floats a pixel, rows from the top
};
