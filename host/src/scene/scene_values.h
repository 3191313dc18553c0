// Reading and writing single values of a scene file: numbers, angles, vectors, parameters of
// plug-in nodes checked against their descriptions. Shared by the loader and the saver.
#pragma once

#include <initializer_list>
#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

#include "c4d.h"
#include "resource_parser.h"

namespace host::scene
{
using Json = nlohmann::json;

/// Thrown inside the scene code and caught at its edge: the JSON path and the problem.
struct SceneProblem
{
  std::string path;
  std::string problem;
};

[[noreturn]] void Fail(const std::string& path, const std::string& problem);

/// The JSON type's name as a reader would say it ("a string", "an array").
std::string Kind(const Json& v);

/// Fails on any key of `obj` that is not in `keys`: "unknown key for <what>".
void AllowKeys(const Json& obj, const std::string& path, std::initializer_list<const char*> keys, const std::string& what);
/// `obj[key]`; fails where it is missing.
const Json& Member(const Json& obj, const char* key, const std::string& path);
void RequireObject(const Json& v, const std::string& path);
void RequireArray(const Json& v, const std::string& path);

Float ReadNumber(const Json& v, const std::string& path);
/// A whole number within [lo, hi].
Int32 ReadInt(const Json& v, const std::string& path, Int32 lo, Int32 hi);
Bool ReadBool(const Json& v, const std::string& path);
std::string ReadString(const Json& v, const std::string& path);
/// An angle in radians, or {"deg": x}.
Float ReadAngle(const Json& v, const std::string& path);
/// [x, y, z]; with `angles`, radians or {"deg": [x, y, z]}.
Vector ReadVector(const Json& v, const std::string& path, Bool angles = false);
/// A colour [r, g, b], each 0 or above.
Vector ReadColor(const Json& v, const std::string& path);

/// Radians as {"deg": x} where that reads back to the very same number, else as radians.
Json WriteAngle(Float radians);
Json WriteVector(const Vector& v);
Json WriteAngles(const Vector& radians);

/// A registered plug-in node type by its description name ("OrlixTag") or its id; 0 if none.
Int32 FindPluginType(const Json& v, const std::string& path, Bool videoPost);
/// The description of a plug-in node type, or null.
const DescriptionResource* DescriptionOf(Int32 type);

/// Thrown by `ParseJson` for an object that names one key twice.
struct DuplicateKey : std::runtime_error
{
  using std::runtime_error::runtime_error;
};

/// JSON text parsed as the library does, but an object may not name a key twice (the library
/// would keep the last silently). A UTF-8 byte-order mark at the start is allowed.
Json ParseJson(const std::string& text);

/// A decimal parameter id that fits an Int32; false for anything else.
bool ParseId(const std::string& text, Int32* id);

/// The entry of a parameter written by symbol or decimal id in `desc`.
const BaseContainer* FindEntry(const DescriptionResource& desc, const std::string& key, Int32* id);
/// The symbol of entry `id` in `desc`, or its decimal id.
std::string EntrySymbol(const DescriptionResource& desc, Int32 id);

/// Converts `v` to the value of the description entry `settings`: its type, its cycle, its
/// range. Relative file names resolve against `folder`. A shader link makes the shader, inserted
/// into `node`.
GeData ReadParameter(const Json& v, const std::string& path, const BaseContainer& settings,
                     const DescriptionResource& desc, BaseList2D* node, const std::string& folder);
/// The value of entry `settings` as a scene file writes it; null JSON for nothing to write.
Json WriteParameter(const GeData& value, const BaseContainer& settings, const BaseDocument* doc,
                    const std::string& folder);

/// `name` resolved against `folder` where it is relative.
std::string ResolvePath(const std::string& name, const std::string& folder);
/// `path` relative to `folder` where it lies inside it, else as it is.
std::string RelativePath(const std::string& path, const std::string& folder);
} // namespace host::scene
