// Scene files ("orlixcam-scene/1", JSON): load into a host document, save from one.
// Errors name the file, the JSON path and the problem; nothing is written on failure.
#pragma once

#include <string>

#include "c4d.h"

namespace host::scene
{
/// What went wrong with a scene file: `file`, the JSON path inside it (such as
/// "/objects/2/material/color") and the problem.
struct SceneError
{
  std::string file;
  std::string path;
  std::string problem;
  /// "<file>: <path>: <problem>", or without the path where there is none.
  std::string Message() const;
};

/// Reads `file` into a new document (not yet added to the application's list of documents).
/// Relative file names inside the scene resolve against the scene file's folder. Parameter
/// symbols resolve through the descriptions the loaded plug-ins registered. Null on bad input,
/// with `error` filled.
BaseDocument* LoadScene(const std::string& file, SceneError* error);

/// Writes `doc` to `file` in the same format, whole or not at all (a temporary name, then a
/// rename). Loading the result gives the same document.
bool SaveScene(BaseDocument* doc, const std::string& file, SceneError* error);

/// A copy of `doc` made as saving and loading it would make one, for a render that must not see
/// later edits; null with `error` for what a scene file cannot hold.
BaseDocument* CopyDocument(BaseDocument* doc, std::string* error);

/// Parses one parameter value written as in a scene file (a number, `{"deg": x}`, a vector as
/// [x, y, z], a string) for the description entry `id` of `node`, checking its type and range.
/// Used by the command line's --set.
bool ParseParameterValue(BaseList2D* node, Int32 id, const std::string& jsonText, GeData* out,
                         std::string* problem);

/// The id of a parameter symbol (as a description header defines it) or a decimal id; false if neither.
bool ResolveParameter(const std::string& symbolOrId, Int32* id);
} // namespace host::scene
