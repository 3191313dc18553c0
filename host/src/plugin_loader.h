// Loading a plug-in module: open it, find its entry point and run the start stages.
#pragma once

#include "c4d.h"

namespace host
{
/// One loaded plug-in module. Unload (or destruction) runs the end stage and closes the module.
class PluginModule
{
public:
  PluginModule() = default;
  ~PluginModule() { Unload(); }
  PluginModule(const PluginModule&) = delete;
  PluginModule& operator=(const PluginModule&) = delete;

  /// Opens the module file, runs action 1 (host table and plug-in path), action 6 with messages
  /// 0 and 1, and action 2. On failure `error` says what went wrong; a module whose registrations
  /// stopped half way stays loaded with what it registered, and Load gives false.
  Bool Load(const Filename& modulePath, String* error, C4DHostTable table = C4DHostTable());
  /// Frees the documents and registrations that hold the module's code, runs action 3 and closes it.
  void Unload();

  Bool IsLoaded() const { return handle != nullptr; }
  /// The priority the plug-in asked for with message 0.
  Int32 GetStartPriority() const { return startPriority; }
  C4DMainFunction* GetEntry() const { return entry; }

private:
  void* handle = nullptr;
  C4DMainFunction* entry = nullptr;
  Bool started = false;
  Int32 startPriority = 0;
  Filename path;
  C4DHostTable hostTable;
};
} // namespace host
