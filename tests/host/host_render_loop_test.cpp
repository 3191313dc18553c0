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
#include "c4d_objects.h"
#include "host_app.h"
#include "render/render_loop.h"
#include "support/alloc_counter.h"

namespace
{
constexpr Int32 kRecorderId = 1999101;
constexpr Int32 kMarkId = 99001; // a setting only the recorder writes

/// Everything the video posts were asked, in order, as "name:call".
std::mutex callLock;
std::vector<std::string> callLog;
void Log(const std::string& s)
{
  std::lock_guard<std::mutex> guard(callLock);
  callLog.push_back(s);
}

// Sample positions since the last pixel a render thread finished.
thread_local std::vector<std::pair<Float, Float>> pendingSamples;

/// A video post that records every call and can act as a lens, switch stereo on and merge.
class Recorder : public VideoPostData
{
public:
  static NodeData* Alloc() { return new Recorder; }

  // What the test sets up: zeroLeftHalf gives the left half's rays no direction, colourByImage paints
  // red (image + 1) / 10, expectedSamples (above 0) is checked at each pixel.
  std::string name = "A";
  Int32 info = VIDEOPOSTINFO_NONE, stereoCount = 0, expectedSamples = 0;
  Bool switchStereoOn = false, merge = true, failRenderClose = false, zeroLeftHalf = false, colourByImage = false;
  // What it saw; mergeReds is the red of pixel (0, 0) of each merged image.
  Int32 width = 0, height = 0, imageIndex = -1, markAtSequenceOpen = 0;
  std::atomic<Int64> rays{0}, badPixels{0};
  std::vector<std::atomic<Int32>> pixelCalls;
  std::vector<Int32> notifyExternal;
  Bool editorRunningAtAllocate = false, externalRunningAtAllocate = false, stereoAtSequenceOpen = false;
  std::vector<Float> frameTimes;
  std::vector<Float32> mergeReds;

  Bool Message(GeListNode*, Int32 type, void* data) override
  {
    if (type == MSG_MULTI_RENDERNOTIFICATION)
    {
      const auto* rn = static_cast<RenderNotificationData*>(data);
      Log(name + (rn->start ? ":start" : ":end"));
      notifyExternal.push_back(rn->external ? 1 : 0);
    }
    return true;
  }

  Bool AllocateBuffers(BaseVideoPost*, Render* render, BaseDocument*) override
  {
    Log(name + ":AllocateBuffers");
    editorRunningAtAllocate = CheckIsRunning(CHECKISRUNNING_EDITORRENDERING);
    externalRunningAtAllocate = CheckIsRunning(CHECKISRUNNING_EXTERNALRENDERING);
    const BaseContainer settings = render->GetRenderData();
    width = settings.GetInt32(RDATA_XRES);
    height = settings.GetInt32(RDATA_YRES);
    pixelCalls = std::vector<std::atomic<Int32>>(static_cast<size_t>(width * height));
    if (switchStereoOn)
    {
      BaseContainer changed = settings;
      changed.SetBool(RDATA_STEREO, true);
      changed.SetInt32(kMarkId, 7);
      render->SetRenderData(changed);
    }
    return true;
  }

  VIDEOPOSTINFO GetRenderInfo(BaseVideoPost*) override
  {
    Log(name + ":GetRenderInfo");
    return static_cast<VIDEOPOSTINFO>(info);
  }

  RENDERRESULT Execute(BaseVideoPost*, VideoPostStruct* vps) override
  {
    const char* stage = vps->vp == VIDEOPOSTCALL_FRAMESEQUENCE ? "FRAMESEQUENCE" : vps->vp == VIDEOPOSTCALL_FRAME ? "FRAME" : "RENDER";
    std::string entry = name + ":" + stage + (vps->open ? " open" : " close");
    if (vps->vp == VIDEOPOSTCALL_FRAMESEQUENCE && vps->open)
    {
      markAtSequenceOpen = vps->render->GetRenderData().GetInt32(kMarkId);
      stereoAtSequenceOpen = vps->render->GetRenderData().GetBool(RDATA_STEREO);
    }
    if (vps->vp == VIDEOPOSTCALL_FRAME && vps->open)
      frameTimes.push_back(vps->time.Get());
    if (vps->vp == VIDEOPOSTCALL_RENDER && vps->open)
      ++imageIndex;
    if (vps->vp == VIDEOPOSTCALL_RENDER && !vps->open)
    {
      VPBuffer* rgba = vps->render->GetBuffer(VPBUFFER_RGBA, -1);
      if (rgba)
      {
        entry += " buffer " + std::to_string(rgba->GetInfo(VPGETINFO_XRESOLUTION)) + "x" +
                 std::to_string(rgba->GetInfo(VPGETINFO_YRESOLUTION)) + " depth " +
                 std::to_string(rgba->GetInfo(VPGETINFO_BITDEPTH)) + " cpp " + std::to_string(rgba->GetInfo(VPGETINFO_CPP));
        // Marks the last pixel, to show that the buffer is the image that goes on.
        const Float32 mark[4] = {0.25f, 0.5f, 0.75f, 1.0f};
        rgba->SetLine(width - 1, height - 1, 1, mark, 32, false);
      }
    }
    Log(entry);
    return failRenderClose && vps->vp == VIDEOPOSTCALL_RENDER && !vps->open ? RENDERRESULT_OUTOFMEMORY : RENDERRESULT_OK;
  }

  Int32 StereoGetCameraCountRenderer(BaseVideoPost*, BaseDocument*, RenderData*) override
  {
    Log(name + ":StereoGetCameraCountRenderer");
    return stereoCount;
  }

  Bool StereoGetCameraInfo(BaseVideoPost*, BaseDocument*, BaseDraw*, RenderData*, Int32 index, StereoCameraInfo& ci) override
  {
    Log(name + ":StereoGetCameraInfo " + std::to_string(index));
    ci.m = MatrixMove(Vector(index, 0, 0));
    return true;
  }

  Bool StereoMergeImages(BaseVideoPost*, BaseBitmap* dest, const BaseBitmap* const* source, Int32 count) override
  {
    Log(name + ":StereoMergeImages " + std::to_string(count));
    if (!merge)
      return false;
    // Column x of the frame comes from image x modulo count.
    std::vector<Float32> row(static_cast<size_t>(dest->GetBw()) * 3u);
    for (Int32 i = 0; i < count; ++i)
    {
      source[i]->GetPixelCnt(0, 0, 1, reinterpret_cast<UChar*>(row.data()), 12, COLORMODE_RGBf);
      mergeReds.push_back(row[0]);
    }
    for (Int32 y = 0; y < dest->GetBh(); ++y)
    {
      for (Int32 x = 0; x < dest->GetBw(); ++x)
        source[x % count]->GetPixelCnt(x, y, 1, reinterpret_cast<UChar*>(row.data() + x * 3), 12, COLORMODE_RGBf);
      dest->SetPixelCnt(0, y, dest->GetBw(), reinterpret_cast<UChar*>(row.data()), 12, COLORMODE_RGBf);
    }
    return true;
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
    if (pp->comp != 4 || !pp->col || x < 0 || x >= width || pp->line < 0 || pp->line >= height)
    {
      ++badPixels;
      return;
    }
    ++pixelCalls[static_cast<size_t>(pp->line * width + x)];
    if (expectedSamples > 0)
    {
      // Every sample of this pixel lies within half a pixel of its centre; together they centre on it.
      Float mx = 0.0, my = 0.0;
      Bool ok = static_cast<Int32>(pendingSamples.size()) == expectedSamples;
      for (size_t i = 0; i < pendingSamples.size(); ++i)
      {
        const auto& s = pendingSamples[i];
        ok = ok && std::fabs(s.first - x) < 0.5 && std::fabs(s.second - pp->line) < 0.5 &&
             std::find(pendingSamples.begin() + i + 1, pendingSamples.end(), s) == pendingSamples.end();
        mx += s.first / expectedSamples;
        my += s.second / expectedSamples;
      }
      badPixels += !ok || std::fabs(mx - x) > 1e-9 || std::fabs(my - pp->line) > 1e-9;
    }
    pendingSamples.clear();
    if (colourByImage)
    {
      const Float32 red[4] = {(imageIndex + 1) / 10.0f, 0.0f, 0.0f, 1.0f};
      std::copy(red, red + 4, pp->col);
    }
  }
};

struct RenderLoopTest : ::testing::Test
{
  void SetUp() override
  {
    host::ResetApp();
    callLog.clear();
    host::PluginEntry e;
    e.kind = host::PluginEntry::Kind::VideoPost;
    e.id = kRecorderId;
    e.name = String("Recorder");
    e.alloc = Recorder::Alloc;
    ASSERT_TRUE(host::App().plugins.Add(e));
    doc = BaseDocument::Alloc();
    SetActiveDocument(doc);
    settings()->SetInt32(RDATA_XRES, 8);
    settings()->SetInt32(RDATA_YRES, 4);
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

  void AddSky(const Vector& colour)
  {
    BaseObject* sky = BaseObject::Alloc(Osky);
    sky->GetDataInstance()->SetVector(SKY_COLOR, colour);
    doc->InsertObject(sky, nullptr, nullptr);
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

/// The calls to a lone stereo lens "A" of `images` images, `merge` logged after the frame closes.
std::vector<std::string> StereoCalls(Int32 images, const std::string& merge)
{
  std::vector<std::string> s = {"A:start", "A:AllocateBuffers", "A:GetRenderInfo", "A:StereoGetCameraCountRenderer"};
  for (Int32 i = 0; i < images; ++i)
    s.push_back("A:StereoGetCameraInfo " + std::to_string(i));
  s.insert(s.end(), {"A:FRAMESEQUENCE open", "A:FRAME open"});
  for (Int32 i = 0; i < images; ++i)
    s.insert(s.end(), {"A:RENDER open", "A:RENDER close buffer 8x4 depth 32 cpp 4"});
  s.push_back("A:FRAME close");
  if (!merge.empty())
    s.push_back(merge);
  s.insert(s.end(), {"A:FRAMESEQUENCE close", "A:end"});
  return s;
}
} // namespace

TEST_F(RenderLoopTest, MonoStageOrderOverSeveralVideoPostsSkipsTheDisabledOne)
{
  Recorder* a = AddRecorder("A", kLensInfo);
  Recorder* b = AddRecorder("B", kLensInfo, true);
  Recorder* c = AddRecorder("C", VIDEOPOSTINFO_NONE);
  options.samples = 1;
  ASSERT_TRUE(host::RenderDocument(doc, options, &picture, &error)) << error;

  EXPECT_EQ(callLog, (std::vector<std::string>{
    "A:start", "C:start", "A:AllocateBuffers", "A:GetRenderInfo", "C:AllocateBuffers", "C:GetRenderInfo",
    "A:FRAMESEQUENCE open", "C:FRAMESEQUENCE open", "A:FRAME open", "C:FRAME open", "A:RENDER open", "C:RENDER open",
    "A:RENDER close buffer 8x4 depth 32 cpp 4", "C:RENDER close buffer 8x4 depth 32 cpp 4", "A:FRAME close",
    "C:FRAME close", "A:FRAMESEQUENCE close", "C:FRAMESEQUENCE close", "A:end", "C:end"}));
  EXPECT_EQ(std::vector<Int64>({a->rays, b->rays, c->rays}), std::vector<Int64>({8 * 4, 0, 0})) << "the first custom lens shoots every ray";
  EXPECT_FALSE(CheckIsRunning(CHECKISRUNNING_ANYTHING)) << "no render runs after it";
  ASSERT_TRUE(picture);
  EXPECT_EQ(Pixel(*picture, 7, 3), (std::vector<Float32>{0.25f, 0.5f, 0.75f, 1.0f}))
    << "what a video post writes into the buffer at the closing of RENDER is the picture";
}

TEST_F(RenderLoopTest, StereoImagesAreMergedAfterTheFrameClosesElseTheFrameIsTheFirstImage)
{
  const struct
  {
    const char* name;
    Int32 images;
    Bool merge, editor;
  } cases[] = {{"3 merged", 3, true, false}, {"2 unmerged", 2, false, false}, {"2 in the editor", 2, true, true}};
  for (const auto& c : cases)
  {
    SCOPED_TRACE(std::string("case ") + c.name);
    TearDown();
    SetUp();
    Recorder* a = AddRecorder("A", kLensInfo);
    a->stereoCount = c.images;
    a->switchStereoOn = a->colourByImage = true;
    a->merge = c.merge;
    options.samples = 1;
    options.editorRender = c.editor;
    settings()->SetBool(RDATA_ALPHACHANNEL, !c.merge);
    ASSERT_TRUE(host::RenderDocument(doc, options, &picture, &error)) << error;

    // An editor render shoots the images but never merges them.
    EXPECT_EQ(callLog, StereoCalls(c.images, c.editor ? "" : "A:StereoMergeImages " + std::to_string(c.images)));
    EXPECT_EQ(a->rays, c.images * 8 * 4);
    EXPECT_EQ(a->notifyExternal, std::vector<Int32>(2, !c.editor));
    EXPECT_EQ(a->editorRunningAtAllocate, c.editor);
    EXPECT_EQ(a->externalRunningAtAllocate, !c.editor);
    ASSERT_TRUE(picture);
    if (c.merge && !c.editor)
    {
      ASSERT_EQ(a->mergeReds.size(), 3u);
      for (size_t i = 0; i < 3; ++i)
        EXPECT_FLOAT_EQ(a->mergeReds[i], (i + 1) / 10.0f) << "image " << i << " carries its own pixels";
      for (Int32 x = 0; x < 7; ++x)
        EXPECT_FLOAT_EQ(Pixel(*picture, x, 1)[0], (x % 3 + 1) / 10.0f) << "column " << x << " of the merged frame";
    }
    else
      EXPECT_FLOAT_EQ(Pixel(*picture, 3, 2)[0], 0.1f) << "the first image, not the last";
    if (!c.merge)
    {
      ASSERT_TRUE(picture->HasAlpha()) << "the first image keeps its alpha";
      EXPECT_FLOAT_EQ(Pixel(*picture, 3, 2)[3], 1.0f);
    }
  }
}

TEST_F(RenderLoopTest, SetRenderDataChangesOnlyTheRunningCopy)
{
  Recorder* a = AddRecorder("A", VIDEOPOSTINFO_NONE);
  a->switchStereoOn = true;
  a->stereoCount = 2;
  const BaseContainer before = doc->GetActiveRenderData()->GetData();
  ASSERT_TRUE(host::RenderDocument(doc, options, nullptr, &error)) << error;
  EXPECT_EQ(a->markAtSequenceOpen, 7);
  EXPECT_TRUE(a->stereoAtSequenceOpen);
  EXPECT_EQ(doc->GetActiveRenderData()->GetData(), before) << "the document's settings stay as they were";
  EXPECT_EQ(std::count(callLog.begin(), callLog.end(), "A:RENDER open"), 1)
    << "without a custom lens no video post decides the stereo images";
}

TEST_F(RenderLoopTest, EverySampleIsOneRayNearItsPixelCentreAndEveryPixelIsPostedOnce)
{
  Recorder* a = AddRecorder("A", kLensInfo);
  Recorder* c = AddRecorder("C", VIDEOPOSTINFO_EXECUTEPIXEL);
  settings()->SetInt32(RDATA_XRES, 40);
  settings()->SetInt32(RDATA_YRES, 35); // more than one tile, with partial tiles at the edges
  options.threads = 2;
  // Square counts make grids, the others n-rooks; at 6 the first stride shares a factor with the count.
  for (const Int32 samples : {1, 3, 4, 6, 7, 9})
  {
    options.samples = samples;
    a->expectedSamples = samples;
    a->rays = 0;
    a->badPixels = 0;
    ASSERT_TRUE(host::RenderDocument(doc, options, nullptr, &error)) << error;
    EXPECT_EQ(a->rays, 40 * 35 * samples) << samples << " samples";
    EXPECT_EQ(a->badPixels, 0) << samples << " samples";
    EXPECT_EQ(c->badPixels, 0);
    Int32 wrong = 0;
    for (size_t i = 0; i < a->pixelCalls.size(); ++i)
      wrong += a->pixelCalls[i] != 1 || c->pixelCalls[i] != 1;
    EXPECT_EQ(wrong, 0) << "pixels not posted exactly once to each video post, " << samples << " samples";
  }
}

TEST_F(RenderLoopTest, ZeroDirectionRaysGiveBlackWithoutCoverage)
{
  Recorder* a = AddRecorder("A", VIDEOPOSTINFO_CUSTOMLENS);
  a->zeroLeftHalf = true;
  AddSky(Vector(0.2, 0.4, 0.6));
  settings()->SetBool(RDATA_ALPHACHANNEL, true);
  ASSERT_TRUE(host::RenderDocument(doc, options, &picture, &error)) << error;
  ASSERT_TRUE(picture && picture->HasAlpha());
  for (Int32 y = 0; y < 4; ++y)
    for (Int32 x = 0; x < 7; ++x) // the last pixel carries the recorder's mark
    {
      const std::vector<Float32> px = Pixel(*picture, x, y), want = x < 4 ? std::vector<Float32>{0, 0, 0, 0} : std::vector<Float32>{0.2f, 0.4f, 0.6f, 1};
      for (size_t c = 0; c < 4; ++c)
        EXPECT_NEAR(px[c], want[c], 1e-6) << "pixel " << x << ", " << y << " channel " << c;
    }
}

TEST_F(RenderLoopTest, FrameRangeWithTimesAndAStopThatStillClosesTheSequence)
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
  ASSERT_EQ(a->frameTimes.size(), 3u);
  EXPECT_DOUBLE_EQ(a->frameTimes[0], 2.0 / 25.0);
  EXPECT_DOUBLE_EQ(a->frameTimes[2], 4.0 / 25.0);
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
  ASSERT_GE(callLog.size(), 2u);
  EXPECT_EQ(callLog[callLog.size() - 2], "A:FRAMESEQUENCE close") << "the sequence is closed all the same";
  EXPECT_EQ(callLog.back(), "A:end");
}

TEST_F(RenderLoopTest, AFailingStageStopsTheRenderAndNamesTheVideoPost)
{
  AddRecorder("A", VIDEOPOSTINFO_NONE)->failRenderClose = true;
  EXPECT_FALSE(host::RenderDocument(doc, options, &picture, &error));
  EXPECT_EQ(error, String("Recorder failed at the closing of RENDER (result 1)"));
  EXPECT_FALSE(picture);
  const std::vector<std::string> tail(callLog.end() - 3, callLog.end());
  EXPECT_EQ(tail, (std::vector<std::string>{"A:RENDER close buffer 8x4 depth 32 cpp 4", "A:FRAMESEQUENCE close", "A:end"}));
}

TEST_F(RenderLoopTest, BadInputIsAnErrorBeforeAnyVideoPostRuns)
{
  enum Scene { kPlain, kMissingSkyPicture, kBrokenMesh };
  const struct
  {
    const char* name;
    Int32 xres, yres, height, samples, first, last; ///< first == last == 0: the document's range
    Scene scene;
    const char* message;
  } rows[] = {
    {"no width", 0, 4, 0, 4, 0, 0, kPlain, "render size 0 x 4: width and height must be at least 1 pixel"},
    {"negative height", 8, 4, -3, 4, 0, 0, kPlain, "render size 0 x -3"},
    {"too tall", 8, 3000000, 0, 4, 0, 0, kPlain, "at most 1048576 pixels a side"},
    {"too large for memory", 1000000, 1000000, 0, 4, 0, 0, kPlain, "MiB, more than the machine's"},
    {"no samples", 8, 4, 0, 0, 0, 0, kPlain, "samples per pixel must be 1 to 1024, not 0"},
    {"empty range", 8, 4, 0, 4, 5, 1, kPlain, "frame range 5 to 1 is empty"},
    {"too many frames", 8, 4, 0, 4, -2000000000, 2000000000, kPlain, "has more than 1048576 frames"},
    {"missing sky picture", 8, 4, 0, 4, 0, 0, kMissingSkyPicture, "sky \"Night\": picture \"/nonexistent/night.exr\": file not found"},
    {"broken mesh", 8, 4, 0, 4, 0, 0, kBrokenMesh, "polygon object \"Broken\": polygon 0 refers to point 3 of 3"},
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
    options.firstFrame.reset();
    options.lastFrame.reset();
    if (row.first != 0 || row.last != 0)
    {
      options.firstFrame = row.first;
      options.lastFrame = row.last;
    }
    if (row.scene == kMissingSkyPicture)
    {
      BaseObject* sky = BaseObject::Alloc(Osky);
      sky->SetName(String("Night"));
      sky->GetDataInstance()->SetInt32(SKY_TYPE, SKY_TYPE_PICTURE);
      sky->GetDataInstance()->SetFilename(SKY_PICTURE, Filename("/nonexistent/night.exr"));
      doc->InsertObject(sky, nullptr, nullptr);
    }
    if (row.scene == kBrokenMesh)
    {
      PolygonObject* mesh = PolygonObject::Alloc(3, 1);
      mesh->SetName(String("Broken"));
      mesh->GetPolygonW()[0] = CPolygon(0, 1, 3);
      doc->InsertObject(mesh, nullptr, nullptr);
    }
    error = String();
    EXPECT_FALSE(host::RenderDocument(doc, options, &picture, &error)) << "case " << row.name;
    EXPECT_NE(error.GetStdString().find(row.message), std::string::npos) << "case " << row.name << ": " << error;
    EXPECT_TRUE(callLog.empty()) << "case " << row.name;
    EXPECT_FALSE(picture) << "case " << row.name;
  }
  EXPECT_FALSE(host::RenderDocument(nullptr, options, nullptr, nullptr)) << "no document, and no error string to fill";
}

TEST_F(RenderLoopTest, TracingAllocatesNothingPerPixel)
{
  // Shaded surfaces with shadow rays, the sky, and a video post posting every pixel.
  AddRecorder("A", VIDEOPOSTINFO_EXECUTEPIXEL);
  AddSky(Vector(0.3, 0.5, 0.7));
  BaseObject* ball = BaseObject::Alloc(Osphere);
  ball->SetMg(MatrixMove(Vector(0, 0, 400)));
  doc->InsertObject(ball, nullptr, nullptr);
  BaseObject* floor = BaseObject::Alloc(Oplane);
  floor->SetMg(MatrixMove(Vector(0, -100, 400)));
  doc->InsertObject(floor, nullptr, nullptr);
  doc->InsertObject(BaseObject::Alloc(Ocamera), nullptr, nullptr);
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
