// The lens's records: channels, and the part of the render state that rays read.
#pragma once

#include "lens_area.h"
#include "c4d_render.h"
#include "c4d_string.h"
#include "c4d_types.h"
#include "lens_settings.h"

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

/// What the per-ray lens code reads: the render's settings and the current sub-render. Written
/// only between the rays of two images, so the render threads read it without a lock.
struct LensState
{
  LensSettings settings;

  LensArea activeArea;
  Vector pixelStep;      ///< (1/width, 1/height, 0) of activeArea, reciprocals in 32-bit float
  Int32 bleedPixels = 0; ///< pixels outside the image that still count as inside

  LensChannel currentFace;
  LensChannel currentEye;
};
