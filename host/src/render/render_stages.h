// The video post side of a render: settings and frames checked, the enabled video posts driven
// through notification, buffers, render info, images per frame and the frame sequence. The render
// loop traces pixels inside it; a render plan runs it with nothing inside.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "c4d.h"
#include "render/render_buffers.h"
#include "render/render_loop.h"

namespace host::render
{
struct ActiveVideoPost
{
  BaseVideoPost* node = nullptr;
  VideoPostData* data = nullptr;
  Int32 info = 0;
};

struct Frame
{
  Int32 number = 0;
  BaseTime time;
};

/// A video post's name for messages: its own, else its plug-in's, else its type.
String VideoPostName(const BaseVideoPost* vp);

class RenderStages
{
public:
  RenderStages(BaseDocument* d, const RenderOptions& o, String* e) : doc(d), options(o), error(e) {}
  virtual ~RenderStages();
  RenderStages(const RenderStages&) = delete;
  RenderStages& operator=(const RenderStages&) = delete;

  /// Options, render settings and frames: everything checked before the scene is built.
  Bool CheckInput();
  /// The video posts of the render settings that are not disabled, in list order.
  void GatherVideoPosts();
  /// Render notification, Start, AfterStart, the frame sequence around InsideSequence, and the
  /// closing notification. The document's time is put back when the render ends (and an animated
  /// document evaluated there again), however far it got. A document whose parameters move runs
  /// all of that once per frame, so that video posts, which read their settings when the sequence
  /// opens, see each frame's values, and so does a frame of several images whose cameras move;
  /// where only objects move, the frames share one sequence and the scene is built for each.
  Bool Drive();

protected:
  /// Called once the images per frame are known, before the frame sequence opens.
  virtual Bool AfterStart() { return true; }
  /// What happens while the frame sequence is open: frames from `next` up to `end`; `next`
  /// tells the closing on failure the frame it failed at.
  virtual Bool InsideSequence(size_t& next, size_t end) = 0;

  /// The document at frame `index`'s time: tracks, then the expression pass; once per frame.
  void EvaluateFrame(size_t index);

  /// Execute of every video post at a stage; false with a message at the first failure.
  Bool Stage(VIDEOPOSTCALL stage, Bool open, const BaseTime& time);
  Bool Fail(const String& message)
  {
    *error = message;
    return false;
  }

  BaseDocument* doc;
  const RenderOptions& options;
  String* error;

  RenderData* renderData = nullptr;
  std::unique_ptr<RunningRender> render;
  std::vector<ActiveVideoPost> videoPosts;
  std::vector<const ActiveVideoPost*> pixelPosts;
  const ActiveVideoPost* lens = nullptr; ///< the first video post that shoots the rays
  std::vector<Frame> frames;
  Int32 width = 0, height = 0;
  Int32 imageCount = 1;
  std::vector<std::pair<Bool, Matrix>> eyes; ///< per image: whether the video post gave a camera, and its matrix
  Bool withAlpha = false;
  Bool animated = false;         ///< the document has tracks
  Bool settingsMove = false;      ///< a track drives a parameter, not only placements
  Bool sequencePerFrame = false; ///< parameters animated, with several frames

private:
  /// The running render's settings: the document's render settings as they are now, with the
  /// options' size.
  Bool MakeRender();
  /// One frame sequence, of frames `begin` up to `end`, with its notifications.
  /// The frames from `begin` up to `end` in one sequence; `end` comes nearer where each frame
  /// needs a sequence of its own.
  Bool Sequence(size_t begin, size_t& end);
  /// Buffers, render info and the images per frame, up to the opening of the frame sequence.
  Bool Start();
  void Notify(Bool start);
  /// Closes the frame sequence after a failure, keeping the failure's message.
  void Abort(const BaseTime& time);

  size_t evaluatedFrame = static_cast<size_t>(-1);
  std::optional<BaseTime> timeBefore; ///< the document's time before the first frame's evaluation
};
} // namespace host::render
