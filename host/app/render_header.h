// What a rendered picture's file says of itself besides its pixels: the camera, the frame's time,
// the program, and the settings of the lens tag on the camera.
#pragma once

#include <OpenImageIO/paramlist.h>

#include "c4d.h"

namespace cli
{
/// The attributes that every frame of a render of `doc` shares: the world-to-camera matrix of
/// `camera` (none without one), frames per second, the program, and for each tag on the camera
/// with a description, its shown parameters by symbol as JSON under the tag's type name.
void AddSceneHeader(BaseDocument* doc, BaseObject* camera, OIIO::ParamValueList& attributes);
/// The SMPTE time code of `frame` at the render settings' frame rate, non-drop.
void SetTimeCode(BaseDocument* doc, Int32 frame, OIIO::ParamValueList& attributes);
} // namespace cli
