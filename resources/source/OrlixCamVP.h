// OrlixCamVP: the video post that shoots the render through the lens, and its render state.
#pragma once

#include <vector>

#include "c4d.h"
#include "lens/channel_plan.h"
#include "lens/lens_projection.h"
#include "lens/separation_map.h"

class OrlixCamVP;

/// Finds the lens camera: the render view's linked camera, else the first camera in the scene with
/// an enabled tag (then `switchSceneCamera` is set). Fills camera, tag and tagData; gives the
/// render view, or null without any document. `document` may be null: the node's, else the active.
BaseDraw* FindCameraAndTag(OrlixCamVP& state, BaseDocument* document);

/// Depth first from `first` along its siblings: the first camera with an enabled lens tag that
/// isn't switched off for rendering, or null.
BaseObject* FindLensCamera(BaseObject* first);

/// At the opening of a frame sequence: the scene camera switch, the slate's facts of the
/// document, the separation map's copy, the overlay pictures and the channel plan.
void OpenFrameSequence(OrlixCamVP& state, BaseVideoPost* node, const VideoPostStruct& vps, BaseDraw* view, RenderData* rd);

/// Fills `areaGrid` and `gridSize` for the video post's cube layout; a preview shows one face.
void BuildCubeLayout(OrlixCamVP& state, Bool preview);

/// The render state. What the per-ray code reads lives in LensState (the settings and the current
/// image); the rest is the scene links, the channel plan, the slate's facts and the pictures.
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
  Bool GetDDescription(GeListNode* node, Description* description, Int32& flags) override;
  Bool GetDEnabling(GeListNode* node, const DescID& id, const GeData& data, Int32 flags,
                    const BaseContainer* itemDesc) override;
  Bool GetDParameter(GeListNode* node, const DescID& id, GeData& data, Int32& flags) override;
  Bool SetDParameter(GeListNode* node, const DescID& id, const GeData& data, Int32& flags) override;
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

  /// At the opening of a frame sequence: with stereo and the separation map on, opens the
  /// render's own copy of the tag's map for `document` into `separationMap`. False, after
  /// "Shader clone error" on the console, when the copy fails; the render then goes on at full
  /// separation. A copy left from before is closed first. Undone by CloseSeparationClone.
  Bool OpenSeparationClone(BaseDocument* document);
  /// At the closing of a frame sequence: closes and frees the map's copy, if any.
  void CloseSeparationClone();

  /// Set by the render notification: the render is the editor's preview.
  Bool isPreview = false;

  // Scene links, borrowed from the document for one render.
  Bool isActive = false;
  Bool switchSceneCamera = false;
  BaseObject* camera = nullptr;
  BaseTag* tag = nullptr;
  BaseContainer* tagData = nullptr;

  // The images of a frame: the host's camera counts and the plan made from the settings.
  ChannelPlan plan;
  Int32 faceCount = 0;
  Int32 eyeCount = 0;
  Int32 subRenderCount = 0;
  Int32 subRenderIndex = 0;
  SeparationMapLookup separationMap; ///< its shader is the render's own copy (owned)

  // The document and the current image, for the slate.
  Filename documentName;
  BaseTime docMinTime;
  BaseTime docMaxTime;
  BaseTime frameTime;
  Float domeDiameter = 0.0;
  Float logoInset = 0.0;
  LensArea logoCorner;

  // Pictures and the cube grid (owned).
  BaseBitmap* logoBitmap = nullptr;
  BaseBitmap* maskBitmap = nullptr;
  BaseBitmap* faceBitmaps[7] = {};
  LensChannel areaGrid[36];
  Vector gridSize;
};

/// The cube layout the video post's container holds.
CubeLayoutSettings ReadCubeLayout(const BaseContainer& videoPost);

/// The lens settings of a render, from the tag's container, the video post's and the render
/// settings; `preview` for the editor's preview, which is never stereo.
LensSettings ReadLensSettings(const BaseContainer& tagData, const BaseContainer& videoPost, const BaseContainer& render,
                              Bool preview);

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
