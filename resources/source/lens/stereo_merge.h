// The merge of a frame's images: each pixel finds its face by the planned rectangles, and the two
// eyes are combined by the stereo mode. Plain pixel work on rows of RGB floats.
#pragma once

#include "lens_state.h"

/// What the merge needs of the render state, read once per frame.
struct MergePlan
{
  Int32 faceCount = 1;
  Int32 eyeCount = 1;
  const LensChannel* faces = nullptr; ///< faceCount entries; areas relative to an eye's picture
  const LensChannel* eyes = nullptr;  ///< eyeCount entries; each eye's area start places its faces
  LensArea activeArea;                ///< for the dome's circle in anaglyph
  Bool isDome = false;
  StereoMode stereoMode = StereoMode::Anaglyph;
  AnaglyphMethod anaglyphMethod = AnaglyphMethod::Matrix;
  AnaglyphColours anaglyphColours = AnaglyphColours::Optimised;
  Float anaglyphGamma = 1.0;
  InterlaceMode interlaceMode = InterlaceMode::Rows;
};

/// Scratch rows of one frame's merge: one allocation for the whole frame.
class MergeRows
{
public:
  /// Room for `images` source rows of `width` pixels, plus the two eye rows; false without memory.
  Bool Allocate(Int32 images, Int32 width);
  /// The row buffer of source image i (3 floats a pixel); row 0 also receives the output.
  Float32* Source(Int32 i) { return block + static_cast<size_t>(i) * rowFloats; }
  ~MergeRows();

private:
  friend void MergeRow(const MergePlan&, Int32, MergeRows&);
  Float32* block = nullptr;
  size_t rowFloats = 0;
  Int32 imageCount = 0;
  Int32 rowWidth = 0;
};

/// Merges row `y`: reads the source rows in `rows`, writes the frame's row into Source(0).
void MergeRow(const MergePlan& plan, Int32 y, MergeRows& rows);

/// The anaglyph colour of a pixel from the two eyes' colours, by method and colour set.
void AnaglyphPixel(const Float32* first, const Float32* second, AnaglyphMethod method, AnaglyphColours colours, Float gamma,
                   Float32* out);
