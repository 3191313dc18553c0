// The render's side of a video post: stages, pixel records, image buffers and the running render.
#pragma once

#include "c4d_basetime.h"
#include "c4d_container.h"
#include "c4d_types.h"

class BaseDocument;
class Render;

/// The stages at which the render calls a video post's Execute.
enum VIDEOPOSTCALL : Int32
{
  VIDEOPOSTCALL_FRAMESEQUENCE = 1,
  VIDEOPOSTCALL_FRAME = 2,
  VIDEOPOSTCALL_SUBFRAME = 3,
  VIDEOPOSTCALL_RENDER = 4,
  VIDEOPOSTCALL_INNER = 5,
};

/// What Execute is told at a stage.
struct VideoPostStruct
{
  VIDEOPOSTCALL vp = VIDEOPOSTCALL_FRAMESEQUENCE;
  Bool open = false;    ///< opening (true) or closing (false) of the stage
  BaseTime time;        ///< time of the frame
  BaseDocument* doc = nullptr;
  Render* render = nullptr;
};

/// The pixel that ExecutePixel may change: its row, its colour and how many components it has.
struct PixelPost
{
  Int32 line = 0;           ///< y of the pixel, 0 at the top
  Float32* col = nullptr;   ///< the pixel's colour: red, green, blue, alpha
  Int32 comp = 4;           ///< number of components at `col`
};

/// Ids of the render's buffers.
enum : Int32
{
  VPBUFFER_RGBA = 1,
};

/// What VPBuffer::GetInfo tells.
enum : Int32
{
  VPGETINFO_XRESOLUTION = 0,
  VPGETINFO_YRESOLUTION = 1,
  VPGETINFO_BITDEPTH = 2,
  VPGETINFO_CPP = 3,
};

/// An image of the render: rows of float pixels, red, green, blue, alpha.
class VPBuffer
{
public:
  virtual ~VPBuffer() = default;
  virtual Int32 GetInfo(Int32 type) const = 0;
  /// Copies `cnt` pixels of row `y` from column `x` out as 4 floats each (bit depth 32).
  virtual Bool GetLine(Int32 x, Int32 y, Int32 cnt, void* data, Int32 bitdepth, Bool dithering) const = 0;
  /// Copies `cnt` pixels of row `y` from column `x` in.
  virtual Bool SetLine(Int32 x, Int32 y, Int32 cnt, const void* data, Int32 bitdepth, Bool dithering) = 0;
};

/// The running render, as a video post sees it.
class Render
{
public:
  virtual ~Render() = default;
  /// The image buffer of that id; null if the render has none.
  virtual VPBuffer* GetBuffer(Int32 id, Int32 subid) = 0;
  /// A copy of the running render's settings.
  virtual BaseContainer GetRenderData() const = 0;
  /// Changes this render's settings only; the document keeps its own.
  virtual void SetRenderData(const BaseContainer& bc) = 0;
};

/// Whether a render of the document is running (an editor render counts), and its kind.
enum : Int32
{
  CHECKISRUNNING_ANYTHING = 0,
  CHECKISRUNNING_EDITORRENDERING = 2,
  CHECKISRUNNING_EXTERNALRENDERING = 3,
};
Bool CheckIsRunning(Int32 type);
