// The loader's and the saver's walk over a whole document, and what both keep in an object's
// container beyond its own parameters.
#pragma once

#include <string>

#include "scene/scene_values.h"

namespace host::scene
{
constexpr const char* kFormat = "orlixcam-scene/1";
// Where a mesh loaded from an OBJ file keeps the file's name, so that saving refers to it again.
constexpr Int32 kMeshFile = 1400;
// The rotation and scale an object was given, so that saving writes back the very numbers that
// were read rather than ones recovered from the matrix (which may differ in the last digit).
constexpr Int32 kObjectRotation = 1401;
constexpr Int32 kObjectScale = 1402;

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

/// A mesh read from the object entry `v`: an OBJ file or its own points and polygons.
PolygonObject* ReadMesh(const Json& v, const std::string& path, const std::string& folder);
/// The mesh's keys: its OBJ file, or its points and polygons.
void WriteMesh(PolygonObject* mesh, const std::string& folder, Json* out);
} // namespace host::scene
