// Per-ray cost of stereo: EyeRayMatrix alone, and CreateRay's stereo branch per eye model, with
// and without convergence, with and without a separation map.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <unistd.h>

#include "OrlixCamVP.h"
#include "description/OrlixTag.h"
#include "lens/lens_stereo.h"
#include "support/alloc_counter.h"

namespace
{
constexpr Int32 kWidth = 2048, kHeight = 1024;
constexpr Float kHalf = 3.25;
enum MapKind { kNoMap, kGradientMap, kPictureMap };

const Matrix kCamera = MatrixMove(Vector(0, 150, 0)) * MatrixRotY(0.4) * MatrixRotX(-0.2);

void Panorama(LensState& s)
{
  s.activeArea.end = Vector(kWidth - 1.0, kHeight - 1.0, 0.0);
  UpdateArea(s.activeArea);
  s.pixelStep = PixelStep(s.activeArea);
  s.bleedPixels = 10;
  s.settings.lens = LensKind::Panorama;
  s.settings.fov = PI2;
  UpdateSpans(s.settings);
}

StereoCameraInfo LeftEye()
{
  StereoCameraInfo eye;
  eye.m = kCamera * MatrixMove(Vector(-kHalf, 0, 0));
  eye.strName = String("0");
  return eye;
}

// The directions of a coarse walk over the panorama, so that EyeRayMatrix sees every kind of ray.
std::vector<Vector> Directions()
{
  LensState s;
  Panorama(s);
  std::vector<Vector> out;
  for (Int32 y = 0; y < kHeight; y += 16)
    for (Int32 x = 0; x < kWidth; x += 16)
    {
      Vector uv(x / (kWidth - 1.0), y / (kHeight - 1.0), 0.0);
      out.push_back(PixelToDirection(s, uv));
    }
  return out;
}

void BM_EyeRayMatrix(benchmark::State& st)
{
  const Int32 model = static_cast<Int32>(st.range(0));
  const Float zeroParallax = st.range(1) ? 1000.0 : 0.0;
  const std::vector<Vector> directions = Directions();
  const StereoCameraInfo eye = LeftEye();
  size_t i = 0;
  Vector aim, axis;
  const long before = ThreadAllocationCount();
  for (auto _ : st)
  {
    benchmark::DoNotOptimize(
      EyeRayMatrix(kCamera, eye, true, directions[i], static_cast<EyeModel>(model), false, zeroParallax, 2 * kHalf, 1.0, aim, axis));
    if (++i == directions.size())
      i = 0;
  }
  st.counters["allocs_per_ray"] = benchmark::Counter(static_cast<double>(ThreadAllocationCount() - before) / st.iterations());
  st.SetItemsProcessed(st.iterations());
}

// A small picture for the picture map, written once.
std::string PictureFile()
{
  static const std::string path = [] {
    const std::string p = "/tmp/orlix_bench_map_" + std::to_string(getpid()) + ".ppm";
    std::ofstream out(p, std::ios::binary);
    out << "P6\n256 128\n255\n";
    for (int y = 0; y < 128; ++y)
      for (int x = 0; x < 256; ++x)
        out.put(static_cast<char>(y * 2)).put(static_cast<char>(x)).put(static_cast<char>(128));
    return p;
  }();
  return path;
}

BaseShader* MakeMap(MapKind kind)
{
  if (kind == kNoMap)
    return nullptr;
  BaseShader* sh = BaseShader::Alloc(kind == kGradientMap ? Xgradient : Xbitmap);
  if (kind == kPictureMap)
    sh->GetDataInstance()->SetFilename(BITMAPSHADER_FILENAME, Filename(PictureFile().c_str()));
  if (sh->InitRender(InitRenderStruct()) != INITRENDERRESULT_OK)
    BaseShader::Free(sh);
  return sh;
}

// The tag's settings in the order its Init writes them, so that the map's look-ups scan as far as
// they do in a render.
BaseContainer TagSettings(Bool mapOn)
{
  BaseContainer bc;
  for (Int32 id = 1000; id <= 1054; ++id)
    bc.SetFloat(id, 0.0);
  bc.SetInt32(ORLIXTAG_LENS, 0);
  bc.SetFloat(ORLIXTAG_DOME_FOV, PI);
  bc.SetInt32(ORLIXTAG_DOME_ZENITH, 0);
  bc.SetBool(ORLIXTAG_SEPARATION_MAP_ON, mapOn);
  return bc;
}

void BM_CreateRayStereo(benchmark::State& st)
{
  const Int32 model = static_cast<Int32>(st.range(0));
  const auto kind = static_cast<MapKind>(st.range(2));
  std::unique_ptr<OrlixCamVP> vp(static_cast<OrlixCamVP*>(OrlixCamVP::Alloc()));
  BaseObject* camera = BaseObject::Alloc(Ocamera);
  camera->SetMg(kCamera);
  BaseContainer tagData = TagSettings(kind != kNoMap);
  Panorama(*vp);
  vp->isActive = true;
  vp->camera = camera;
  vp->tagData = &tagData;
  vp->settings.isStereo = true;
  vp->settings.eyeModel = static_cast<EyeModel>(model);
  vp->settings.eyeSeparation = 2 * kHalf;
  vp->settings.zeroParallaxDistance = st.range(1) ? 1000.0 : 0.0;
  static_cast<StereoCameraInfo&>(vp->currentEye) = LeftEye();
  vp->currentEye.channelIndex = 0;
  vp->separationMap.shader = MakeMap(kind);
  if (kind != kNoMap && !vp->separationMap.shader)
  {
    st.SkipWithError("the map doesn't open");
    return;
  }

  Int32 x = 0, y = 0;
  Ray ray;
  const long before = ThreadAllocationCount();
  for (auto _ : st)
  {
    vp->CreateRay(&ray, x + 0.25, y + 0.25);
    benchmark::DoNotOptimize(ray);
    if (++x == kWidth)
    {
      x = 0;
      y = (y + 1) % kHeight;
    }
  }
  st.counters["allocs_per_ray"] = benchmark::Counter(static_cast<double>(ThreadAllocationCount() - before) / st.iterations());
  st.SetItemsProcessed(st.iterations());
  BaseShader::Free(vp->separationMap.shader);
  BaseObject::Free(camera);
}

void EyeModels(benchmark::internal::Benchmark* b)
{
  b->ArgNames({"model", "converge"});
  for (int model = 0; model <= 3; ++model)
    for (int converge = 0; converge <= 1; ++converge)
      b->Args({model, converge});
}

void EyeModelsAndMaps(benchmark::internal::Benchmark* b)
{
  b->ArgNames({"model", "converge", "map"});
  for (int map = kNoMap; map <= kPictureMap; ++map)
    for (int model = 0; model <= 3; ++model)
      for (int converge = 0; converge <= 1; ++converge)
        b->Args({model, converge, map});
}
} // namespace

BENCHMARK(BM_EyeRayMatrix)->Apply(EyeModels);
BENCHMARK(BM_CreateRayStereo)->Apply(EyeModelsAndMaps);
