// The host's resource formats: files with mistakes in them, and the forms a correct file may take.
// The plug-in's real res/ folder is loaded by the plug-in's and scene-file tests.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "host_app.h"
#include "resource_parser.h"
#include "support/scratch_dir.h"

GeResource g_resource;

namespace
{
struct ResourceTest : ::testing::Test
{
  void SetUp() override { host::ResetApp(); }
  void TearDown() override
  {
    g_resource.Free();
    host::ResetApp();
  }
};

// A scratch res/ folder with its two description folders.
struct ScratchRes : ScratchDir
{
  ScratchRes()
  {
    std::filesystem::create_directories(dir / "description");
    std::filesystem::create_directories(dir / "strings_en-US" / "description");
  }
};
} // namespace

TEST_F(ResourceTest, MistakesInSymbolsStringTablesAndDescriptionsNameFileAndLine)
{
  const host::SymbolTable symbols = {{"IDS_A", 10000}};
  const ScratchRes res;
  const std::string dir = res.dir.string();
  res.Write("description/Broken.h", "enum { BROKEN_A = 1000, BROKEN_B = 1001 };\n");
  res.Write("strings_en-US/description/Broken.str", "STRINGTABLE Broken { Broken \"B\"; BROKEN_A \"A\"; }\n");
  enum Kind { kSymbols, kStrings, kDescription };
  const struct
  {
    const char* name;
    Kind kind;
    const char* text;
    const char* message;
  } rows[] = {
    {"missing comma", kSymbols, "enum\n{\n  A = 1\n  B = 2\n};\n", "x.h:4: expected ',' or '}' after 'A', found 'B'"},
    {"cut-off enum", kSymbols, "enum\n{\n  A = 1,\n", "x.h:4: expected a symbol name, found the end of the file"},
    {"unknown value", kSymbols, "enum { A = x1 };", "x.h:1: unknown symbol 'x1'"},
    {"twice", kSymbols, "enum { A = 1, A = 2 };", "x.h:1: symbol 'A' defined twice"},
    {"open comment", kSymbols, "/* open\ncomment", "x.h:1: unterminated comment"},
    {"too large", kSymbols, "enum { A = 99999999999 };", "x.h:1: expected a whole number for 'A'"},
    {"open text", kStrings, "STRINGTABLE\n{\n  IDS_A \"open\n}\n", "s.str:3: unterminated string"},
    {"unknown id", kStrings, "STRINGTABLE\n{\n  IDS_B \"x\";\n}\n", "s.str:3: unknown symbol 'IDS_B'"},
    {"no semicolon", kStrings, "STRINGTABLE\n{\n  IDS_A \"x\"\n}\n", "s.str:4: expected ';' after the text of 'IDS_A', found '}'"},
    {"cut-off table", kStrings, "STRINGTABLE\n{\n  IDS_A \"x\";\n", "s.str:4: expected a symbol, found the end of the file"},
    {"unknown parameter", kDescription, "CONTAINER Broken\n{\n  NAME Broken;\n  BOOL BROKEN_A { }\n  LONG BROKEN_C { }\n}\n",
     "Broken.res:5: unknown symbol 'BROKEN_C'"},
    {"open block", kDescription, "CONTAINER Broken\n{\n  NAME Broken;\n  BOOL BROKEN_A {\n",
     "Broken.res:5: expected '}' to close 'BOOL' of line 4, found the end of the file"},
    {"unknown element", kDescription, "CONTAINER Broken\n{\n  TOGGLE BROKEN_A { }\n}\n", "Broken.res:3: unknown element 'TOGGLE'"},
    {"word for a number", kDescription, "CONTAINER Broken\n{\n  REAL BROKEN_A { MIN low; }\n}\n", "Broken.res:3: 'MIN' needs a number"},
  };
  for (const auto& row : rows)
  {
    host::SymbolTable parsed;
    std::vector<std::pair<Int32, String>> out;
    std::string error;
    String loadError;
    if (row.kind == kDescription)
      res.Write("description/Broken.res", row.text);
    EXPECT_FALSE(row.kind == kSymbols   ? host::ParseSymbols(row.text, "x.h", parsed, &error)
                 : row.kind == kStrings ? host::ParseStringTable(row.text, "s.str", symbols, out, &error)
                                        : host::Descriptions().Load(Filename(dir.c_str()), String("Broken"), &loadError) != nullptr)
      << "case " << row.name;
    EXPECT_EQ(row.kind == kDescription ? loadError.GetStdString() : error, (row.kind == kDescription ? dir + "/description/" : "") + row.message)
      << "case " << row.name;
  }

  // A description without its strings loads nothing.
  std::filesystem::remove(res.Path("strings_en-US/description/Broken.str"));
  res.Write("description/Broken.res", "CONTAINER Broken\n{\n  BOOL BROKEN_A { }\n}\n");
  String error;
  EXPECT_EQ(host::Descriptions().Load(Filename(dir.c_str()), String("Broken"), &error), nullptr);
  EXPECT_EQ(error, String(("cannot read " + dir + "/strings_en-US/description/Broken.str").c_str()));
  EXPECT_EQ(host::Descriptions().Find(String("Broken")), nullptr) << "nothing half-loaded stays";

  host::SymbolTable t;
  std::vector<std::pair<Int32, String>> out;
  std::string text;
  ASSERT_TRUE(host::ParseSymbols("#ifndef X\n#define X\n// note\nenum { A = 1000, B, C = A, };\n#endif\n", "ok.h", t, &text)) << text;
  EXPECT_EQ(t["B"], 1001) << "a symbol without value follows the one before";
  EXPECT_EQ(t["C"], 1000);
  ASSERT_TRUE(host::ParseStringTable("STRINGTABLE { IDS_A \"line\\none\" \" more\"; }", "s.str", symbols, out, &text)) << text;
  EXPECT_EQ(out[0].second, String("line\none more"));
}

TEST_F(ResourceTest, MissingOrBrokenStringFilesFailTheStart)
{
  EXPECT_FALSE(g_resource.Init(Filename("/nonexistent/res")));
  EXPECT_FALSE(g_resource.IsLoaded());
  EXPECT_TRUE(host::App().console.Contains(String("cannot read /nonexistent/res/c4d_symbols.h")));

  const ScratchRes res;
  res.Write("c4d_symbols.h", "enum { IDS_A = 10000, _DUMMY_ };\n");
  res.Write("strings_en-US/c4d_strings.str", "STRINGTABLE\n{\n  IDS_A \"fine\";\n  IDS_A \"no semicolon\"\n}\n");
  host::App().console.Clear();
  EXPECT_FALSE(g_resource.Init(Filename(res.dir.string().c_str())));
  EXPECT_TRUE(GeLoadString(10000).IsEmpty()) << "a broken table holds nothing";
  EXPECT_TRUE(host::App().console.Contains(String("c4d_strings.str:5: expected ';'"))) << host::App().console.Lines().front();
}
