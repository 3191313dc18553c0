// Parsers of the host's resource text formats: symbol headers, string tables and description
// layouts. Errors read "<file>:<line>: <problem>".
#pragma once

#include <map>
#include <string>
#include <deque>
#include <vector>

#include "c4d_resource.h"

namespace host
{
using SymbolTable = std::map<std::string, Int32>;

/// `enum { NAME = value, ... };` blocks of a C header; preprocessor lines are skipped.
bool ParseSymbols(const std::string& text, const std::string& file, SymbolTable& out, std::string* error);

/// `STRINGTABLE [Name] { SYMBOL "text"; ... }`. Symbols resolve through `symbols`; the table's own
/// name (a description's) may stand as a symbol of its own, reported as id 0.
bool ParseStringTable(const std::string& text, const std::string& file, const SymbolTable& symbols,
                      std::vector<std::pair<Int32, String>>& out, std::string* error);

/// One statement of a description layout: `KEYWORD args ;` or `KEYWORD args { children }`.
struct ResNode
{
  std::string keyword;
  std::vector<std::string> args;
  bool block = false;
  std::vector<ResNode> children;
  int line = 0;
};
bool ParseResTree(const std::string& text, const std::string& file, std::vector<ResNode>& out, std::string* error);

/// A parsed description: its entries in panel order, each with its settings container.
struct DescriptionResource
{
  String name;
  SymbolTable symbols;
  std::vector<std::pair<Int32, BaseContainer>> entries;
};

/// The descriptions the host has loaded for its plug-ins.
class DescriptionStore
{
public:
  /// Reads description/<name>.h, description/<name>.res and strings_en-US/description/<name>.str
  /// from `resFolder`; null with `error` set if a file is missing or malformed.
  const DescriptionResource* Load(const Filename& resFolder, const String& name, String* error);
  const DescriptionResource* Find(const String& name) const;
  /// The id of a parameter symbol of any loaded description.
  bool ResolveSymbol(const String& symbol, Int32* id) const;
  void Clear() { loaded.clear(); }

private:
  std::deque<DescriptionResource> loaded; ///< a deque, so that a later load keeps earlier pointers
};

DescriptionStore& Descriptions();

/// The name of the description that shows nodes of `type`: a plug-in's registered one, or the
/// host's own for its render settings; empty if none.
String DescriptionNameOf(Int32 type);
/// Loads the host's own descriptions (the render settings) from its `resFolder`.
Bool LoadHostDescriptions(const Filename& resFolder, String* error);

/// The whole text of a file; false if it can't be read.
bool ReadTextFile(const std::string& path, std::string& text);
} // namespace host
