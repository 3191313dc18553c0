// Scene node trees and objects.
#include "c4d_nodedata.h"
#include "c4d_nodes.h"

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
  next = succ;
  prev = succ->prev;
  if (prev)
    prev->next = this;
  else if (up)
    up->down = this;
  succ->prev = this;
}

void GeListNode::Remove()
{
  if (prev)
    prev->next = next;
  else if (up && up->down == this)
    up->down = next;
  if (next)
    next->prev = prev;
  prev = next = up = nullptr;
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

BaseObject* BaseObject::Alloc(Int32 type)
{
  return new BaseObject(type);
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
