// Undo and redo. A step keeps the whole document as it was before and after it: every node's
// place and contents, so that an undo also takes back what a plug-in changed beside its AddUndo
// calls (such as the video post a new tag brings into the render settings). Nodes a step takes
// out of the document stay alive in the history until no step can bring them back.
#include <algorithm>

#include "host_app.h"

namespace
{
/// One node's place in the document and its contents.
struct NodeState
{
  BaseList2D* node = nullptr;
  std::shared_ptr<LinkToken> alive; ///< cleared when the node is freed
  GeListHead* head = nullptr;       ///< the list of a first-level node
  GeListNode* parent = nullptr;     ///< the parent of a child
  String name;
  BaseContainer data;
  Int32 bits = 0;
  BaseObject* object = nullptr; ///< the node as an object, with its matrix and render mode
  Matrix ml;
  Int32 renderMode = MODE_UNDEF;
};

struct DocState
{
  std::vector<NodeState> nodes; ///< pre-order: a list in its order, each node before what hangs in it
  BaseContainer data;
  RenderData* activeRenderData = nullptr;
};

void CaptureList(GeListNode* first, std::vector<NodeState>& out)
{
  for (GeListNode* n = first; n; n = n->GetNext())
  {
    auto* node = dynamic_cast<BaseList2D*>(n);
    if (!node)
      continue;
    NodeState s;
    s.node = node;
    s.alive = node->GetLinkToken();
    s.parent = n->GetUp();
    s.head = s.parent ? nullptr : n->GetListHead();
    s.name = node->GetName();
    s.data = node->GetData();
    s.bits = node->GetAllBits();
    if ((s.object = dynamic_cast<BaseObject*>(node)))
    {
      s.ml = s.object->GetMl();
      s.renderMode = s.object->GetRenderMode();
    }
    out.push_back(std::move(s));
    if (auto* op = dynamic_cast<BaseObject*>(node))
      CaptureList(op->GetFirstTag(), out);
    if (auto* rd = dynamic_cast<RenderData*>(node))
      CaptureList(rd->GetFirstVideoPost(), out);
    CaptureList(node->GetFirstShader(), out);
    CaptureList(n->GetDown(), out);
  }
}

DocState Capture(BaseDocument* doc)
{
  DocState state;
  CaptureList(doc->GetFirstObject(), state.nodes);
  CaptureList(doc->GetFirstRenderData(), state.nodes);
  if (BaseDraw* bd = doc->GetRenderBaseDraw())
    CaptureList(bd->GetListHead() ? bd->GetListHead()->GetFirst() : bd, state.nodes);
  state.data = doc->GetData();
  state.activeRenderData = doc->GetActiveRenderData();
  return state;
}

bool operator==(const NodeState& a, const NodeState& b)
{
  return a.node == b.node && a.head == b.head && a.parent == b.parent && a.name == b.name && a.data == b.data &&
         a.bits == b.bits && a.ml == b.ml && a.renderMode == b.renderMode;
}

bool operator==(const DocState& a, const DocState& b)
{
  return a.nodes == b.nodes && a.data == b.data && a.activeRenderData == b.activeRenderData;
}

bool Holds(const DocState& state, const BaseList2D* node)
{
  return std::any_of(state.nodes.begin(), state.nodes.end(), [&](const NodeState& s) { return s.node == node; });
}

struct Step
{
  DocState before, after;
  std::vector<host::UndoCall> calls;
};
} // namespace

struct BaseDocument::UndoHistory
{
  std::vector<Step> steps;
  size_t done = 0; ///< steps[0, done) are done, the rest can be redone
  int depth = 0;   ///< StartUndo calls not yet ended
  Step open;
  std::vector<BaseList2D*> outside; ///< nodes taken out of the document, owned here

  ~UndoHistory()
  {
    for (BaseList2D* node : outside)
      delete node;
  }

  /// Frees the nodes outside the document that no step can bring back any more.
  void Prune()
  {
    auto unreachable = [&](BaseList2D* node) {
      return std::none_of(steps.begin(), steps.end(),
                          [&](const Step& s) { return Holds(s.before, node) || Holds(s.after, node); });
    };
    for (auto it = outside.begin(); it != outside.end();)
      if (unreachable(*it))
      {
        delete *it;
        it = outside.erase(it);
      }
      else
        ++it;
  }

  /// Brings the document to `target`; false, with nothing changed, if a node of it was freed.
  bool Restore(BaseDocument* doc, const DocState& target)
  {
    for (const NodeState& s : target.nodes)
      if (!s.alive->Get())
        return false;
    const DocState now = Capture(doc);
    // Every node leaves its place, then the target's nodes come back in order.
    for (const NodeState& s : now.nodes)
      s.node->Remove();
    for (const NodeState& s : target.nodes)
    {
      s.node->Remove();
      if (s.parent)
        s.node->InsertUnderLast(s.parent);
      else
        s.head->InsertLast(s.node);
      s.node->SetName(s.name);
      s.node->SetData(s.data);
      s.node->SetAllBits(s.bits);
      if (s.object)
      {
        s.object->SetMl(s.ml);
        s.object->SetRenderMode(s.renderMode);
      }
    }
    doc->SetData(target.data);
    doc->SetActiveRenderData(target.activeRenderData);
    for (const NodeState& s : now.nodes)
      if (!Holds(target, s.node))
        outside.push_back(s.node);
    outside.erase(std::remove_if(outside.begin(), outside.end(), [&](BaseList2D* n) { return Holds(target, n); }),
                  outside.end());
    return true;
  }
};

void BaseDocument::UndoDeleter::operator()(UndoHistory* h) const
{
  delete h;
}

Bool BaseDocument::StartUndo()
{
  if (!undoHistory)
    undoHistory.reset(new UndoHistory());
  if (undoHistory->depth++ == 0)
  {
    undoHistory->open = Step();
    undoHistory->open.before = Capture(this);
  }
  return true;
}

Bool BaseDocument::AddUndo(Int32 type, BaseList2D* node)
{
  if (!undoHistory || undoHistory->depth == 0 || !node || node->GetDocument() != this)
    return false;
  if (type != UNDOTYPE_NEWOBJ && type != UNDOTYPE_CHANGE)
    return false;
  undoHistory->open.calls.push_back({type, node});
  return true;
}

Bool BaseDocument::EndUndo()
{
  if (!undoHistory || undoHistory->depth == 0)
    return false;
  if (--undoHistory->depth > 0)
    return true;
  // A step without an AddUndo is no step, as with the host's other edits.
  Step& step = undoHistory->open;
  if (step.calls.empty())
    return true;
  step.after = Capture(this);
  undoHistory->steps.resize(undoHistory->done);
  undoHistory->steps.push_back(std::move(step));
  undoHistory->done = undoHistory->steps.size();
  undoHistory->Prune();
  return true;
}

Bool BaseDocument::DoUndo()
{
  UndoHistory* h = undoHistory.get();
  if (!h || h->depth > 0 || h->done == 0)
    return false;
  if (!h->Restore(this, h->steps[h->done - 1].before))
    return false;
  --h->done;
  return true;
}

Bool BaseDocument::DoRedo()
{
  UndoHistory* h = undoHistory.get();
  if (!h || h->depth > 0 || h->done == h->steps.size())
    return false;
  if (!h->Restore(this, h->steps[h->done].after))
    return false;
  ++h->done;
  return true;
}

namespace host
{
std::vector<UndoCall> LastUndoStep(const BaseDocument* doc)
{
  const BaseDocument::UndoHistory* h = doc->GetUndoHistory();
  return h && h->done > 0 ? h->steps[h->done - 1].calls : std::vector<UndoCall>();
}

Bool CanUndo(const BaseDocument* doc)
{
  const BaseDocument::UndoHistory* h = doc->GetUndoHistory();
  return h && h->depth == 0 && h->done > 0;
}

Bool CanRedo(const BaseDocument* doc)
{
  const BaseDocument::UndoHistory* h = doc->GetUndoHistory();
  return h && h->depth == 0 && h->done < h->steps.size();
}

Bool ExtendLastUndoStep(BaseDocument* doc)
{
  // The history is the host's own; the document hands it out read-only to keep plug-ins off it.
  auto* h = const_cast<BaseDocument::UndoHistory*>(doc->GetUndoHistory());
  if (!h || h->depth > 0 || h->done == 0 || h->done != h->steps.size())
    return false;
  h->steps[h->done - 1].after = Capture(doc);
  return true;
}

Bool DropLastUndoStepIfUnchanged(BaseDocument* doc)
{
  auto* h = const_cast<BaseDocument::UndoHistory*>(doc->GetUndoHistory());
  if (!h || h->depth > 0 || h->done == 0 || h->done != h->steps.size() || !(h->steps.back().before == h->steps.back().after))
    return false;
  h->steps.pop_back();
  --h->done;
  return true;
}
} // namespace host
