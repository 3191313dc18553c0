// Custom GUIs and libraries: their registration, and the host's dispatch to a GUI's operations.
#include "gui/gui_host.h"
#include "host_app.h"

namespace
{
Bool DispatchSetData(iCustomGui* gui, const TriState<GeData>& value)
{
  return gui && gui->SetData(value);
}
TriState<GeData> DispatchGetData(iCustomGui* gui)
{
  return gui ? gui->GetData() : TriState<GeData>();
}
Int32 DispatchWidth(iCustomGui* gui)
{
  return gui ? gui->CustomGuiWidth() : 0;
}
Int32 DispatchHeight(iCustomGui* gui)
{
  return gui ? gui->CustomGuiHeight() : 0;
}
void DispatchRedraw(iCustomGui* gui)
{
  if (gui)
    gui->CustomGuiRedraw();
}
} // namespace

void FillBaseCustomGui(BaseCustomGuiLib& lib)
{
  lib.SetData = DispatchSetData;
  lib.GetData = DispatchGetData;
  lib.Width = DispatchWidth;
  lib.Height = DispatchHeight;
  lib.Redraw = DispatchRedraw;
}

Bool InstallLibrary(Int32 id, C4DLibrary* lib, Int32 version, Int32 size)
{
  if (!lib || size < static_cast<Int32>(sizeof(C4DLibrary)))
    return false;
  auto& libraries = host::App().libraries;
  const auto there = libraries.find(id);
  if (there != libraries.end() && there->second.second > version)
    return false;
  lib->size = size;
  lib->version = version;
  libraries[id] = {lib, version};
  return true;
}

Bool RegisterCustomGuiPlugin(const String& name, Int32 info, CustomGuiData* dat)
{
  auto record = std::make_shared<CUSTOMGUIPLUGIN>();
  record->data.reset(dat);
  if (!dat || !dat->GetResourceSym())
    return false;
  record->id = dat->GetId();
  record->name = name;
  record->info = info;
  record->symbol = dat->GetResourceSym();
  Int32* table = nullptr;
  const Int32 count = dat->GetResourceDataType(table);
  if (table)
    record->types.assign(table, table + std::max(count, 0));
  host::PluginEntry e;
  e.kind = host::PluginEntry::Kind::CustomGui;
  e.id = record->id;
  e.name = name;
  e.info = info;
  e.customGui = std::move(record);
  return host::App().plugins.Add(std::move(e));
}

CUSTOMGUIPLUGIN* CustomGuiData::GetPlugin() const
{
  for (const host::PluginEntry& e : host::App().plugins.All())
    if (e.customGui && e.customGui->data.get() == this)
      return e.customGui.get();
  return nullptr;
}

namespace host
{
namespace gui
{
CUSTOMGUIPLUGIN* FindCustomGui(const std::string& symbol, Int32 dtype)
{
  for (const PluginEntry& e : App().plugins.All())
    if (e.customGui && e.customGui->symbol == symbol)
      for (Int32 t : e.customGui->types)
        if (t == dtype)
          return e.customGui.get();
  return nullptr;
}

C4DLibrary* FindLibrary(Int32 id)
{
  const auto there = App().libraries.find(id);
  return there == App().libraries.end() ? nullptr : there->second.first;
}

Int32 DataTypeOf(const std::string& keyword)
{
  return keyword == "VECTOR" ? DTYPE_VECTOR : 0;
}
} // namespace gui
} // namespace host
