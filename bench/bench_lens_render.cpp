// The plug-in's render road: the merge of a frame's images against a plain copy of the same
// bytes, and whole frames of a sky-only scene through each lens with the plug-in started.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "OrlixCamVP.h"
#include "OrlixTag.h"
#include "c4d_objects.h"
#include "description/OrlixCam.h"
#include "description/OrlixTag.h"
#include "host_app.h"
#include "lens/cube_layout.h"
#include "lens/stereo_merge.h"
#include "register.h"
#include "render/render_loop.h"
#include "support/lens_area.h"

namespace
{
// Merge plans of 2, 6 and 12 images of a 2048 × 1024 frame: side-by-side eyes, a mono 3 × 2
// cubemap, and a side-by-side stereo 3 × 2 cubemap.
struct MergeCase
{
  LensChannel faces[6];
  LensChannel eyes[2];
  MergePlan plan;
  Int32 images = 0;
};

MergeCase MakeCase(Int32 images, Int32 w, Int32 h)
{
  MergeCase m;
  m.images = images;
  const Int32 eyes = images == 6 ? 1 : 2;
  const Int32 eyeW = eyes == 2 ? w / 2 : w;
  for (Int32 e = 0; e < eyes; ++e)
    m.eyes[e].area = Area(e * eyeW, 0, (e + 1) * eyeW - 1, h - 1);
  if (images == 2)
  {
    m.faces[0].area = m.eyes[0].area;
  }
  else
  {
    CubeLayoutSettings s;
    s.layout = CubeLayout::BlockHorizontal;
    LensChannel grid[kGridCells];
    Vector size;
    BuildCubeGrid(s, grid, size);
    PlanCubeFaceAreas(grid, size, eyeW, h, m.faces);
  }
  m.plan.faceCount = images == 2 ? 1 : 6;
  m.plan.eyeCount = eyes;
  m.plan.stereoMode = eyes == 2 ? StereoMode::Pair : StereoMode::Anaglyph;
  m.plan.faces = m.faces;
  m.plan.eyes = m.eyes;
  return m;
}

constexpr Int32 kW = 2048, kH = 1024;

void BM_MergeFrame(benchmark::State& st)
{
  MergeCase m = MakeCase(static_cast<Int32>(st.range(0)), kW, kH);
  MergeRows rows;
  if (!rows.Allocate(m.images, kW))
    st.SkipWithError("no memory");
  std::vector<std::vector<float>> images(static_cast<size_t>(m.images), std::vector<float>(size_t(kW) * kH * 3, 0.5f));
  std::vector<float> out(size_t(kW) * kH * 3);
  const size_t rowBytes = size_t(kW) * 3 * sizeof(float);
  for (auto _ : st)
  {
    for (Int32 y = 0; y < kH; ++y)
    {
      for (Int32 i = 0; i < m.images; ++i)
        std::memcpy(rows.Source(i), images[size_t(i)].data() + size_t(y) * kW * 3, rowBytes);
      MergeRow(m.plan, y, rows);
      std::memcpy(out.data() + size_t(y) * kW * 3, rows.Source(0), rowBytes);
    }
    benchmark::DoNotOptimize(out.data());
  }
  st.counters["Mpixel/s"] = benchmark::Counter(double(kW) * kH * st.iterations() / 1e6, benchmark::Counter::kIsRate);
}

// The same bytes moved without merging: what the merge is measured against.
void BM_CopyFrameBytes(benchmark::State& st)
{
  const Int32 images = static_cast<Int32>(st.range(0));
  std::vector<std::vector<float>> src(static_cast<size_t>(images), std::vector<float>(size_t(kW) * kH * 3, 0.5f));
  std::vector<float> out(size_t(kW) * kH * 3);
  const size_t bytes = size_t(kW) * kH * 3 * sizeof(float);
  for (auto _ : st)
  {
    for (Int32 i = 0; i < images; ++i)
      std::memcpy(out.data(), src[size_t(i)].data(), bytes);
    std::memcpy(out.data(), src[0].data(), bytes);
    benchmark::DoNotOptimize(out.data());
  }
  st.counters["Mpixel/s"] = benchmark::Counter(double(kW) * kH * st.iterations() / 1e6, benchmark::Counter::kIsRate);
}

// A started plug-in and a sky-only document with a lens camera.
struct SkyScene
{
  C4DHostTable table;
  Filename module = Filename(ORLIX_SOURCE_DIR) + Filename("OrlixCam.so");
  BaseDocument* doc = nullptr;
  BaseTag* tag = nullptr;

  SkyScene()
  {
    host::ResetApp();
    host::SetPluginFolder(Filename(ORLIX_SOURCE_DIR));
    c4d_main(C4DPL_INIT_SYS, &table, nullptr, &module);
    c4d_main(C4DPL_MESSAGE, reinterpret_cast<void*>(C4DPL_STARTACTIVITY_RES), nullptr, nullptr);
    c4d_main(C4DPL_INIT, nullptr, nullptr, nullptr);
    doc = BaseDocument::Alloc();
    SetActiveDocument(doc);
    BaseObject* sky = BaseObject::Alloc(Osky);
    sky->GetDataInstance()->SetInt32(SKY_TYPE, SKY_TYPE_GRADIENT);
    doc->InsertObject(sky, nullptr, nullptr);
    BaseObject* cam = BaseObject::Alloc(Ocamera);
    doc->InsertObject(cam, nullptr, nullptr);
    tag = cam->MakeTag(OrlixTag::ID);
  }
  ~SkyScene()
  {
    host::ResetApp();
    c4d_main(C4DPL_END, nullptr, nullptr, nullptr);
  }
};

void BM_SkyFrameThroughLens(benchmark::State& st)
{
  SkyScene scene;
  const Int32 lens = static_cast<Int32>(st.range(0));
  scene.tag->GetDataInstance()->SetInt32(ORLIXTAG_LENS, lens);
  BaseContainer* rd = scene.doc->GetActiveRenderData()->GetDataInstance();
  rd->SetInt32(RDATA_XRES, 2048);
  rd->SetInt32(RDATA_YRES, lens == 1 ? 2048 : 1024);
  host::RenderOptions options;
  options.samples = static_cast<Int32>(st.range(1));
  options.threads = 2;
  for (auto _ : st)
  {
    host::BitmapPtr picture;
    String error;
    if (!host::RenderDocument(scene.doc, options, &picture, &error))
      st.SkipWithError(error.GetCString());
  }
}
// A running render without a picture: its own copy of the settings only.
class SettingsRender : public Render
{
public:
  explicit SettingsRender(const BaseContainer& bc) : settings(bc) {}
  VPBuffer* GetBuffer(Int32, Int32) override { return nullptr; }
  BaseContainer GetRenderData() const override { return settings; }
  void SetRenderData(const BaseContainer& bc) override { settings = bc; }
  BaseContainer settings;
};

// What the host asks of the video post before the first pixel of a stereo 3 × 2 cubemap frame
// of 12 images at 6144 × 2048: the settings check, the camera count and each image's eye, and
// the frame sequence's opening with its snapshot and channel plan.
void BM_RenderStart12(benchmark::State& st)
{
  SkyScene scene;
  scene.tag->GetDataInstance()->SetInt32(ORLIXTAG_LENS, 3);
  RenderData* rdNode = scene.doc->GetActiveRenderData();
  BaseContainer* rd = rdNode->GetDataInstance();
  rd->SetInt32(RDATA_XRES, 6144);
  rd->SetInt32(RDATA_YRES, 2048);
  rd->SetBool(RDATA_STEREO, true);
  BaseVideoPost* node = rdNode->GetFirstVideoPost();
  node->GetDataInstance()->SetInt32(ORLIXVP_CUBE_LAYOUT, ORLIXVP_CUBE_LAYOUT_BLOCK_HORIZONTAL);
  node->GetDataInstance()->SetInt32(ORLIXVP_STEREO_MODE, 1);
  auto* vp = static_cast<OrlixCamVP*>(node->GetNodeData());
  for (auto _ : st)
  {
    SettingsRender render(rdNode->GetData());
    vp->AllocateBuffers(node, &render, scene.doc);
    const Int32 images = vp->StereoGetCameraCountRenderer(node, scene.doc, rdNode);
    if (images != 12)
      st.SkipWithError("not a 12-image frame");
    for (Int32 i = 0; i < images; ++i)
    {
      StereoCameraInfo info;
      vp->StereoGetCameraInfo(node, scene.doc, nullptr, rdNode, i / 6, info);
      benchmark::DoNotOptimize(info.m);
    }
    VideoPostStruct vps;
    vps.vp = VIDEOPOSTCALL_FRAMESEQUENCE;
    vps.open = true;
    vps.doc = scene.doc;
    vps.render = &render;
    vp->Execute(node, &vps);
    vps.open = false;
    vp->Execute(node, &vps);
  }
  st.counters["images"] = 12;
}

// The per-pixel stage over a 2048 × 2048 dome: the outside of the circle painted black.
void BM_ExecutePixel(benchmark::State& st)
{
  SkyScene scene;
  auto* vp = static_cast<OrlixCamVP*>(OrlixCamVP::Alloc());
  const Int32 size = 2048;
  vp->isActive = true;
  vp->settings.lens = LensKind::Dome;
  vp->settings.maskMode = MaskMode::Black;
  vp->settings.isPreview = st.range(0) != 0;
  vp->currentEye.area.start = Vector(0, 0, 0);
  vp->currentEye.area.end = Vector(size - 1, size - 1, 0);
  UpdateArea(vp->currentEye.area);
  std::vector<Float32> row(size_t(size) * 4, 0.5f);
  PixelPost pp;
  for (auto _ : st)
  {
    for (Int32 y = 0; y < size; ++y)
    {
      pp.line = y;
      for (Int32 x = 0; x < size; ++x)
      {
        pp.col = &row[size_t(x) * 4];
        vp->ExecutePixel(nullptr, &pp, x, 0, 0);
      }
    }
    benchmark::DoNotOptimize(row.data());
  }
  st.counters["ns/pixel"] = benchmark::Counter(double(size) * size * st.iterations(),
                                               benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  delete vp;
}
// An RGBA float frame that the overlay stage draws into.
class FrameBuffer : public VPBuffer
{
public:
  FrameBuffer(Int32 w, Int32 h) : width(w), height(h), px(size_t(w) * h * 4, 0.25f) {}
  Int32 GetInfo(Int32 type) const override
  {
    return type == VPGETINFO_XRESOLUTION ? width : type == VPGETINFO_YRESOLUTION ? height : type == VPGETINFO_BITDEPTH ? 32 : 4;
  }
  Bool GetLine(Int32 x, Int32 y, Int32 cnt, void* data, Int32, Bool) const override
  {
    std::memcpy(data, &px[(size_t(y) * width + x) * 4], size_t(cnt) * 16);
    return true;
  }
  Bool SetLine(Int32 x, Int32 y, Int32 cnt, const void* data, Int32, Bool) override
  {
    std::memcpy(&px[(size_t(y) * width + x) * 4], data, size_t(cnt) * 16);
    return true;
  }
  Int32 width, height;
  std::vector<Float32> px;
};

class FrameRender : public Render
{
public:
  explicit FrameRender(VPBuffer* b) : buffer(b) {}
  VPBuffer* GetBuffer(Int32, Int32) override { return buffer; }
  BaseContainer GetRenderData() const override { return BaseContainer(); }
  void SetRenderData(const BaseContainer&) override {}
  VPBuffer* buffer;
};

// The overlay stage of one image of a 4096 × 4096 dome with every layer: a mask over the whole
// frame, the logo with its caption, the title, the technical block, timecode and frame number.
void BM_DrawOverlays4096(benchmark::State& st)
{
  SkyScene scene;
  auto* vp = static_cast<OrlixCamVP*>(OrlixCamVP::Alloc());
  const Int32 size = 4096;
  LensArea area;
  area.end = Vector(size - 1, size - 1, 0);
  UpdateArea(area);
  vp->activeArea = area;
  vp->domeDiameter = size;
  vp->logoInset = size * 0.5 - std::sin(0.25 * 3.14159265358979323846) * size * 0.5;
  vp->logoCorner.start = Vector(size - 1 - vp->logoInset, size - 1 - vp->logoInset, 0);
  vp->logoCorner.end = area.end;
  UpdateArea(vp->logoCorner);
  vp->settings.maskMode = MaskMode::Picture;
  vp->settings.logoMode = LogoMode::BuiltIn;
  vp->settings.showInfo = vp->settings.showSlateText = vp->settings.showTimecode = vp->settings.showFrameNumber = true;
  vp->settings.slateText = String("Benchmark\nSecond line");
  vp->settings.slateTextSize = 1.0;
  vp->settings.fps = 30.0;
  vp->docMaxTime = BaseTime(10.0, 1.0);
  vp->frameTime = BaseTime(1.0, 1.0);
  // Pictures already at their size, as from the second image of a render on.
  vp->maskBitmap->Init(size, size, 32);
  vp->maskBitmap->AddChannel(true, false);
  vp->logoBitmap->Init(vp->logoCorner.width, vp->logoCorner.height, 32);
  FrameBuffer buffer(size, size);
  FrameRender render(&buffer);
  VideoPostStruct vps;
  vps.render = &render;
  for (auto _ : st)
    benchmark::DoNotOptimize(DrawOverlays(*vp, &vps));
  delete vp;
}
} // namespace

BENCHMARK(BM_DrawOverlays4096)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_RenderStart12)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ExecutePixel)->Arg(0)->Arg(1)->ArgName("preview")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MergeFrame)->Arg(2)->Arg(6)->Arg(12)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CopyFrameBytes)->Arg(2)->Arg(6)->Arg(12)->Unit(benchmark::kMillisecond);
// Lens 1 dome at 2048 × 2048, the others at 2048 × 1024; 1 and 4 samples per pixel.
BENCHMARK(BM_SkyFrameThroughLens)
  ->ArgsProduct({{0, 1, 2, 3}, {1, 4}})
  ->ArgNames({"lens", "samples"})
  ->Unit(benchmark::kMillisecond)
  ->UseRealTime()
  ->Iterations(2);
