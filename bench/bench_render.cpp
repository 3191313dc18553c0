// Whole frames through the host's render loop: a sky-only 2048 × 2048 frame with 4 samples a
// pixel, through the host's pinhole and through a custom lens, on 1 and 2 threads.
#include <benchmark/benchmark.h>

#include <OpenImageIO/imageio.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "c4d.h"
#include "c4d_objects.h"
#include "host_app.h"
#include "render/render_loop.h"

namespace
{
constexpr Int32 kSide = 2048;
constexpr Int32 kSamples = 4;
constexpr Int32 kLensId = 1999301;

/// The least a lens can do: a panorama by the picture's convention.
class PanoramaLens : public VideoPostData
{
public:
  static NodeData* Alloc() { return new PanoramaLens; }
  VIDEOPOSTINFO GetRenderInfo(BaseVideoPost*) override { return VIDEOPOSTINFO_CUSTOMLENS; }
  void CreateRay(Ray* ray, Float x, Float y) override
  {
    const Float lon = ((x + 0.5) / kSide - 0.5) * 2.0 * PI;
    const Float lat = (0.5 - (y + 0.5) / kSide) * PI;
    ray->p = Vector();
    ray->v = Vector(std::sin(lon) * std::cos(lat), std::sin(lat), std::cos(lon) * std::cos(lat));
  }
};

/// An equirectangular sky picture of 2048 × 1024, written once.
std::string SkyPicture()
{
  static const std::string path = [] {
    const std::string p = (std::filesystem::temp_directory_path() / "orlix_bench_sky.exr").string();
    const Int32 w = 2048, h = 1024;
    std::vector<float> pixels(static_cast<size_t>(w) * h * 3u);
    for (Int32 y = 0; y < h; ++y)
      for (Int32 x = 0; x < w; ++x)
      {
        float* px = &pixels[(static_cast<size_t>(y) * w + x) * 3u];
        px[0] = 0.5f + 0.5f * std::sin(x * 0.01f);
        px[1] = static_cast<float>(y) / h;
        px[2] = (x / 64 + y / 64) % 2 ? 0.8f : 0.2f;
      }
    auto out = OIIO::ImageOutput::create(p);
    if (!out || !out->open(p, OIIO::ImageSpec(w, h, 3, OIIO::TypeDesc::HALF)) ||
        !out->write_image(OIIO::TypeDesc::FLOAT, pixels.data()))
      return std::string();
    out->close();
    return p;
  }();
  return path;
}

void RenderSky(benchmark::State& state, Bool customLens)
{
  host::ResetApp();
  BaseDocument* doc = BaseDocument::Alloc();
  SetActiveDocument(doc);
  BaseContainer* settings = doc->GetActiveRenderData()->GetDataInstance();
  settings->SetInt32(RDATA_XRES, kSide);
  settings->SetInt32(RDATA_YRES, kSide);
  BaseObject* sky = BaseObject::Alloc(Osky);
  sky->GetDataInstance()->SetInt32(SKY_TYPE, SKY_TYPE_PICTURE);
  sky->GetDataInstance()->SetFilename(SKY_PICTURE, Filename(SkyPicture()));
  doc->InsertObject(sky, nullptr, nullptr);
  if (customLens)
  {
    host::PluginEntry e;
    e.kind = host::PluginEntry::Kind::VideoPost;
    e.id = kLensId;
    e.alloc = PanoramaLens::Alloc;
    host::App().plugins.Add(e);
    doc->GetActiveRenderData()->InsertVideoPost(BaseVideoPost::Alloc(kLensId));
  }
  else
  {
    BaseObject* cam = BaseObject::Alloc(Ocamera);
    cam->GetDataInstance()->SetFloat(CAMERA_FOCUS, 12.0); // wide, so the frame sweeps much of the sky
    doc->InsertObject(cam, nullptr, nullptr);
  }

  host::RenderOptions options;
  options.samples = kSamples;
  options.threads = static_cast<Int32>(state.range(0));
  String error;
  for (auto _ : state)
  {
    if (!host::RenderDocument(doc, options, nullptr, &error))
    {
      state.SkipWithError(error.GetCString());
      break;
    }
  }
  state.counters["Mrays/s"] = benchmark::Counter(static_cast<double>(kSide) * kSide * kSamples * 1e-6 *
                                                   static_cast<double>(state.iterations()),
                                                 benchmark::Counter::kIsRate);
  host::ResetApp();
}

void BM_RenderSkyPinhole(benchmark::State& state)
{
  RenderSky(state, false);
}
void BM_RenderSkyCustomLens(benchmark::State& state)
{
  RenderSky(state, true);
}
} // namespace

BENCHMARK(BM_RenderSkyPinhole)->Arg(1)->Arg(2)->ArgName("threads")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_RenderSkyCustomLens)->Arg(1)->Arg(2)->ArgName("threads")->Unit(benchmark::kMillisecond)->UseRealTime();
