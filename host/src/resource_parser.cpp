// Parsers of the host's resource text formats: symbol headers, string tables and layout trees.
#include "resource_parser.h"

#include <sys/stat.h>

#include <fstream>
#include <sstream>

#include "resource_lexer.h"

namespace host
{
namespace
{
// Real layouts nest a handful of groups; the limit keeps a hostile file from exhausting the stack.
constexpr int kMaxNesting = 64;
// Resource files are small text; anything larger is not one.
constexpr off_t kMaxResourceBytes = 16 << 20;

bool ParseNodes(Cursor& cur, std::vector<ResNode>& out, int depth)
{
  const bool nested = depth > 0;
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
      if (depth + 1 >= kMaxNesting)
        return cur.FailAt(node.line, "blocks nest deeper than " + std::to_string(kMaxNesting) + " levels");
      if (!ParseNodes(cur, node.children, depth + 1))
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

} // namespace

bool ReadTextFile(const std::string& path, std::string& text)
{
  // Only regular files of text size: a FIFO would block, a device never end.
  struct stat st;
  if (stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode) || st.st_size > kMaxResourceBytes)
    return false;
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
  return ParseNodes(cur, out, 0);
}

} // namespace host
