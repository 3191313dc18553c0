// The host's resource formats: the plug-in's real res/ folder, and files with mistakes in them.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "host_app.h"
#include "resource_parser.h"

GeResource g_resource;

namespace
{
const Filename kRes = Filename(ORLIX_SOURCE_DIR) + Filename("res");

struct ResourceTest : ::testing::Test
{
  void SetUp() override { host::ResetApp(); }
  void TearDown() override
  {
    g_resource.Free();
    host::ResetApp();
  }
};

// A scratch res/ folder holding the given files.
std::string ScratchFolder(const std::string& name)
{
  const std::string dir = ::testing::TempDir() + name;
  std::system(("rm -rf '" + dir + "' && mkdir -p '" + dir + "/description' '" + dir + "/strings_en-US/description'").c_str());
  return dir;
}
void Write(const std::string& path, const std::string& text)
{
  std::ofstream(path) << text;
}
} // namespace

TEST_F(ResourceTest, StringTableOfThePlugin)
{
  ASSERT_TRUE(g_resource.Init(kRes));
  EXPECT_EQ(GeLoadString(10000), String("OrlixCam"));
  EXPECT_TRUE(GeLoadString(10999).IsEmpty());
  // The render-size question takes six values: four whole numbers and two proportions.
  char text[512];
  std::snprintf(text, sizeof(text), GeLoadString(10012).GetStdString().c_str(), 1920, 1000, 1.92, 1920, 960, 2.0);
  EXPECT_NE(std::string(text).find("1920 x 960"), std::string::npos) << text;
  g_resource.Free();
  EXPECT_TRUE(GeLoadString(10000).IsEmpty()) << "freed resources give empty texts";
}

TEST_F(ResourceTest, DescriptionsOfThePlugin)
{
  String error;
  const host::DescriptionResource* tag = host::Descriptions().Load(kRes, String("OrlixTag"), &error);
  ASSERT_NE(tag, nullptr) << error;
  const host::DescriptionResource* vp = host::Descriptions().Load(kRes, String("OrlixCam"), &error);
  ASSERT_NE(vp, nullptr) << error;

  Int32 id = 0;
  ASSERT_TRUE(host::Descriptions().ResolveSymbol(String("ORLIXVP_CUBE_CELL_LAST"), &id));
  EXPECT_EQ(id, 1093);
  EXPECT_FALSE(host::Descriptions().ResolveSymbol(String("ORLIXTAG_NO_SUCH_THING"), &id));

  Description desc;
  ASSERT_TRUE(desc.LoadDescription(String("OrlixTag")));
  const BaseContainer *pad = desc.GetParameterI(DescID(1053)), *lens = desc.GetParameterI(DescID(1006)), *fov = desc.GetParameterI(DescID(1008));
  ASSERT_TRUE(pad && lens && fov);
  const BaseContainer cycle = lens->GetContainer(DESC_CYCLE);
  EXPECT_EQ(cycle.GetDataCount(), 4);
  EXPECT_EQ(std::vector<String>({pad->GetString(DESC_CUSTOMGUI), cycle.GetString(0), cycle.GetString(3), fov->GetString(DESC_UNIT), fov->GetString(DESC_NAME)}),
            std::vector<String>({String("XYPAD"), String("Panorama"), String("Cubemap"), String("DEGREE"), String("Field of View")}));
  EXPECT_EQ(fov->GetInt32(DESC_PARENTGROUP), 1007) << "the dome's field sits in the dome group";

  // Every parameter of both tables is in its description, by ranges of ids.
  Description vpDesc;
  ASSERT_TRUE(vpDesc.LoadDescription(String("OrlixCam")));
  const struct
  {
    Description& d;
    Int32 first, last;
  } ranges[] = {{desc, 1000, 1001}, {desc, 1003, 1022}, {desc, 1024, 1038}, {desc, 1040, 1050}, {desc, 1052, 1054},
                {vpDesc, 1000, 1000}, {vpDesc, 1011, 1020}, {vpDesc, 1023, 1024}, {vpDesc, 1026, 1093}, {vpDesc, 1096, 1098}};
  for (const auto& r : ranges)
    for (Int32 id = r.first; id <= r.last; ++id)
      EXPECT_NE(r.d.GetParameterI(DescID(id)), nullptr) << (&r.d == &desc ? "tag" : "video post") << " parameter " << id;
  EXPECT_FALSE(Description().LoadDescription(String("Unknown")));
}

TEST_F(ResourceTest, MistakesInSymbolsStringTablesAndDescriptionsNameFileAndLine)
{
  const host::SymbolTable symbols = {{"IDS_A", 10000}};
  const std::string dir = ScratchFolder("orlix_broken_res");
  Write(dir + "/description/Broken.h", "enum { BROKEN_A = 1000, BROKEN_B = 1001 };\n");
  Write(dir + "/strings_en-US/description/Broken.str", "STRINGTABLE Broken { Broken \"B\"; BROKEN_A \"A\"; }\n");
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
      Write(dir + "/description/Broken.res", row.text);
    EXPECT_FALSE(row.kind == kSymbols   ? host::ParseSymbols(row.text, "x.h", parsed, &error)
                 : row.kind == kStrings ? host::ParseStringTable(row.text, "s.str", symbols, out, &error)
                                        : host::Descriptions().Load(Filename(dir.c_str()), String("Broken"), &loadError) != nullptr)
      << "case " << row.name;
    EXPECT_EQ(row.kind == kDescription ? loadError.GetStdString() : error, (row.kind == kDescription ? dir + "/description/" : "") + row.message)
      << "case " << row.name;
  }

  // A description without its strings loads nothing.
  std::remove((dir + "/strings_en-US/description/Broken.str").c_str());
  Write(dir + "/description/Broken.res", "CONTAINER Broken\n{\n  BOOL BROKEN_A { }\n}\n");
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

  const std::string dir = ScratchFolder("orlix_bad_strings");
  Write(dir + "/c4d_symbols.h", "enum { IDS_A = 10000, _DUMMY_ };\n");
  Write(dir + "/strings_en-US/c4d_strings.str", "STRINGTABLE\n{\n  IDS_A \"fine\";\n  IDS_A \"no semicolon\"\n}\n");
  host::App().console.Clear();
  EXPECT_FALSE(g_resource.Init(Filename(dir.c_str())));
  EXPECT_TRUE(GeLoadString(10000).IsEmpty()) << "a broken table holds nothing";
  EXPECT_TRUE(host::App().console.Contains(String("c4d_strings.str:5: expected ';'"))) << host::App().console.Lines().front();
}
