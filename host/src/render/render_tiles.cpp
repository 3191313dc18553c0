#include "render/render_tiles.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "render/render_picture.h"

namespace host::render
{
// A square count is a grid; any other is one sample per row and per column (n-rooks), the rows
// stepped through by a stride near the golden ratio so the samples spread over the pixel.
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

void TileTracer::SetSamples(Int32 samples)
{
  offsets = SampleOffsets(samples);
  sampleWeight = 1.0f / static_cast<Float32>(offsets.size());
}

void TileTracer::SetFrame(Int32 w, Int32 h)
{
  width = w;
  height = h;
  tilesX = (width + kTileSize - 1) / kTileSize;
  tileCount = tilesX * ((height + kTileSize - 1) / kTileSize);
}

Ray TileTracer::Shoot(Float sx, Float sy) const
{
  Ray ray;
  if (lens)
    lens->CreateRay(&ray, sx, sy);
  else
  {
    ray.p = pinhole.origin;
    ray.v = pinhole.Direction(sx, sy);
  }
  return ray;
}

// The ST map looks up by direction as the sky does, so that an ST map of a lens applied to a sky
// picture gives the render of that sky.
void TileTracer::TracePass(Int32 x0, Int32 y0, Int32 x1, Int32 y1) const
{
  for (Int32 y = y0; y < y1; ++y)
    for (Int32 x = x0; x < x1; ++x)
    {
      const Ray ray = Shoot(x, y);
      const Float len2 = ray.v.GetSquaredLength();
      const Bool valid = len2 > 0.0 && std::isfinite(len2) && std::isfinite(ray.p.GetSquaredLength());
      Vector value;
      if (valid && pass == RenderPass::Direction)
        value = ray.v / std::sqrt(len2);
      else if (valid && pass == RenderPass::Origin)
        value = ray.p;
      else if (valid)
      {
        Float u = 0.0, v = 0.0;
        DirectionToSkyUV(ray.v / std::sqrt(len2), u, v);
        value = Vector(u, 1.0 - v, 0.0);
      }
      Float32* px = buffer->Pixel(x, y);
      px[0] = static_cast<Float32>(value.x);
      px[1] = static_cast<Float32>(value.y);
      px[2] = static_cast<Float32>(value.z);
      px[3] = valid ? 1.0f : 0.0f;
    }
}

void TileTracer::RunPixelPosts(Float32* px, Int32 x, Int32 y) const
{
  PixelPost pp;
  pp.line = y;
  pp.col = px;
  pp.comp = 4;
  for (const ActiveVideoPost* vp : *pixelPosts)
    vp->data->ExecutePixel(vp->node, &pp, x, 0, 0);
}

void TileTracer::TraceTile(Int64 tile) const
{
  const Int32 x0 = static_cast<Int32>(tile % tilesX) * kTileSize;
  const Int32 y0 = static_cast<Int32>(tile / tilesX) * kTileSize;
  const Int32 x1 = std::min(x0 + kTileSize, width), y1 = std::min(y0 + kTileSize, height);
  if (pass != RenderPass::Shaded)
  {
    TracePass(x0, y0, x1, y1);
    return;
  }
  for (Int32 y = y0; y < y1; ++y)
    for (Int32 x = x0; x < x1; ++x)
    {
      Float32 r = 0.0f, g = 0.0f, b = 0.0f, a = 0.0f;
      for (const auto& [dx, dy] : offsets)
      {
        const Ray ray = Shoot(x + dx, y + dy);
        // A ray without a direction (or a broken one) sees nothing: black, uncovered.
        const Float len2 = ray.v.GetSquaredLength();
        if (!(len2 > 0.0) || !std::isfinite(len2) || !std::isfinite(ray.p.GetSquaredLength()))
          continue;
        const Rgba c = scene->Trace(ray.p, ray.v / std::sqrt(len2));
        r += c.r;
        g += c.g;
        b += c.b;
        a += c.a;
      }
      Float32* px = buffer->Pixel(x, y);
      px[0] = r * sampleWeight;
      px[1] = g * sampleWeight;
      px[2] = b * sampleWeight;
      px[3] = a * sampleWeight;
      if (!pixelPosts->empty())
        RunPixelPosts(px, x, y);
    }
}
} // namespace host::render
