// The keys of each object kind and of a material: one table per kind, walked by the loader and
// the saver alike, so that a key's name, type, default and range live in one place.
#pragma once

#include <string>
#include <vector>

#include "scene/scene_values.h"

namespace host::scene
{
/// How a key is held in the file and in the object's container.
enum class KeyType
{
  Positive,       ///< a number above 0
  PositiveVector, ///< [x, y, z], each above 0
  NonNegative,    ///< a number 0 or above
  Bool,
  Color,          ///< [r, g, b]
  ColorPair,      ///< [[r, g, b], [r, g, b]] into `id` and `id2`
  Gradient,       ///< {"top": colour, "bottom": colour} into `id` and `id2`
  PlaneSize,      ///< [width, depth] into `id` and `id2`
  Choice,         ///< one of the names of `choices`, stored as its value
  File,           ///< a picture file, relative to the scene file
  Geometry,       ///< a mesh's own keys, read and written with the mesh
};

struct KeyChoice
{
  const char* name;
  Int32 value;
};

struct SceneKey
{
  const char* name;
  KeyType type;
  Int32 id = 0;
  Int32 id2 = 0;
  /// The problem where the value is of the wrong shape (a pair that is not two values).
  const char* form = nullptr;
  /// The range problem; where null, "<name> must be above 0".
  const char* problem = nullptr;
  /// Keys that pick the kind's variant (a sky's colour, gradient or picture) set the kind's
  /// variant id to this value.
  bool picksVariant = false;
  Int32 variant = 0;
  /// Written where the container lacks the value (a material's colours); else nothing is written.
  bool writeDefault = false;
  Vector def;
  Vector def2;
  std::vector<KeyChoice> choices;
};

struct KindTable
{
  const char* name;
  Int32 type;
  std::vector<SceneKey> keys;
  /// The container id the variant keys set; 0 where the kind has no variants.
  Int32 variantId = 0;
  /// Exactly one variant key is required (a material), rather than at most one (a sky).
  bool variantRequired = false;
  const char* variantProblem = nullptr;
};

/// The object kinds scene files hold.
const std::vector<KindTable>& ObjectKinds();
/// The kind of object `type`, or of the name `name`; null if none.
const KindTable* KindOf(Int32 type);
const KindTable* KindNamed(const std::string& name);
/// The keys of a material.
const KindTable& MaterialKeys();

/// Fails on the first key of `v` that is neither in `kind` nor in `common`.
void AllowKindKeys(const Json& v, const std::string& path, const KindTable& kind,
                   const std::vector<std::string>& common);
/// Reads every key of `kind` that `v` holds into `bc`. Picture files resolve against `folder`.
void ReadKindKeys(const Json& v, const std::string& path, const KindTable& kind, BaseContainer* bc,
                  const std::string& folder);
/// Writes every key of `kind` that `bc` holds into `out`, files relative to `folder`.
void WriteKindKeys(const BaseContainer& bc, const KindTable& kind, const std::string& folder, Json* out);

/// `name` resolved against `folder`; fails where no such file is there.
std::string ExistingFile(const Json& v, const std::string& path, const std::string& folder, const char* what);
} // namespace host::scene
