// The plug-in-facing side of resources: the plug-in's string table and loaded descriptions.
#include "c4d_general.h"
#include "host_app.h"
#include "resource_parser.h"

Bool GeResource::Init(const Filename& resFolder)
{
  Free();
  const std::string base = resFolder.GetString().GetStdString();
  const std::string symFile = base + "/c4d_symbols.h";
  const std::string strFile = base + "/strings_en-US/c4d_strings.str";
  std::string text, why;
  host::SymbolTable symbols;
  std::vector<std::pair<Int32, String>> table;
  if (!host::ReadTextFile(symFile, text))
    why = "cannot read " + symFile;
  else if (host::ParseSymbols(text, symFile, symbols, &why))
  {
    if (!host::ReadTextFile(strFile, text))
      why = "cannot read " + strFile;
    else
      host::ParseStringTable(text, strFile, symbols, table, &why);
  }
  if (!why.empty())
  {
    GePrint(String("Resource error: " + why));
    return false;
  }
  for (const auto& entry : table)
    strings[entry.first] = entry.second;
  loaded = true;
  return true;
}

void GeResource::Free()
{
  strings.clear();
  loaded = false;
}

String GeResource::LoadString(Int32 id) const
{
  auto it = strings.find(id);
  return it == strings.end() ? String() : it->second;
}

Bool Description::LoadDescription(const String& descName)
{
  const host::DescriptionResource* res = host::Descriptions().Find(descName);
  if (!res)
    return false;
  name = descName;
  entries = res->entries;
  return true;
}

Bool Description::LoadDescription(Int32 type)
{
  const String desc = host::DescriptionNameOf(type);
  return desc.IsPopulated() && LoadDescription(desc);
}

Int32 Description::GetEntryId(Int32 index) const
{
  return index >= 0 && index < GetEntryCount() ? entries[static_cast<size_t>(index)].first : -1;
}

BaseContainer* Description::GetParameterI(const DescID& id, void* /*atoms*/)
{
  for (auto& e : entries)
    if (e.first == id[0].id)
      return &e.second;
  return nullptr;
}

const BaseContainer* Description::GetParameter(const DescID& id) const
{
  for (const auto& e : entries)
    if (e.first == id[0].id)
      return &e.second;
  return nullptr;
}
