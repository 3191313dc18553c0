// The host's render: drives the video posts through their stages and ray-traces the document.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "c4d.h"

namespace host
{
/// Frees a bitmap that the render made.
struct BitmapFree
{
  void operator()(BaseBitmap* bmp) const { BaseBitmap::Free(bmp); }
};
using BitmapPtr = std::unique_ptr<BaseBitmap, BitmapFree>;

/// What each pixel of a render holds: the shaded picture, or one of the data passes, which shoot
/// one ray through each pixel's centre, run no pixel posts and hold zero with alpha 0 where the
/// lens shoots no ray.
enum class RenderPass
{
  Shaded,
  Direction, ///< the ray's world direction (x, y, z), unit length, alpha 1
  St,        ///< where the ray looks in an equirectangular picture: (s, t, 0, 1), t = 0 at the bottom
  Origin,    ///< the ray's world origin (x, y, z), alpha 1
};

/// What to render and how.
struct RenderOptions
{
  Int32 width = 0;  ///< pixels; 0 takes RDATA_XRES of the render settings
  Int32 height = 0; ///< pixels; 0 takes RDATA_YRES
  Int32 samples = 4; ///< per pixel, 1 to kMaxSamples
  Int32 threads = 0; ///< 0: all cores
  /// A preview into a view of the editor: no stereo merge, and video posts are told so.
  Bool editorRender = false;
  RenderPass pass = RenderPass::Shaded;
  /// Frames at the render settings' frame rate; without them the document's current time alone.
  /// A first frame without a last renders that one frame.
  std::optional<Int32> firstFrame;
  std::optional<Int32> lastFrame;
  /// Frames by number, rendered in this order, in place of firstFrame and lastFrame.
  std::vector<Int32> frameList;
  /// Share of the whole render done, 0 to 1, called on the thread that called RenderDocument.
  std::function<void(Float done)> progress;
  /// Each finished frame; answering false stops the render (RenderDocument then gives false).
  std::function<Bool(Int32 frame, const BaseBitmap& picture)> frameDone;
  /// With it, each finished frame goes here instead, as one picture per image of the frame: the
  /// rectangle of the merged frame that the image fills (the eyes of a stereo pair laid side by side
  /// or one above the other). A frame whose images don't each fill a rectangle of their own, or of
  /// a single image, is refused as bad input before anything is traced. Answering false stops.
  std::function<Bool(Int32 frame, const std::vector<const BaseBitmap*>& views)> viewsDone;
  /// Frame positions in pixels whose rays the first image of the first frame shoots once more,
  /// right after it is traced, into `probeRays`: how the lens maps the frame, at no cost.
  std::vector<std::pair<Float, Float>> probe;
  std::vector<Ray>* probeRays = nullptr;
  /// Set by another thread to stop the render at its next tile; RenderDocument then gives false.
  const std::atomic<bool>* cancel = nullptr;

  static constexpr Int32 kMaxSamples = 1024;
};

/// Renders the frames of `doc` with a copy of its active render settings, calling the enabled
/// video posts of those settings at every stage. The picture of the first frame goes to
/// `firstFrame` when given; it has an alpha channel when RDATA_ALPHACHANNEL is on in the running
/// settings and the frame wasn't merged. On bad input (sizes, samples, missing pictures, broken
/// meshes) or a video post's failure gives false and says why in `error`; `badInput` tells the
/// first kind (the render stopped before any video post ran) from the second.
Bool RenderDocument(BaseDocument* doc, const RenderOptions& options, BitmapPtr* firstFrame, String* error,
                    Bool* badInput = nullptr);

/// Waits until the render threads have ended. Call it once no render runs any more, before the
/// program ends, so that the process exits with no worker still running under the feet of a leak
/// checker's stop-the-world.
void JoinRenderThreads();
} // namespace host
