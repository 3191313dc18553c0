// The shape of frame each lens asks for, as width over height, with the label the tag shows;
// and the direction the eye probe takes from the XY pad.
#pragma once

#include <string>

#include "c4d_math.h"
#include "lens_settings.h"

/// What the aspect pass reads: the tag's lens and fields, the video post's layouts, the render
/// settings' stereo switch.
struct FrameShapeInput
{
  Int32 lens = 1;             ///< raw lens number: 0 panorama, 1 dome, 2 cylindrical, 3 cubemap
  Bool panoCustom = false;
  Float panoFovH = PI2;
  Float panoLatMin = -PI05, panoLatMax = PI05;
  Float cylRadius = 100.0, cylHeight = 100.0, cylFov = PI2;
  Int32 cubeLayout = 0;
  Bool videoPostEnabled = true;
  Bool stereo = false;
  Int32 stereoMode = 0;
  Int32 pairLayout = 0;
};

struct FrameShape
{
  Float panoFovV = 0.0;       ///< the panorama's vertical field, written whatever the lens
  Float mono = 0.0;           ///< the lens's picture; 0 means no shape is known
  Float stereo = 0.0;         ///< the whole frame with the eyes' layout; 0 without stereo
  std::string labelMono, labelStereo; ///< "proportion arrangement", empty where the aspect is 0
};

/// The aspect pass's arithmetic; the tag writes the result into its container.
FrameShape ComputeFrameShape(const FrameShapeInput& in);

/// The eye probe's latitude (x) and longitude (y) for the pad at (x, y) of `pad`. A pad at
/// (-1, -1), its double click, resets: `resetPad` gets the pad's home, the angles are 0.
/// `domeZenith` only counts for a dome.
Vector PadToProbeAngles(const Vector& pad, Bool dome, Bool domeZenith, Float domeFov, Vector* resetPad);
