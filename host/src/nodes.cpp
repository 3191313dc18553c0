// Scene node trees, lists and the nodes of a document.
#include "c4d_customdata.h"
#include "c4d_nodedata.h"
#include "c4d_nodes.h"
#include "c4d_shader.h"
#include "host_app.h"

Bool C4DAtom::Message(Int32 msgType, void* data)
{
  // Only list nodes carry plug-in data.
  auto* node = dynamic_cast<GeListNode*>(this);
  NodeData* nd = node ? node->GetNodeData() : nullptr;
  return nd ? nd->Message(node, msgType, data) : true;
}

// ---- GeListNode --------------------------------------------------------------------------------

GeListNode::~GeListNode()
{
  while (down)
  {
    GeListNode* child = down;
    child->Remove();
    delete child;
  }
  Remove();
  delete nodeData;
}

GeListNode* GeListNode::GetDownLast() const
{
  GeListNode* n = down;
  while (n && n->next)
    n = n->next;
  return n;
}

GeListHead* GeListNode::GetListHead() const
{
  const GeListNode* n = this;
  while (n->up)
    n = n->up;
  return n->head;
}

void GeListNode::InsertUnder(GeListNode* parent)
{
  if (!parent || parent == this)
    return;
  Remove();
  up = parent;
  next = parent->down;
  if (next)
    next->prev = this;
  parent->down = this;
}

void GeListNode::InsertUnderLast(GeListNode* parent)
{
  if (!parent || parent == this)
    return;
  GeListNode* last = parent->GetDownLast();
  if (last)
    InsertAfter(last);
  else
    InsertUnder(parent);
}

void GeListNode::InsertAfter(GeListNode* pred)
{
  if (!pred || pred == this)
    return;
  Remove();
  up = pred->up;
  head = pred->head;
  prev = pred;
  next = pred->next;
  if (next)
    next->prev = this;
  pred->next = this;
}

void GeListNode::InsertBefore(GeListNode* succ)
{
  if (!succ || succ == this)
    return;
  Remove();
  up = succ->up;
  head = succ->head;
  next = succ;
  prev = succ->prev;
  if (prev)
    prev->next = this;
  else if (up)
    up->down = this;
  else if (head)
    head->first = this;
  succ->prev = this;
}

void GeListNode::Remove()
{
  if (prev)
    prev->next = next;
  else if (up && up->down == this)
    up->down = next;
  else if (head && head->first == this)
    head->first = next;
  if (next)
    next->prev = prev;
  prev = next = up = nullptr;
  head = nullptr;
}

BaseDocument* GeListNode::GetDocument() const
{
  if (auto* doc = dynamic_cast<const BaseDocument*>(this))
    return const_cast<BaseDocument*>(doc);
  const GeListHead* h = GetListHead();
  if (!h)
    return nullptr;
  if (h->GetDocumentOwner())
    return h->GetDocumentOwner();
  return h->GetOwner() ? h->GetOwner()->GetDocument() : nullptr;
}

void GeListNode::SetNodeData(NodeData* data)
{
  if (data == nodeData)
    return;
  delete nodeData;
  nodeData = data;
  if (nodeData)
    nodeData->node = this;
}

// ---- GeListHead --------------------------------------------------------------------------------

GeListNode* GeListHead::GetLast() const
{
  GeListNode* n = first;
  while (n && n->next)
    n = n->next;
  return n;
}

void GeListHead::InsertFirst(GeListNode* node)
{
  if (!node)
    return;
  node->Remove();
  node->head = this;
  node->next = first;
  if (first)
    first->prev = node;
  first = node;
}

void GeListHead::InsertLast(GeListNode* node)
{
  if (!node)
    return;
  GeListNode* last = GetLast();
  if (last)
    node->InsertAfter(last);
  else
    InsertFirst(node);
}

void GeListHead::FlushAll()
{
  while (first)
  {
    GeListNode* n = first;
    n->Remove();
    delete n;
  }
}

// ---- BaseList2D --------------------------------------------------------------------------------

BaseList2D::BaseList2D(Int32 typeId) : GeListNode(typeId) {}

BaseList2D::~BaseList2D()
{
  // The plug-in data goes while the node is still whole, so that Free may look at it.
  if (NodeData* nd = GetNodeData())
  {
    nd->Free(this);
    SetNodeData(nullptr);
  }
  if (linkToken)
    linkToken->Clear();
}

Bool BaseList2D::GetParameter(const DescID& id, GeData& t_data, Int32 flags)
{
  NodeData* nd = GetNodeData();
  if (nd)
  {
    if (!nd->GetDParameter(this, id, t_data, flags))
      return false;
    if (flags & DESCFLAGS_GET_PARAM_GET)
      return true;
  }
  const GeData* d = data.GetDataPointer(id[0].id);
  if (!d)
    return false;
  t_data = *d;
  return true;
}

Bool BaseList2D::SetParameter(const DescID& id, const GeData& t_data, Int32 flags)
{
  NodeData* nd = GetNodeData();
  Bool handled = false;
  if (nd)
  {
    if (!nd->SetDParameter(this, id, t_data, flags))
      return false;
    handled = (flags & DESCFLAGS_SET_PARAM_SET) != 0;
  }
  if (!handled)
    data.SetData(id[0].id, t_data);
  DescriptionPostSetValue post;
  post.descid = &id;
  post.userInteraction = (flags & DESCFLAGS_SET_USERINTERACTION) != 0;
  Message(MSG_DESCRIPTION_POSTSETPARAMETER, &post);
  return true;
}

void BaseList2D::SetDirty(Int32 /*flags*/)
{
  ++dirtyCount;
}

void BaseList2D::InsertShader(BaseShader* shader)
{
  if (!shader)
    return;
  if (!shaders)
    shaders = std::make_unique<GeListHead>(this, nullptr);
  shaders->InsertLast(shader);
}

BaseShader* BaseList2D::GetFirstShader() const
{
  return shaders ? static_cast<BaseShader*>(shaders->GetFirst()) : nullptr;
}

std::shared_ptr<LinkToken> BaseList2D::GetLinkToken()
{
  if (!linkToken)
    linkToken = std::make_shared<LinkToken>(this);
  return linkToken;
}

// ---- BaseObject --------------------------------------------------------------------------------

namespace
{
template <typename T>
T* FinishAlloc(T* node)
{
  if (node && !host::AttachNodeData(node))
  {
    delete node;
    return nullptr;
  }
  return node;
}
} // namespace

BaseObject::BaseObject(Int32 typeId) : BaseList2D(typeId) {}

BaseObject* BaseObject::Alloc(Int32 type)
{
  // A camera is made as its own class, so that CameraObject's calls reach it.
  return FinishAlloc(type == Ocamera ? new CameraObject() : new BaseObject(type));
}

void BaseObject::Free(BaseObject*& op)
{
  delete op;
  op = nullptr;
}

Matrix BaseObject::GetMg() const
{
  const BaseObject* parent = GetUp();
  return parent ? parent->GetMg() * ml : ml;
}

void BaseObject::SetMg(const Matrix& mg)
{
  const BaseObject* parent = GetUp();
  ml = parent ? parent->GetMg().GetInverse() * mg : mg;
}

BaseTag* BaseObject::GetFirstTag() const
{
  return tags ? static_cast<BaseTag*>(tags->GetFirst()) : nullptr;
}

BaseTag* BaseObject::GetTag(Int32 type, Int32 nr) const
{
  for (BaseTag* t = GetFirstTag(); t; t = t->GetNext())
    if (t->GetType() == type && nr-- == 0)
      return t;
  return nullptr;
}

void BaseObject::InsertTag(BaseTag* tag, BaseTag* pred)
{
  if (!tag)
    return;
  if (!tags)
    tags = std::make_unique<GeListHead>(this, nullptr);
  if (pred && pred->GetObject() == this)
    tag->InsertAfter(pred);
  else
    tags->InsertFirst(tag);
}

BaseTag* BaseObject::MakeTag(Int32 type, BaseTag* pred)
{
  BaseTag* tag = BaseTag::Alloc(type);
  if (tag)
    InsertTag(tag, pred);
  return tag;
}

Bool BaseObject::KillTag(Int32 type, Int32 nr)
{
  BaseTag* tag = GetTag(type, nr);
  if (!tag)
    return false;
  tag->Remove();
  BaseTag::Free(tag);
  return true;
}

// ---- BaseTag, BaseVideoPost --------------------------------------------------------

BaseTag* BaseTag::Alloc(Int32 type)
{
  BaseTag* tag = new BaseTag(type);
  // Expression tags carry their priority as a parameter.
  const host::PluginEntry* entry = host::App().plugins.Find(type);
  if (entry && (entry->info & TAG_EXPRESSION))
    tag->GetDataInstance()->SetData(EXPRESSION_PRIORITY, GeData(CUSTOMDATATYPE_PRIORITY, PriorityData()));
  return FinishAlloc(tag);
}

void BaseTag::Free(BaseTag*& tag)
{
  delete tag;
  tag = nullptr;
}

BaseObject* BaseTag::GetObject() const
{
  const GeListHead* h = GetListHead();
  return h ? dynamic_cast<BaseObject*>(h->GetOwner()) : nullptr;
}

BaseVideoPost* BaseVideoPost::Alloc(Int32 type)
{
  return FinishAlloc(new BaseVideoPost(type));
}

void BaseVideoPost::Free(BaseVideoPost*& vp)
{
  delete vp;
  vp = nullptr;
}
