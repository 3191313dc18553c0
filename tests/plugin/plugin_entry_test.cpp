// The entry point's stages, the registration chain, the console log and the text helpers.
#include <cmath>
#include <limits>
#include <regex>
#include <string>

#include "OrlixCamVP.h"
#include "console_log.h"
#include "slate_text.h"
#include "plugin_fixture.h"

namespace
{
Int32 Message(Int32 id, void* data)
{
  return c4d_main(C4DPL_MESSAGE, reinterpret_cast<void*>(static_cast<intptr_t>(id)), data, nullptr);
}

struct EntryTest : ::testing::Test
{
  void SetUp() override
  {
    host::ResetApp();
    host::SetPluginFolder(Filename(ORLIX_SOURCE_DIR));
  }
  void TearDown() override
  {
    while (PluginInitCount() > 0)
      c4d_main(C4DPL_END, nullptr, nullptr, nullptr);
    host::ResetApp();
  }
  C4DHostTable table;
  Filename path = Filename("/plugins/OrlixCam/OrlixCam.so");
};
} // namespace

TEST_F(EntryTest, StartStoresThePathRegistersAndCountsRepeats)
{
  EXPECT_EQ(c4d_main(C4DPL_INIT_VERSION, nullptr, nullptr, nullptr), 5) << "the version query needs no start";
  // An old host's refusal is the module loader's.
  EXPECT_EQ(c4d_main(C4DPL_INIT_SYS, &table, nullptr, nullptr), -3) << "no path";
  c4d_main(C4DPL_END, nullptr, nullptr, nullptr);
  EXPECT_EQ(PluginInitCount(), 0) << "a refused start is ended like any other";
  EXPECT_EQ(c4d_main(99, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(Message(42, nullptr), -1) << "an unknown message is not handled";

  ASSERT_EQ(c4d_main(C4DPL_INIT_SYS, &table, nullptr, &path), 1);
  ASSERT_NE(PluginFilePath(), nullptr);
  EXPECT_EQ(*PluginFilePath(), path);
  ASSERT_EQ(Message(C4DPL_STARTACTIVITY_RES, nullptr), 1);
  // The registration order and the start line are the failed chain's and the loaded module's.
  ASSERT_EQ(c4d_main(C4DPL_INIT, nullptr, nullptr, nullptr), 1);
  const host::PluginEntry* tag = host::App().plugins.Find(1035138);
  ASSERT_NE(tag, nullptr);
  ASSERT_NE(tag->icon, nullptr) << "the tag registers with its icon";
  EXPECT_EQ(tag->icon->GetBw(), 64);
  EXPECT_EQ(host::App().plugins.Find(1033675)->name, GeLoadString(10000));

  Filename other("/elsewhere/OrlixCam.so");
  EXPECT_EQ(c4d_main(C4DPL_INIT_SYS, nullptr, nullptr, &other), 1) << "a second start only counts";
  EXPECT_EQ(PluginInitCount(), 2);
  EXPECT_EQ(*PluginFilePath(), path);

  EXPECT_EQ(c4d_main(C4DPL_END, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(PluginInitCount(), 1);
  EXPECT_NE(PluginFilePath(), nullptr) << "the first matching end only counts";
  EXPECT_FALSE(GeLoadString(10000).IsEmpty()) << "resources stay until the last end";

  EXPECT_EQ(c4d_main(C4DPL_END, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(PluginFilePath(), nullptr);
  EXPECT_TRUE(GeLoadString(10000).IsEmpty()) << "the last end frees the resources";
}

TEST_F(EntryTest, FirstFailedRegistrationStopsTheChain)
{
  // Something else holds the video post's id: its registration fails, and the tag's never runs.
  host::PluginEntry squatter;
  squatter.id = 1033675;
  squatter.name = String("Squatter");
  ASSERT_TRUE(host::App().plugins.Add(squatter));

  ASSERT_EQ(c4d_main(C4DPL_INIT_SYS, &table, nullptr, &path), 1);
  ASSERT_EQ(Message(C4DPL_STARTACTIVITY_RES, nullptr), 1);
  EXPECT_EQ(c4d_main(C4DPL_INIT, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(host::App().plugins.Find(1035138), nullptr) << "later registrations don't run";
  EXPECT_TRUE(host::App().console.Contains(String("--- OrlixCam: Version 2.2.1 (008) failed to load!")));
}

TEST(PluginLog, ConsoleLinesAreCutAt1023)
{
  // The prefix and the formatting show in every message the other tests read.
  host::ResetApp();
  LogConsole("%s", std::string(3000, 'x').c_str());
  const auto& lines = host::App().console.Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].GetLength(), 1023);
  EXPECT_EQ(lines[0].SubStr(0, 16), String("--- OrlixCam: xx"));
  host::ResetApp();
}

TEST(PluginText, FrameNumbersTimecodesDatesLinesAndPixelPositions)
{
  EXPECT_EQ(FormatFrameNumber(12), "000012");
  EXPECT_EQ(FormatFrameNumber(1234567), "1234567") << "wider numbers are not cut";
  EXPECT_EQ(FormatTimecode(BaseTime(131, 2), 25.0), "001:05.12");
  EXPECT_EQ(FormatTimecode(BaseTime(3661, 1), 25.0), "061:01.00") << "minutes don't wrap at an hour";
  EXPECT_EQ(FormatTimecode(BaseTime(241, 24), 24.0), "000:10.01");

  const std::string now = FormatDateTime();
  EXPECT_TRUE(std::regex_match(now, std::regex(R"(\d\d/\d\d/\d{4} \d\d:\d\d:\d\d)"))) << now;
  const int month = std::stoi(now.substr(3, 2));
  EXPECT_TRUE(month >= 1 && month <= 12) << "months count from 1: " << now;

  const std::vector<String> three = {String("TITLE"), String(), String("Licence")};
  EXPECT_EQ(SplitLines(String("TITLE\n\nLicence")), three);
  EXPECT_EQ(SplitLines(String()), std::vector<String>{String()}) << "an empty text is one empty line";
  EXPECT_EQ(SplitLines(String("end\n")), (std::vector<String>{String("end"), String()})) << "a trailing line feed";

  // Pixel positions from any double stay within Int32.
  constexpr Int32 kMax = std::numeric_limits<Int32>::max(), kMin = std::numeric_limits<Int32>::min();
  const struct { double in; Int32 out; } rows[] = {
    {-2.7, -2}, {std::nan(""), 0}, {HUGE_VAL, kMax}, {-HUGE_VAL, kMin}, {3.0e9, kMax}, {-3.0e9, kMin}};
  for (const auto& r : rows)
    EXPECT_EQ(TruncateToInt32(r.in), r.out) << "from " << r.in;
}
