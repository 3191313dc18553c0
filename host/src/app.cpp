// The host application's state and its general services.
#include <algorithm>
#include <cstdio>

#include "commands.h"
#include "host_app.h"
#include "resource_parser.h"

namespace host
{
Bool PluginRegistry::Add(PluginEntry entry)
{
  if (entry.id <= 0 || Find(entry.id))
    return false;
  entries.push_back(std::move(entry));
  return true;
}

const PluginEntry* PluginRegistry::Find(Int32 id) const
{
  for (const PluginEntry& e : entries)
    if (e.id == id)
      return &e;
  return nullptr;
}

void Console::Print(const String& line)
{
  std::lock_guard<std::mutex> hold(lock);
  lines.push_back(line);
  if (echo)
    std::fprintf(stderr, "%s\n", line.GetCString());
}

std::vector<String> Console::Lines() const
{
  std::lock_guard<std::mutex> hold(lock);
  return lines;
}

void Console::Clear()
{
  std::lock_guard<std::mutex> hold(lock);
  lines.clear();
}

Bool Console::Contains(const String& text) const
{
  std::lock_guard<std::mutex> hold(lock);
  for (const String& line : lines)
    if (line.FindFirst(text, nullptr, 0))
      return true;
  return false;
}

AppState& App()
{
  static AppState state;
  return state;
}

void ResetApp()
{
  AppState& app = App();
  for (BaseDocument* doc : app.documents)
    BaseDocument::Free(doc);
  app.documents.clear();
  app.activeDocument = nullptr;
  app.plugins.Clear();
  app.libraries.clear();
  app.console.Clear();
  app.ui = UiRecord();
  Descriptions().Clear();
}

void SetPluginFolder(const Filename& folder)
{
  App().pluginFolder = folder;
}

Bool AttachNodeData(GeListNode* node)
{
  const PluginEntry* entry = App().plugins.Find(node->GetType());
  if (!entry || !entry->alloc)
    return true;
  NodeData* data = entry->alloc();
  if (!data)
    return false;
  node->SetNodeData(data);
  return data->Init(node);
}
} // namespace host

void GePrint(const String& text)
{
  host::App().console.Print(text);
}

void EventAdd(Int32 /*flags*/)
{
  ++host::App().ui.eventAdds;
}

void GeOpenHTML(const String& url)
{
  host::App().ui.openedUrls.push_back(url);
}

Int32 GeOutString(const String& text, Int32 flags)
{
  host::UiRecord& ui = host::App().ui;
  Int32 answer = GEMB_R_OK;
  if (flags & GEMB_YESNO)
  {
    answer = ui.answers.empty() ? ui.defaultAnswer : ui.answers.front();
    if (!ui.answers.empty())
      ui.answers.pop_front();
  }
  ui.questions.push_back({text, flags, answer});
  return answer;
}

Bool CallCommand(Int32 id, Int32 subid)
{
  host::App().ui.commands.emplace_back(id, subid);
  // The host's own commands are only noted; a plug-in's runs on the active document.
  if (!host::App().plugins.Find(id))
    return true;
  return host::RunCommand(GetActiveDocument(), id, subid);
}

Bool DrawViews(Int32 /*flags*/, BaseDraw* /*bd*/)
{
  ++host::App().ui.drawViews;
  return true;
}

namespace
{
thread_local BaseDocument* documentInHand = nullptr;
}

host::ActiveDocumentScope::ActiveDocumentScope(BaseDocument* doc) : previous(documentInHand)
{
  documentInHand = doc;
}

host::ActiveDocumentScope::~ActiveDocumentScope()
{
  documentInHand = previous;
}

BaseDocument* GetActiveDocument()
{
  return documentInHand ? documentInHand : host::App().activeDocument;
}

void InsertBaseDocument(BaseDocument* doc)
{
  if (!doc)
    return;
  auto& docs = host::App().documents;
  if (std::find(docs.begin(), docs.end(), doc) == docs.end())
    docs.push_back(doc);
}

void SetActiveDocument(BaseDocument* doc)
{
  InsertBaseDocument(doc);
  host::App().activeDocument = doc;
}

void KillDocument(BaseDocument* doc)
{
  auto& app = host::App();
  auto it = std::find(app.documents.begin(), app.documents.end(), doc);
  if (it == app.documents.end())
    return;
  app.documents.erase(it);
  if (app.activeDocument == doc)
    app.activeDocument = app.documents.empty() ? nullptr : app.documents.front();
  BaseDocument::Free(doc);
}

Filename GeGetPluginPath()
{
  return host::App().pluginFolder;
}

Filename GeGetPluginResourcePath()
{
  return GeGetPluginPath() + Filename("res");
}

BaseBitmap* AutoBitmap(const String& fileName, Float /*pixelRatio*/)
{
  BaseBitmap* bmp = BaseBitmap::Alloc();
  if (!bmp)
    return nullptr;
  if (bmp->Init(GeGetPluginResourcePath() + Filename(fileName)) != IMAGERESULT_OK)
    BaseBitmap::Free(bmp);
  return bmp;
}

namespace
{
// A plug-in with a description gets it loaded from its "res" folder; a broken one fails the
// registration with the file and line on the console.
bool LoadDescriptionOf(const String& description)
{
  if (description.IsEmpty())
    return true;
  String error;
  if (host::Descriptions().Load(GeGetPluginResourcePath(), description, &error))
    return true;
  GePrint(String("Description error: ") + error);
  return false;
}

std::shared_ptr<BaseBitmap> CopyIcon(const BaseBitmap* icon)
{
  if (!icon)
    return nullptr;
  BaseBitmap* copy = icon->GetClone();
  return std::shared_ptr<BaseBitmap>(copy, [](BaseBitmap* b) { BaseBitmap::Free(b); });
}
} // namespace

namespace
{
// The entry of a plug-in whose nodes carry its data; false if it can't be made.
bool RegisterNodePlugin(host::PluginEntry::Kind kind, Int32 id, const String& name, Int32 info, DataAllocator* alloc,
                        const String& description, Int32 disklevel, Int32 priority, const BaseBitmap* icon)
{
  if (!alloc || !LoadDescriptionOf(description))
    return false;
  host::PluginEntry e;
  e.kind = kind;
  e.id = id;
  e.name = name;
  e.info = info;
  e.alloc = alloc;
  e.description = description;
  e.icon = CopyIcon(icon);
  e.disklevel = disklevel;
  e.priority = priority;
  return host::App().plugins.Add(std::move(e));
}
} // namespace

Bool RegisterVideoPostPlugin(Int32 id, const String& name, Int32 info, DataAllocator* alloc, const String& description,
                             Int32 disklevel, Int32 priority)
{
  return RegisterNodePlugin(host::PluginEntry::Kind::VideoPost, id, name, info, alloc, description, disklevel, priority, nullptr);
}

Bool RegisterTagPlugin(Int32 id, const String& name, Int32 info, DataAllocator* alloc, const String& description,
                       BaseBitmap* icon, Int32 disklevel)
{
  return RegisterNodePlugin(host::PluginEntry::Kind::Tag, id, name, info, alloc, description, disklevel, 0, icon);
}

Bool RegisterCommandPlugin(Int32 id, const String& name, Int32 info, BaseBitmap* icon, const String& help, CommandData* dat)
{
  // The host owns the command from here on, whether or not the registration takes.
  std::shared_ptr<CommandData> command(dat);
  if (!command)
    return false;
  host::PluginEntry e;
  e.kind = host::PluginEntry::Kind::Command;
  e.id = id;
  e.name = name;
  e.info = info;
  e.help = help;
  e.icon = CopyIcon(icon);
  e.command = std::move(command);
  return host::App().plugins.Add(std::move(e));
}
