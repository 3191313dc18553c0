// The attribute manager's side of a custom GUI.
#include "gui/attribute_gui.h"

#include "gui/gui_host.h"
#include "panel.h"

namespace host
{
CUSTOMGUIPLUGIN* CustomGuiFor(const BaseContainer& settings)
{
  const String symbol = settings.GetString(DESC_CUSTOMGUI);
  if (symbol.IsEmpty())
    return nullptr;
  return gui::FindCustomGui(symbol.GetStdString(), gui::DataTypeOf(settings.GetString(DESC_TYPE).GetStdString()));
}

std::unique_ptr<CustomGuiView> CustomGuiView::Open(BaseList2D* node, Int32 id, String* error)
{
  auto fail = [&](const std::string& why) {
    if (error)
      *error = String(why);
    return nullptr;
  };
  Panel panel;
  if (!EvaluatePanel(node, panel, error))
    return nullptr;
  const PanelEntry* entry = nullptr;
  for (const PanelEntry& e : panel.entries)
    if (e.id == id)
      entry = &e;
  if (!entry)
    return fail(panel.description.GetStdString() + " has no parameter " + std::to_string(id));
  const std::string what = panel.description.GetStdString() + " " + entry->symbol;
  CUSTOMGUIPLUGIN* plugin = CustomGuiFor(entry->settings);
  if (!plugin)
    return fail(what + " names no registered custom GUI for its type");
  auto* lib = static_cast<BaseCustomGuiLib*>(gui::FindLibrary(plugin->id));
  if (!lib || lib->size < static_cast<Int32>(sizeof(BaseCustomGuiLib)) || !lib->SetData || !lib->Width || !lib->Height)
    return fail("custom GUI " + plugin->symbol + " installed no library");

  std::unique_ptr<CustomGuiView> view(new CustomGuiView());
  view->node = node, view->id = id, view->plugin = plugin, view->lib = lib;
  view->parent.view = view.get();
  view->handle = plugin->data->Alloc(entry->settings);
  view->gui = view->handle ? view->handle->gui : nullptr;
  if (!view->gui)
    return fail("custom GUI " + plugin->symbol + " could not be made");
  gui::SetParent(*view->gui, &view->parent, id);
  if (!view->gui->CreateLayout() || !view->gui->InitValues())
    return fail("custom GUI " + plugin->symbol + " could not lay itself out");
  lib->SetData(view->gui, TriState<GeData>(entry->value));
  gui::Layout(*view->gui, kLeft, kTop, lib->Width(view->gui), lib->Height(view->gui));
  return view;
}

CustomGuiView::~CustomGuiView()
{
  if (handle)
    plugin->data->Free(handle, gui);
}

Int32 CustomGuiView::Parent::Message(const BaseContainer& msg, BaseContainer& /*result*/)
{
  if (msg.GetId() != BFM_ACTION || msg.GetInt32(BFM_ACTION_ID) != view->id)
    return 0;
  // The GUI's value is the user's edit; the node may answer it with a value of its own, which the
  // GUI shows next.
  ++edits;
  UserEdit(view->node, view->id, msg.GetData(BFM_ACTION_VALUE));
  GeData now;
  if (view->node->GetParameter(DescID(view->id), now))
    view->lib->SetData(view->gui, TriState<GeData>(now));
  return 1;
}

Bool CustomGuiView::Drag(const std::vector<std::pair<Int32, Int32>>& path)
{
  std::vector<std::pair<Int32, Int32>> global;
  for (const auto& [x, y] : path)
    global.push_back(Global(x, y));
  return gui::Drag(*gui, global, false);
}

Bool CustomGuiView::DoubleClick(Int32 x, Int32 y)
{
  gui::Drag(*gui, {Global(x, y)}, false);
  return gui::Drag(*gui, {Global(x, y)}, true);
}

Bool CustomGuiView::Input(BaseContainer event)
{
  const auto [x, y] = Global(event.GetInt32(BFM_INPUT_X), event.GetInt32(BFM_INPUT_Y));
  event.SetInt32(BFM_INPUT_X, x);
  event.SetInt32(BFM_INPUT_Y, y);
  return gui::Deliver(*gui, event);
}

BaseBitmap* CustomGuiView::Picture() const
{
  return gui::Picture(*gui);
}
} // namespace host
