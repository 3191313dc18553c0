// The resource text lexer: identifiers, numbers, quoted texts and punctuation.
#include "resource_lexer.h"

#include <cctype>
#include <cstdlib>

namespace host
{
namespace
{
bool IsAlpha(char c)
{
  return std::isalpha(static_cast<unsigned char>(c)) != 0;
}
bool IsAlnum(char c)
{
  return std::isalnum(static_cast<unsigned char>(c)) != 0;
}
bool IsDigit(char c)
{
  return std::isdigit(static_cast<unsigned char>(c)) != 0;
}
} // namespace

bool Lexer::Run(std::vector<Token>& out, std::string* error)
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
    if (IsAlpha(c) || c == '_')
    {
      t.kind = Token::Ident;
      while (pos < s.size() && (IsAlnum(s[pos]) || s[pos] == '_'))
        t.text += s[pos++];
    }
    else if (StartsNumber(c))
      LexNumber(t);
    else if (c == '"')
      LexText(t);
    else if (c == '{' || c == '}' || c == ';' || c == ',' || c == '=')
    {
      t.kind = Token::Punct;
      t.text = std::string(1, c);
      ++pos;
    }
    else
      problem = std::string("unexpected character '") + c + "'";
    if (!problem.empty())
      return Fail(error);
    out.push_back(t);
  }
}

bool Lexer::StartsNumber(char c) const
{
  return IsDigit(c) || ((c == '-' || c == '+' || c == '.') && pos + 1 < s.size() && (IsDigit(s[pos + 1]) || s[pos + 1] == '.'));
}

void Lexer::LexNumber(Token& t)
{
  t.kind = Token::Number;
  t.text += s[pos++];
  while (pos < s.size() &&
         (IsAlnum(s[pos]) || s[pos] == '.' || ((s[pos] == '-' || s[pos] == '+') && (s[pos - 1] == 'e' || s[pos - 1] == 'E'))))
    t.text += s[pos++];
  char* endp = nullptr;
  std::strtod(t.text.c_str(), &endp);
  if (!endp || *endp != '\0')
    problem = "malformed number '" + t.text + "'";
}

void Lexer::LexText(Token& t)
{
  t.kind = Token::Text;
  ++pos;
  while (pos < s.size())
  {
    const char ch = s[pos++];
    if (ch == '"')
      return;
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
  line = t.line;
  problem = "unterminated string";
}

void Lexer::SkipSpace()
{
  bool lineStart = pos == 0 || s[pos - 1] == '\n';
  while (pos < s.size() && problem.empty())
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
    else if ((c == '#' && lineStart && skipHash) || (c == '/' && pos + 1 < s.size() && s[pos + 1] == '/'))
    {
      while (pos < s.size() && s[pos] != '\n')
        ++pos;
    }
    else if (c == '/' && pos + 1 < s.size() && s[pos + 1] == '*')
      SkipBlockComment();
    else
      return;
  }
}

void Lexer::SkipBlockComment()
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

bool Lexer::Fail(std::string* error)
{
  if (error)
    *error = file + ":" + std::to_string(line) + ": " + problem;
  return false;
}

bool ToInt(const std::string& text, Int32& v)
{
  char* end = nullptr;
  const long long n = std::strtoll(text.c_str(), &end, 0);
  if (!end || *end != '\0' || n < -2147483648LL || n > 2147483647LL)
    return false;
  v = static_cast<Int32>(n);
  return true;
}

} // namespace host
