#include "render/render_stages.h"

#include <atomic>
#include <cmath>
#include <string>

#include "animation.h"
#include "host_app.h"
#include "render/render_limits.h"

namespace
{
// Renders running now, by kind, for CheckIsRunning.
std::atomic<Int32> editorRenders{0};
std::atomic<Int32> externalRenders{0};
} // namespace

Bool CheckIsRunning(Int32 type)
{
  const Int32 editor = editorRenders.load(), external = externalRenders.load();
  switch (type)
  {
    case CHECKISRUNNING_ANYTHING: return editor + external > 0;
    case CHECKISRUNNING_EDITORRENDERING: return editor > 0;
    case CHECKISRUNNING_EXTERNALRENDERING: return external > 0;
    default: return false;
  }
}

namespace host::render
{
namespace
{
constexpr Int32 kMaxImages = 1024;
constexpr Int64 kMaxFrames = 1 << 20;

/// Counts the render as running for CheckIsRunning while it lives.
class RunningMark
{
public:
  explicit RunningMark(Bool editorRender) : counter(editorRender ? editorRenders : externalRenders) { ++counter; }
  ~RunningMark() { --counter; }
  RunningMark(const RunningMark&) = delete;
  RunningMark& operator=(const RunningMark&) = delete;

private:
  std::atomic<Int32>& counter;
};

const char* StageName(VIDEOPOSTCALL stage)
{
  switch (stage)
  {
    case VIDEOPOSTCALL_FRAMESEQUENCE: return "FRAMESEQUENCE";
    case VIDEOPOSTCALL_FRAME: return "FRAME";
    case VIDEOPOSTCALL_RENDER: return "RENDER";
    default: return "a stage";
  }
}
} // namespace

String VideoPostName(const BaseVideoPost* vp)
{
  if (vp->GetName().IsPopulated())
    return vp->GetName();
  const PluginEntry* entry = App().plugins.Find(vp->GetType());
  return entry && entry->name.IsPopulated() ? entry->name : String("video post ") + String::IntToString(vp->GetType());
}

Bool RenderStages::CheckInput()
{
  if (options.samples < 1 || options.samples > RenderOptions::kMaxSamples)
    return Fail(String("samples per pixel must be 1 to " + std::to_string(RenderOptions::kMaxSamples) + ", not " +
                       std::to_string(options.samples)));
  if (options.threads < 0)
    return Fail(String("the thread count must be 0 (all cores) or more, not " + std::to_string(options.threads)));
  if (options.width < 0 || options.height < 0)
    return Fail(String("render size " + std::to_string(options.width) + " x " + std::to_string(options.height) +
                       ": width and height must be at least 1 pixel"));
  renderData = doc->GetActiveRenderData();
  if (!renderData)
    return Fail(String("the document has no render settings"));
  if (!MakeRender())
    return false;
  animated = HasAnimation(doc);
  settingsMove = HasParameterAnimation(doc);

  // Frames: the document's current time, a list, or the range at the settings' frame rate.
  Float fps = render->Settings().GetFloat(RDATA_FRAMERATE, doc->GetFps());
  if (!(fps > 0.0) || !std::isfinite(fps))
    fps = doc->GetFps() > 0 ? doc->GetFps() : 30;
  if (!options.frameList.empty())
  {
    if (static_cast<Int64>(options.frameList.size()) > kMaxFrames)
      return Fail(String("more than " + std::to_string(kMaxFrames) + " frames"));
    for (Int32 f : options.frameList)
      frames.push_back(Frame{f, BaseTime(static_cast<Float>(f), fps)});
    sequencePerFrame = settingsMove && frames.size() > 1;
    return true;
  }
  if (!options.firstFrame && !options.lastFrame)
  {
    frames.push_back(Frame{doc->GetTime().GetFrame(fps), doc->GetTime()});
    return true;
  }
  const Int32 first = options.firstFrame ? *options.firstFrame : *options.lastFrame;
  const Int32 last = options.lastFrame ? *options.lastFrame : first;
  if (last < first)
    return Fail(String("frame range " + std::to_string(first) + " to " + std::to_string(last) + " is empty"));
  if (static_cast<Int64>(last) - first >= kMaxFrames)
    return Fail(String("frame range " + std::to_string(first) + " to " + std::to_string(last) + " has more than " +
                       std::to_string(kMaxFrames) + " frames"));
  for (Int64 f = first; f <= last; ++f)
    frames.push_back(Frame{static_cast<Int32>(f), BaseTime(static_cast<Float>(f), fps)});
  sequencePerFrame = settingsMove && frames.size() > 1;
  return true;
}

Bool RenderStages::MakeRender()
{
  BaseContainer settings = renderData->GetData();
  if (options.width > 0)
    settings.SetInt32(RDATA_XRES, options.width);
  if (options.height > 0)
    settings.SetInt32(RDATA_YRES, options.height);
  if (!ReadSize(settings, width, height, error) || !CheckMemory(width, height, 1, false, error))
    return false;
  render = std::make_unique<RunningRender>(settings);
  return true;
}

RenderStages::~RenderStages()
{
  // The document goes back to its own time, and an animated one to its values there.
  if (!timeBefore)
    return;
  if (animated)
    EvaluateDocumentAt(doc, *timeBefore);
  else
    doc->SetTime(*timeBefore);
}

void RenderStages::EvaluateFrame(size_t index)
{
  if (index == evaluatedFrame)
    return;
  if (!timeBefore)
    timeBefore = doc->GetTime();
  evaluatedFrame = index;
  EvaluateDocumentAt(doc, frames[index].time);
}

void RenderStages::GatherVideoPosts()
{
  for (BaseVideoPost* vp = renderData->GetFirstVideoPost(); vp; vp = vp->GetNext())
  {
    auto* data = dynamic_cast<VideoPostData*>(vp->GetNodeData());
    if (data && !vp->GetBit(BIT_VPDISABLED))
      videoPosts.push_back(ActiveVideoPost{vp, data, 0});
  }
}

Bool RenderStages::Drive()
{
  RunningMark running(options.editorRender);
  Bool ok = true;
  for (size_t begin = 0; ok && begin < frames.size();)
  {
    size_t end = sequencePerFrame ? begin + 1 : frames.size();
    ok = Sequence(begin, end);
    begin = end;
  }
  return ok;
}

Bool RenderStages::Sequence(size_t begin, size_t& end)
{
  // The settings as the frame's evaluation left them, before any video post reads them.
  EvaluateFrame(begin);
  if (!MakeRender())
    return false;
  Notify(true);
  Bool ok = Start() && AfterStart();
  // A video post is given its cameras when the sequence starts: with several, moving ones are
  // given again for each frame.
  if (animated && imageCount > 1)
    end = begin + 1;
  if (ok)
  {
    // Once the sequence is open, a failure still closes it, so video posts can clean up.
    size_t f = begin;
    ok = Stage(VIDEOPOSTCALL_FRAMESEQUENCE, true, frames[begin].time) && InsideSequence(f, end);
    if (ok)
      ok = Stage(VIDEOPOSTCALL_FRAMESEQUENCE, false, frames[end - 1].time);
    else
      Abort(frames[f > begin ? f - 1 : begin].time);
  }
  Notify(false);
  return ok;
}

void RenderStages::Notify(Bool start)
{
  RenderNotificationData data;
  data.start = start;
  data.external = !options.editorRender;
  data.doc = doc;
  for (const ActiveVideoPost& vp : videoPosts)
    vp.node->Message(MSG_MULTI_RENDERNOTIFICATION, &data);
}

Bool RenderStages::Stage(VIDEOPOSTCALL stage, Bool open, const BaseTime& time)
{
  VideoPostStruct vps;
  vps.vp = stage;
  vps.open = open;
  vps.time = time;
  vps.doc = doc;
  vps.render = render.get();
  for (const ActiveVideoPost& vp : videoPosts)
  {
    const RENDERRESULT result = vp.data->Execute(vp.node, &vps);
    if (result != RENDERRESULT_OK)
      return Fail(VideoPostName(vp.node) + String(std::string(" failed at the ") + (open ? "opening" : "closing") +
                                                  " of " + StageName(stage) + " (result " +
                                                  std::to_string(result) + ")"));
  }
  return true;
}

void RenderStages::Abort(const BaseTime& time)
{
  const String message = *error;
  Stage(VIDEOPOSTCALL_FRAMESEQUENCE, false, time);
  *error = message;
}

Bool RenderStages::Start()
{
  lens = nullptr;
  pixelPosts.clear();
  imageCount = 1;
  for (ActiveVideoPost& vp : videoPosts)
  {
    if (!vp.data->AllocateBuffers(vp.node, render.get(), doc))
      return Fail(VideoPostName(vp.node) + String(" could not allocate its buffers"));
    vp.info = vp.data->GetRenderInfo(vp.node);
    if ((vp.info & VIDEOPOSTINFO_CUSTOMLENS) && !lens)
      lens = &vp;
    if (vp.info & VIDEOPOSTINFO_EXECUTEPIXEL)
      pixelPosts.push_back(&vp);
  }

  // Video posts may have changed the running settings: size, stereo and alpha count from here.
  const BaseContainer& settings = render->Settings();
  if (!ReadSize(settings, width, height, error))
    return false;
  withAlpha = settings.GetBool(RDATA_ALPHACHANNEL);
  eyes.assign(1, {false, Matrix()});
  if (!settings.GetBool(RDATA_STEREO) || !lens)
    return true;
  const Int32 count = lens->data->StereoGetCameraCountRenderer(lens->node, doc, renderData);
  if (count > kMaxImages)
    return Fail(VideoPostName(lens->node) + String(" asks for " + std::to_string(count) +
                                                   " images per frame, more than " + std::to_string(kMaxImages)));
  imageCount = count > 1 ? count : 1;
  eyes.assign(static_cast<size_t>(imageCount), {false, Matrix()});
  BaseDraw* view = doc->GetRenderBaseDraw();
  for (Int32 i = 0; i < imageCount; ++i)
  {
    StereoCameraInfo info;
    if (lens->data->StereoGetCameraInfo(lens->node, doc, view, renderData, i, info))
      eyes[static_cast<size_t>(i)] = {true, info.m};
  }
  return true;
}
} // namespace host::render
