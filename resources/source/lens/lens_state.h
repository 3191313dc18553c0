// The lens's records: pixel areas, channels, and the part of the render state that rays read.
#pragma once

#include "c4d_math.h"
#include "c4d_render.h"
#include "c4d_string.h"
#include "c4d_types.h"

/// A pixel rectangle, inclusive at both ends, with values derived from its corners by UpdateArea.
struct LensArea
{
  Vector start;  ///< first pixel; z stays 0
  Vector end;    ///< last pixel, inclusive; z stays 0
  Vector size;   ///< (width, height, 0)
  Vector center; ///< centre in pixel coordinates
  Int32 width = 0;
  Int32 height = 0;
  Float aspect = 0.0; ///< width / height, 0 for a height of 0
  Float radius = 0.0; ///< half the shorter side
  Int32 diameter = 0; ///< the shorter side
};

/// What one sub-render shoots and where its picture lies. The leading fields are the host's
/// StereoCameraInfo, so that the host fills a channel directly; copies share `strName`.
struct LensChannel : StereoCameraInfo
{
  LensArea area;
  Int32 channelIndex = -1; ///< cube face 0..5, or the eye (0 left, otherwise right); -1 is no channel
  Int32 rotation = 0;      ///< degrees: 0, 90, 180 or 270
  Bool flipX = false;
  Bool flipY = false;
};

/// The fields of the render state that the per-ray lens code reads. They are written only
/// between the rays of two images, so the render threads read them without a lock.
struct LensState
{
  // Lens mode: the first flag set in this order decides.
  Bool isDome = false;
  Bool isPanorama = false;
  Bool isCylindrical = false;
  Bool isCubemap = false;

  Float fov = 0.0;           ///< full angular field in radians
  Float spanStart = 0.0;     ///< part of a turn the image covers, centred on 0.5
  Float spanEnd = 0.0;
  Float verticalStart = 0.0; ///< latitude limits mapped to 0..1
  Float verticalEnd = 0.0;
  Bool panoramaCustomField = false;
  Bool cylinderAxisTurned = false;
  Float cylinderHeight = 0.0; ///< scene units

  Int32 maskMode = 0; ///< 2 lets a dome make rays outside its circle

  LensArea activeArea;
  Vector pixelStep;      ///< (1/width, 1/height, 0) of activeArea, reciprocals in 32-bit float
  Int32 bleedPixels = 0; ///< pixels outside the image that still count as inside

  Bool isStereo = false;
  Bool domeZenithStereo = false;
  Int32 stereoPixelShift = 0;
  Float eyeSeparation = 0.0;
  Int32 eyeModel = 0;
  Float zeroParallaxDistance = 0.0;

  LensChannel currentFace;
  LensChannel currentEye;
};
