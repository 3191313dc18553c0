// Pictures held by the host.
#include <limits>
#include <new>

#include "c4d_bitmap.h"

BaseBitmap* BaseBitmap::Alloc()
{
  return new (std::nothrow) BaseBitmap();
}

void BaseBitmap::Free(BaseBitmap*& bmp)
{
  delete bmp;
  bmp = nullptr;
}

IMAGERESULT BaseBitmap::Init(Int32 w, Int32 h, Int32 /*depth*/)
{
  if (w <= 0 || h <= 0)
    return IMAGERESULT_WRONGTYPE;
  const UInt64 count = static_cast<UInt64>(w) * static_cast<UInt64>(h) * 3u;
  if (count > std::numeric_limits<std::size_t>::max() / sizeof(Float32))
    return IMAGERESULT_OUTOFMEMORY;
  try
  {
    rgb.assign(static_cast<std::size_t>(count), 0.0f);
  }
  catch (const std::bad_alloc&)
  {
    return IMAGERESULT_OUTOFMEMORY;
  }
  width = w;
  height = h;
  return IMAGERESULT_OK;
}
