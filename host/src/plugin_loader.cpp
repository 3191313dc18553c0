// Loading a plug-in module: open it, find its entry point and run the start stages.
#include "plugin_loader.h"

#include <dlfcn.h>

#include "host_app.h"

namespace host
{
Bool PluginModule::Load(const Filename& modulePath, String* error, C4DHostTable table)
{
  auto fail = [&](const std::string& why) {
    if (error)
      *error = String(why);
    return false;
  };
  Unload();
  path = modulePath;
  hostTable = table;
  const std::string file = modulePath.GetString().GetStdString();

  handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle)
  {
    const char* why = dlerror();
    return fail("cannot open plug-in module " + file + ": " + (why ? why : "unknown error"));
  }
  entry = reinterpret_cast<C4DMainFunction*>(dlsym(handle, "c4d_main"));
  if (!entry)
  {
    dlclose(handle);
    handle = nullptr;
    return fail("plug-in module " + file + " has no entry point c4d_main");
  }

  // The plug-in finds its files relative to its own folder.
  SetPluginFolder(modulePath.GetDirectory());

  if (entry(C4DPL_INIT_SYS, &hostTable, nullptr, &path) != 1)
  {
    Unload();
    return fail("plug-in module " + file + " refused to start (it needs API version 21000 or newer and its path)");
  }
  started = true;

  startPriority = 0;
  entry(C4DPL_MESSAGE, reinterpret_cast<void*>(static_cast<intptr_t>(C4DPL_INIT_PRIORITY)), &startPriority, nullptr);
  if (entry(C4DPL_MESSAGE, reinterpret_cast<void*>(static_cast<intptr_t>(C4DPL_STARTACTIVITY_RES)), nullptr, nullptr) != 1)
  {
    Unload();
    return fail("plug-in module " + file + " could not load its resources from " +
                (modulePath.GetDirectory() + Filename("res")).GetString().GetStdString());
  }
  if (entry(C4DPL_INIT, nullptr, nullptr, nullptr) != 1)
    return fail("plug-in module " + file + " failed to register all its parts");
  return true;
}

void PluginModule::Unload()
{
  if (!handle)
    return;
  // Documents and registrations hold objects whose code lives in the module: they go first.
  AppState& app = App();
  for (BaseDocument* doc : app.documents)
    BaseDocument::Free(doc);
  app.documents.clear();
  app.activeDocument = nullptr;
  app.plugins.Clear();
  app.libraries.clear();
  if (started && entry)
    entry(C4DPL_END, nullptr, nullptr, nullptr);
  started = false;
  dlclose(handle);
  handle = nullptr;
  entry = nullptr;
}
} // namespace host
