// OrlixTag: the lens tag on a camera; holds the lens's settings and brings the video post along.
#pragma once

#include "c4d.h"
#include "lens/guide_mesh.h"

class OrlixTag : public TagData
{
public:
  static constexpr Int32 ID = 1035138;

  static NodeData* Alloc();

  OrlixTag();
  ~OrlixTag() override;

  Bool Init(GeListNode* node) override;
  void Free(GeListNode* node) override;
  Bool Message(GeListNode* node, Int32 type, void* data) override;
  Bool GetDDescription(GeListNode* node, Description* description, Int32& flags) override;
  Bool GetDParameter(GeListNode* node, const DescID& id, GeData& data, Int32& flags) override;
  Bool SetDParameter(GeListNode* node, const DescID& id, const GeData& data, Int32& flags) override;
  Bool GetDEnabling(GeListNode* node, const DescID& id, const GeData& data, Int32 flags,
                    const BaseContainer* itemDesc) override;
  Int32 Execute(BaseTag* tag, BaseDocument* doc, BaseObject* op, Int32 priority, Int32 flags) override;
  Bool AddToExecution(BaseTag* tag, void* list) override;
  /// The viewport guide of the lens around the camera, and in stereo the eye probe.
  Bool Draw(BaseTag* tag, BaseObject* op, BaseDraw* bd, BaseDrawHelp* bh) override;

  /// The document's OrlixCamVP video post, found whether enabled or not, or (with `create`)
  /// inserted last into the active render settings; null if there is none and none can be made.
  /// A null `doc` means the tag's document, else the active one.
  BaseVideoPost* FindOrAddVideoPost(BaseDocument* doc, Bool create);

  /// Whether `vp` is there and not switched off in the render settings.
  static Bool VideoPostEnabled(const BaseVideoPost* vp) { return vp && !(vp->GetAllBits() & BIT_VPDISABLED); }

  /// The render settings' stereo switch (8000) of `node`'s document; null means this tag.
  Bool IsStereoRender(GeListNode* node = nullptr);

  /// The aspect pass: the frame shape the lens, cube layout and stereo layout call for, written
  /// with its labels and the panorama's vertical field into the tag. No cache: anew each call.
  void UpdateAspect(GeListNode* node);

  /// The fit buttons: after the user's yes, the active render size changes its height
  /// (ORLIXTAG_FIT_KEEP_WIDTH) or width (ORLIXTAG_FIT_KEEP_HEIGHT) to the tag's aspect.
  void FitRenderSize(GeListNode* node, Int32 button);

  BaseBitmap* iconBitmaps[2] = {};  ///< [0] switched off, [1] switched on
  BaseBitmap* sideBitmaps[6] = {};  ///< front, back, left, right, up, down
  LensGuideMesh guideMesh;          ///< the guide's geometry, kept between redraws
};

/// The guide's grid: one DrawLine per pair of points, flags 0.
void DrawLines(const LensGuideMesh& mesh, BaseDraw* bd);
/// The guide's skin: one DrawPoly of four corners with their colours and normals per quad.
void DrawQuads(const LensGuideMesh& mesh, BaseDraw* bd);
