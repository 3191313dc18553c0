// The loader's and the saver's walk over a whole document, and what both keep in an object's
// container beyond its own parameters.
#pragma once

#include <string>

#include "animation.h"
#include "scene/scene_values.h"

namespace host::scene
{
constexpr const char* kFormat = "orlixcam-scene/1";
// Where a mesh loaded from an OBJ file keeps the file's name, so that saving refers to it again.
constexpr Int32 kMeshFile = 1400;

/// Fills `doc` from the parsed file `root`; relative names resolve against `folder`. Throws
/// SceneProblem on bad input.
void LoadDocument(BaseDocument* doc, const std::string& folder, const Json& root);
/// The file's JSON for `doc`, names relative to `folder`. Throws SceneProblem for what a scene
/// file cannot hold.
Json SaveDocument(BaseDocument* doc, const std::string& folder);

/// The active view from `v` (the file's "views"/"active", at `path`), or without one an editor
/// camera standing back from the camera the render looks through. Throws SceneProblem.
void LoadActiveView(BaseDocument* doc, const Json* v, const std::string& path);
/// The file's "active" view of `doc`.
Json SaveActiveView(BaseDocument* doc);

/// An object's "tracks": keys on its position, rotation and scale.
void ReadObjectTracks(const Json& v, const std::string& path, BaseObject* op);
/// A tag's or a video post's "tracks": keys on its parameters, by symbol or id of `desc`.
void ReadParamTracks(const Json& v, const std::string& path, BaseList2D* node, const DescriptionResource& desc,
                     const std::string& folder);
/// The render settings' "tracks": keys on width, height, stereo and alpha.
void ReadRenderTracks(const Json& v, const std::string& path, RenderData* rd);
/// The node's "tracks" as the readers take them (parameters through `desc`, the render settings'
/// without one); null JSON where it has none.
Json WriteTracks(const BaseList2D* node, const DescriptionResource* desc, const BaseDocument* doc,
                 const std::string& folder);

/// A mesh read from the object entry `v`: an OBJ file or its own points and polygons.
PolygonObject* ReadMesh(const Json& v, const std::string& path, const std::string& folder);
/// The mesh's keys: its OBJ file, or its points and polygons.
void WriteMesh(PolygonObject* mesh, const std::string& folder, Json* out);
} // namespace host::scene
