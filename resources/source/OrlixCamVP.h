// OrlixCamVP: the video post that shoots the render through the lens, and its render state.
#pragma once

#include <vector>

#include "c4d.h"
#include "lens/lens_projection.h"
#include "lens/lens_state.h"

class OrlixCamVP;

/// Finds the lens camera: the render view's linked camera, else the first camera in the scene with
/// an enabled tag (then `switchSceneCamera` is set). Fills camera, tag and tagData; gives the
/// render view, or null without any document. `document` may be null: the node's, else the active.
BaseDraw* FindCameraAndTag(OrlixCamVP& state, BaseDocument* document);

/// Depth first from `first` along its siblings: the first camera with an enabled lens tag that
/// isn't switched off for rendering, or null.
BaseObject* FindLensCamera(BaseObject* first);

/// Fills `areaGrid` and `gridSize` for the video post's cube layout; a preview shows one face.
void BuildCubeLayout(OrlixCamVP& state, Bool preview);

/// Builds the grid for this render and turns it into `faceChannels`, relative to one eye's picture.
void PlanCubeFaces(OrlixCamVP& state);

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

  Bool Init(GeListNode* node) override;
  void Free(GeListNode* node) override;
  Bool Message(GeListNode* node, Int32 type, void* data) override;
  Bool AllocateBuffers(BaseVideoPost* node, Render* render, BaseDocument* doc) override;
  VIDEOPOSTINFO GetRenderInfo(BaseVideoPost* node) override;
  RENDERRESULT Execute(BaseVideoPost* node, VideoPostStruct* vps) override;
  void ExecuteLine(BaseVideoPost* node, PixelPost* pp) override;
  void ExecutePixel(BaseVideoPost* node, PixelPost* pp, Int32 x, Int32 subx, Int32 suby) override;
  void CreateRay(Ray* ray, Float x, Float y) override;
  Int32 StereoGetCameraCountEditor(BaseVideoPost* node, BaseDocument* doc, BaseDraw* bd) override;
  Int32 StereoGetCameraCountRenderer(BaseVideoPost* node, BaseDocument* doc, RenderData* rd) override;
  Bool StereoGetCameraInfo(BaseVideoPost* node, BaseDocument* doc, BaseDraw* bd, RenderData* rd, Int32 index,
                           StereoCameraInfo& info) override;
  Bool StereoMergeImages(BaseVideoPost* node, BaseBitmap* dest, const BaseBitmap* const* source, Int32 count) override;

  /// Makes the next image of the frame current: its face, its eye and its area.
  void SelectSubRender(const BaseTime& time);

  /// The stereo branch of CreateRay: fills `ray` for the lens direction `direction` through the
  /// current eye, the separation map scaling its offset; (ox, oy) in scene units is added to the
  /// origin along the world's axes.
  void StereoRay(Ray* ray, const Vector& direction, Float ox, Float oy) const;

  /// At the opening of a frame sequence: with stereo and the tag's separation map on, makes
  /// `separationShader`, the render's own opened copy of the map for `document`. False, after
  /// "Shader clone error" on the console, when the copy fails; the render then goes on at full
  /// separation. A copy left from before is closed first. Undone by CloseSeparationClone.
  Bool OpenSeparationClone(BaseDocument* document);
  /// At the closing of a frame sequence: closes and frees `separationShader`, if any.
  void CloseSeparationClone();

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

/// The dome's overlays at the closing of an image: the mask, the logo and the slate, each laid
/// over the render's RGBA buffer. RENDERRESULT_OUTOFMEMORY where the render has no such buffer.
RENDERRESULT DrawOverlays(OrlixCamVP& state, VideoPostStruct* vps);

/// The slate's technical block, top to bottom: document, resolution, total time, total frames,
/// frame rate, and the moment of drawing.
std::vector<String> SlateTechnicalLines(const OrlixCamVP& state);

/// Lays `source` over the pixels of `area` (inclusive corners) of `buffer`, scaled to the area's
/// size; with `keepScaled` the scaled picture replaces `source` for later images. Coverage comes
/// from the source's alpha channel, else from its first component. False if nothing was drawn.
Bool DrawBitmapToVPBuffer(OrlixCamVP& state, BaseBitmap* source, VPBuffer* buffer, const LensArea& area, Bool keepScaled);
