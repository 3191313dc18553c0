// Tracing an image: the frame cut into tiles, each pixel's samples shot through the lens or the
// host's pinhole and shaded, then handed to the pixel posts.
#pragma once

#include <utility>
#include <vector>

#include "c4d.h"
#include "render/render_buffers.h"
#include "render/render_loop.h"
#include "render/render_scene.h"
#include "render/render_stages.h"

namespace host::render
{
/// Sample positions within a pixel, relative to its centre and averaging to it.
std::vector<std::pair<Float, Float>> SampleOffsets(Int32 samples);

/// What the render threads read while an image is traced; set up once per image, then shared.
struct TileTracer
{
  static constexpr Int32 kTileSize = 32;

  const RenderScene* scene = nullptr;
  ImageBuffer* buffer = nullptr;
  VideoPostData* lens = nullptr; ///< shoots the rays; without it the pinhole does
  PinholeCamera pinhole;
  const std::vector<const ActiveVideoPost*>* pixelPosts = nullptr;
  RenderPass pass = RenderPass::Shaded;
  std::vector<std::pair<Float, Float>> offsets;
  Float32 sampleWeight = 1.0f;
  Int32 width = 0, height = 0;
  Int64 tilesX = 0, tileCount = 0;

  void SetSamples(Int32 samples);
  void SetFrame(Int32 w, Int32 h);
  void TraceTile(Int64 tile) const;
  /// The tile that holds pixel (x, y).
  Int64 TileOf(Int32 x, Int32 y) const { return static_cast<Int64>(y / kTileSize) * tilesX + x / kTileSize; }
  /// The ray through frame position (sx, sy) in pixels.
  Ray Shoot(Float sx, Float sy) const;

private:
  void TracePass(Int32 x0, Int32 y0, Int32 x1, Int32 y1) const;
  void RunPixelPosts(Float32* px, Int32 x, Int32 y) const;
};
} // namespace host::render
