// The host's scene nodes: atoms, list nodes, named nodes, objects, tags, video posts, render
// settings, views and documents.
#pragma once

#include <memory>

#include "c4d_basetime.h"
#include "c4d_container.h"
#include "c4d_math.h"
#include "c4d_string.h"
#include "c4d_types.h"

class NodeData;
class BaseDocument;
class BaseObject;
class BaseTag;
class BaseShader;
class BaseVideoPost;
class RenderData;
class GeListHead;
class BaseDraw;

/// Type ids of the host's own nodes.
enum : Int32
{
  Onull = 5140,
  Ocamera = 5103,
  Osphere = 5160,
  Ocube = 5159,
  Oplane = 5168,
  Ocylinder = 5170,
  Opolygon = 5100,
  Osky = 5105,
  Olight = 5102,
  Tprotection = 5629,
  Tbase = 5612,
  Xbase = 5707,
  Mmaterial = 5703,
  VPbase = 5709,
  Rbase = 5710,
  Dbasedraw = 110305,
  Tbasedocument = 110059,
};

/// Messages a node receives.
enum : Int32
{
  MSG_UPDATE = 5,
  MSG_CHANGE = 7,
  MSG_DESCRIPTION_COMMAND = 18,
  MSG_DESCRIPTION_POSTSETPARAMETER = 19,
  MSG_DESCRIPTION_GETBITMAP = 27,
  MSG_MULTI_RENDERNOTIFICATION = 1001071,
  MSG_DESCRIPTION_USERINTERACTION_END = 1001078, ///< data starts with an Int32
  MSG_GETCUSTOMICON = 1001090,
};

/// SetDirty flags.
enum : Int32
{
  DIRTYFLAGS_DESCRIPTION = 64,
};

/// Flags of the description operations: bit 2 says the plug-in has answered.
enum DESCFLAGS : Int32
{
  DESCFLAGS_NONE = 0,
  DESCFLAGS_DESC_LOADED = 2,
  DESCFLAGS_GET_PARAM_GET = 2,
  DESCFLAGS_SET_PARAM_SET = 2,
  DESCFLAGS_SET_USERINTERACTION = 4,
};

/// Node bits.
enum : Int32
{
  BIT_ACTIVE = 2,
  BIT_VPDISABLED = 4,
};

/// Render modes of an object.
enum : Int32
{
  MODE_ON = 0,
  MODE_OFF = 1,
  MODE_UNDEF = 2,
};

/// Data of MSG_DESCRIPTION_POSTSETPARAMETER and MSG_DESCRIPTION_COMMAND: the parameter concerned.
struct DescriptionPostSetValue
{
  const DescID* descid = nullptr;
  Bool userInteraction = false;
};
struct DescriptionCommand
{
  DescID id;
};

class BaseBitmap;

/// Data of MSG_DESCRIPTION_GETBITMAP: the bitmap button asking, and the picture to hand over,
/// which the host owns from then on.
struct DescriptionGetBitmap
{
  DescID id;
  BaseBitmap* bmp = nullptr;
};

/// Data of MSG_GETCUSTOMICON: the icon to fill, and whether the node filled it.
struct IconData
{
  BaseBitmap* bmp = nullptr;
  Int32 x = 0, y = 0, w = 0, h = 0;
};
struct GetCustomIconData
{
  IconData* dat = nullptr;
  Bool filled = false;
};

/// Data of MSG_MULTI_RENDERNOTIFICATION.
struct RenderNotificationData
{
  Bool start = false;
  Bool external = false; ///< false for a render into a view of the editor
  BaseDocument* doc = nullptr;
};

/// Anything the host makes by a type id.
class C4DAtom
{
public:
  virtual ~C4DAtom() = default;
  Int32 GetType() const { return type; }
  Bool IsInstanceOf(Int32 id) const { return type == id; }
  /// Sends a message to the node's plug-in data; true where there is none.
  Bool Message(Int32 msgType, void* data = nullptr);

protected:
  explicit C4DAtom(Int32 typeId) : type(typeId) {}
  C4DAtom(const C4DAtom&) = delete;
  C4DAtom& operator=(const C4DAtom&) = delete;

private:
  Int32 type;
};

/// A node of a tree: it owns its children, siblings are linked both ways. The first level of a
/// list hangs in a GeListHead, which knows the list's owner.
class GeListNode : public C4DAtom
{
public:
  ~GeListNode() override;

  GeListNode* GetNext() const { return next; }
  GeListNode* GetPred() const { return prev; }
  GeListNode* GetUp() const { return up; }
  GeListNode* GetDown() const { return down; }
  GeListNode* GetDownLast() const;
  /// The head of the list this node's top ancestor hangs in, or null.
  GeListHead* GetListHead() const;

  /// Links this node as the first child of `parent`.
  void InsertUnder(GeListNode* parent);
  /// Links this node as the last child of `parent`.
  void InsertUnderLast(GeListNode* parent);
  /// Links this node right behind `pred`, in the same list.
  void InsertAfter(GeListNode* pred);
  /// Links this node right before `succ`, in the same list.
  void InsertBefore(GeListNode* succ);
  /// Unlinks this node (with its children); the caller owns it then.
  void Remove();

  /// The document this node belongs to, or null.
  BaseDocument* GetDocument() const;

  /// The plug-in data behind a node made from a registered plug-in type, or null.
  NodeData* GetNodeData() const { return nodeData; }
  /// Hands the node its plug-in data; the node owns it from now on.
  void SetNodeData(NodeData* data);

protected:
  explicit GeListNode(Int32 typeId) : C4DAtom(typeId) {}

private:
  friend class GeListHead;
  GeListNode* prev = nullptr;
  GeListNode* next = nullptr;
  GeListNode* up = nullptr;
  GeListNode* down = nullptr;
  GeListHead* head = nullptr; // set on nodes of a list's first level
  NodeData* nodeData = nullptr;
};

/// The start of a list of nodes, owned by a node or a document; owns the nodes in it.
class GeListHead
{
public:
  GeListHead(GeListNode* ownerNode, BaseDocument* ownerDoc) : owner(ownerNode), document(ownerDoc) {}
  ~GeListHead() { FlushAll(); }
  GeListHead(const GeListHead&) = delete;
  GeListHead& operator=(const GeListHead&) = delete;

  GeListNode* GetFirst() const { return first; }
  GeListNode* GetLast() const;
  GeListNode* GetOwner() const { return owner; }
  BaseDocument* GetDocumentOwner() const { return document; }
  void InsertFirst(GeListNode* node);
  void InsertLast(GeListNode* node);
  /// Deletes every node of the list.
  void FlushAll();

private:
  friend class GeListNode;
  GeListNode* first = nullptr;
  GeListNode* owner;
  BaseDocument* document;
};

/// A node with a name, a settings container and bits.
class BaseList2D : public GeListNode
{
public:
  ~BaseList2D() override;

  const String& GetName() const { return name; }
  void SetName(const String& n) { name = n; }

  /// The node's live container.
  BaseContainer* GetDataInstance() { return &data; }
  const BaseContainer* GetDataInstance() const { return &data; }
  /// A copy of the node's container.
  BaseContainer GetData() const { return data; }
  void SetData(const BaseContainer& bc) { data = bc; }
  /// With `merge`, only the values `bc` holds are written over.
  void SetData(const BaseContainer& bc, Bool merge)
  {
    if (!merge)
      data = bc;
    else
      for (Int32 i = 0; i < bc.GetDataCount(); ++i)
        data.SetData(bc.GetIndexId(i), bc.GetData(bc.GetIndexId(i)));
  }

  /// Reads a parameter through the plug-in data, else from the container.
  Bool GetParameter(const DescID& id, GeData& t_data, Int32 flags = DESCFLAGS_NONE);
  /// Writes a parameter through the plug-in data, else into the container, then sends
  /// MSG_DESCRIPTION_POSTSETPARAMETER to the node.
  Bool SetParameter(const DescID& id, const GeData& t_data, Int32 flags = DESCFLAGS_NONE);

  Int32 GetAllBits() const { return bits; }
  void SetAllBits(Int32 b) { bits = b; }
  Bool GetBit(Int32 mask) const { return (bits & mask) != 0; }
  void SetBit(Int32 mask) { bits |= mask; }
  void DelBit(Int32 mask) { bits &= ~mask; }

  /// Marks the node changed; `flags` says what changed. Counted for views and tests.
  void SetDirty(Int32 flags);
  UInt32 GetDirty() const { return dirtyCount; }

  /// Shaders owned by this node.
  void InsertShader(BaseShader* shader);
  BaseShader* GetFirstShader() const;

  /// The token that links to this node hold.
  std::shared_ptr<LinkToken> GetLinkToken();

  /// The host's animation tracks of this node; opaque to plug-ins.
  struct Animation;
  Animation* GetAnimation() const { return animation.get(); }
  /// The node's tracks, made empty where it has none yet.
  Animation& MakeAnimation();

protected:
  explicit BaseList2D(Int32 typeId);

private:
  String name;
  BaseContainer data;
  Int32 bits = 0;
  UInt32 dirtyCount = 0;
  std::shared_ptr<LinkToken> linkToken;
  std::unique_ptr<GeListHead> shaders;
  struct AnimationDeleter { void operator()(Animation* a) const; };
  std::unique_ptr<Animation, AnimationDeleter> animation;
};

/// An object of the scene: a transform under its parent, with tags.
class BaseObject : public BaseList2D
{
public:
  /// A new object of the type; for a registered plug-in type with its data, initialised.
  static BaseObject* Alloc(Int32 type);
  static void Free(BaseObject*& op);

  BaseObject* GetNext() const { return static_cast<BaseObject*>(GeListNode::GetNext()); }
  BaseObject* GetPred() const { return static_cast<BaseObject*>(GeListNode::GetPred()); }
  BaseObject* GetUp() const { return static_cast<BaseObject*>(GeListNode::GetUp()); }
  BaseObject* GetDown() const { return static_cast<BaseObject*>(GeListNode::GetDown()); }

  /// Local matrix, relative to the parent.
  const Matrix& GetMl() const { return ml; }
  void SetMl(const Matrix& m) { ml = m; }
  /// Global matrix: the parent's global matrix × the local one.
  Matrix GetMg() const;
  /// Position relative to the parent: the local matrix's offset.
  Vector GetRelPos() const { return ml.off; }
  void SetRelPos(const Vector& v) { ml.off = v; }
  /// Sets the local rotation from heading, pitch and bank in radians, keeping position and scale.
  void SetRelRot(const Vector& hpb);
  /// Sets the local matrix so that the global one becomes `mg`.
  void SetMg(const Matrix& mg);

  Int32 GetRenderMode() const { return renderMode; }
  void SetRenderMode(Int32 mode) { renderMode = mode; }

  BaseTag* GetFirstTag() const;
  /// The `nr`-th tag of the type, or null.
  BaseTag* GetTag(Int32 type, Int32 nr = 0) const;
  /// Inserts `tag` behind `pred`, or first.
  void InsertTag(BaseTag* tag, BaseTag* pred = nullptr);
  /// Makes a tag of the type and inserts it behind `pred`, or first; null if it can't be made.
  BaseTag* MakeTag(Int32 type, BaseTag* pred = nullptr);
  /// Removes and frees the first tag of the type; false if there is none.
  Bool KillTag(Int32 type, Int32 nr = 0);

protected:
  explicit BaseObject(Int32 typeId);

private:
  Matrix ml;
  Int32 renderMode = MODE_UNDEF;
  std::unique_ptr<GeListHead> tags;
};

/// A tag on an object.
class BaseTag : public BaseList2D
{
public:
  static BaseTag* Alloc(Int32 type);
  static void Free(BaseTag*& tag);

  BaseTag* GetNext() const { return static_cast<BaseTag*>(GeListNode::GetNext()); }
  BaseTag* GetPred() const { return static_cast<BaseTag*>(GeListNode::GetPred()); }
  /// The object that carries the tag, or null.
  BaseObject* GetObject() const;
  BaseObject* GetMain() const { return GetObject(); }

protected:
  explicit BaseTag(Int32 typeId) : BaseList2D(typeId) {}
};

/// A video post of the render settings.
class BaseVideoPost : public BaseList2D
{
public:
  static BaseVideoPost* Alloc(Int32 type);
  static void Free(BaseVideoPost*& vp);

  BaseVideoPost* GetNext() const { return static_cast<BaseVideoPost*>(GeListNode::GetNext()); }
  BaseVideoPost* GetPred() const { return static_cast<BaseVideoPost*>(GeListNode::GetPred()); }

protected:
  explicit BaseVideoPost(Int32 typeId) : BaseList2D(typeId) {}
};

/// Render settings ids.
enum : Int32
{
  RDATA_XRES = 5008,
  RDATA_YRES = 5009,
  RDATA_FRAMERATE = 5020,
  RDATA_ALPHACHANNEL = 5036,
  RDATA_STEREO = 8000,
};

/// Render settings with their list of video posts.
class RenderData : public BaseList2D
{
public:
  static RenderData* Alloc();
  static void Free(RenderData*& rd);

  RenderData* GetNext() const { return static_cast<RenderData*>(GeListNode::GetNext()); }
  BaseVideoPost* GetFirstVideoPost() const;
  /// Inserts `vp` behind `pred`, or first.
  void InsertVideoPost(BaseVideoPost* vp, BaseVideoPost* pred = nullptr);
  void InsertVideoPostLast(BaseVideoPost* vp);

protected:
  RenderData();

private:
  std::unique_ptr<GeListHead> videoPosts;
};

/// Undo kinds of AddUndo: a node that was just inserted, a node about to change.
enum : Int32
{
  UNDOTYPE_CHANGE = 40,
  UNDOTYPE_NEWOBJ = 44,
};

/// Selection modes of SetActiveObject and SetActiveTag.
enum : Int32
{
  SELECTION_NEW = 0,
  SELECTION_ADD = 1,
  SELECTION_SUB = 2,
};

/// A document: objects, render settings, views, time.
class BaseDocument : public BaseList2D
{
public:
  static BaseDocument* Alloc();
  static void Free(BaseDocument*& doc);
  ~BaseDocument() override;

  Filename GetDocumentName() const { return documentName; }
  void SetDocumentName(const Filename& fn) { documentName = fn; }
  Filename GetDocumentPath() const { return documentPath; }
  void SetDocumentPath(const Filename& fn) { documentPath = fn; }

  BaseObject* GetFirstObject() const;
  /// Inserts `op` under `parent` behind `pred`; with neither, first in the document.
  void InsertObject(BaseObject* op, BaseObject* parent, BaseObject* pred);
  /// The first object of that name, depth first, or null.
  BaseObject* SearchObject(const String& objName) const;

  RenderData* GetFirstRenderData() const;
  RenderData* GetActiveRenderData() const { return activeRenderData; }
  void InsertRenderData(RenderData* rd, RenderData* pred = nullptr);
  void SetActiveRenderData(RenderData* rd) { activeRenderData = rd; }

  /// The view that renders go through, and the view the user works in.
  BaseDraw* GetRenderBaseDraw() const { return renderView; }
  BaseDraw* GetActiveBaseDraw() const { return activeView; }

  Int32 GetFps() const { return fps; }
  void SetFps(Int32 f) { fps = f; }
  BaseTime GetTime() const { return time; }
  void SetTime(const BaseTime& t) { time = t; }
  BaseTime GetMinTime() const { return minTime; }
  void SetMinTime(const BaseTime& t) { minTime = t; }
  BaseTime GetMaxTime() const { return maxTime; }
  void SetMaxTime(const BaseTime& t) { maxTime = t; }

  // Selection: the objects and tags whose BIT_ACTIVE is set; the active one is the first of them.
  BaseObject* GetActiveObject() const;
  void SetActiveObject(BaseObject* op, Int32 mode = SELECTION_NEW);
  BaseTag* GetActiveTag() const;
  void SetActiveTag(BaseTag* tag, Int32 mode = SELECTION_NEW);

  // Undo: the calls between StartUndo and EndUndo make one step, which DoUndo and DoRedo take
  // back and bring again, restoring the document exactly.
  Bool StartUndo();
  /// `type` is UNDOTYPE_NEWOBJ after inserting `node`, UNDOTYPE_CHANGE before changing it; false
  /// outside a step or for a node of another document.
  Bool AddUndo(Int32 type, BaseList2D* node);
  Bool EndUndo();
  Bool DoUndo();
  Bool DoRedo();

protected:
  BaseDocument();

private:
  Filename documentName;
  Filename documentPath;
  std::unique_ptr<GeListHead> objects;
  std::unique_ptr<GeListHead> renderDatas;
  RenderData* activeRenderData = nullptr;
  BaseDraw* renderView = nullptr;
  BaseDraw* activeView = nullptr;
  std::unique_ptr<GeListHead> views;
  Int32 fps = 30;
  BaseTime time;
  BaseTime minTime;
  BaseTime maxTime = BaseTime(90, 30);

public:
  /// The host's own record of the steps; opaque to plug-ins.
  struct UndoHistory;
  const UndoHistory* GetUndoHistory() const { return undoHistory.get(); }

private:
  struct UndoDeleter { void operator()(UndoHistory* h) const; };
  std::unique_ptr<UndoHistory, UndoDeleter> undoHistory;
};
