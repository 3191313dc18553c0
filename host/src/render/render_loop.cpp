// The host's render loop: video post stages around ray-traced images, tiles in parallel.
#include "render/render_loop.h"

#include <embree3/rtcore.h>
#include <oneapi/tbb/global_control.h>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <numeric>
#include <string>
#include <thread>

#include <unistd.h>
#include <vector>

#include "host_app.h"
#include "render/render_buffers.h"
#include "render/render_picture.h"
#include "render/render_scene.h"

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

namespace host
{
namespace
{
using render::ImageBuffer;
using render::PictureCache;
using render::PinholeCamera;
using render::RenderBitmap;
using render::RenderScene;
using render::Rgba;
using render::RunningRender;

constexpr Int32 kTileSize = 32;
constexpr Int32 kMaxSide = 1 << 20;
constexpr Int32 kMaxImages = 1024;
constexpr Int64 kMaxFrames = 1 << 20;

String Str(const std::string& s)
{
  return String(s);
}

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

/// Puts the document's time back when the render ends.
class TimeRestore
{
public:
  explicit TimeRestore(BaseDocument* d) : doc(d), time(d->GetTime()) {}
  ~TimeRestore() { doc->SetTime(time); }
  TimeRestore(const TimeRestore&) = delete;
  TimeRestore& operator=(const TimeRestore&) = delete;

private:
  BaseDocument* doc;
  BaseTime time;
};

// Embree's worker threads read a device's settings long after rtcNewDevice wrote them; the
// hand-over happens inside Embree and TBB, out of ThreadSanitizer's sight. Reports show only the
// call site of the innermost function of ours, so the device is made one call below
// EmbreeDevice, which the suppression names.
__attribute__((noinline)) RTCDevice NewEmbreeDevice(Int32 threads)
{
  const std::string config = threads > 0 ? "threads=" + std::to_string(threads) : std::string();
  return rtcNewDevice(config.empty() ? nullptr : config.c_str());
}

class EmbreeDevice
{
public:
  explicit EmbreeDevice(Int32 threads) : device(NewEmbreeDevice(threads)) {}
  ~EmbreeDevice()
  {
    if (device)
      rtcReleaseDevice(device);
  }
  EmbreeDevice(const EmbreeDevice&) = delete;
  EmbreeDevice& operator=(const EmbreeDevice&) = delete;
  RTCDevice Get() const { return device; }

private:
  RTCDevice device = nullptr;
};

struct VideoPost
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

String VideoPostName(const BaseVideoPost* vp)
{
  if (vp->GetName().IsPopulated())
    return vp->GetName();
  const PluginEntry* entry = App().plugins.Find(vp->GetType());
  return entry && entry->name.IsPopulated() ? entry->name : String("video post ") + String::IntToString(vp->GetType());
}

/// Sample positions within a pixel, relative to its centre and averaging to it. A square count
/// is a grid; any other is one sample per row and per column (n-rooks), the rows stepped through
/// by a stride near the golden ratio so the samples spread over the pixel.
std::vector<std::pair<Float, Float>> SampleOffsets(Int32 samples)
{
  std::vector<std::pair<Float, Float>> offsets;
  const Int32 side = static_cast<Int32>(std::lround(std::sqrt(static_cast<Float>(samples))));
  if (side * side == samples)
  {
    for (Int32 r = 0; r < side; ++r)
      for (Int32 c = 0; c < side; ++c)
        offsets.emplace_back((c + 0.5) / side - 0.5, (r + 0.5) / side - 0.5);
    return offsets;
  }
  Int32 stride = std::max<Int32>(1, static_cast<Int32>(std::lround(samples * 0.618)));
  while (std::gcd(stride, samples) != 1)
    ++stride;
  for (Int32 i = 0; i < samples; ++i)
    offsets.emplace_back((i + 0.5) / samples - 0.5, ((i * stride) % samples + 0.5) / samples - 0.5);
  return offsets;
}

/// The frame size in the settings, checked; false with a message.
Bool ReadSize(const BaseContainer& settings, Int32& width, Int32& height, String* error)
{
  const Float w = settings.GetFloat(RDATA_XRES), h = settings.GetFloat(RDATA_YRES);
  if (!(w >= 1.0 && h >= 1.0))
  {
    *error = Str("render size " + std::to_string(std::lround(std::isfinite(w) ? w : 0.0)) + " x " +
                 std::to_string(std::lround(std::isfinite(h) ? h : 0.0)) + ": width and height must be at least 1 pixel");
    return false;
  }
  if (w > kMaxSide || h > kMaxSide)
  {
    *error = Str("render size " + std::to_string(static_cast<long long>(std::min(w, 1e18))) + " x " +
                 std::to_string(static_cast<long long>(std::min(h, 1e18))) + ": at most " + std::to_string(kMaxSide) +
                 " pixels a side");
    return false;
  }
  width = static_cast<Int32>(w);
  height = static_cast<Int32>(h);
  return true;
}

/// Bytes of memory the machine has; infinite where the system doesn't say.
double PhysicalMemory()
{
  const long pages = sysconf(_SC_PHYS_PAGES), pageSize = sysconf(_SC_PAGE_SIZE);
  return pages > 0 && pageSize > 0 ? static_cast<double>(pages) * static_cast<double>(pageSize)
                                   : std::numeric_limits<double>::infinity();
}

/// Whether the buffers of a render fit into the machine's memory; false with a message.
Bool CheckMemory(Int32 width, Int32 height, Int32 images, Bool keepImages, String* error)
{
  const double pixels = static_cast<double>(width) * height;
  // RGBA float buffer, the frame's bitmap with alpha, and with a merge each image and the result.
  const double bytes = pixels * (16.0 + 16.0 + (keepImages ? (images + 1.0) * 12.0 : 0.0));
  const double memory = PhysicalMemory();
  if (bytes > memory)
  {
    *error = Str("render size " + std::to_string(width) + " x " + std::to_string(height) + " with " +
                 std::to_string(images) + " image(s) per frame needs " + std::to_string(std::llround(bytes / 1048576.0)) +
                 " MiB, more than the machine's " + std::to_string(std::llround(memory / 1048576.0)) + " MiB");
    return false;
  }
  return true;
}

class RenderLoop
{
public:
  RenderLoop(BaseDocument* d, const RenderOptions& o, String* e)
    : doc(d), options(o), error(e), device(o.threads), arena(o.threads > 0 ? o.threads : tbb::task_arena::automatic),
      scene(device.Get())
  {
  }

  /// Whether the render stopped at its input, before any video post ran.
  Bool inputRejected = false;

  Bool Run(BitmapPtr* firstFrame);

private:
  Bool Prepare();
  Bool Start();
  Bool RenderFrame(size_t frameIndex, BitmapPtr* firstFrame);
  /// Execute of every video post at a stage; false with a message at the first failure.
  Bool Stage(VIDEOPOSTCALL stage, Bool open, const BaseTime& time);
  /// Closes the frame sequence after a failure, keeping the failure's message.
  void Abort(const BaseTime& time);
  void Notify(Bool start);
  Bool SetupCamera(Int32 image);
  void TraceImage(size_t imagesBefore);
  /// Copies the finished image out of the buffer, rows in parallel.
  void KeepImage(RenderBitmap* target);
  void TraceTile(Int64 tile);
  void Report(Float done);

  Bool Fail(const String& message)
  {
    *error = message;
    return false;
  }

  BaseDocument* doc;
  const RenderOptions& options;
  String* error;
  EmbreeDevice device;
  tbb::task_arena arena;
  RenderScene scene;
  PictureCache pictures;

  RenderData* renderData = nullptr;
  std::vector<VideoPost> videoPosts;
  std::vector<const VideoPost*> pixelPosts;
  const VideoPost* lens = nullptr;
  std::unique_ptr<RunningRender> render;
  std::vector<Frame> frames;
  Int32 width = 0, height = 0;
  Int32 imageCount = 1;
  std::vector<std::pair<Bool, Matrix>> eyes; ///< per image: whether the video post gave a camera, and its matrix
  Bool withAlpha = false;
  Bool merging = false;

  ImageBuffer buffer;
  std::unique_ptr<RenderBitmap, BitmapFree> firstImage;          ///< each frame's first image, without a merge
  std::vector<std::unique_ptr<RenderBitmap, BitmapFree>> images; ///< a merge's images, the first with alpha
  std::unique_ptr<RenderBitmap, BitmapFree> merged;

  // Per image, read by the render threads.
  std::vector<std::pair<Float, Float>> offsets;
  Float32 sampleWeight = 1.0f;
  PinholeCamera pinhole;
  Int64 tilesX = 0, tileCount = 0;

  // Progress, touched only on the calling thread.
  std::thread::id caller;
  Float progressShown = -1.0;
  size_t imagesTotal = 1;
};

Bool RenderLoop::Run(BitmapPtr* firstFrame)
{
  if (!device.Get())
    return Fail(Str("the ray tracer could not start (Embree error " + std::to_string(rtcGetDeviceError(nullptr)) + ")"));
  if (!Prepare())
  {
    inputRejected = true;
    return false;
  }

  TimeRestore timeRestore(doc);
  RunningMark running(options.editorRender);
  Notify(true);
  Bool ok = Start();
  if (ok)
  {
    // Once the sequence is open, a failure still closes it, so video posts can clean up.
    size_t f = 0;
    ok = Stage(VIDEOPOSTCALL_FRAMESEQUENCE, true, frames.front().time);
    while (ok && f < frames.size())
      ok = RenderFrame(f++, firstFrame);
    if (ok)
      ok = Stage(VIDEOPOSTCALL_FRAMESEQUENCE, false, frames.back().time);
    else
      Abort(frames[f > 0 ? f - 1 : 0].time);
  }
  Notify(false);
  if (ok)
    Report(1.0);
  return ok;
}

/// Everything that can be checked before a video post is called.
Bool RenderLoop::Prepare()
{
  if (options.samples < 1 || options.samples > RenderOptions::kMaxSamples)
    return Fail(Str("samples per pixel must be 1 to " + std::to_string(RenderOptions::kMaxSamples) + ", not " +
                    std::to_string(options.samples)));
  if (options.threads < 0)
    return Fail(Str("the thread count must be 0 (all cores) or more, not " + std::to_string(options.threads)));
  if (options.width < 0 || options.height < 0)
    return Fail(Str("render size " + std::to_string(options.width) + " x " + std::to_string(options.height) +
                    ": width and height must be at least 1 pixel"));
  renderData = doc->GetActiveRenderData();
  if (!renderData)
    return Fail(String("the document has no render settings"));

  BaseContainer settings = renderData->GetData();
  if (options.width > 0)
    settings.SetInt32(RDATA_XRES, options.width);
  if (options.height > 0)
    settings.SetInt32(RDATA_YRES, options.height);
  if (!ReadSize(settings, width, height, error) || !CheckMemory(width, height, 1, false, error))
    return false;
  render = std::make_unique<RunningRender>(settings);

  // Frames: the document's current time, or the range at the settings' frame rate.
  Float fps = settings.GetFloat(RDATA_FRAMERATE, doc->GetFps());
  if (!(fps > 0.0) || !std::isfinite(fps))
    fps = doc->GetFps() > 0 ? doc->GetFps() : 30;
  if (!options.firstFrame && !options.lastFrame)
    frames.push_back(Frame{doc->GetTime().GetFrame(fps), doc->GetTime()});
  else
  {
    const Int32 first = options.firstFrame ? *options.firstFrame : *options.lastFrame;
    const Int32 last = options.lastFrame ? *options.lastFrame : first;
    if (last < first)
      return Fail(Str("frame range " + std::to_string(first) + " to " + std::to_string(last) + " is empty"));
    if (static_cast<Int64>(last) - first >= kMaxFrames)
      return Fail(Str("frame range " + std::to_string(first) + " to " + std::to_string(last) + " has more than " +
                      std::to_string(kMaxFrames) + " frames"));
    for (Int64 f = first; f <= last; ++f)
      frames.push_back(Frame{static_cast<Int32>(f), BaseTime(static_cast<Float>(f), fps)});
  }

  // The first frame's scene, so that a broken mesh or a missing picture stops the render here.
  if (!scene.Build(doc, pictures, error))
    return false;

  for (BaseVideoPost* vp = renderData->GetFirstVideoPost(); vp; vp = vp->GetNext())
  {
    auto* data = dynamic_cast<VideoPostData*>(vp->GetNodeData());
    if (data && !vp->GetBit(BIT_VPDISABLED))
      videoPosts.push_back(VideoPost{vp, data, 0});
  }
  offsets = SampleOffsets(options.samples);
  sampleWeight = 1.0f / static_cast<Float32>(offsets.size());
  caller = std::this_thread::get_id();
  return true;
}

void RenderLoop::Notify(Bool start)
{
  RenderNotificationData data;
  data.start = start;
  data.external = !options.editorRender;
  data.doc = doc;
  for (const VideoPost& vp : videoPosts)
    vp.node->Message(MSG_MULTI_RENDERNOTIFICATION, &data);
}

Bool RenderLoop::Stage(VIDEOPOSTCALL stage, Bool open, const BaseTime& time)
{
  VideoPostStruct vps;
  vps.vp = stage;
  vps.open = open;
  vps.time = time;
  vps.doc = doc;
  vps.render = render.get();
  for (const VideoPost& vp : videoPosts)
  {
    const RENDERRESULT result = vp.data->Execute(vp.node, &vps);
    if (result != RENDERRESULT_OK)
      return Fail(VideoPostName(vp.node) + Str(std::string(" failed at the ") + (open ? "opening" : "closing") + " of " +
                                               StageName(stage) + " (result " + std::to_string(result) + ")"));
  }
  return true;
}

void RenderLoop::Abort(const BaseTime& time)
{
  const String message = *error;
  Stage(VIDEOPOSTCALL_FRAMESEQUENCE, false, time);
  *error = message;
}

/// Buffers, render info and the images per frame, up to the opening of the frame sequence.
Bool RenderLoop::Start()
{
  for (VideoPost& vp : videoPosts)
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
  if (settings.GetBool(RDATA_STEREO) && lens)
  {
    const Int32 count = lens->data->StereoGetCameraCountRenderer(lens->node, doc, renderData);
    if (count > kMaxImages)
      return Fail(VideoPostName(lens->node) + Str(" asks for " + std::to_string(count) + " images per frame, more than " +
                                                  std::to_string(kMaxImages)));
    imageCount = count > 1 ? count : 1;
    eyes.assign(static_cast<size_t>(imageCount), {false, Matrix()});
    BaseDraw* view = doc->GetRenderBaseDraw();
    for (Int32 i = 0; i < imageCount; ++i)
    {
      StereoCameraInfo info;
      if (lens->data->StereoGetCameraInfo(lens->node, doc, view, renderData, i, info))
        eyes[static_cast<size_t>(i)] = {true, info.m};
    }
  }
  merging = imageCount > 1 && !options.editorRender;
  if (!CheckMemory(width, height, imageCount, merging, error))
    return false;

  Bool allocated = buffer.Init(width, height);
  if (!merging)
  {
    firstImage.reset(RenderBitmap::Alloc());
    allocated = allocated && firstImage && firstImage->Init(width, height, withAlpha);
  }
  // A merge reads colours only, so its first image keeps the alpha and stands in as the frame's
  // picture when the merge fails: one frame-sized copy less.
  for (Int32 i = 0; merging && allocated && i < imageCount; ++i)
  {
    images.emplace_back(RenderBitmap::Alloc());
    allocated = images.back() && images.back()->Init(width, height, i == 0 && withAlpha);
  }
  if (merging && allocated)
  {
    merged.reset(RenderBitmap::Alloc());
    allocated = merged && merged->Init(width, height, false);
  }
  if (!allocated)
    return Fail(Str("out of memory for the buffers of a " + std::to_string(width) + " x " + std::to_string(height) +
                    " render"));
  render->SetImage(&buffer);
  tilesX = (width + kTileSize - 1) / kTileSize;
  tileCount = tilesX * ((height + kTileSize - 1) / kTileSize);
  imagesTotal = frames.size() * static_cast<size_t>(imageCount);
  Report(0.0);
  return true;
}

Bool RenderLoop::RenderFrame(size_t frameIndex, BitmapPtr* firstFrame)
{
  const Frame& frame = frames[frameIndex];
  doc->SetTime(frame.time);
  if (!Stage(VIDEOPOSTCALL_FRAME, true, frame.time))
    return false;
  if (frameIndex > 0 && !scene.Build(doc, pictures, error))
    return false;

  for (Int32 i = 0; i < imageCount; ++i)
  {
    if (!Stage(VIDEOPOSTCALL_RENDER, true, frame.time))
      return false;
    if (!lens && !SetupCamera(i))
      return false;
    TraceImage(frameIndex * static_cast<size_t>(imageCount) + static_cast<size_t>(i));
    if (!Stage(VIDEOPOSTCALL_RENDER, false, frame.time))
      return false;
    if (merging || i == 0)
      KeepImage(merging ? images[static_cast<size_t>(i)].get() : firstImage.get());
  }
  if (!Stage(VIDEOPOSTCALL_FRAME, false, frame.time))
    return false;

  std::unique_ptr<RenderBitmap, BitmapFree>* picture = merging ? &images.front() : &firstImage;
  if (merging)
  {
    std::vector<const BaseBitmap*> sources;
    for (const auto& bmp : images)
      sources.push_back(bmp.get());
    if (lens->data->StereoMergeImages(lens->node, merged.get(), sources.data(), imageCount))
      picture = &merged;
  }
  if (options.frameDone && !options.frameDone(frame.number, **picture))
    return Fail(Str("the render was stopped after frame " + std::to_string(frame.number)));
  if (frameIndex == 0 && firstFrame)
  {
    // A single frame hands its bitmap over; a sequence keeps it for the frames to come.
    firstFrame->reset(frames.size() == 1 ? picture->release() : (*picture)->GetClone());
    if (!*firstFrame)
      return Fail(String("out of memory for the first frame's picture"));
  }
  return true;
}

/// The host's pinhole for an image: the video post's stereo camera, else the render camera.
Bool RenderLoop::SetupCamera(Int32 image)
{
  const BaseObject* camera = render::FindRenderCamera(doc);
  const auto& eye = eyes[static_cast<size_t>(image) < eyes.size() ? static_cast<size_t>(image) : 0];
  const Matrix mg = eye.first ? eye.second : (camera ? camera->GetMg() : Matrix());
  return render::SetupPinhole(camera, mg, width, height, pinhole, error);
}

void RenderLoop::Report(Float done)
{
  // Steps of a thousandth keep a terminal's progress line from flooding.
  if (!options.progress || (done < 1.0 && done - progressShown < 0.001))
    return;
  progressShown = done;
  options.progress(done);
}

void RenderLoop::TraceImage(size_t imagesBefore)
{
  std::atomic<Int64> tilesDone{0};
  arena.execute([&] {
    tbb::parallel_for(tbb::blocked_range<Int64>(0, tileCount, 1), [&](const tbb::blocked_range<Int64>& range) {
      for (Int64 t = range.begin(); t != range.end(); ++t)
        TraceTile(t);
      const Int64 done = tilesDone.fetch_add(static_cast<Int64>(range.size())) + static_cast<Int64>(range.size());
      // Only the calling thread reports, so the callback needs no lock.
      if (options.progress && std::this_thread::get_id() == caller)
        Report((static_cast<Float>(imagesBefore) + static_cast<Float>(done) / static_cast<Float>(tileCount)) /
               static_cast<Float>(imagesTotal));
    });
  });
}

void RenderLoop::KeepImage(RenderBitmap* target)
{
  arena.execute([&] {
    tbb::parallel_for(tbb::blocked_range<Int32>(0, height, 16), [&](const tbb::blocked_range<Int32>& rows) {
      target->CopyRows(buffer, rows.begin(), rows.end());
    });
  });
}

void RenderLoop::TraceTile(Int64 tile)
{
  const Int32 x0 = static_cast<Int32>(tile % tilesX) * kTileSize;
  const Int32 y0 = static_cast<Int32>(tile / tilesX) * kTileSize;
  const Int32 x1 = std::min(x0 + kTileSize, width), y1 = std::min(y0 + kTileSize, height);
  const size_t sampleCount = offsets.size();
  VideoPostData* const lensData = lens ? lens->data : nullptr;
  // The ray through image position (sx, sy): the lens's, or the host's own pinhole's.
  auto shoot = [&](Float sx, Float sy) {
    Ray ray;
    if (lensData)
      lensData->CreateRay(&ray, sx, sy);
    else
    {
      ray.p = pinhole.origin;
      ray.v = pinhole.Direction(sx, sy);
    }
    return ray;
  };

  if (options.directionPass)
  {
    for (Int32 y = y0; y < y1; ++y)
      for (Int32 x = x0; x < x1; ++x)
      {
        const Ray ray = shoot(x, y);
        const Float len2 = ray.v.GetSquaredLength();
        const Bool valid = len2 > 0.0 && std::isfinite(len2);
        const Vector d = valid ? ray.v / std::sqrt(len2) : Vector();
        Float32* px = buffer.Pixel(x, y);
        px[0] = static_cast<Float32>(d.x);
        px[1] = static_cast<Float32>(d.y);
        px[2] = static_cast<Float32>(d.z);
        px[3] = valid ? 1.0f : 0.0f;
      }
    return;
  }

  for (Int32 y = y0; y < y1; ++y)
    for (Int32 x = x0; x < x1; ++x)
    {
      Float32 r = 0.0f, g = 0.0f, b = 0.0f, a = 0.0f;
      for (size_t s = 0; s < sampleCount; ++s)
      {
        const Ray ray = shoot(x + offsets[s].first, y + offsets[s].second);
        // A ray without a direction (or a broken one) sees nothing: black, uncovered.
        const Float len2 = ray.v.GetSquaredLength();
        if (!(len2 > 0.0) || !std::isfinite(len2) || !std::isfinite(ray.p.GetSquaredLength()))
          continue;
        const Rgba c = scene.Trace(ray.p, ray.v / std::sqrt(len2));
        r += c.r;
        g += c.g;
        b += c.b;
        a += c.a;
      }
      Float32* px = buffer.Pixel(x, y);
      px[0] = r * sampleWeight;
      px[1] = g * sampleWeight;
      px[2] = b * sampleWeight;
      px[3] = a * sampleWeight;
      if (!pixelPosts.empty())
      {
        PixelPost pp;
        pp.line = y;
        pp.col = px;
        pp.comp = 4;
        for (const VideoPost* vp : pixelPosts)
          vp->data->ExecutePixel(vp->node, &pp, x, 0, 0);
      }
    }
}
} // namespace

Bool RenderDocument(BaseDocument* doc, const RenderOptions& options, BitmapPtr* firstFrame, String* error,
                    Bool* badInput)
{
  if (badInput)
    *badInput = false;
  String ignored;
  String* message = error ? error : &ignored;
  if (firstFrame)
    firstFrame->reset();
  if (!doc)
  {
    *message = String("no document to render");
    return false;
  }
  RenderLoop loop(doc, options, message);
  if (loop.Run(firstFrame))
    return true;
  if (badInput)
    *badInput = loop.inputRejected;
  if (firstFrame)
    firstFrame->reset();
  return false;
}

void JoinRenderThreads()
{
  oneapi::tbb::task_scheduler_handle handle(oneapi::tbb::attach{});
  oneapi::tbb::finalize(handle, std::nothrow);
}
} // namespace host
