// The lens settings of one render, read once at its start: the tag's, the video post's and the
// render settings' values as plain typed fields. Everything after the start reads only this.
#pragma once

#include "c4d_basetime.h"
#include "c4d_string.h"
#include "c4d_types.h"

// The enumerators keep the numbers the settings store; a value outside them passes through
// unchanged and then matches none, as an unknown number always did.
enum class LensKind : Int32 { Panorama = 0, Dome = 1, Cylindrical = 2, Cubemap = 3 };
enum class StereoMode : Int32 { Anaglyph = 0, Pair = 1, Interlaced = 2, OneEye = 3 };
enum class PairLayout : Int32 { SideBySide = 0, TopBottom = 1 };
/// Any value other than these acts like Fixed.
enum class EyeModel : Int32 { Fixed = 0, FullCircle = 1, Sweep = 2, Roll = 3 };
enum class CubeLayout : Int32
{
  CrossHorizontal = 0,
  CrossVertical = 1,
  StripHorizontal = 2,
  BlockHorizontal = 3,
  StripVertical = 4,
  BlockVertical = 5,
  Single = 6,
};
/// Mask: black outside the dome's circle, a picture laid over, or none (rays outside the circle).
enum class MaskMode : Int32 { Black = 0, Picture = 1, None = 2 };
enum class LogoMode : Int32 { BuiltIn = 0, File = 1, None = 2 };
enum class AnaglyphMethod : Int32 { Matrix = 0, Simple = 1 };
enum class AnaglyphColours : Int32 { GreyMagenta = 0, Full = 1, Half = 2, Optimised = 3, Grey = 4 };
enum class InterlaceMode : Int32 { Rows = 0, Columns = 1, Checkerboard = 2 };

/// The cube settings of the video post.
struct CubeLayoutSettings
{
  CubeLayout layout = CubeLayout::CrossHorizontal; ///< anything outside the enumerators leaves the grid empty
  Int32 turn = 1;                                  ///< where the band of four faces begins (the crosses)
  Int32 slots[6] = {1, 0, 3, 2, 5, 4};             ///< face of each slot (strips and blocks)
  Int32 face = 5;                                  ///< the one face of the single layout
};

struct LensSettings
{
  LensKind lens = LensKind::Dome;
  Float fov = 0.0;           ///< full angular field in radians
  Float spanStart = 0.0;     ///< part of a turn the image covers, centred on 0.5 (from fov)
  Float spanEnd = 0.0;
  Float verticalStart = 0.0; ///< latitude limits mapped to 0..1
  Float verticalEnd = 0.0;
  Bool panoramaCustomField = false;
  Bool cylinderAxisTurned = false;
  Float cylinderHeight = 0.0; ///< scene units
  Float previewAspect = 0.0;  ///< the box a preview shows; 0 or less fills the frame

  // The frame.
  Bool isPreview = false;
  Int32 width = 0;
  Int32 height = 0;
  Float fps = 0.0;

  // Stereo.
  Bool isStereo = false;
  StereoMode stereoMode = StereoMode::Anaglyph;
  PairLayout pairLayout = PairLayout::SideBySide;
  Bool swapEyes = false;
  Bool rightEyeOnly = false; ///< the one eye a one-eye render shoots
  Bool flipX[2] = {};        ///< by eye: 0 left, 1 right
  Bool flipY[2] = {};
  Int32 pixelShift = 0;
  Float eyeSeparation = 0.0;
  Float zeroParallaxDistance = 0.0; ///< 0 without convergence
  EyeModel eyeModel = EyeModel::Fixed;
  Bool domeZenith = false; ///< a dome whose eyes turn about its axis
  Bool separationMapOn = false;
  AnaglyphMethod anaglyphMethod = AnaglyphMethod::Matrix;
  AnaglyphColours anaglyphColours = AnaglyphColours::Optimised;
  Float anaglyphGamma = 1.0;
  InterlaceMode interlaceMode = InterlaceMode::Rows;

  CubeLayoutSettings cube;
  Int32 cubePreviewFace = 5; ///< the one face a cubemap's preview shows

  // The dome's overlays. A picture that fails to load turns its layer off here.
  MaskMode maskMode = MaskMode::Black;
  LogoMode logoMode = LogoMode::None;
  Bool slateOn = false;
  Bool showFrameNumber = false;
  Bool showTimecode = false;
  Bool showInfo = false;
  Bool showSlateText = false;
  Filename logoFile;
  Filename maskFile;
  BaseTime slateTimeOffset;
  String slateText;
  Float slateTextSize = 0.0;

  Bool IsPair() const { return isStereo && stereoMode == StereoMode::Pair; }
};

/// Sets spanStart and spanEnd from `fov`: the covered part of a full turn, centred on 0.5.
void UpdateSpans(LensSettings& settings);
