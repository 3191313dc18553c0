// The host application's state: console, plug-in registry, documents and the record of what
// plug-ins asked of the user interface. Internal to the host, its tests and the command line.
#pragma once

#include <atomic>
#include <deque>
#include <mutex>
#include <map>
#include <memory>
#include <vector>

#include "c4d.h"

namespace host
{
/// One registered plug-in.
struct PluginEntry
{
  enum class Kind { VideoPost, Tag, Command, CustomGui, Library };
  Kind kind = Kind::Command;
  Int32 id = 0;
  String name;
  Int32 info = 0;
  DataAllocator* alloc = nullptr;
  String description;
  Int32 disklevel = 0;
  Int32 priority = 0;
  String help;
  std::shared_ptr<BaseBitmap> icon;
  std::shared_ptr<CommandData> command;
  std::shared_ptr<CUSTOMGUIPLUGIN> customGui;
};

class PluginRegistry
{
public:
  /// Adds a plug-in; an id that is taken already fails.
  Bool Add(PluginEntry entry);
  const PluginEntry* Find(Int32 id) const;
  const std::vector<PluginEntry>& All() const { return entries; }
  void Clear() { entries.clear(); }

private:
  std::vector<PluginEntry> entries;
};

/// The console: every line a plug-in printed, in order. A render on its own thread prints beside
/// the studio's edits, so every access takes the lock.
class Console
{
public:
  void Print(const String& line);
  std::vector<String> Lines() const;
  /// Whether `text` is part of any line.
  Bool Contains(const String& text) const;
  void Clear();
  /// Also write each line to standard error, as the command-line host does.
  void SetEcho(Bool on) { echo = on; }

private:
  mutable std::mutex lock;
  std::vector<String> lines;
  std::atomic<Bool> echo{false};
};

/// A dialog a plug-in showed, and the button that answered it.
struct Question
{
  String text;
  Int32 flags = 0;
  Int32 answer = 0;
};

/// What plug-ins asked of the user interface, and the user's scripted answers.
struct UiRecord
{
  Int32 eventAdds = 0;
  Int32 drawViews = 0;
  std::vector<String> openedUrls;
  std::vector<String> openedFiles; ///< what the system was asked to open with its application
  std::vector<std::pair<Int32, Int32>> commands; ///< CallCommand's id and sub id
  std::vector<Question> questions;
  /// Answers for the next yes/no dialogs, in order; with none left, `defaultAnswer`.
  std::deque<Int32> answers;
  Int32 defaultAnswer = GEMB_R_NO;
};

struct AppState
{
  Console console;
  PluginRegistry plugins;
  std::vector<BaseDocument*> documents;
  BaseDocument* activeDocument = nullptr;
  UiRecord ui;
  Filename pluginFolder;
  /// Installed libraries by id: the plug-in's record and its version.
  std::map<Int32, std::pair<C4DLibrary*, Int32>> libraries;
};

AppState& App();

/// While it lives, the document that this thread loads or renders stands as the active one for
/// the plug-in code this thread runs (a tag finds "the" document's render settings through
/// GetActiveDocument); other threads still see the user's document.
class ActiveDocumentScope
{
public:
  explicit ActiveDocumentScope(BaseDocument* doc);
  ~ActiveDocumentScope();
  ActiveDocumentScope(const ActiveDocumentScope&) = delete;
  ActiveDocumentScope& operator=(const ActiveDocumentScope&) = delete;

private:
  BaseDocument* previous;
};

/// Frees every document and forgets registrations, console lines and the interface record.
void ResetApp();

/// Sets the folder of the running plug-in (what GeGetPluginPath answers).
void SetPluginFolder(const Filename& folder);

/// One AddUndo call of an undo step.
struct UndoCall
{
  Int32 type = 0;
  const BaseList2D* node = nullptr;
  bool operator==(const UndoCall& o) const { return type == o.type && node == o.node; }
};
/// The AddUndo calls of the document's last done step, in order; empty without one.
std::vector<UndoCall> LastUndoStep(const BaseDocument* doc);
/// Whether DoUndo and DoRedo of `doc` have a step to take.
Bool CanUndo(const BaseDocument* doc);
Bool CanRedo(const BaseDocument* doc);
/// Takes the document as it is now as what the last done step leads to, so that one stroke of
/// the mouse that arrives in several parts stays one step; false if no step can be extended.
Bool ExtendLastUndoStep(BaseDocument* doc);
/// Takes back the last done step where it changed nothing (an edit a node refused), so that an
/// undo never does nothing; false where there is no such step.
Bool DropLastUndoStepIfUnchanged(BaseDocument* doc);

/// Gives a new node the data of its registered plug-in type and runs Init; false if the type is
/// registered but its data can't be made or doesn't initialise. Unregistered types pass.
Bool AttachNodeData(GeListNode* node);
} // namespace host
