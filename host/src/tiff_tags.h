// The numbers of the TIFF tags that the host's TIFF writer and reader use.
#pragma once

#include <cstdint>

namespace host::tiff
{
enum Tag : uint16_t
{
  kWidth = 256,
  kHeight = 257,
  kBitsPerSample = 258,
  kCompression = 259,
  kPhotometric = 262,
  kStripOffsets = 273,
  kOrientation = 274,
  kSamplesPerPixel = 277,
  kRowsPerStrip = 278,
  kStripByteCounts = 279,
  kXResolution = 282,
  kYResolution = 283,
  kPlanarConfig = 284,
  kResolutionUnit = 296,
  kSoftware = 305,
  kPredictor = 317,
  kTileWidth = 322,
  kExtraSamples = 338,
  kSampleFormat = 339,
};
} // namespace host::tiff
