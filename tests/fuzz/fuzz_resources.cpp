// The host's resource parsers on arbitrary text: symbol headers, string tables and description
// layouts must parse or fail with a message, never crash or read past the text.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "resource_parser.h"

namespace
{
void Check(bool ok, const std::string& error)
{
  // A failure always says where: "<file>:<line>: <problem>".
  if (!ok && error.rfind("fuzz.txt:", 0) != 0)
  {
    std::fprintf(stderr, "failure without a place: '%s'\n", error.c_str());
    std::abort();
  }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  const std::string text(reinterpret_cast<const char*>(data), size);
  std::string error;
#if defined(ORLIX_FUZZ_SYMBOLS)
  host::SymbolTable symbols;
  Check(host::ParseSymbols(text, "fuzz.txt", symbols, &error), error);
#elif defined(ORLIX_FUZZ_STRINGS)
  const host::SymbolTable symbols = {{"IDS_A", 10000}, {"IDS_B", 10001}, {"ORLIXTAG_LENS", 1000}};
  std::vector<std::pair<Int32, String>> strings;
  Check(host::ParseStringTable(text, "fuzz.txt", symbols, strings, &error), error);
#else
  std::vector<host::ResNode> tree;
  Check(host::ParseResTree(text, "fuzz.txt", tree, &error), error);
#endif
  return 0;
}
