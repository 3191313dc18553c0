// Tokens of the host's resource text formats, and a cursor over them whose errors name file and line.
#pragma once

#include <string>
#include <vector>

#include "c4d_general.h"

namespace host
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

  /// The tokens of the whole text, closed by an End token; false with "<file>:<line>: <problem>".
  bool Run(std::vector<Token>& out, std::string* error);

private:
  bool StartsNumber(char c) const;
  void LexNumber(Token& t);
  void LexText(Token& t);
  void SkipSpace();
  void SkipBlockComment();
  bool Fail(std::string* error);

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

/// A decimal, octal or hexadecimal whole number that fits an Int32.
bool ToInt(const std::string& text, Int32& v);
} // namespace host
