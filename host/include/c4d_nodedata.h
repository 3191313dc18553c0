// NodeData: the plug-in side of a node, and the video post's operations.
#pragma once

#include "c4d_math.h"
#include "c4d_string.h"
#include "c4d_types.h"

class GeListNode;
class GeData;
class DescID;
class BaseContainer;
class Description;
class BaseObject;
class BaseTag;
class BaseVideoPost;
class BaseDocument;
class BaseDraw;
class BaseDrawHelp;
class BaseBitmap;
class Render;
class RenderData;
struct Ray;
struct StereoCameraInfo;
struct VideoPostStruct;
struct PixelPost;

/// The data a plug-in gives a node; the node owns it and deletes it with itself.
class NodeData
{
public:
  virtual ~NodeData() = default;

  /// The node this data belongs to.
  GeListNode* Get() const { return node; }

  virtual Bool Init(GeListNode*) { return true; }
  virtual void Free(GeListNode*) {}
  virtual Bool Message(GeListNode*, Int32, void*) { return true; }

  // Description operations. `flags` bit 2 (DESCFLAGS_..._LOADED/GET/SET) tells the host that the
  // plug-in answered; without it the host reads or writes the node's container itself.
  virtual Bool GetDDescription(GeListNode*, Description*, Int32& /*flags*/) { return true; }
  virtual Bool GetDParameter(GeListNode*, const DescID&, GeData&, Int32& /*flags*/) { return true; }
  virtual Bool SetDParameter(GeListNode*, const DescID&, const GeData&, Int32& /*flags*/) { return true; }
  virtual Bool GetDEnabling(GeListNode*, const DescID&, const GeData&, Int32 /*flags*/, const BaseContainer* /*itemDesc*/)
  {
    return true;
  }

private:
  friend class GeListNode;
  GeListNode* node = nullptr;
};

/// Makes a plug-in's node data; registered with the plug-in.
using DataAllocator = NodeData*();

/// A tag's operations: drawing in a view and the expression pass.
class TagData : public NodeData
{
public:
  virtual Bool Draw(BaseTag*, BaseObject*, BaseDraw*, BaseDrawHelp*) { return true; }
  /// Runs in the expression pass; the result is 0 for success.
  virtual Int32 Execute(BaseTag*, BaseDocument*, BaseObject*, Int32 /*priority*/, Int32 /*flags*/) { return 0; }
  virtual Bool AddToExecution(BaseTag*, void* /*list*/) { return false; }
};

class GeDialog;

/// What GetState answers: bits of a menu entry's state.
enum : Int32
{
  CMD_ENABLED = 16,
  CMD_VALUE = 32,
};

/// A menu command. The host calls it with the active document; the dialog is the menu's window,
/// null from the command line.
class CommandData
{
public:
  virtual ~CommandData() = default;
  virtual Int32 GetState(BaseDocument*, GeDialog*) { return CMD_ENABLED; }
  /// The user picked the command.
  virtual Bool Execute(BaseDocument*, GeDialog*) { return false; }
  /// The user picked an entry `subid` of the command's submenu.
  virtual Bool ExecuteSubID(BaseDocument*, Int32 /*subid*/, GeDialog*) { return false; }
  /// The user picked the command's option (its dialog).
  virtual Bool ExecuteOptionID(BaseDocument*, Int32 /*optionid*/, GeDialog*) { return false; }
  /// Fills `submenu` for a command with a submenu, whose id 0 gets a container: title under 1,
  /// entries by sub id.
  virtual Bool GetSubContainer(BaseDocument*, BaseContainer& /*submenu*/, GeDialog*) { return false; }
};

/// What `GetRenderInfo` answers: which calls the video post wants.
enum VIDEOPOSTINFO : Int32
{
  VIDEOPOSTINFO_NONE = 0,
  VIDEOPOSTINFO_EXECUTELINE = 16,
  VIDEOPOSTINFO_EXECUTEPIXEL = 32,
  VIDEOPOSTINFO_CUSTOMLENS = 1024,
};

/// Result of a render stage.
enum RENDERRESULT : Int32
{
  RENDERRESULT_OK = 0,
  RENDERRESULT_OUTOFMEMORY = 1,
};

/// A video post: called by the host's render at each stage, and for the rays of a custom lens.
class VideoPostData : public NodeData
{
public:
  virtual Bool AllocateBuffers(BaseVideoPost*, Render*, BaseDocument*) { return true; }
  virtual VIDEOPOSTINFO GetRenderInfo(BaseVideoPost*) { return VIDEOPOSTINFO_NONE; }
  virtual RENDERRESULT Execute(BaseVideoPost*, VideoPostStruct*) { return RENDERRESULT_OK; }
  virtual void ExecuteLine(BaseVideoPost*, PixelPost*) {}
  virtual void ExecutePixel(BaseVideoPost*, PixelPost*, Int32 /*x*/, Int32 /*subx*/, Int32 /*suby*/) {}
  /// Fills `ray` for the frame position (x, y) in pixels, y downward; only with VIDEOPOSTINFO_CUSTOMLENS.
  virtual void CreateRay(Ray*, Float /*x*/, Float /*y*/) {}
  virtual Int32 StereoGetCameraCountEditor(BaseVideoPost*, BaseDocument*, BaseDraw*) { return 0; }
  virtual Int32 StereoGetCameraCountRenderer(BaseVideoPost*, BaseDocument*, RenderData*) { return 0; }
  virtual Bool StereoGetCameraInfo(BaseVideoPost*, BaseDocument*, BaseDraw*, RenderData*, Int32 /*index*/, StereoCameraInfo&)
  {
    return false;
  }
  /// Assembles the frame `dest` from the `count` images of one frame.
  virtual Bool StereoMergeImages(BaseVideoPost*, BaseBitmap* /*dest*/, const BaseBitmap* const* /*source*/, Int32 /*count*/)
  {
    return false;
  }
};
