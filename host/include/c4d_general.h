// The host's general services: console, documents, events, plug-in folders and registration.
#pragma once

#include "c4d_nodedata.h"
#include "c4d_string.h"
#include "c4d_types.h"

class BaseBitmap;
class BaseDocument;
class BaseDraw;

/// Writes one line to the host's console.
void GePrint(const String& text);

/// Asks the host to show the changes made to the documents.
void EventAdd(Int32 flags = 0);

/// The document the user works in, or null.
BaseDocument* GetActiveDocument();
/// Hands a document to the host, which owns it from then on.
void InsertBaseDocument(BaseDocument* doc);
void SetActiveDocument(BaseDocument* doc);
/// Removes a document from the host and frees it.
void KillDocument(BaseDocument* doc);

/// The folder of the running plug-in.
Filename GeGetPluginPath();
/// The running plug-in's "res" folder.
Filename GeGetPluginResourcePath();

/// A picture from the plug-in's "res" folder, or null; the caller frees it.
BaseBitmap* AutoBitmap(const String& fileName, Float pixelRatio = 1.0);

/// Opens a web page in the user's browser.
void GeOpenHTML(const String& url);

/// Flags of GeOutString: the buttons and icon of the dialog.
enum : Int32
{
  GEMB_OK = 0,
  GEMB_YESNO = 4,
  GEMB_ICONQUESTION = 32,
};
/// Answers of GeOutString.
enum : Int32
{
  GEMB_R_OK = 1,
  GEMB_R_YES = 6,
  GEMB_R_NO = 7,
};
/// Shows `text` in a dialog and gives the button the user pressed.
Int32 GeOutString(const String& text, Int32 flags);

/// Runs a command of the host's menu, such as 12161, Edit Render Settings.
Bool CallCommand(Int32 id, Int32 subid = 0);

enum : Int32
{
  DRAWFLAGS_NO_THREAD = 32768,
};
/// Redraws the views (or one), so that they follow a change at once.
Bool DrawViews(Int32 flags, BaseDraw* bd = nullptr);

// Registration: the host owns what it gets and copies the icon.
Bool RegisterVideoPostPlugin(Int32 id, const String& name, Int32 info, DataAllocator* alloc, const String& description,
                             Int32 disklevel, Int32 priority);
Bool RegisterTagPlugin(Int32 id, const String& name, Int32 info, DataAllocator* alloc, const String& description,
                       BaseBitmap* icon, Int32 disklevel);
Bool RegisterCommandPlugin(Int32 id, const String& name, Int32 info, BaseBitmap* icon, const String& help, CommandData* dat);

/// Tag info flags.
enum : Int32
{
  TAG_VISIBLE = 1,
  TAG_EXPRESSION = 8,
};

/// The host's start table: its first Int32 is the API version.
struct C4DHostTable
{
  Int32 apiVersion = 21000;
};

/// The actions of a plug-in's entry point.
enum : Int32
{
  C4DPL_INIT_SYS = 1,
  C4DPL_INIT = 2,
  C4DPL_END = 3,
  C4DPL_INIT_VERSION = 4,
  C4DPL_MESSAGE = 6,
};
/// Messages of action 6.
enum : Int32
{
  C4DPL_INIT_PRIORITY = 0,
  C4DPL_STARTACTIVITY_RES = 1,
};

/// The one entry point the host calls by name.
using C4DMainFunction = Int32(Int32 action, void* p1, void* p2, void* p3);
