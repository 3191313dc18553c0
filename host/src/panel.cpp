// The attribute manager's model and the expression pass.
#include "panel.h"

#include <algorithm>
#include <map>

#include "c4d_customdata.h"
#include "gui/attribute_gui.h"
#include "gui/gui_host.h"
#include "host_app.h"
#include "resource_parser.h"
#include "scene/scene_values.h"

namespace host
{
namespace
{
void CollectTags(BaseObject* op, std::vector<std::pair<BaseTag*, BaseObject*>>& out)
{
  for (; op; op = op->GetNext())
  {
    for (BaseTag* t = op->GetFirstTag(); t; t = t->GetNext())
      out.emplace_back(t, op);
    CollectTags(op->GetDown(), out);
  }
}

struct Scheduled
{
  BaseTag* tag;
  BaseObject* op;
  Int32 mode, priority;
  Bool cameraDependent;
};
} // namespace

Bool EvaluatePanel(BaseList2D* node, Panel& panel, String* error)
{
  panel = Panel();
  auto fail = [&](const std::string& why) {
    if (error)
      *error = String(why);
    return false;
  };
  const DescriptionResource* resource = scene::DescriptionOf(node->GetType());
  if (!resource)
    return fail("node type " + std::to_string(node->GetType()) + " has no description");
  Description desc;
  Int32 flags = DESCFLAGS_NONE;
  NodeData* data = node->GetNodeData();
  if (data && !data->GetDDescription(node, &desc, flags))
    return fail("the plug-in gave no description for " + resource->name.GetStdString());
  if (!(flags & DESCFLAGS_DESC_LOADED) && !desc.LoadDescription(node->GetType()))
    return fail("description " + resource->name.GetStdString() + " is not loaded");

  panel.description = resource->name;
  std::map<Int32, const PanelEntry*> groups;
  panel.entries.reserve(static_cast<size_t>(desc.GetEntryCount()));
  for (Int32 i = 0; i < desc.GetEntryCount(); ++i)
  {
    PanelEntry e;
    e.id = desc.GetEntryId(i);
    e.settings = *desc.GetParameter(DescID(e.id));
    e.symbol = scene::EntrySymbol(*resource, e.id);
    e.type = e.settings.GetString(DESC_TYPE).GetStdString();
    e.label = e.settings.GetString(DESC_SHORT_NAME, e.settings.GetString(DESC_NAME));
    e.parent = e.settings.GetInt32(DESC_PARENTGROUP);
    const auto parent = groups.find(e.parent);
    e.hidden = e.settings.GetBool(DESC_HIDE) || (parent != groups.end() && parent->second->hidden);
    if (e.type == "GROUP")
      e.open = e.settings.GetInt32(DESC_DEFAULT) != 0;
    else
      e.hasValue = node->GetParameter(DescID(e.id), e.value);
    e.enabled = !data || data->GetDEnabling(node, DescID(e.id), e.value, DESCFLAGS_NONE, &e.settings);
    if (const CUSTOMGUIPLUGIN* gui = CustomGuiFor(e.settings))
      e.customGui = gui->name;
    panel.entries.push_back(std::move(e));
    if (panel.entries.back().type == "GROUP")
      groups[panel.entries.back().id] = &panel.entries.back();
  }
  return true;
}

Bool UserEdit(BaseList2D* node, Int32 id, const GeData& value)
{
  const Bool ok = node->SetParameter(DescID(id), value, DESCFLAGS_SET_USERINTERACTION);
  ExecuteExpressions(node->GetDocument());
  return ok;
}

void PressButton(BaseList2D* node, Int32 id)
{
  DescriptionCommand command;
  command.id = DescID(id);
  node->Message(MSG_DESCRIPTION_COMMAND, &command);
  ExecuteExpressions(node->GetDocument());
}

void ExecuteExpressions(BaseDocument* doc)
{
  if (!doc)
    return;
  std::vector<std::pair<BaseTag*, BaseObject*>> tags;
  CollectTags(doc->GetFirstObject(), tags);
  std::vector<Scheduled> run;
  for (const auto& [tag, op] : tags)
  {
    const PluginEntry* entry = App().plugins.Find(tag->GetType());
    auto* data = dynamic_cast<TagData*>(tag->GetNodeData());
    if (!entry || !(entry->info & TAG_EXPRESSION) || !data)
      continue;
    Scheduled s{tag, op, 0, 0, false};
    const GeData& p = tag->GetDataInstance()->GetData(EXPRESSION_PRIORITY);
    if (const auto* pd = static_cast<const PriorityData*>(p.GetCustomDataType(CUSTOMDATATYPE_PRIORITY)))
    {
      s.mode = pd->GetPriorityValue(PRIORITYVALUE_MODE).GetInt32();
      s.priority = pd->GetPriorityValue(PRIORITYVALUE_PRIORITY).GetInt32();
      s.cameraDependent = pd->GetPriorityValue(PRIORITYVALUE_CAMERADEPENDENT).GetBool();
    }
    run.push_back(s);
  }
  std::stable_sort(run.begin(), run.end(), [](const Scheduled& a, const Scheduled& b) {
    if (a.cameraDependent != b.cameraDependent)
      return b.cameraDependent;
    return a.mode != b.mode ? a.mode < b.mode : a.priority < b.priority;
  });
  for (const Scheduled& s : run)
    static_cast<TagData*>(s.tag->GetNodeData())->Execute(s.tag, doc, s.op, s.priority, 0);
}
} // namespace host
