// What a render of a document would be, found by running the start of one: the video posts are
// called up to the closing of the frame sequence exactly as a render calls them, and no pixel is
// traced. The command line asks it instead of knowing any lens of its own.
#pragma once

#include <vector>

#include "c4d.h"
#include "render/render_loop.h"

namespace host
{
struct RenderPlan
{
  Int32 width = 0, height = 0; ///< the frame, after the video posts changed the running settings
  Int32 imagesPerFrame = 1;
  /// The enabled video posts that answered the custom-lens bit, in list order; the first shoots.
  std::vector<BaseVideoPost*> customLens;
  /// The camera the render looks through: the render view's while the frame sequence is open
  /// (video posts may switch it), else the host's own choice. Null for none; the editor camera
  /// where the document has no camera.
  BaseObject* camera = nullptr;
};

/// Runs the start of a render of `doc` with `options` (sizes, frames, editor or external) and
/// fills `plan`. False where the render would stop before its first pixel, with the reason in
/// `error`; `plan` then holds what was learnt, its camera the host's own choice at least.
Bool PlanRender(BaseDocument* doc, const RenderOptions& options, RenderPlan* plan, String* error);
} // namespace host
