// The render loop as video posts see it: stage order, stereo images and merge, rays and pixels,
// the running settings, and bad input.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <mutex>
#include <string>
#include <vector>

#include "c4d.h"
#include "animation.h"
#include "c4d_objects.h"
#include "host_app.h"
#include "render/render_loop.h"
#include "support/alloc_counter.h"

namespace
{
constexpr Int32 kRecorderId = 1999101;

/// Every call the video posts saw, in order, as "name:call" with what it was told.
std::mutex callLock;
std::vector<std::string> callLog;
/// Logs a call and gives what the video post answers.
template <typename Answer = Bool>
Answer Log(const std::string& call, Answer answer = true)
{
  std::lock_guard<std::mutex> guard(callLock);
  callLog.push_back(call);
  return answer;
}

// Sample positions since the last pixel a render thread finished.
thread_local std::vector<std::pair<Float, Float>> pendingSamples;

/// A video post that records every call and can act as a lens, switch stereo on and merge.
class Recorder : public VideoPostData
{
public:
  static NodeData* Alloc() { return new Recorder; }

  // Set up by the test. zeroLeftHalf: the left half's rays have no direction; colourByImage: red is
  // (image + 1) / 10; expectedSamples above 0: each pixel's samples are checked.
  std::string name = "A";
  Int32 info = VIDEOPOSTINFO_NONE, stereoCount = 0, expectedSamples = 0;
  Bool switchStereoOn = false, merge = true, failRenderClose = false, zeroLeftHalf = false, colourByImage = false;
  Int32 splitAt = 0; ///< above 0, the merge takes columns before it from image 0 and the rest from image 1
  // Seen.
  Int32 width = 0, height = 0, imageIndex = -1;
  Bool stereoAtSequenceOpen = false;
  std::atomic<Int64> rays{0}, badPixels{0};
  std::vector<std::atomic<Int32>> pixelCalls;
  std::vector<Float> frameTimes;

  Bool Message(GeListNode*, Int32 type, void* data) override
  {
    const auto* rn = static_cast<RenderNotificationData*>(data);
    return type != MSG_MULTI_RENDERNOTIFICATION || Log(name + (rn->start ? ":start" : ":end") + (rn->external ? " external" : " editor"));
  }

  Bool AllocateBuffers(BaseVideoPost*, Render* render, BaseDocument*) override
  {
    Log(name + ":AllocateBuffers running" + (CheckIsRunning(CHECKISRUNNING_EDITORRENDERING) ? " editor" : "") +
        (CheckIsRunning(CHECKISRUNNING_EXTERNALRENDERING) ? " external" : ""));
    BaseContainer settings = render->GetRenderData();
    width = settings.GetInt32(RDATA_XRES);
    height = settings.GetInt32(RDATA_YRES);
    pixelCalls = std::vector<std::atomic<Int32>>(static_cast<size_t>(width * height));
    settings.SetBool(RDATA_STEREO, true);
    if (switchStereoOn)
      render->SetRenderData(settings);
    return true;
  }

  VIDEOPOSTINFO GetRenderInfo(BaseVideoPost*) override { return Log(name + ":GetRenderInfo", static_cast<VIDEOPOSTINFO>(info)); }

  RENDERRESULT Execute(BaseVideoPost*, VideoPostStruct* vps) override
  {
    const Bool sequence = vps->vp == VIDEOPOSTCALL_FRAMESEQUENCE, frame = vps->vp == VIDEOPOSTCALL_FRAME;
    std::string entry = name + (sequence ? ":FRAMESEQUENCE" : frame ? ":FRAME" : ":RENDER") + (vps->open ? " open" : " close");
    if (sequence && vps->open)
      stereoAtSequenceOpen = vps->render->GetRenderData().GetBool(RDATA_STEREO);
    if (frame && vps->open)
      frameTimes.push_back(vps->time.Get());
    imageIndex += !sequence && !frame && vps->open;
    // The plug-in's slate tests show that what is drawn into this buffer reaches the picture.
    VPBuffer* rgba = !sequence && !frame && !vps->open ? vps->render->GetBuffer(VPBUFFER_RGBA, -1) : nullptr;
    if (rgba)
      entry += " buffer " + std::to_string(rgba->GetInfo(VPGETINFO_XRESOLUTION)) + "x" + std::to_string(rgba->GetInfo(VPGETINFO_YRESOLUTION)) +
               " depth " + std::to_string(rgba->GetInfo(VPGETINFO_BITDEPTH)) + " cpp " + std::to_string(rgba->GetInfo(VPGETINFO_CPP));
    return Log(entry, failRenderClose && rgba ? RENDERRESULT_OUTOFMEMORY : RENDERRESULT_OK);
  }

  Int32 StereoGetCameraCountRenderer(BaseVideoPost*, BaseDocument*, RenderData*) override
  {
    return Log(name + ":StereoGetCameraCountRenderer", stereoCount);
  }
  Bool StereoGetCameraInfo(BaseVideoPost*, BaseDocument*, BaseDraw*, RenderData*, Int32 index, StereoCameraInfo&) override
  {
    return Log(name + ":StereoGetCameraInfo " + std::to_string(index));
  }

  Bool StereoMergeImages(BaseVideoPost*, BaseBitmap* dest, const BaseBitmap* const* source, Int32 count) override
  {
    // Column x of the frame comes from image x modulo count, or split between two images.
    Float32 rgb[3];
    for (Int32 y = 0; merge && y < dest->GetBh(); ++y)
      for (Int32 x = 0; x < dest->GetBw(); ++x)
      {
        source[splitAt > 0 ? x >= splitAt : x % count]->GetPixelCnt(x, y, 1, reinterpret_cast<UChar*>(rgb), 12, COLORMODE_RGBf);
        dest->SetPixelCnt(x, y, 1, reinterpret_cast<UChar*>(rgb), 12, COLORMODE_RGBf);
      }
    return Log(name + ":StereoMergeImages " + std::to_string(count), merge);
  }

  void CreateRay(Ray* ray, Float x, Float y) override
  {
    ++rays;
    if (expectedSamples > 0)
      pendingSamples.emplace_back(x, y);
    ray->p = Vector(1, 2, 3);
    ray->v = zeroLeftHalf && std::lround(x) < width / 2 ? Vector() : Vector(0, 0, 5);
  }

  void ExecutePixel(BaseVideoPost*, PixelPost* pp, Int32 x, Int32, Int32) override
  {
    const Int32 y = pp->line;
    Bool ok = pp->comp == 4 && pp->col && x >= 0 && x < width && y >= 0 && y < height;
    if (ok)
      ++pixelCalls[static_cast<size_t>(y * width + x)];
    if (expectedSamples > 0)
    {
      // Distinct samples, each within half a pixel of the centre, centred on it together.
      Float mx = 0.0, my = 0.0;
      ok = ok && static_cast<Int32>(pendingSamples.size()) == expectedSamples;
      for (auto s = pendingSamples.begin(); s != pendingSamples.end(); ++s)
      {
        ok = ok && std::fabs(s->first - x) < 0.5 && std::fabs(s->second - y) < 0.5 && std::find(s + 1, pendingSamples.end(), *s) == pendingSamples.end();
        mx += s->first / expectedSamples;
        my += s->second / expectedSamples;
      }
      ok = ok && std::fabs(mx - x) <= 1e-9 && std::fabs(my - y) <= 1e-9;
      pendingSamples.clear();
    }
    badPixels += !ok;
    if (ok && colourByImage)
    {
      pp->col[0] = (imageIndex + 1) / 10.0f;
      pp->col[1] = pp->col[2] = 0.0f;
      pp->col[3] = 1.0f;
    }
  }
};

struct RenderLoopTest : ::testing::Test
{
  void SetUp() override
  {
    host::ResetApp();
    callLog.clear();
    ASSERT_TRUE(host::App().plugins.Add({host::PluginEntry::Kind::VideoPost, kRecorderId, String("Recorder"), 0, Recorder::Alloc}));
    doc = BaseDocument::Alloc();
    SetActiveDocument(doc);
    settings()->SetInt32(RDATA_XRES, 40);
    settings()->SetInt32(RDATA_YRES, 35);
  }
  void TearDown() override { host::ResetApp(); }

  BaseContainer* settings() { return doc->GetActiveRenderData()->GetDataInstance(); }

  Recorder* AddRecorder(const std::string& name, Int32 info, Bool disabled = false)
  {
    BaseVideoPost* vp = BaseVideoPost::Alloc(kRecorderId);
    EXPECT_NE(vp, nullptr);
    if (disabled)
      vp->SetBit(BIT_VPDISABLED);
    doc->GetActiveRenderData()->InsertVideoPostLast(vp);
    auto* rec = static_cast<Recorder*>(vp->GetNodeData());
    rec->name = name;
    rec->info = info;
    return rec;
  }

  /// RGBA of pixel (x, y).
  static std::vector<Float32> Pixel(const BaseBitmap& bmp, Int32 x, Int32 y)
  {
    Float32 argb[4];
    bmp.GetPixelCnt(x, y, 1, reinterpret_cast<UChar*>(argb), 16, COLORMODE_ARGBf);
    return {argb[1], argb[2], argb[3], argb[0]};
  }

  BaseDocument* doc = nullptr;
  host::RenderOptions options;
  host::BitmapPtr picture;
  String error;
};

constexpr Int32 kLensInfo = VIDEOPOSTINFO_CUSTOMLENS | VIDEOPOSTINFO_EXECUTEPIXEL;

/// The calls a 40 × 35 render makes to the video posts `vps` (stereo ones to the first), `merge`
/// logged after the frame closes.
std::vector<std::string> Expected(const std::vector<std::string>& vps, Int32 images, Bool stereo, const std::string& merge, Bool editor)
{
  std::vector<std::string> s;
  const auto each = [&](const std::string& call) {
    for (const std::string& vp : vps)
      s.push_back(vp + ":" + call);
  };
  each(editor ? "start editor" : "start external");
  for (const std::string& vp : vps)
    s.insert(s.end(), {vp + ":AllocateBuffers running" + (editor ? " editor" : " external"), vp + ":GetRenderInfo"});
  if (stereo)
    s.push_back(vps[0] + ":StereoGetCameraCountRenderer");
  for (Int32 i = 0; stereo && i < images; ++i)
    s.push_back(vps[0] + ":StereoGetCameraInfo " + std::to_string(i));
  each("FRAMESEQUENCE open");
  each("FRAME open");
  // The merge runs once on marker pictures first, to learn where the frame takes its pixels.
  if (!merge.empty())
    s.push_back(vps[0] + ":" + merge);
  for (Int32 i = 0; i < images; ++i)
  {
    each("RENDER open");
    each("RENDER close buffer 40x35 depth 32 cpp 4");
  }
  each("FRAME close");
  if (!merge.empty())
    s.push_back(vps[0] + ":" + merge);
  each("FRAMESEQUENCE close");
  each(editor ? "end editor" : "end external");
  return s;
}
} // namespace

TEST_F(RenderLoopTest, MonoStageOrderRaysAndPixelPostsOverSeveralVideoPostsSkipTheDisabledOne)
{
  Recorder* a = AddRecorder("A", kLensInfo);
  Recorder* b = AddRecorder("B", kLensInfo, true);
  Recorder* c = AddRecorder("C", VIDEOPOSTINFO_EXECUTEPIXEL);
  a->zeroLeftHalf = true;
  BaseObject* sky = BaseObject::Alloc(Osky);
  sky->GetDataInstance()->SetVector(SKY_COLOR, Vector(0.2, 0.4, 0.6));
  doc->InsertObject(sky, nullptr, nullptr);
  settings()->SetBool(RDATA_ALPHACHANNEL, true);
  options.threads = 2; // 40 x 35 is more than one tile, with partial tiles at the edges
  // Square counts make grids, the others n-rooks; at 6 the first stride shares a factor with the count.
  for (const Int32 samples : {1, 3, 4, 6, 7, 9})
  {
    callLog.clear();
    options.samples = a->expectedSamples = samples;
    a->rays = a->badPixels = c->badPixels = 0;
    ASSERT_TRUE(host::RenderDocument(doc, options, &picture, &error)) << error;
    EXPECT_EQ(callLog, Expected({"A", "C"}, 1, false, "", false)) << samples << " samples";
    Int32 wrong = 0;
    for (size_t i = 0; i < a->pixelCalls.size(); ++i)
      wrong += a->pixelCalls[i] != 1 || c->pixelCalls[i] != 1;
    EXPECT_EQ(std::vector<Int64>({a->rays, b->rays, c->rays, a->badPixels, c->badPixels, wrong}), std::vector<Int64>({40 * 35 * samples, 0, 0, 0, 0, 0}))
      << "rays of A, B and C (the first custom lens shoots them all), bad pixels of A and C, pixels not posted exactly once; "
      << samples << " samples";
  }
  EXPECT_FALSE(CheckIsRunning(CHECKISRUNNING_ANYTHING)) << "no render runs after it";
  ASSERT_TRUE(picture && picture->HasAlpha());
  EXPECT_EQ(Pixel(*picture, 0, 34), (std::vector<Float32>{0, 0, 0, 0})) << "a ray without a direction: black, no coverage";
  const Float32 blue[] = {0.2f, 0.4f, 0.6f, 1};
  for (size_t ch = 0; ch < 4; ++ch)
    EXPECT_NEAR(Pixel(*picture, 39, 0)[ch], blue[ch], 1e-6) << "a ray with a direction sees the sky; channel " << ch;
}

TEST_F(RenderLoopTest, StereoImagesAreMergedAfterTheFrameClosesElseTheFrameIsTheFirstImage)
{
  const struct
  {
    const char* name;
    Int32 info, images;
    Bool merge, editor;
  } rows[] = {{"3 merged", kLensInfo, 3, true, false},
              {"2 unmerged", kLensInfo, 2, false, false},
              {"2 in the editor", kLensInfo, 2, true, true},
              {"no lens decides the images", VIDEOPOSTINFO_EXECUTEPIXEL, 2, true, false}};
  for (const auto& row : rows)
  {
    SCOPED_TRACE(std::string("case ") + row.name);
    TearDown();
    SetUp();
    Recorder* a = AddRecorder("A", row.info);
    a->stereoCount = row.images;
    a->switchStereoOn = a->colourByImage = true;
    a->merge = row.merge;
    options.samples = 1;
    options.editorRender = row.editor;
    settings()->SetBool(RDATA_ALPHACHANNEL, !row.merge);
    const BaseContainer before = doc->GetActiveRenderData()->GetData();
    ASSERT_TRUE(host::RenderDocument(doc, options, &picture, &error)) << error;

    // An editor render shoots the images but never merges them.
    const Bool lens = row.info == kLensInfo, merged = lens && row.merge && !row.editor;
    const Int32 images = lens ? row.images : 1;
    EXPECT_EQ(callLog, Expected({"A"}, images, lens, lens && !row.editor ? "StereoMergeImages " + std::to_string(images) : "", row.editor));
    EXPECT_EQ(a->rays, lens ? images * 40 * 35 : 0);
    EXPECT_TRUE(a->stereoAtSequenceOpen) << "SetRenderData changes the running settings";
    EXPECT_EQ(doc->GetActiveRenderData()->GetData(), before) << "and not the document's";
    ASSERT_TRUE(picture);
    for (Int32 x = 0; merged && x < 7; ++x)
      EXPECT_FLOAT_EQ(Pixel(*picture, x, 1)[0], (x % 3 + 1) / 10.0f) << "column " << x << " of the merged frame, from image " << x % 3;
    EXPECT_FLOAT_EQ(Pixel(*picture, 3, 2)[0], 0.1f) << "unmerged: the first image, not the last";
    EXPECT_EQ(picture->HasAlpha(), !row.merge) << "an unmerged first image keeps its alpha";
    EXPECT_FLOAT_EQ(Pixel(*picture, 3, 2)[3], 1.0f);
  }
}

TEST_F(RenderLoopTest, AnImageIsTracedOnlyInTheTilesItsMergeTakesPixelsFrom)
{
  // 96 x 35 in tiles of 32: columns 0 to 47 from image 0 (tiles 0 and 1 of each row of tiles),
  // 48 to 95 from image 1 (tiles 1 and 2). Every frame of a sequence traces the same tiles.
  Recorder* a = AddRecorder("A", kLensInfo);
  a->stereoCount = 2;
  a->switchStereoOn = a->colourByImage = true;
  a->splitAt = 48;
  settings()->SetInt32(RDATA_XRES, 96);
  options.samples = 1;
  options.frameList = {0, 1};
  std::vector<std::vector<Float32>> rows;
  options.frameDone = [&](Int32, const BaseBitmap& bmp) {
    for (Int32 y : {0, 34})
      for (Int32 x : {0, 47, 48, 95})
        rows.push_back(Pixel(bmp, x, y));
    return true;
  };
  ASSERT_TRUE(host::RenderDocument(doc, options, &picture, &error)) << error;
  EXPECT_EQ(a->rays, 2 * 2 * 64 * 35) << "two frames of two images, each traced in 64 of its 96 columns";
  EXPECT_EQ(a->badPixels, 0);
  ASSERT_EQ(rows.size(), 16u);
  for (size_t i = 0; i < rows.size(); ++i)
  {
    const Float32 red = static_cast<Float32>(2 * (i / 8) + (i % 4 < 2 ? 1 : 2)) / 10.0f; // images count on across frames
    EXPECT_EQ(rows[i], (std::vector<Float32>{red, 0.0f, 0.0f, 1.0f})) << "sample " << i << " of the merged frames";
  }
}

TEST_F(RenderLoopTest, FrameRangeWithTimesAndStopsThatStillCloseTheSequence)
{
  Recorder* a = AddRecorder("A", VIDEOPOSTINFO_NONE);
  settings()->SetFloat(RDATA_FRAMERATE, 25.0);
  options.firstFrame = 2;
  options.lastFrame = 4;
  std::vector<Int32> done;
  Bool goOn = true;
  options.frameDone = [&](Int32 frame, const BaseBitmap&) {
    done.push_back(frame);
    return goOn;
  };
  std::vector<Float> progress;
  options.progress = [&](Float f) { progress.push_back(f); };
  ASSERT_TRUE(host::RenderDocument(doc, options, &picture, &error)) << error;
  EXPECT_EQ(done, (std::vector<Int32>{2, 3, 4}));
  EXPECT_TRUE(picture) << "the first of several frames is kept";
  EXPECT_EQ(a->frameTimes, (std::vector<Float>{2.0 / 25.0, 3.0 / 25.0, 4.0 / 25.0}));
  ASSERT_GE(progress.size(), 2u);
  EXPECT_EQ(progress.front(), 0.0);
  EXPECT_EQ(progress.back(), 1.0);
  EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end()));

  callLog.clear();
  done.clear();
  goOn = false;
  EXPECT_FALSE(host::RenderDocument(doc, options, &picture, &error));
  EXPECT_FALSE(picture) << "a render that fails gives no picture";
  EXPECT_EQ(done, (std::vector<Int32>{2}));
  EXPECT_NE(error.GetStdString().find("stopped after frame 2"), std::string::npos) << error;
  EXPECT_EQ(std::vector<std::string>(callLog.end() - 2, callLog.end()), (std::vector<std::string>{"A:FRAMESEQUENCE close", "A:end external"}))
    << "the sequence is closed all the same";

  // A failing stage stops the render too, and names the video post.
  callLog.clear();
  goOn = true;
  a->failRenderClose = true;
  EXPECT_FALSE(host::RenderDocument(doc, options, &picture, &error));
  EXPECT_EQ(error, String("Recorder failed at the closing of RENDER (result 1)"));
  EXPECT_FALSE(picture);
  EXPECT_EQ(std::vector<std::string>(callLog.end() - 3, callLog.end()),
            (std::vector<std::string>{"A:RENDER close buffer 40x35 depth 32 cpp 4", "A:FRAMESEQUENCE close", "A:end external"}));
}

TEST_F(RenderLoopTest, AnAnimatedDocumentStartsEachFrameAfreshAndIsPutBackAfterwards)
{
  AddRecorder("A", VIDEOPOSTINFO_NONE);
  settings()->SetFloat(RDATA_FRAMERATE, 25.0);
  options.samples = 1;
  options.frameList = {2, 4, 3};
  std::vector<Int32> done, widths;
  options.frameDone = [&](Int32 frame, const BaseBitmap& bmp) {
    done.push_back(frame);
    widths.push_back(bmp.GetBw());
    return true;
  };
  const auto count = [&](const std::string& call) { return std::count(callLog.begin(), callLog.end(), "A:" + call); };
  // Without tracks, or with tracks that only move objects, the frames share one sequence.
  BaseObject* moving = BaseObject::Alloc(Onull);
  doc->InsertObject(moving, nullptr, nullptr);
  host::Track position{host::TrackTarget::Position, 0, {{0.0, GeData(Vector()), host::Interpolation::Linear}, {1.0, GeData(Vector(100, 0, 0))}}};
  for (const Bool withPlacementTrack : {false, true})
  {
    if (withPlacementTrack)
      host::SetTrack(moving, position);
    callLog.clear();
    widths.clear();
    ASSERT_TRUE(host::RenderDocument(doc, options, &picture, &error)) << error;
    EXPECT_EQ(count("FRAMESEQUENCE open"), 1) << "with a placement track: " << withPlacementTrack;
    EXPECT_EQ(widths, (std::vector<Int32>{40, 40, 40}));
  }

  // The width steps up at frame 3 (0.12 s): each frame opens its own sequence, whose settings
  // the video post sees as the frame's evaluation left them.
  host::Track track;
  track.id = RDATA_XRES;
  track.keys = {{0.0, GeData(Int32(40)), host::Interpolation::Step}, {0.12, GeData(Int32(48)), host::Interpolation::Step}};
  host::SetTrack(doc->GetActiveRenderData(), track);
  callLog.clear();
  done.clear();
  widths.clear();
  ASSERT_TRUE(host::RenderDocument(doc, options, &picture, &error)) << error;
  EXPECT_EQ(done, (std::vector<Int32>{2, 4, 3})) << "frames in the order asked for";
  EXPECT_EQ(widths, (std::vector<Int32>{40, 48, 48}));
  EXPECT_EQ(count("start external"), 3);
  EXPECT_EQ(count("FRAMESEQUENCE open"), 3);
  EXPECT_EQ(count("FRAMESEQUENCE close"), 3);
  EXPECT_EQ(doc->GetTime().Get(), 0.0);
  EXPECT_EQ(settings()->GetInt32(RDATA_XRES), 40) << "the document is put back at its own time";
}

TEST_F(RenderLoopTest, BadInputIsAnErrorBeforeAnyVideoPostRuns)
{
  // Unreadable sky pictures are stopped the same way; the plug-in's module tests render those, and
  // a frame too large for memory is a case of the command line's tests.
  const struct
  {
    const char* name;
    Int32 xres, yres, height, samples, first, last; ///< first == last == 0: the document's range
    Bool brokenMesh;
    const char* message;
  } rows[] = {
    {"no width", 0, 4, 0, 4, 0, 0, false, "render size 0 x 4: width and height must be at least 1 pixel"},
    {"negative height", 8, 4, -3, 4, 0, 0, false, "render size 0 x -3"},
    {"too tall", 8, 3000000, 0, 4, 0, 0, false, "at most 1048576 pixels a side"},
    {"no samples", 8, 4, 0, 0, 0, 0, false, "samples per pixel must be 1 to 1024, not 0"},
    {"empty range", 8, 4, 0, 4, 5, 1, false, "frame range 5 to 1 is empty"},
    {"too many frames", 8, 4, 0, 4, -2000000000, 2000000000, false, "has more than 1048576 frames"},
    {"broken mesh", 8, 4, 0, 4, 0, 0, true, "polygon object \"Broken\": polygon 0 refers to point 3 of 3"},
  };
  for (const auto& row : rows)
  {
    TearDown();
    SetUp();
    AddRecorder("A", VIDEOPOSTINFO_CUSTOMLENS);
    settings()->SetInt32(RDATA_XRES, row.xres);
    settings()->SetInt32(RDATA_YRES, row.yres);
    options.height = row.height;
    options.samples = row.samples;
    options.firstFrame = row.first != 0 || row.last != 0 ? std::optional<Int32>(row.first) : std::nullopt;
    options.lastFrame = row.first != 0 || row.last != 0 ? std::optional<Int32>(row.last) : std::nullopt;
    if (row.brokenMesh)
    {
      PolygonObject* mesh = PolygonObject::Alloc(3, 1);
      mesh->SetName(String("Broken"));
      mesh->GetPolygonW()[0] = CPolygon(0, 1, 3);
      doc->InsertObject(mesh, nullptr, nullptr);
    }
    error = String();
    Bool badInput = false;
    EXPECT_FALSE(host::RenderDocument(doc, options, &picture, &error, &badInput)) << "case " << row.name;
    EXPECT_NE(error.GetStdString().find(row.message), std::string::npos) << "case " << row.name << ": " << error;
    EXPECT_TRUE(badInput && callLog.empty() && !picture) << "case " << row.name;
  }
  EXPECT_FALSE(host::RenderDocument(nullptr, options, nullptr, nullptr)) << "no document, and no error string to fill";
}

TEST_F(RenderLoopTest, TracingAllocatesNothingPerPixel)
{
  // Shaded surfaces with shadow rays, the sky, and a video post posting every pixel.
  AddRecorder("A", VIDEOPOSTINFO_EXECUTEPIXEL);
  const Int32 types[] = {Osky, Osphere, Oplane, Ocamera};
  const Vector places[] = {Vector(), Vector(0, 0, 400), Vector(0, -100, 400), Vector()};
  for (size_t i = 0; i < 4; ++i)
  {
    BaseObject* obj = BaseObject::Alloc(types[i]);
    obj->SetMg(MatrixMove(places[i]));
    doc->InsertObject(obj, nullptr, nullptr);
  }
  options.threads = 2;
  auto allocations = [&](Int32 side) {
    options.width = options.height = side;
    const long before = AllocationCount();
    EXPECT_TRUE(host::RenderDocument(doc, options, &picture, &error)) << error;
    return AllocationCount() - before;
  };
  allocations(16); // first use of the thread pool
  const long small = allocations(16), large = allocations(256);
  EXPECT_LE(large - small, 16) << small << " allocations for 16 x 16, " << large << " for 256 x 256 (64 times the pixels)";
}
