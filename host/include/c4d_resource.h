// The plug-in's resources: its string table and the descriptions of its parameters.
#pragma once

#include <map>
#include <vector>

#include "c4d_container.h"
#include "c4d_string.h"
#include "c4d_types.h"

/// A plug-in's string table, loaded from its "res" folder.
class GeResource
{
public:
  /// Loads c4d_symbols.h and strings_en-US/c4d_strings.str from `resFolder`. False if either is
  /// missing or malformed (the console says which file and line); the resource then holds nothing.
  Bool Init(const Filename& resFolder);
  void Free();
  Bool IsLoaded() const { return loaded; }
  /// The text of `id`, or empty while nothing is loaded or the id is unknown.
  String LoadString(Int32 id) const;

private:
  std::map<Int32, String> strings;
  Bool loaded = false;
};

/// The plug-in's own string table; the plug-in defines it.
extern GeResource g_resource;

/// The text of resource string `id`, empty while the resources aren't loaded.
inline String GeLoadString(Int32 id)
{
  return g_resource.LoadString(id);
}

/// Ids of a description entry's settings container.
enum : Int32
{
  DESC_NAME = 1,         ///< String: the label
  DESC_SHORT_NAME = 2,   ///< String: the label in tight places
  DESC_MIN = 3,          ///< Float
  DESC_MAX = 4,          ///< Float
  DESC_STEP = 5,         ///< Float
  DESC_UNIT = 6,         ///< String: DEGREE, METER, PERCENT, REAL
  DESC_CUSTOMGUI = 7,    ///< String: the custom GUI's name
  DESC_CYCLE = 8,        ///< container: cycle value → label
  DESC_PARENTGROUP = 9,  ///< Int32: the group holding the entry, 0 at the top
  DESC_TYPE = 10,        ///< String: BOOL, LONG, REAL, GROUP, ...
  DESC_HIDE = 15,        ///< Bool
  DESC_DEFAULT = 16,     ///< Int32: a group open (-1 or 1) or closed (0) by default
};

/// A node's description: its parameters' entries, each with a settings container.
class Description
{
public:
  /// Takes the description of that name from the host's loaded resources; false if there is none.
  Bool LoadDescription(const String& name);
  /// The description that the plug-in of node type `type` registered.
  Bool LoadDescription(Int32 type);
  const String& GetName() const { return name; }

  Int32 GetEntryCount() const { return static_cast<Int32>(entries.size()); }
  /// The id of entry `index` in panel order, or -1.
  Int32 GetEntryId(Int32 index) const;
  /// The settings of the entry with that id, which the caller may change; null if there is none.
  BaseContainer* GetParameterI(const DescID& id, void* atoms = nullptr);
  const BaseContainer* GetParameter(const DescID& id) const;

private:
  String name;
  std::vector<std::pair<Int32, BaseContainer>> entries;
};
