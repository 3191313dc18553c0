// OrlixTag: the lens tag on a camera; holds the lens's settings and brings the video post along.
#pragma once

#include "c4d.h"

class OrlixTag : public TagData
{
public:
  static constexpr Int32 ID = 1035138;

  static NodeData* Alloc();

  OrlixTag();
  ~OrlixTag() override;

  Bool Init(GeListNode* node) override;
  void Free(GeListNode* node) override;
  Bool AddToExecution(BaseTag* tag, void* list) override;

  /// The document's OrlixCamVP video post, found whether enabled or not, or (with `create`)
  /// inserted last into the active render settings; null if there is none and none can be made.
  /// A null `doc` means the tag's document, else the active one.
  BaseVideoPost* FindOrAddVideoPost(BaseDocument* doc, Bool create);

  BaseBitmap* iconBitmaps[2] = {};  ///< [0] switched off, [1] switched on
  BaseBitmap* sideBitmaps[6] = {};  ///< front, back, left, right, up, down
};
