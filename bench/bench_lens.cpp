// Per-ray cost of the lens: PixelToDirection per lens mode, and CreateRay for mono rays.
#include <benchmark/benchmark.h>

#include <memory>

#include "OrlixCamVP.h"
#include "support/alloc_counter.h"


namespace
{
enum LensMode { kDome, kPanorama, kCylindrical, kCubemap };
constexpr Int32 kWidth = 2048, kHeight = 2048;

void Configure(LensState& s, LensMode mode)
{
  s.activeArea.end = Vector(kWidth - 1.0, kHeight - 1.0, 0.0);
  UpdateArea(s.activeArea);
  s.pixelStep = PixelStep(s.activeArea);
  s.bleedPixels = 10;
  const LensKind kinds[] = {LensKind::Dome, LensKind::Panorama, LensKind::Cylindrical, LensKind::Cubemap};
  s.settings.lens = kinds[mode];
  s.settings.fov = mode == kDome ? PI : PI2;
  UpdateSpans(s.settings);
  s.settings.cylinderHeight = 100.0;
  s.currentFace.channelIndex = 5;
}

// Walks the pixels of the image in order, as a tile of the render does.
struct PixelWalk
{
  Int32 x = 0, y = 0;
  void Next()
  {
    if (++x == kWidth)
    {
      x = 0;
      y = (y + 1) % kHeight;
    }
  }
};

void BM_PixelToDirection(benchmark::State& st)
{
  LensState s;
  Configure(s, static_cast<LensMode>(st.range(0)));
  PixelWalk walk;
  const Float su = 1.0 / (kWidth - 1), sv = 1.0 / (kHeight - 1);
  for (auto _ : st)
  {
    Vector uv(walk.x * su, walk.y * sv, 0.0);
    benchmark::DoNotOptimize(PixelToDirection(s, uv));
    walk.Next();
  }
  st.SetItemsProcessed(st.iterations());
}

void BM_CreateRayMono(benchmark::State& st)
{
  std::unique_ptr<OrlixCamVP> vp(static_cast<OrlixCamVP*>(OrlixCamVP::Alloc()));
  BaseObject* camera = BaseObject::Alloc(Ocamera);
  camera->SetMg(MatrixMove(Vector(0, 150, 0)) * MatrixRotX(-PI05));
  Configure(*vp, static_cast<LensMode>(st.range(0)));
  vp->isActive = true;
  vp->camera = camera;
  PixelWalk walk;
  Ray ray;
  const long before = ThreadAllocationCount();
  for (auto _ : st)
  {
    vp->CreateRay(&ray, walk.x + 0.25, walk.y + 0.25);
    benchmark::DoNotOptimize(ray);
    walk.Next();
  }
  st.counters["allocs_per_ray"] = benchmark::Counter(static_cast<double>(ThreadAllocationCount() - before) / st.iterations());
  st.SetItemsProcessed(st.iterations());
  BaseObject::Free(camera);
}

void LensModes(benchmark::internal::Benchmark* b)
{
  b->ArgName("lens");
  for (int mode = kDome; mode <= kCubemap; ++mode)
    b->Arg(mode);
}
} // namespace

BENCHMARK(BM_PixelToDirection)->Apply(LensModes);
BENCHMARK(BM_CreateRayMono)->Apply(LensModes);
