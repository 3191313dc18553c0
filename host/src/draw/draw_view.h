// The host's draw pass: a view's picture of its document, the scene drawn plainly and then what
// the tags draw.
#pragma once

#include "draw/rasterise.h"

namespace host::draw
{
/// How `view` looks: its linked camera, else its editor camera, with the view's projection. A
/// parallel view is as wide as the perspective field of the camera at 500 scene units.
ViewCamera CameraOf(BaseDocument* doc, BaseDraw* view);

/// Draws `doc` through `view` into a picture of `width` × `height`: the scene's objects flat
/// shaded, then the object pass of the tags of every object, whose calls `view` records. False
/// with a message for a size or camera that can't make a picture.
Bool DrawView(BaseDocument* doc, BaseDraw* view, Int32 width, Int32 height, ViewRaster& raster, String* error);
} // namespace host::draw
