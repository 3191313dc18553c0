// The document as the studio's page sees it: node ids, the object tree, panels and pictures, all
// as JSON or bitmaps made from the host's own model.
#pragma once

#include <string>

#include "c4d.h"
#include "scene/scene_values.h"

namespace host::studio
{
using Json = host::scene::Json;

/// A node's id on the page: "o0.2" an object by its index at each level of the tree, "o0.2/t1"
/// a tag of it, "vp0" a video post of the active render settings, "rd" those settings. Ids are
/// places, so they stay valid across undo, which restores places.
std::string NodeId(BaseList2D* node);
/// The node of `id` in `doc`, or null.
BaseList2D* FindNode(BaseDocument* doc, const std::string& id);

/// The object tree with tags, the render settings and video posts, selection, undo state and the
/// console's last lines.
Json DocumentJson(BaseDocument* doc, Int64 revision);

/// `node`'s panel from the attribute manager's model; false with `error` if it has none.
bool PanelJson(BaseList2D* node, Int64 revision, Json* out, std::string* error);

/// The icon a node shows: the one its plug-in answers for it, else its plug-in's registered icon.
/// The caller frees it; null if there is none.
BaseBitmap* NodeIcon(BaseList2D* node);
/// The picture of bitmap button `id` of `node`, as the node hands it to the host; the caller frees it.
BaseBitmap* ButtonBitmap(BaseList2D* node, Int32 id);

/// A scene file's parameter value (JSON) for entry `id` of `node`, checked against its
/// description; false with the problem.
bool ReadValue(BaseList2D* node, Int32 id, const Json& value, GeData* out, std::string* problem);
} // namespace host::studio
