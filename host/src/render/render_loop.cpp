// The host's render loop: video post stages around ray-traced images, tiles in parallel.
#include "render/render_loop.h"

#include <embree3/rtcore.h>
#include <oneapi/tbb/global_control.h>
#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "host_app.h"
#include "panel.h"
#include "render/render_buffers.h"
#include "render/render_limits.h"
#include "render/render_picture.h"
#include "render/render_scene.h"
#include "render/render_stages.h"
#include "render/render_tiles.h"

namespace host
{
namespace
{
using render::Frame;
using render::PictureCache;
using render::RenderBitmap;
using render::RenderScene;

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

using BitmapHolder = std::unique_ptr<RenderBitmap, BitmapFree>;

class RenderLoop final : public render::RenderStages
{
public:
  RenderLoop(BaseDocument* d, const RenderOptions& o, String* e)
    : RenderStages(d, o, e), device(o.threads), arena(o.threads > 0 ? o.threads : tbb::task_arena::automatic),
      scene(device.Get())
  {
  }

  /// Whether the render stopped at its input: before any video post ran, or at a request the
  /// frame can't meet (a data pass through a merge that mixes).
  Bool inputRejected = false;

  Bool Run(BitmapPtr* firstFrame);

private:
  Bool Prepare();
  Bool AfterStart() override;
  Bool InsideSequence(size_t& next, size_t end) override;
  Bool RenderFrame(size_t frameIndex);
  /// How the video post lays out its frame, learned once a sequence: which tiles of each image it
  /// reads, and for a data pass (never mixed) or views where each pixel comes from.
  Bool LearnMergeLayout();
  /// Hands the frame's picture on: to frameDone, and the first frame to the caller.
  Bool FrameDone(size_t frameIndex, BitmapHolder* picture);
  /// The rectangles of the frame that make its views, learned with the merge.
  Bool LearnViews();
  Bool ViewsDone(const Frame& frame, const RenderBitmap& picture);
  Bool SetupCamera(Int32 image);
  void TraceImage(Int32 image, size_t imagesBefore);
  /// Keeps the traced image of index `image` cropped to its content.
  Bool KeepCropped(Int32 image);
  Bool Cancelled() const { return options.cancel && options.cancel->load(std::memory_order_relaxed); }
  /// Copies the finished image out of the buffer, rows in parallel.
  void KeepImage(RenderBitmap* target);
  void Report(Float done);

  EmbreeDevice device;
  tbb::task_arena arena;
  RenderScene scene;
  PictureCache pictures;
  BitmapPtr* firstFrame = nullptr;
  Bool merging = false;

  render::ImageBuffer buffer;
  BitmapHolder firstImage;          ///< each frame's first image, without a merge
  std::vector<BitmapHolder> images; ///< a merge's images, the first with alpha
  BitmapHolder merged;
  render::TileTracer tracer;
  Bool passMergeLearned = false;
  /// Per image of a merge, the tiles the merge reads from it, which are all that is traced;
  /// empty where every tile is.
  std::vector<std::vector<Int64>> tilesRead;
  std::vector<std::vector<Bool>> tileMasks; ///< the same tiles, by tile index, for the crop
  std::array<Int32, 3> learnedFor{0, 0, 0}; ///< width, height and image count of the learned layout
  render::MergeKind passMerge = render::MergeKind::Declines;
  render::PassSelection passSelection;
  std::vector<render::FrameArea> viewAreas;

  // Progress, touched only on the calling thread.
  std::thread::id caller;
  Float progressShown = -1.0;
  size_t imagesTotal = 1;
};

Bool RenderLoop::Run(BitmapPtr* first)
{
  firstFrame = first;
  if (!device.Get())
    return Fail(String("the ray tracer could not start (Embree error " + std::to_string(rtcGetDeviceError(nullptr)) +
                       ")"));
  if (!Prepare())
  {
    inputRejected = true;
    return false;
  }
  const Bool ok = Drive();
  if (ok)
    Report(1.0);
  return ok;
}

/// Everything that can be checked before a video post is called.
Bool RenderLoop::Prepare()
{
  if (!CheckInput())
    return false;
  // The first frame's scene, so that a broken mesh or a missing picture stops the render here.
  EvaluateFrame(0);
  if (!scene.Build(doc, pictures, error))
    return false;
  GatherVideoPosts();
  tracer.SetSamples(options.samples);
  caller = std::this_thread::get_id();
  return true;
}

Bool RenderLoop::AfterStart()
{
  merging = imageCount > 1 && !options.editorRender;
  // Too large for memory is the request's fault whether one image or several make the frame. A
  // shaded frame keeps each image cropped to what it holds, which no more than two images of a
  // stereo pair spread over the whole frame; a data pass learns its layout from whole images.
  const Bool learnsLayout = options.pass != RenderPass::Shaded || options.viewsDone;
  if (!render::CheckMemory(width, height, learnsLayout ? imageCount : std::min(imageCount, 2), merging, error))
  {
    inputRejected = true;
    return false;
  }

  // A sequence whose settings may differ from the last one's learns its layout again; where only
  // cameras move, the layout stays.
  images.clear();
  firstImage.reset();
  merged.reset();
  const std::array<Int32, 3> layoutKey{width, height, imageCount};
  if (settingsMove || layoutKey != learnedFor)
  {
    passMergeLearned = false;
    tilesRead.clear();
    tileMasks.clear();
    viewAreas.clear();
  }
  learnedFor = layoutKey;
  Bool allocated = buffer.Init(width, height);
  if (!merging)
  {
    firstImage.reset(RenderBitmap::Alloc());
    allocated = allocated && firstImage && firstImage->Init(width, height, withAlpha);
  }
  // A merge's images are made as each is traced, cropped to what it holds; the merged frame is
  // made once the last one is in, after the buffer has gone.
  if (merging)
    images.resize(static_cast<size_t>(imageCount));
  if (!allocated)
    return Fail(String("out of memory for the buffers of a " + std::to_string(width) + " x " +
                       std::to_string(height) + " render"));
  render->SetImage(&buffer);
  tracer.scene = &scene;
  tracer.buffer = &buffer;
  tracer.lens = lens ? lens->data : nullptr;
  tracer.pixelPosts = &pixelPosts;
  tracer.pass = options.pass;
  tracer.SetFrame(width, height);
  imagesTotal = frames.size() * static_cast<size_t>(imageCount);
  Report(0.0);
  return true;
}

Bool RenderLoop::InsideSequence(size_t& next, size_t end)
{
  Bool ok = true;
  while (ok && next < end)
    ok = RenderFrame(next++);
  return ok;
}

Bool RenderLoop::RenderFrame(size_t frameIndex)
{
  const Frame& frame = frames[frameIndex];
  EvaluateFrame(frameIndex);
  if (!Stage(VIDEOPOSTCALL_FRAME, true, frame.time))
    return false;
  if (frameIndex > 0 && !scene.Build(doc, pictures, error))
    return false;
  if (!buffer.Holds(width, height) && !buffer.Init(width, height))
    return Fail(String("out of memory for the image buffer of a " + std::to_string(width) + " x " +
                       std::to_string(height) + " render"));
  if (merging && !passMergeLearned && !LearnMergeLayout())
    return false;
  if (options.viewsDone && viewAreas.empty() && !LearnViews())
    return false;

  for (Int32 i = 0; i < imageCount; ++i)
  {
    if (!Stage(VIDEOPOSTCALL_RENDER, true, frame.time))
      return false;
    if (!lens && !SetupCamera(i))
      return false;
    TraceImage(i, frameIndex * static_cast<size_t>(imageCount) + static_cast<size_t>(i));
    if (Cancelled())
      return Fail(String("the render was cancelled"));
    if (frameIndex == 0 && i == 0 && options.probeRays)
      for (const auto& [x, y] : options.probe)
        options.probeRays->push_back(tracer.Shoot(x, y));
    if (!Stage(VIDEOPOSTCALL_RENDER, false, frame.time))
      return false;
    if (merging && !KeepCropped(i))
      return false;
    if (!merging && i == 0)
      KeepImage(firstImage.get());
  }
  if (!Stage(VIDEOPOSTCALL_FRAME, false, frame.time))
    return false;

  // A merge keeps at most the images, each cropped, and the frame: the buffer goes first.
  if (merging)
  {
    buffer.Release();
    merged.reset(RenderBitmap::Alloc());
    if (!merged || !merged->Init(width, height, false))
      return Fail(String("out of memory for the merged frame of a " + std::to_string(width) + " x " +
                         std::to_string(height) + " render"));
  }
  BitmapHolder* picture = merging ? &images.front() : &firstImage;
  if (merging)
  {
    std::vector<const BaseBitmap*> sources;
    std::vector<const RenderBitmap*> passImages;
    for (const auto& bmp : images)
      sources.push_back(bmp.get()), passImages.push_back(bmp.get());
    if (options.pass != RenderPass::Shaded)
    {
      if (passMerge == render::MergeKind::Selects)
      {
        render::ApplySelection(passSelection, passImages, *merged);
        picture = &merged;
      }
    }
    else if (lens->data->StereoMergeImages(lens->node, merged.get(), sources.data(), imageCount))
      picture = &merged;
  }
  const Bool done = FrameDone(frameIndex, picture);
  if (merging)
  {
    merged.reset();
    for (BitmapHolder& image : images)
      image.reset();
  }
  return done;
}

Bool RenderLoop::LearnMergeLayout()
{
  passMergeLearned = true;
  // The images are made as the merge reads them; only the learning frame takes memory.
  BitmapHolder frame(RenderBitmap::Alloc());
  if (!frame || !frame->Init(width, height, false))
    return Fail(String("out of memory for learning how the frame is laid out"));
  const Bool wantsPixels = options.pass != RenderPass::Shaded || options.viewsDone;
  if (wantsPixels)
  {
    const size_t n = static_cast<size_t>(width) * static_cast<size_t>(height);
    passSelection.width = width, passSelection.height = height;
    passSelection.image.assign(n, -1), passSelection.x.assign(n, 0), passSelection.y.assign(n, 0);
  }
  const Int64 tiles = tracer.tileCount;
  std::vector<std::vector<Bool>> read(static_cast<size_t>(imageCount), std::vector<Bool>(static_cast<size_t>(tiles), false));
  passMerge = render::LearnMerge(lens->data, lens->node, imageCount, width, height, *frame,
                                 [&](Int32 fx, Int32 fy, Int32 k, Int32 x, Int32 y) {
                                   read[static_cast<size_t>(k)][static_cast<size_t>(tracer.TileOf(x, y))] = true;
                                   if (wantsPixels)
                                     render::Select(passSelection, fx, fy, k, x, y);
                                 });
  // A frame that takes each pixel from one place of one image needs no other pixel of it.
  tilesRead.clear();
  tileMasks.clear();
  if (passMerge == render::MergeKind::Selects)
  {
    tileMasks = std::move(read);
    for (const std::vector<Bool>& mask : tileMasks)
    {
      tilesRead.emplace_back();
      for (Int64 t = 0; t < tiles; ++t)
        if (mask[static_cast<size_t>(t)])
          tilesRead.back().push_back(t);
    }
  }
  if (passMerge != render::MergeKind::Mixes || options.pass == RenderPass::Shaded)
    return true;
  inputRejected = true;
  return Fail(String("the pass can't be made of this frame: the video post merges its " +
                     std::to_string(imageCount) +
                     " images by mixing them pixel by pixel (as an anaglyph does), and a pass holds data that "
                     "don't mix; render the pass with a layout that places each image (side by side, one above "
                     "the other, interlaced or one image)"));
}

Bool RenderLoop::FrameDone(size_t frameIndex, BitmapHolder* picture)
{
  const Frame& frame = frames[frameIndex];
  if (options.viewsDone && !ViewsDone(frame, **picture))
    return false;
  if (!options.viewsDone && options.frameDone && !options.frameDone(frame.number, **picture))
    return Fail(String("the render was stopped after frame " + std::to_string(frame.number)));
  if (frameIndex == 0 && firstFrame)
  {
    // A single frame hands its bitmap over; a sequence keeps it for the frames to come.
    firstFrame->reset(frames.size() == 1 ? picture->release() : (*picture)->GetClone());
    if (!*firstFrame)
      return Fail(String("out of memory for the first frame's picture"));
  }
  return true;
}

Bool RenderLoop::LearnViews()
{
  inputRejected = true;
  if (!merging || imageCount != 2)
    return Fail(String("views need a frame of two images, a stereo pair; this frame " +
                       (merging ? "has " + std::to_string(imageCount) + " images" : std::string("is one image"))));
  std::string problem = passMerge == render::MergeKind::Mixes
                          ? "the video post mixes its images pixel by pixel (as an anaglyph does)"
                          : "the video post doesn't merge its images";
  if (passMerge == render::MergeKind::Selects)
    viewAreas = render::ImageAreas(passSelection, imageCount, problem);
  if (viewAreas.empty())
    return Fail(String("the frame can't be cut into views: " + problem +
                       "; render views of a pair laid side by side or one above the other"));
  inputRejected = false;
  return true;
}

Bool RenderLoop::ViewsDone(const Frame& frame, const RenderBitmap& picture)
{
  std::vector<BitmapHolder> parts;
  std::vector<const BaseBitmap*> views;
  for (const render::FrameArea& area : viewAreas)
  {
    parts.emplace_back(render::CopyArea(picture, area));
    if (!parts.back())
      return Fail(String("out of memory for the views of a frame"));
    views.push_back(parts.back().get());
  }
  if (!options.viewsDone(frame.number, views))
    return Fail(String("the render was stopped after frame " + std::to_string(frame.number)));
  return true;
}

/// The host's pinhole for an image: the video post's stereo camera, else the render camera.
Bool RenderLoop::SetupCamera(Int32 image)
{
  const BaseObject* camera = render::FindRenderCamera(doc);
  const auto& eye = eyes[static_cast<size_t>(image) < eyes.size() ? static_cast<size_t>(image) : 0];
  const Matrix mg = eye.first ? eye.second : (camera ? camera->GetMg() : Matrix());
  return render::SetupPinhole(camera, mg, width, height, tracer.pinhole, error);
}

void RenderLoop::Report(Float done)
{
  // Steps of a thousandth keep a terminal's progress line from flooding.
  if (!options.progress || (done < 1.0 && done - progressShown < 0.001))
    return;
  progressShown = done;
  options.progress(done);
}

void RenderLoop::TraceImage(Int32 image, size_t imagesBefore)
{
  const std::vector<Int64>* list = static_cast<size_t>(image) < tilesRead.size() ? &tilesRead[static_cast<size_t>(image)] : nullptr;
  std::atomic<Int64> tilesDone{0};
  const Int64 tileCount = list ? static_cast<Int64>(list->size()) : tracer.tileCount;
  arena.execute([&] {
    tbb::parallel_for(tbb::blocked_range<Int64>(0, tileCount, 1), [&](const tbb::blocked_range<Int64>& range) {
      for (Int64 t = range.begin(); t != range.end() && !Cancelled(); ++t)
        tracer.TraceTile(list ? (*list)[static_cast<size_t>(t)] : t);
      const Int64 done = tilesDone.fetch_add(static_cast<Int64>(range.size())) + static_cast<Int64>(range.size());
      // Only the calling thread reports, so the callback needs no lock.
      if (options.progress && std::this_thread::get_id() == caller)
        Report((static_cast<Float>(imagesBefore) + static_cast<Float>(done) / static_cast<Float>(tileCount)) /
               static_cast<Float>(imagesTotal));
    });
  });
}

Bool RenderLoop::KeepCropped(Int32 image)
{
  // Tiles that weren't traced hold what an earlier image left: they count as transparent black.
  const Int32 tile = render::TileTracer::kTileSize;
  const Int64 tilesX = tracer.tilesX;
  static const std::vector<Bool> everyTile;
  const std::vector<Bool>& traced = static_cast<size_t>(image) < tileMasks.size() ? tileMasks[static_cast<size_t>(image)] : everyTile;
  const auto isTraced = [&](Int32 x, Int32 y) { return traced.empty() || traced[static_cast<size_t>(tracer.TileOf(x, y))]; };

  // The rectangle of the pixels that hold anything; outside it the image is transparent black.
  std::vector<Int32> first(static_cast<size_t>(height), width), last(static_cast<size_t>(height), -1);
  arena.execute([&] {
    tbb::parallel_for(tbb::blocked_range<Int32>(0, height, 16), [&](const tbb::blocked_range<Int32>& rows) {
      for (Int32 y = rows.begin(); y < rows.end(); ++y)
        for (Int32 x0 = 0; x0 < width; x0 += tile)
        {
          if (!isTraced(x0, y))
            continue;
          const Int32 x1 = std::min(width, x0 + tile);
          const Float32* px = buffer.Pixel(x0, y);
          for (Int32 x = x0; x < x1; ++x, px += 4)
            if (px[0] != 0.0f || px[1] != 0.0f || px[2] != 0.0f || px[3] != 0.0f)
            {
              first[static_cast<size_t>(y)] = std::min(first[static_cast<size_t>(y)], x);
              last[static_cast<size_t>(y)] = x;
            }
        }
    });
  });
  Int32 x0 = width, x1 = -1, y0 = height, y1 = -1;
  for (Int32 y = 0; y < height; ++y)
    if (last[static_cast<size_t>(y)] >= 0)
    {
      x0 = std::min(x0, first[static_cast<size_t>(y)]), x1 = std::max(x1, last[static_cast<size_t>(y)]);
      y0 = std::min(y0, y), y1 = y;
    }
  if (x1 < 0) // an image of nothing keeps one pixel
    x0 = x1 = y0 = y1 = 0;
  if (!traced.empty())
    for (Int64 ty = y0 / tile; ty <= y1 / tile; ++ty)
      for (Int64 tx = x0 / tile; tx <= x1 / tile; ++tx)
        if (!traced[static_cast<size_t>(ty * tilesX + tx)])
          for (Int32 y = static_cast<Int32>(ty) * tile; y < std::min(height, static_cast<Int32>(ty + 1) * tile); ++y)
            std::fill_n(buffer.Pixel(static_cast<Int32>(tx) * tile, y), 4 * (std::min(width, static_cast<Int32>(tx + 1) * tile) - static_cast<Int32>(tx) * tile), 0.0f);
  BitmapHolder& kept = images[static_cast<size_t>(image)];
  kept.reset(RenderBitmap::Alloc());
  // A merge reads colours only, so only the first image keeps the alpha: it stands in as the
  // frame's picture when the video post doesn't merge.
  if (!kept || !kept->InitCrop(width, height, x0, y0, x1 - x0 + 1, y1 - y0 + 1, image == 0 && withAlpha))
    return Fail(String("out of memory for image " + std::to_string(image + 1) + " of a frame"));
  KeepImage(kept.get());
  return true;
}

void RenderLoop::KeepImage(RenderBitmap* target)
{
  arena.execute([&] {
    tbb::parallel_for(tbb::blocked_range<Int32>(0, height, 16), [&](const tbb::blocked_range<Int32>& rows) {
      target->CopyRows(buffer, rows.begin(), rows.end());
    });
  });
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
  // The host evaluates a document before it renders it; the document rendered is the active one
  // for what the render's control flow asks, which may be a copy on a thread of its own.
  ActiveDocumentScope rendering(doc);
  ExecuteExpressions(doc);
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
