// Prints, for each lens, the world direction of a few pixels of a 1024 × 512 frame, through CreateRay.
#include <cstdio>
#include <memory>

#include "OrlixCamVP.h"

int main()
{
  const Int32 width = 1024, height = 512;
  const struct { const char* name; LensKind kind; Float fov; } lenses[] = {
    {"dome 180", LensKind::Dome, PI}, {"panorama 360", LensKind::Panorama, PI2},
    {"cylindrical 360", LensKind::Cylindrical, PI2}, {"cubemap front", LensKind::Cubemap, PI2},
  };
  const Float pixels[][2] = {{0, 0}, {256, 128}, {511.5, 255.5}, {768, 256}, {1023, 511}};

  std::unique_ptr<OrlixCamVP> vp(static_cast<OrlixCamVP*>(OrlixCamVP::Alloc()));
  BaseObject* camera = BaseObject::Alloc(Ocamera);
  vp->isActive = true;
  vp->camera = camera;
  vp->activeArea.end = Vector(width - 1.0, height - 1.0, 0.0);
  UpdateArea(vp->activeArea);
  vp->pixelStep = PixelStep(vp->activeArea);
  vp->bleedPixels = 10;
  vp->settings.cylinderHeight = 100.0;
  vp->currentFace.channelIndex = 5;

  std::printf("Camera at the origin looking along +Z; frame %d x %d pixels.\n", width, height);
  for (const auto& lens : lenses)
  {
    vp->settings.lens = lens.kind;
    vp->settings.fov = lens.fov;
    UpdateSpans(vp->settings);
    std::printf("\n%s\n", lens.name);
    for (const auto& px : pixels)
    {
      Ray ray;
      vp->CreateRay(&ray, px[0], px[1]);
      if (ray.v.IsZero())
        std::printf("  pixel (%7.1f, %6.1f)  no ray\n", px[0], px[1]);
      else
        std::printf("  pixel (%7.1f, %6.1f)  origin (%6.1f, %6.1f, %6.1f)  direction (%9.6f, %9.6f, %9.6f)\n", px[0], px[1],
                    ray.p.x, ray.p.y, ray.p.z, ray.v.x, ray.v.y, ray.v.z);
    }
  }
  BaseObject::Free(camera);
  return 0;
}
