// The document's selection of objects and tags, and an object's placement relative to its parent.
#include <cmath>

#include "c4d_nodes.h"

namespace
{
template <typename Visit>
void EachObject(BaseObject* op, const Visit& visit)
{
  for (; op; op = op->GetNext())
  {
    visit(op);
    EachObject(op->GetDown(), visit);
  }
}

void Select(BaseList2D* node, Int32 mode)
{
  if (mode == SELECTION_SUB)
    node->DelBit(BIT_ACTIVE);
  else
    node->SetBit(BIT_ACTIVE);
}
} // namespace

BaseObject* BaseDocument::GetActiveObject() const
{
  BaseObject* active = nullptr;
  EachObject(GetFirstObject(), [&](BaseObject* op) {
    if (!active && op->GetBit(BIT_ACTIVE))
      active = op;
  });
  return active;
}

void BaseDocument::SetActiveObject(BaseObject* op, Int32 mode)
{
  if (mode == SELECTION_NEW)
    EachObject(GetFirstObject(), [](BaseObject* o) { o->DelBit(BIT_ACTIVE); });
  if (op && op->GetDocument() == this)
    Select(op, mode);
}

BaseTag* BaseDocument::GetActiveTag() const
{
  BaseTag* active = nullptr;
  EachObject(GetFirstObject(), [&](BaseObject* op) {
    for (BaseTag* t = op->GetFirstTag(); t && !active; t = t->GetNext())
      if (t->GetBit(BIT_ACTIVE))
        active = t;
  });
  return active;
}

void BaseDocument::SetActiveTag(BaseTag* tag, Int32 mode)
{
  if (mode == SELECTION_NEW)
    EachObject(GetFirstObject(), [](BaseObject* op) {
      for (BaseTag* t = op->GetFirstTag(); t; t = t->GetNext())
        t->DelBit(BIT_ACTIVE);
    });
  if (tag && tag->GetDocument() == this)
    Select(tag, mode);
}

void BaseObject::SetRelRot(const Vector& hpb)
{
  const Vector scale(ml.v1.GetLength(), ml.v2.GetLength(), ml.v3.GetLength());
  ml = MatrixMove(ml.off) * HPBToMatrix(hpb) * MatrixScale(scale);
}
