// The description store: a description's three resource files turned into its entries.
#include <cstdlib>
#include <functional>
#include <map>
#include <set>

#include "host_app.h"
#include "resource_lexer.h"
#include "resource_parser.h"

namespace host
{
namespace
{
const std::set<std::string> kElementTypes = {"BOOL", "LONG", "REAL", "VECTOR", "STRING", "FILENAME", "BASETIME", "LINK",
                                            "SHADERLINK", "BUTTON", "BITMAPBUTTON", "STATICTEXT", "SEPARATOR", "GROUP"};
const std::set<std::string> kAttributes = {"NAME", "INCLUDE", "DEFAULT", "COLUMNS", "MIN", "MAX", "STEP", "UNIT",
                                          "CUSTOMGUI", "ANIM", "HIDDEN", "LINE", "SCALE_H", "ACCEPT", "CYCLE", "PARENTMSG"};

using Fail = std::function<bool(int line, const std::string& what)>;

bool ReadCycle(const ResNode& a, const SymbolTable& symbols, BaseContainer& bc, const Fail& fail)
{
  BaseContainer cycle;
  for (const ResNode& e : a.children)
  {
    auto it = symbols.find(e.keyword);
    if (it == symbols.end())
      return fail(e.line, "unknown symbol '" + e.keyword + "' in a cycle");
    cycle.SetString(it->second, String(e.keyword));
  }
  bc.SetContainer(DESC_CYCLE, cycle);
  return true;
}

/// One attribute `a` of the element `n` into its settings `bc`.
bool ReadAttribute(const ResNode& a, const ResNode& n, const SymbolTable& symbols, BaseContainer& bc, const Fail& fail)
{
  if (!kAttributes.count(a.keyword))
    return fail(a.line, "unknown attribute '" + a.keyword + "' in '" + n.keyword + "'");
  if (a.keyword == "CYCLE")
    return ReadCycle(a, symbols, bc, fail);
  if (a.block)
    return true; // ACCEPT lists and the like: nothing the host reads
  const std::string v = a.args.empty() ? std::string() : a.args[0];
  if (a.keyword == "MIN" || a.keyword == "MAX" || a.keyword == "STEP")
  {
    char* end = nullptr;
    const double d = std::strtod(v.c_str(), &end);
    if (v.empty() || !end || *end != '\0')
      return fail(a.line, "'" + a.keyword + "' needs a number");
    bc.SetFloat(a.keyword == "MIN" ? DESC_MIN : a.keyword == "MAX" ? DESC_MAX : DESC_STEP, d);
  }
  else if (a.keyword == "UNIT")
    bc.SetString(DESC_UNIT, String(v));
  else if (a.keyword == "CUSTOMGUI")
    bc.SetString(DESC_CUSTOMGUI, String(v));
  else if (a.keyword == "DEFAULT")
  {
    Int32 d = 0;
    if (!ToInt(v, d))
      return fail(a.line, "'DEFAULT' needs a whole number");
    bc.SetInt32(DESC_DEFAULT, d);
  }
  return true;
}

/// The id of element `n`: a symbol or a number; 0 for a separator or group without one.
bool ElementId(const ResNode& n, const SymbolTable& symbols, Int32& id, const Fail& fail)
{
  id = 0;
  if (n.args.empty())
    return n.keyword == "SEPARATOR" || n.keyword == "GROUP" ? true : fail(n.line, "'" + n.keyword + "' needs an id");
  auto it = symbols.find(n.args[0]);
  if (it == symbols.end() && !ToInt(n.args[0], id))
    return fail(n.line, "unknown symbol '" + n.args[0] + "'");
  if (it != symbols.end())
    id = it->second;
  return true;
}

// Turns the layout tree into entries, resolving symbols.
bool BuildEntries(const std::vector<ResNode>& nodes, Int32 parent, const SymbolTable& symbols, const std::string& file,
                  DescriptionResource& res, std::string* error)
{
  const Fail fail = [&](int line, const std::string& what) {
    if (error)
      *error = file + ":" + std::to_string(line) + ": " + what;
    return false;
  };
  for (const ResNode& n : nodes)
  {
    if (!kElementTypes.count(n.keyword))
    {
      if (!kAttributes.count(n.keyword))
        return fail(n.line, "unknown element '" + n.keyword + "'");
      continue; // a group's own attribute; read by the group below
    }
    if (!n.block)
      return fail(n.line, "'" + n.keyword + "' needs a '{ }' block");
    Int32 id = 0;
    if (!ElementId(n, symbols, id, fail))
      return false;
    BaseContainer bc;
    bc.SetString(DESC_TYPE, String(n.keyword));
    bc.SetInt32(DESC_PARENTGROUP, parent);
    for (const ResNode& a : n.children)
      if (!kElementTypes.count(a.keyword) && !ReadAttribute(a, n, symbols, bc, fail))
        return false;
    if (id != 0)
      res.entries.emplace_back(id, bc);
    if (n.keyword == "GROUP" && !BuildEntries(n.children, id, symbols, file, res, error))
      return false;
  }
  return true;
}
} // namespace

const DescriptionResource* DescriptionStore::Load(const Filename& resFolder, const String& name, String* error)
{
  if (const DescriptionResource* known = Find(name))
    return known;
  auto fail = [&](const std::string& why) -> const DescriptionResource* {
    if (error)
      *error = String(why);
    return nullptr;
  };
  const std::string n = name.GetStdString();
  const std::string base = resFolder.GetString().GetStdString();
  const std::string hFile = base + "/description/" + n + ".h";
  const std::string resFile = base + "/description/" + n + ".res";
  const std::string strFile = base + "/strings_en-US/description/" + n + ".str";

  std::string text, why;
  DescriptionResource res;
  res.name = name;
  if (!ReadTextFile(hFile, text))
    return fail("cannot read " + hFile);
  if (!ParseSymbols(text, hFile, res.symbols, &why))
    return fail(why);

  if (!ReadTextFile(resFile, text))
    return fail("cannot read " + resFile);
  std::vector<ResNode> tree;
  if (!ParseResTree(text, resFile, tree, &why))
    return fail(why);
  if (tree.size() != 1 || tree[0].keyword != "CONTAINER" || !tree[0].block || tree[0].args.empty() || tree[0].args[0] != n)
    return fail(resFile + ":1: expected one 'CONTAINER " + n + " { ... }'");
  if (!BuildEntries(tree[0].children, 0, res.symbols, resFile, res, &why))
    return fail(why);

  if (!ReadTextFile(strFile, text))
    return fail("cannot read " + strFile);
  std::vector<std::pair<Int32, String>> labels;
  if (!ParseStringTable(text, strFile, res.symbols, labels, &why))
    return fail(why);
  for (const auto& label : labels)
    for (auto& entry : res.entries)
    {
      if (entry.first == label.first)
      {
        entry.second.SetString(DESC_NAME, label.second);
        entry.second.SetString(DESC_SHORT_NAME, label.second);
      }
    }
  // Cycle labels: look each cycle symbol up by name in the table.
  std::map<std::string, String> bySymbol;
  {
    std::vector<Token> toks;
    Lexer(text, strFile, false).Run(toks, nullptr);
    for (size_t i = 0; i + 1 < toks.size(); ++i)
      if (toks[i].kind == Token::Ident && toks[i + 1].kind == Token::Text)
        bySymbol[toks[i].text] = String(toks[i + 1].text);
  }
  for (auto& entry : res.entries)
    if (BaseContainer* cycle = entry.second.GetContainerInstance(DESC_CYCLE))
      for (Int32 i = 0; i < cycle->GetDataCount(); ++i)
      {
        const Int32 value = cycle->GetIndexId(i);
        auto it = bySymbol.find(cycle->GetString(value).GetStdString());
        if (it != bySymbol.end())
          cycle->SetString(value, it->second);
      }

  loaded.push_back(std::move(res));
  return &loaded.back();
}

const DescriptionResource* DescriptionStore::Find(const String& name) const
{
  for (const DescriptionResource& r : loaded)
    if (r.name == name)
      return &r;
  return nullptr;
}

bool DescriptionStore::ResolveSymbol(const String& symbol, Int32* id) const
{
  for (const DescriptionResource& r : loaded)
  {
    auto it = r.symbols.find(symbol.GetStdString());
    if (it != r.symbols.end())
    {
      if (id)
        *id = it->second;
      return true;
    }
  }
  return false;
}

DescriptionStore& Descriptions()
{
  static DescriptionStore store;
  return store;
}

String DescriptionNameOf(Int32 type)
{
  if (type == Rbase)
    return String("Rbase");
  const PluginEntry* e = App().plugins.Find(type);
  return e ? e->description : String();
}

Bool LoadHostDescriptions(const Filename& resFolder, String* error)
{
  return Descriptions().Load(resFolder, String("Rbase"), error) != nullptr;
}
} // namespace host
