// OrlixCamVP: the video post that shoots the render through the lens, and its render state.
#pragma once

#include "c4d.h"
#include "lens/lens_projection.h"
#include "lens/lens_state.h"

/// The render state. The lens fields it shares with the per-ray code live in LensState; the
/// rest is the snapshot of tag, video post and render settings, the channel plan and the pictures.
class OrlixCamVP : public VideoPostData, public LensState
{
public:
  static constexpr Int32 ID = 1033675;

  /// Zero-fills the whole object, then constructs it.
  static NodeData* Alloc();

  OrlixCamVP();
  ~OrlixCamVP() override;

  void Free(GeListNode* node) override;
  VIDEOPOSTINFO GetRenderInfo(BaseVideoPost* node) override;
  RENDERRESULT Execute(BaseVideoPost* node, VideoPostStruct* vps) override;
  void ExecuteLine(BaseVideoPost* node, PixelPost* pp) override;
  void CreateRay(Ray* ray, Float x, Float y) override;
  Int32 StereoGetCameraCountEditor(BaseVideoPost* node, BaseDocument* doc, BaseDraw* bd) override;

  // Lens mode and snapshot (the lens fields are in LensState).
  Bool isPreview = false;
  Bool slateOn = false;

  // Overlays, document and time.
  Bool showFrameNumber = false;
  Bool showTimecode = false;
  Bool showInfo = false;
  Bool showSlateText = false;
  Int32 logoMode = 0;
  BaseTime slateTimeOffset;
  String slateText;
  Float slateTextSize = 0.0;
  Filename documentName;
  Float fps = 0.0;
  BaseTime docMinTime;
  BaseTime docMaxTime;
  BaseTime frameTime;
  Bool switchSceneCamera = false;

  // Areas of the frame.
  LensArea frameArea;
  Float domeDiameter = 0.0;
  Float logoInset = 0.0;
  LensArea logoCorner;

  // Scene links, borrowed from the document for one render.
  Bool isActive = false;
  BaseObject* camera = nullptr;
  BaseTag* tag = nullptr;
  BaseContainer* tagData = nullptr;

  // Channel plan.
  LensChannel faceChannels[6];
  LensChannel stereoChannels[2];
  Int32 faceCount = 0;
  Int32 eyeCount = 0;
  Int32 subRenderCount = 0;
  Int32 subRenderIndex = 0;

  // Stereo snapshot.
  Bool stereoAnaglyph = false;
  Bool stereoPair = false;
  Bool stereoInterlaced = false;
  Bool stereoSideBySide = false;
  Bool stereoTopBottom = false;
  Bool stereoSwapEyes = false;
  Int32 anaglyphMethod = 0;
  Int32 anaglyphColours = 0;
  Float anaglyphGamma = 0.0;
  Int32 interlaceMode = 0;
  BaseShader* separationShader = nullptr;

  // Pictures and the cube grid (owned).
  BaseBitmap* logoBitmap = nullptr;
  BaseBitmap* maskBitmap = nullptr;
  BaseBitmap* faceBitmaps[7] = {};
  LensChannel areaGrid[36];
  Vector gridSize;
};
