// Parsers of the host's resource text formats, the plug-in string table and the description store.
#include "resource_parser.h"

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>

#include "c4d_general.h"

namespace host
{
namespace
{
struct Token
{
  enum Kind { Ident, Number, Text, Punct, End } kind = End;
  std::string text;
  int line = 1;
};

// Splits resource text into tokens; C and C++ comments are skipped, and with `skipPreprocessor`
// so are lines that begin with '#'.
class Lexer
{
public:
  Lexer(const std::string& src, const std::string& fileName, bool skipPreprocessor)
    : s(src), file(fileName), skipHash(skipPreprocessor) {}

  bool Run(std::vector<Token>& out, std::string* error)
  {
    while (true)
    {
      SkipSpace();
      if (!problem.empty())
        return Fail(error);
      Token t;
      t.line = line;
      if (pos >= s.size())
      {
        out.push_back(t);
        return true;
      }
      const char c = s[pos];
      if (std::isalpha(static_cast<unsigned char>(c)) || c == '_')
      {
        t.kind = Token::Ident;
        while (pos < s.size() && (std::isalnum(static_cast<unsigned char>(s[pos])) || s[pos] == '_'))
          t.text += s[pos++];
      }
      else if (std::isdigit(static_cast<unsigned char>(c)) || ((c == '-' || c == '+' || c == '.') && pos + 1 < s.size() &&
                                                               (std::isdigit(static_cast<unsigned char>(s[pos + 1])) || s[pos + 1] == '.')))
      {
        t.kind = Token::Number;
        t.text += s[pos++];
        while (pos < s.size() && (std::isalnum(static_cast<unsigned char>(s[pos])) || s[pos] == '.' ||
                                  ((s[pos] == '-' || s[pos] == '+') && (s[pos - 1] == 'e' || s[pos - 1] == 'E'))))
          t.text += s[pos++];
        char* endp = nullptr;
        std::strtod(t.text.c_str(), &endp);
        if (!endp || *endp != '\0')
        {
          problem = "malformed number '" + t.text + "'";
          return Fail(error);
        }
      }
      else if (c == '"')
      {
        t.kind = Token::Text;
        ++pos;
        bool closed = false;
        while (pos < s.size())
        {
          const char ch = s[pos++];
          if (ch == '"')
          {
            closed = true;
            break;
          }
          if (ch == '\n')
            break;
          if (ch == '\\' && pos < s.size())
          {
            const char e = s[pos++];
            t.text += e == 'n' ? '\n' : e == 't' ? '\t' : e;
            continue;
          }
          t.text += ch;
        }
        if (!closed)
        {
          line = t.line;
          problem = "unterminated string";
          return Fail(error);
        }
      }
      else if (c == '{' || c == '}' || c == ';' || c == ',' || c == '=')
      {
        t.kind = Token::Punct;
        t.text = std::string(1, c);
        ++pos;
      }
      else
      {
        problem = std::string("unexpected character '") + c + "'";
        return Fail(error);
      }
      out.push_back(t);
    }
  }

private:
  void SkipSpace()
  {
    bool lineStart = pos == 0 || s[pos - 1] == '\n';
    while (pos < s.size())
    {
      const char c = s[pos];
      if (c == '\n')
      {
        ++line;
        ++pos;
        lineStart = true;
      }
      else if (std::isspace(static_cast<unsigned char>(c)))
        ++pos;
      else if (c == '#' && lineStart && skipHash)
      {
        while (pos < s.size() && s[pos] != '\n')
          ++pos;
      }
      else if (c == '/' && pos + 1 < s.size() && s[pos + 1] == '/')
      {
        while (pos < s.size() && s[pos] != '\n')
          ++pos;
      }
      else if (c == '/' && pos + 1 < s.size() && s[pos + 1] == '*')
      {
        const int startLine = line;
        pos += 2;
        while (pos + 1 < s.size() && !(s[pos] == '*' && s[pos + 1] == '/'))
        {
          if (s[pos] == '\n')
            ++line;
          ++pos;
        }
        if (pos + 1 >= s.size())
        {
          line = startLine;
          problem = "unterminated comment";
          return;
        }
        pos += 2;
      }
      else
        return;
    }
  }
  bool Fail(std::string* error)
  {
    if (error)
      *error = file + ":" + std::to_string(line) + ": " + problem;
    return false;
  }

  const std::string& s;
  std::string file;
  bool skipHash;
  size_t pos = 0;
  int line = 1;
  std::string problem;
};

// Walks a token list with errors that name file and line.
class Cursor
{
public:
  Cursor(const std::vector<Token>& t, const std::string& f, std::string* e) : toks(t), file(f), error(e) {}
  const Token& Peek() const { return toks[i]; }
  const Token& Next() { return toks[i < toks.size() - 1 ? i++ : i]; }
  bool Is(const char* punct) const { return Peek().kind == Token::Punct && Peek().text == punct; }
  bool AtEnd() const { return Peek().kind == Token::End; }
  bool Expect(const char* punct, const char* after)
  {
    if (Is(punct))
    {
      Next();
      return true;
    }
    return Fail(std::string("expected '") + punct + "' " + after + Found());
  }
  bool Fail(const std::string& what)
  {
    if (error)
      *error = file + ":" + std::to_string(Peek().line) + ": " + what;
    return false;
  }
  bool FailAt(int line, const std::string& what)
  {
    if (error)
      *error = file + ":" + std::to_string(line) + ": " + what;
    return false;
  }
  std::string Found() const
  {
    if (AtEnd())
      return ", found the end of the file";
    return ", found '" + Peek().text + "'";
  }

private:
  const std::vector<Token>& toks;
  size_t i = 0;
  std::string file;
  std::string* error;
};

bool ToInt(const std::string& text, Int32& v)
{
  char* end = nullptr;
  const long long n = std::strtoll(text.c_str(), &end, 0);
  if (!end || *end != '\0' || n < -2147483648LL || n > 2147483647LL)
    return false;
  v = static_cast<Int32>(n);
  return true;
}

bool ParseNodes(Cursor& cur, std::vector<ResNode>& out, bool nested)
{
  while (!cur.AtEnd() && !cur.Is("}"))
  {
    const Token& head = cur.Next();
    if (head.kind != Token::Ident)
      return cur.FailAt(head.line, "expected a keyword, found '" + head.text + "'");
    ResNode node;
    node.keyword = head.text;
    node.line = head.line;
    while (cur.Peek().kind == Token::Ident || cur.Peek().kind == Token::Number)
      node.args.push_back(cur.Next().text);
    if (cur.Is(";"))
      cur.Next();
    else if (cur.Is("{"))
    {
      cur.Next();
      node.block = true;
      if (!ParseNodes(cur, node.children, true))
        return false;
      if (!cur.Expect("}", ("to close '" + node.keyword + "' of line " + std::to_string(node.line)).c_str()))
        return false;
    }
    else
      return cur.Fail("expected ';' or '{' after '" + node.keyword + "'" + cur.Found());
    out.push_back(std::move(node));
  }
  if (!nested && !cur.AtEnd())
    return cur.Fail("unexpected '}'");
  return true;
}

const std::set<std::string> kElementTypes = {"BOOL", "LONG", "REAL", "VECTOR", "STRING", "FILENAME", "BASETIME", "LINK",
                                            "SHADERLINK", "BUTTON", "BITMAPBUTTON", "STATICTEXT", "SEPARATOR", "GROUP"};
const std::set<std::string> kAttributes = {"NAME", "INCLUDE", "DEFAULT", "COLUMNS", "MIN", "MAX", "STEP", "UNIT",
                                          "CUSTOMGUI", "ANIM", "HIDDEN", "LINE", "SCALE_H", "ACCEPT", "CYCLE", "PARENTMSG"};

// Turns the layout tree into entries, resolving symbols; `labels` give each entry its name.
bool BuildEntries(const std::vector<ResNode>& nodes, Int32 parent, const SymbolTable& symbols, const std::string& file,
                  DescriptionResource& res, std::string* error)
{
  auto fail = [&](int line, const std::string& what) {
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
    if (!n.args.empty())
    {
      auto it = symbols.find(n.args[0]);
      if (it == symbols.end() && !ToInt(n.args[0], id))
        return fail(n.line, "unknown symbol '" + n.args[0] + "'");
      if (it != symbols.end())
        id = it->second;
    }
    else if (n.keyword != "SEPARATOR" && n.keyword != "GROUP")
      return fail(n.line, "'" + n.keyword + "' needs an id");

    BaseContainer bc;
    bc.SetString(DESC_TYPE, String(n.keyword));
    bc.SetInt32(DESC_PARENTGROUP, parent);
    for (const ResNode& a : n.children)
    {
      if (kElementTypes.count(a.keyword))
        continue;
      if (!kAttributes.count(a.keyword))
        return fail(a.line, "unknown attribute '" + a.keyword + "' in '" + n.keyword + "'");
      if (a.keyword == "CYCLE")
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
        continue;
      }
      if (a.block)
        continue; // ACCEPT lists and the like: nothing the host reads
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
    }
    if (id != 0)
      res.entries.emplace_back(id, bc);
    if (n.keyword == "GROUP" && !BuildEntries(n.children, id, symbols, file, res, error))
      return false;
  }
  return true;
}
} // namespace

bool ReadTextFile(const std::string& path, std::string& text)
{
  std::ifstream in(path, std::ios::binary);
  if (!in)
    return false;
  std::ostringstream ss;
  ss << in.rdbuf();
  text = ss.str();
  return !in.bad();
}

bool ParseSymbols(const std::string& text, const std::string& file, SymbolTable& out, std::string* error)
{
  std::vector<Token> toks;
  if (!Lexer(text, file, true).Run(toks, error))
    return false;
  Cursor cur(toks, file, error);
  bool any = false;
  while (!cur.AtEnd())
  {
    const Token& t = cur.Next();
    if (t.kind != Token::Ident || t.text != "enum")
      return cur.FailAt(t.line, "expected 'enum', found '" + t.text + "'");
    if (cur.Peek().kind == Token::Ident)
      cur.Next();
    if (!cur.Expect("{", "after 'enum'"))
      return false;
    Int32 next = 0;
    while (!cur.Is("}"))
    {
      const Token& name = cur.Next();
      if (name.kind != Token::Ident)
        return cur.FailAt(name.line, "expected a symbol name, found " + (name.kind == Token::End ? std::string("the end of the file") : "'" + name.text + "'"));
      Int32 value = next;
      if (cur.Is("="))
      {
        cur.Next();
        const Token& v = cur.Next();
        if (v.kind == Token::Ident)
        {
          auto it = out.find(v.text);
          if (it == out.end())
            return cur.FailAt(v.line, "unknown symbol '" + v.text + "'");
          value = it->second;
        }
        else if (v.kind != Token::Number || !ToInt(v.text, value))
          return cur.FailAt(v.line, "expected a whole number for '" + name.text + "'");
      }
      if (out.count(name.text) && out[name.text] != value)
        return cur.FailAt(name.line, "symbol '" + name.text + "' defined twice");
      out[name.text] = value;
      next = value + 1;
      if (cur.Is(","))
        cur.Next();
      else if (!cur.Is("}"))
        return cur.Fail("expected ',' or '}' after '" + name.text + "'" + cur.Found());
    }
    cur.Next();
    if (!cur.Expect(";", "after the enum's '}'"))
      return false;
    any = true;
  }
  if (!any)
    return cur.Fail("no enum found");
  return true;
}

bool ParseStringTable(const std::string& text, const std::string& file, const SymbolTable& symbols,
                      std::vector<std::pair<Int32, String>>& out, std::string* error)
{
  std::vector<Token> toks;
  if (!Lexer(text, file, false).Run(toks, error))
    return false;
  Cursor cur(toks, file, error);
  const Token& head = cur.Next();
  if (head.kind != Token::Ident || head.text != "STRINGTABLE")
    return cur.FailAt(head.line, "expected 'STRINGTABLE'");
  std::string tableName;
  if (cur.Peek().kind == Token::Ident)
    tableName = cur.Next().text;
  if (!cur.Expect("{", "after 'STRINGTABLE'"))
    return false;
  while (!cur.Is("}"))
  {
    const Token& sym = cur.Next();
    if (sym.kind != Token::Ident)
      return cur.FailAt(sym.line, "expected a symbol, found " + (sym.kind == Token::End ? std::string("the end of the file") : "'" + sym.text + "'"));
    Int32 id = 0;
    auto it = symbols.find(sym.text);
    if (it != symbols.end())
      id = it->second;
    else if (sym.text != tableName || tableName.empty())
      return cur.FailAt(sym.line, "unknown symbol '" + sym.text + "'");
    if (cur.Peek().kind != Token::Text)
      return cur.Fail("expected a quoted text after '" + sym.text + "'" + cur.Found());
    std::string value;
    while (cur.Peek().kind == Token::Text)
      value += cur.Next().text;
    if (!cur.Expect(";", ("after the text of '" + sym.text + "'").c_str()))
      return false;
    out.emplace_back(id, String(value));
  }
  cur.Next();
  if (!cur.AtEnd())
    return cur.Fail("unexpected text after the table's '}'");
  return true;
}

bool ParseResTree(const std::string& text, const std::string& file, std::vector<ResNode>& out, std::string* error)
{
  std::vector<Token> toks;
  if (!Lexer(text, file, false).Run(toks, error))
    return false;
  Cursor cur(toks, file, error);
  return ParseNodes(cur, out, false);
}

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
} // namespace host

// ---- The plug-in-facing side -------------------------------------------------------------------

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
