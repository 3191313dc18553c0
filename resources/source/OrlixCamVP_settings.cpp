// The lens settings of a render, read from the containers in one place.
#include "OrlixCamVP.h"

#include "description/OrlixCam.h"
#include "description/OrlixTag.h"

// The typed settings keep the numbers the descriptions' cycles store.
static_assert(static_cast<Int32>(LensKind::Panorama) == ORLIXTAG_LENS_PANORAMA);
static_assert(static_cast<Int32>(LensKind::Dome) == ORLIXTAG_LENS_DOME);
static_assert(static_cast<Int32>(LensKind::Cylindrical) == ORLIXTAG_LENS_CYLINDRICAL);
static_assert(static_cast<Int32>(LensKind::Cubemap) == ORLIXTAG_LENS_CUBEMAP);
static_assert(static_cast<Int32>(EyeModel::Fixed) == ORLIXTAG_EYE_MODEL_0);
static_assert(static_cast<Int32>(EyeModel::FullCircle) == ORLIXTAG_EYE_MODEL_1);
static_assert(static_cast<Int32>(EyeModel::Sweep) == ORLIXTAG_EYE_MODEL_2);
static_assert(static_cast<Int32>(EyeModel::Roll) == ORLIXTAG_EYE_MODEL_3);
static_assert(static_cast<Int32>(StereoMode::Anaglyph) == ORLIXVP_STEREO_MODE_ANAGLYPH);
static_assert(static_cast<Int32>(StereoMode::Pair) == ORLIXVP_STEREO_MODE_PAIR);
static_assert(static_cast<Int32>(StereoMode::Interlaced) == ORLIXVP_STEREO_MODE_INTERLACED);
static_assert(static_cast<Int32>(StereoMode::OneEye) == ORLIXVP_STEREO_MODE_ONE_EYE);
static_assert(static_cast<Int32>(PairLayout::SideBySide) == ORLIXVP_PAIR_LAYOUT_SIDE_BY_SIDE);
static_assert(static_cast<Int32>(PairLayout::TopBottom) == ORLIXVP_PAIR_LAYOUT_TOP_BOTTOM);
static_assert(static_cast<Int32>(CubeLayout::CrossHorizontal) == ORLIXVP_CUBE_LAYOUT_CROSS_HORIZONTAL);
static_assert(static_cast<Int32>(CubeLayout::CrossVertical) == ORLIXVP_CUBE_LAYOUT_CROSS_VERTICAL);
static_assert(static_cast<Int32>(CubeLayout::StripHorizontal) == ORLIXVP_CUBE_LAYOUT_STRIP_HORIZONTAL);
static_assert(static_cast<Int32>(CubeLayout::BlockHorizontal) == ORLIXVP_CUBE_LAYOUT_BLOCK_HORIZONTAL);
static_assert(static_cast<Int32>(CubeLayout::StripVertical) == ORLIXVP_CUBE_LAYOUT_STRIP_VERTICAL);
static_assert(static_cast<Int32>(CubeLayout::BlockVertical) == ORLIXVP_CUBE_LAYOUT_BLOCK_VERTICAL);
static_assert(static_cast<Int32>(CubeLayout::Single) == ORLIXVP_CUBE_LAYOUT_SINGLE);
static_assert(static_cast<Int32>(MaskMode::Black) == ORLIXVP_MASK_MODE_BLACK);
static_assert(static_cast<Int32>(MaskMode::Picture) == ORLIXVP_MASK_MODE_PICTURE);
static_assert(static_cast<Int32>(MaskMode::None) == ORLIXVP_MASK_MODE_NONE);
static_assert(static_cast<Int32>(LogoMode::BuiltIn) == ORLIXVP_LOGO_MODE_BUILTIN);
static_assert(static_cast<Int32>(LogoMode::File) == ORLIXVP_LOGO_MODE_FILE);
static_assert(static_cast<Int32>(LogoMode::None) == ORLIXVP_LOGO_MODE_NONE);
static_assert(static_cast<Int32>(AnaglyphMethod::Matrix) == ORLIXVP_ANAGLYPH_METHOD_MATRIX);
static_assert(static_cast<Int32>(AnaglyphMethod::Simple) == ORLIXVP_ANAGLYPH_METHOD_SIMPLE);
static_assert(static_cast<Int32>(AnaglyphColours::GreyMagenta) == ORLIXVP_ANAGLYPH_COLOURS_GREY_MAGENTA);
static_assert(static_cast<Int32>(AnaglyphColours::Full) == ORLIXVP_ANAGLYPH_COLOURS_FULL);
static_assert(static_cast<Int32>(AnaglyphColours::Half) == ORLIXVP_ANAGLYPH_COLOURS_HALF);
static_assert(static_cast<Int32>(AnaglyphColours::Optimised) == ORLIXVP_ANAGLYPH_COLOURS_OPTIMISED);
static_assert(static_cast<Int32>(AnaglyphColours::Grey) == ORLIXVP_ANAGLYPH_COLOURS_GREY);
static_assert(static_cast<Int32>(InterlaceMode::Rows) == ORLIXVP_INTERLACE_MODE_ROWS);
static_assert(static_cast<Int32>(InterlaceMode::Columns) == ORLIXVP_INTERLACE_MODE_COLUMNS);
static_assert(static_cast<Int32>(InterlaceMode::Checkerboard) == ORLIXVP_INTERLACE_MODE_CHECKERBOARD);

namespace
{
template <typename E>
E ReadEnum(const BaseContainer& bc, Int32 id)
{
  return static_cast<E>(bc.GetInt32(id));
}

void ReadLens(const BaseContainer& tag, LensSettings& s)
{
  s.lens = ReadEnum<LensKind>(tag, ORLIXTAG_LENS);
  if (s.lens == LensKind::Dome)
    s.fov = tag.GetFloat(ORLIXTAG_DOME_FOV);
  else if (s.lens == LensKind::Panorama)
    s.fov = tag.GetFloat(ORLIXTAG_PANO_FOV_H);
  else if (s.lens == LensKind::Cylindrical)
    s.fov = tag.GetFloat(ORLIXTAG_CYL_FOV);
  UpdateSpans(s);
  s.panoramaCustomField = tag.GetBool(ORLIXTAG_PANO_CUSTOM);
  s.cylinderAxisTurned = tag.GetInt32(ORLIXTAG_CYL_AXIS) == ORLIXTAG_CYL_AXIS_HORIZONTAL;
  s.cylinderHeight = tag.GetFloat(ORLIXTAG_CYL_HEIGHT);
  s.verticalStart = MapRange(tag.GetFloat(ORLIXTAG_PANO_LAT_MIN), -PI05, PI05, 0.0, 1.0, false);
  s.verticalEnd = MapRange(tag.GetFloat(ORLIXTAG_PANO_LAT_MAX), -PI05, PI05, 0.0, 1.0, false);
  s.previewAspect = tag.GetFloat(ORLIXTAG_ASPECT_MONO);
}

void ReadStereo(const BaseContainer& tag, const BaseContainer& vp, LensSettings& s)
{
  s.stereoMode = ReadEnum<StereoMode>(vp, ORLIXVP_STEREO_MODE);
  s.pairLayout = ReadEnum<PairLayout>(vp, ORLIXVP_PAIR_LAYOUT);
  s.swapEyes = vp.GetBool(ORLIXVP_SWAP_EYES);
  s.rightEyeOnly = vp.GetInt32(ORLIXVP_ONE_EYE) != ORLIXVP_ONE_EYE_LEFT;
  s.flipX[0] = vp.GetBool(ORLIXVP_FLIP_X_LEFT);
  s.flipY[0] = vp.GetBool(ORLIXVP_FLIP_Y_LEFT);
  s.flipX[1] = vp.GetBool(ORLIXVP_FLIP_X_RIGHT);
  s.flipY[1] = vp.GetBool(ORLIXVP_FLIP_Y_RIGHT);
  s.pixelShift = vp.GetInt32(ORLIXVP_EYE_SHIFT);
  s.anaglyphMethod = ReadEnum<AnaglyphMethod>(vp, ORLIXVP_ANAGLYPH_METHOD);
  s.anaglyphColours = ReadEnum<AnaglyphColours>(vp, ORLIXVP_ANAGLYPH_COLOURS);
  s.anaglyphGamma = vp.GetFloat(ORLIXVP_ANAGLYPH_GAMMA);
  s.interlaceMode = ReadEnum<InterlaceMode>(vp, ORLIXVP_INTERLACE_MODE);
  s.eyeSeparation = tag.GetFloat(ORLIXTAG_EYE_SEPARATION);
  s.zeroParallaxDistance =
    tag.GetInt32(ORLIXTAG_CONVERGENCE) != ORLIXTAG_CONVERGENCE_PARALLEL ? tag.GetFloat(ORLIXTAG_ZERO_PARALLAX) : 0.0;
  s.eyeModel = ReadEnum<EyeModel>(tag, ORLIXTAG_EYE_MODEL);
  s.domeZenith = s.lens == LensKind::Dome && tag.GetInt32(ORLIXTAG_DOME_ZENITH) == ORLIXTAG_DOME_ZENITH_DOME;
  s.separationMapOn = tag.GetBool(ORLIXTAG_SEPARATION_MAP_ON);
}

void ReadOverlays(const BaseContainer& vp, LensSettings& s)
{
  s.maskMode = ReadEnum<MaskMode>(vp, ORLIXVP_MASK_MODE);
  // The slate belongs to a dome's final render.
  s.slateOn = vp.GetBool(ORLIXVP_SLATE) && s.lens == LensKind::Dome && !s.isPreview;
  s.showInfo = s.slateOn && vp.GetBool(ORLIXVP_SHOW_INFO);
  s.showFrameNumber = s.slateOn && vp.GetBool(ORLIXVP_SHOW_FRAME);
  s.showTimecode = s.slateOn && vp.GetBool(ORLIXVP_SHOW_TIMECODE);
  s.showSlateText = s.slateOn && vp.GetBool(ORLIXVP_SHOW_TEXT);
  s.logoMode = s.slateOn ? ReadEnum<LogoMode>(vp, ORLIXVP_LOGO_MODE) : LogoMode::None;
  s.logoFile = vp.GetFilename(ORLIXVP_LOGO_FILE);
  s.maskFile = vp.GetFilename(ORLIXVP_MASK_FILE);
  s.slateTimeOffset = vp.GetTime(ORLIXVP_TIME_OFFSET);
  s.slateText = vp.GetString(ORLIXVP_TEXT);
  s.slateTextSize = vp.GetFloat(ORLIXVP_TEXT_SIZE);
}
} // namespace

CubeLayoutSettings ReadCubeLayout(const BaseContainer& vp)
{
  CubeLayoutSettings cube;
  cube.layout = ReadEnum<CubeLayout>(vp, ORLIXVP_CUBE_LAYOUT);
  cube.turn = vp.GetInt32(ORLIXVP_CUBE_TURN);
  for (Int32 i = 0; i < 6; ++i)
    cube.slots[i] = vp.GetInt32(ORLIXVP_CUBE_SLOT_1 + i);
  cube.face = vp.GetInt32(ORLIXVP_CUBE_FACE);
  return cube;
}

LensSettings ReadLensSettings(const BaseContainer& tagData, const BaseContainer& videoPost, const BaseContainer& render,
                              Bool preview)
{
  LensSettings s;
  s.isPreview = preview;
  s.isStereo = render.GetBool(RDATA_STEREO) && !preview;
  s.width = render.GetInt32(RDATA_XRES);
  s.height = render.GetInt32(RDATA_YRES);
  s.fps = render.GetFloat(RDATA_FRAMERATE);
  ReadLens(tagData, s);
  ReadStereo(tagData, videoPost, s);
  s.cube = ReadCubeLayout(videoPost);
  s.cubePreviewFace = tagData.GetInt32(ORLIXTAG_CUBE_PREVIEW_FACE);
  ReadOverlays(videoPost, s);
  return s;
}
