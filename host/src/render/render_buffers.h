// The running render as video posts see it: its settings, its RGBA image buffer, and the
// bitmaps that carry finished images.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "c4d.h"

namespace host::render
{
/// An image under render: rows of RGBA float pixels.
class ImageBuffer final : public VPBuffer
{
public:
  /// Makes room for w × h pixels; false without memory.
  Bool Init(Int32 w, Int32 h);

  Int32 GetInfo(Int32 type) const override;
  Bool GetLine(Int32 x, Int32 y, Int32 cnt, void* data, Int32 bitdepth, Bool dithering) const override;
  Bool SetLine(Int32 x, Int32 y, Int32 cnt, const void* data, Int32 bitdepth, Bool dithering) override;

  Int32 Width() const { return width; }
  Int32 Height() const { return height; }
  /// Whether it holds pixels for a w × h image now.
  Bool Holds(Int32 w, Int32 h) const { return pixels && width == w && height == h; }
  /// Gives the pixels' memory back, keeping the size, until the next Init.
  void Release() { pixels.reset(); }
  /// The four floats of pixel (x, y); the render threads write disjoint pixels.
  Float32* Pixel(Int32 x, Int32 y) { return &pixels[(static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 4u]; }
  const Float32* Pixel(Int32 x, Int32 y) const { return const_cast<ImageBuffer*>(this)->Pixel(x, y); }

private:
  Bool LineFits(Int32 x, Int32 y, Int32 cnt, const void* data, Int32 bitdepth) const;

  Int32 width = 0;
  Int32 height = 0;
  std::unique_ptr<Float32[]> pixels; ///< not cleared: a render writes every pixel
};

/// A bitmap the render fills from an image buffer, with an alpha channel when asked.
class RenderBitmap final : public BaseBitmap
{
public:
  static RenderBitmap* Alloc();
  /// Makes a black picture of w × h; with `withAlpha` an alpha channel of 0. False without memory.
  Bool Init(Int32 w, Int32 h, Bool withAlpha);
  /// The same picture, w × h, storing only the rectangle at (x0, y0) of cw × ch: everything else
  /// reads as transparent black and takes no memory. False without memory.
  Bool InitCrop(Int32 w, Int32 h, Int32 x0, Int32 y0, Int32 cw, Int32 ch, Bool withAlpha);
  /// A float picture of w × h without alpha that stores nothing: `colours` makes `cnt` pixels
  /// from (x, y) on as they are read. False for an empty size.
  Bool InitMade(Int32 w, Int32 h, std::function<void(Int32 x, Int32 y, Int32 cnt, Float32* rgb)> colours);
  /// Copies the buffer's colours, and its alpha where the bitmap has a channel for it; nothing
  /// when the sizes differ.
  void CopyFrom(const ImageBuffer& buffer) { CopyRows(buffer, 0, height); }
  /// The same for rows y0 up to y1; rows of different threads may be copied side by side.
  void CopyRows(const ImageBuffer& buffer, Int32 y0, Int32 y1);

  /// The three float colours of pixel (x, y) of a picture stored whole, to write them.
  Float32* Colours(Int32 x, Int32 y) { return &rgb[static_cast<size_t>(StoredAt(x, y)) * 3u]; }
  /// The three float colours of pixel (x, y) inside the picture; black where a crop stored none.
  const Float32* Colours(Int32 x, Int32 y) const
  {
    static const Float32 black[3] = {0.0f, 0.0f, 0.0f};
    const std::ptrdiff_t at = StoredAt(x, y);
    return at < 0 ? black : &rgb[static_cast<size_t>(at) * 3u];
  }
  /// The alpha of pixel (x, y), 1 without a channel, 0 where a crop stored none.
  Float32 AlphaAt(Int32 x, Int32 y) const
  {
    const std::ptrdiff_t at = StoredAt(x, y);
    return !hasAlpha ? 1.0f : at < 0 ? 0.0f : alpha[static_cast<size_t>(at)];
  }
  void SetAlphaAt(Int32 x, Int32 y, Float32 a)
  {
    const std::ptrdiff_t at = StoredAt(x, y);
    if (hasAlpha && at >= 0)
      alpha[static_cast<size_t>(at)] = a;
  }

private:
  RenderBitmap() = default;
};

/// Where each pixel of a merged frame comes from: its image and place, or nowhere (-1).
struct PassSelection
{
  Int32 width = 0, height = 0;
  std::vector<Int32> image, x, y;
};

enum class MergeKind
{
  Selects,  ///< every pixel of the frame is one pixel of one image, or black
  Declines, ///< the video post merges nothing: the frame is the first image
  Mixes,    ///< pixels are made from several (an anaglyph)
};

/// Runs the video post's merge once on `count` pictures of w × h made as they are read (no
/// memory of their own), whose pixels name their image and place, into `frame`, to learn how it
/// lays a frame out: for a data pass (directions), laid out the same way without the merge's
/// arithmetic, and to trace each image only where the frame takes pixels from it. `visit(fx, fy,
/// k, x, y)` hears of each pixel (fx, fy) of the frame that is pixel (x, y) of image k; what it
/// heard is void unless the answer is Selects.
MergeKind LearnMerge(VideoPostData* data, BaseVideoPost* node, Int32 count, Int32 w, Int32 h, RenderBitmap& frame,
                     const std::function<void(Int32 fx, Int32 fy, Int32 k, Int32 x, Int32 y)>& visit);
/// Where each pixel of the frame comes from, as LearnMerge's visits tell it.
void Select(PassSelection& selection, Int32 fx, Int32 fy, Int32 k, Int32 x, Int32 y);

/// A half-open rectangle of a frame, in pixels.
struct FrameArea
{
  Int32 x0 = 0, y0 = 0, x1 = 0, y1 = 0;
};

/// The rectangle of the frame that each of `count` images fills, when each image fills one
/// rectangle of its own and nothing else; otherwise empty, with what is wrong in `problem`.
std::vector<FrameArea> ImageAreas(const PassSelection& selection, Int32 count, std::string& problem);

/// A copy of `area` of `frame`, with its alpha channel if it has one; null without memory.
RenderBitmap* CopyArea(const RenderBitmap& frame, const FrameArea& area);

/// A data pass's frame laid out by `selection` from `images`: each pixel a copy, never a mix.
void ApplySelection(const PassSelection& selection, const std::vector<const RenderBitmap*>& images, RenderBitmap& frame);

/// The running render: its own copy of the settings, and the image in flight.
class RunningRender final : public Render
{
public:
  explicit RunningRender(const BaseContainer& settingsCopy) : settings(settingsCopy) {}

  VPBuffer* GetBuffer(Int32 id, Int32 subid) override;
  BaseContainer GetRenderData() const override { return settings; }
  void SetRenderData(const BaseContainer& bc) override { settings = bc; }

  const BaseContainer& Settings() const { return settings; }
  void SetImage(ImageBuffer* buffer) { image = buffer; }

private:
  BaseContainer settings;
  ImageBuffer* image = nullptr;
};
} // namespace host::render
