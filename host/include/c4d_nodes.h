// The host's scene nodes: atoms, list nodes, named nodes and objects.
#pragma once

#include "c4d_math.h"
#include "c4d_string.h"
#include "c4d_types.h"

class NodeData;
class BaseDocument;
class BaseTag;
class BaseContainer;
class BaseShader;

/// Object type ids of the host.
enum : Int32
{
  Onull = 5140,
  Ocamera = 5103,
};

/// Anything the host makes by a type id.
class C4DAtom
{
public:
  virtual ~C4DAtom() = default;
  Int32 GetType() const { return type; }
  Bool IsInstanceOf(Int32 id) const { return type == id; }

protected:
  explicit C4DAtom(Int32 typeId) : type(typeId) {}
  C4DAtom(const C4DAtom&) = delete;
  C4DAtom& operator=(const C4DAtom&) = delete;

private:
  Int32 type;
};

/// A node of a tree: it owns its children, siblings are linked both ways.
class GeListNode : public C4DAtom
{
public:
  ~GeListNode() override;

  GeListNode* GetNext() const { return next; }
  GeListNode* GetPred() const { return prev; }
  GeListNode* GetUp() const { return up; }
  GeListNode* GetDown() const { return down; }
  GeListNode* GetDownLast() const;

  /// Links this node as the first child of `parent`; the node must not be linked anywhere.
  void InsertUnder(GeListNode* parent);
  /// Links this node as the last child of `parent`.
  void InsertUnderLast(GeListNode* parent);
  /// Links this node right behind `pred`, under the same parent.
  void InsertAfter(GeListNode* pred);
  /// Links this node right before `succ`, under the same parent.
  void InsertBefore(GeListNode* succ);
  /// Unlinks this node (with its children) from its parent and siblings; the caller owns it then.
  void Remove();

  /// The plug-in data behind a node made from a registered plug-in type, or null.
  NodeData* GetNodeData() const { return nodeData; }
  /// Hands the node its plug-in data; the node owns it from now on.
  void SetNodeData(NodeData* data);

protected:
  explicit GeListNode(Int32 typeId) : C4DAtom(typeId) {}

private:
  GeListNode* prev = nullptr;
  GeListNode* next = nullptr;
  GeListNode* up = nullptr;
  GeListNode* down = nullptr;
  NodeData* nodeData = nullptr;
};

/// A node with a name.
class BaseList2D : public GeListNode
{
public:
  const String& GetName() const { return name; }
  void SetName(const String& n) { name = n; }

protected:
  explicit BaseList2D(Int32 typeId) : GeListNode(typeId) {}

private:
  String name;
};

/// An object of the scene: a transform under its parent.
class BaseObject : public BaseList2D
{
public:
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
  /// Sets the local matrix so that the global one becomes `mg`.
  void SetMg(const Matrix& mg);

protected:
  explicit BaseObject(Int32 typeId) : BaseList2D(typeId) {}

private:
  Matrix ml;
};
