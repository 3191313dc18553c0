// The XY pad: drags on both pads, its picture and cross, and the pad in the tag's panel, where a
// drag turns the probe as the tag's rule says and a double click asks the tag to reset.
#include <cmath>
#include <memory>

#include "OrlixTag.h"
#include "XYPad.h"
#include "description/OrlixTag.h"
#include "gui/attribute_gui.h"
#include "gui/gui_host.h"
#include "panel.h"
#include "plugin_fixture.h"

namespace
{
using Path = std::vector<std::pair<Int32, Int32>>;

// What the pad's owner hears: every value the pad sends back.
struct Owner : GeDialog
{
  std::vector<Vector> values;
  Int32 Message(const BaseContainer& msg, BaseContainer&) override
  {
    if (msg.GetId() == BFM_ACTION && msg.GetInt32(BFM_ACTION_ID) == 42)
      values.push_back(msg.GetData(BFM_ACTION_VALUE).GetVector());
    return 1;
  }
};

// A pad showing `value`, laid out where the window's (30, 20) is its top left.
struct Pad
{
  static constexpr Int32 kX = 30, kY = 20;
  XYPadData factory;
  Owner owner;
  XYPadGui* gui;
  explicit Pad(const Vector& value)
  {
    gui = static_cast<XYPadGui*>(factory.Alloc(BaseContainer())->gui);
    host::gui::SetParent(*gui, &owner, 42);
    gui->CreateLayout();
    gui->SetData(TriState<GeData>(GeData(value)));
    host::gui::Layout(*gui, kX, kY, gui->CustomGuiWidth(), gui->CustomGuiHeight());
  }
  ~Pad() { factory.Free(gui->Get(), static_cast<iCustomGui*>(gui)); }
  Bool Drag(Path path, Bool doubleClick = false)
  {
    for (auto& [x, y] : path)
      x += kX, y += kY;
    return host::gui::Drag(*gui, path, doubleClick);
  }
};

bool IsCross(const BaseBitmap* bmp, Int32 x, Int32 y)
{
  UInt16 r, g, b;
  bmp->GetPixel(x, y, &r, &g, &b);
  return r == 255 && g == 255 && b == 255;
}

// The cross centred on (x, y): its centre and the ends of its arms inside the picture drawn, the
// diagonal neighbours not.
void ExpectCrossAt(const BaseBitmap* bmp, Int32 x, Int32 y)
{
  for (auto [dx, dy] : {std::pair{0, 0}, {0, -4}, {0, 4}, {-4, 0}, {4, 0}})
    if (x + dx < bmp->GetBw() && y + dy < bmp->GetBh())
      EXPECT_TRUE(IsCross(bmp, x + dx, y + dy)) << "(" << x + dx << ", " << y + dy << ")";
  EXPECT_FALSE(IsCross(bmp, x + 1, y + 1) || IsCross(bmp, x - 1, y - 1)) << "a cross, not a square";
}

using XYPadTest = PluginTest;
} // namespace

TEST_F(XYPadTest, DragsMoveThePadInsideItsShape)
{
  const Float rim = (1.0 / std::sqrt(2.0) + 1.0) * 0.5;
  struct Row
  {
    const char* name;
    Float z;
    Path path;
    Vector want;        ///< x, y at the end
    size_t messages;    ///< one per step and one more that closes the drag
  } rows[] = {
    {"dome, inside", 1, {{50, 50}, {75, 50}}, Vector(0.75, 0.5, 0), 3},
    {"dome, single precision", 1, {{33, 50}}, Vector(static_cast<Float32>(0.33f), 0.5, 0), 2},
    {"dome, out beyond the rim", 1, {{50, 50}, {100, 100}, {100, 50}}, Vector(1, 0.5, 0), 4},
    {"dome, beyond the corner", 1, {{60, 60}, {120, 120}}, Vector(rim, rim, 0), 3},
    {"dome, pressed at a corner", 1, {{2, 2}, {50, 50}}, Vector(0.5, 0.5, 0), 1},
    {"panorama, beyond the edges", 0, {{100, 50}, {250, -20}}, Vector(1, 0, 0), 3},
    {"panorama, pressed at a corner", 0, {{0, 99}, {-30, 120}}, Vector(0, 1, 0), 3},
    {"negative z is the panorama", -1, {{150, 50}}, Vector(0.75, 0.5, 0), 2},
  };
  for (const Row& row : rows)
  {
    SCOPED_TRACE(row.name);
    Pad pad(Vector(0.5, 0.5, row.z));
    EXPECT_TRUE(pad.Drag(row.path));
    ASSERT_EQ(pad.owner.values.size(), row.messages);
    const Vector& last = pad.owner.values.back();
    EXPECT_EQ(last.x, row.want.x);
    EXPECT_EQ(last.y, row.want.y);
    EXPECT_EQ(last.z, row.z) << "the pad never changes z";
    EXPECT_EQ(pad.owner.values.front().x, row.messages == 1 ? 0.5 : static_cast<Float32>(row.path.front().first) / (row.z > 0 ? 100.0f : 200.0f))
      << "the press is the first position";
  }
  // A dome pad is 100 wide: a press at x 150 falls beside it, on the panorama's it doesn't.
  Pad dome(Vector(0.5, 0.5, 1));
  EXPECT_FALSE(dome.Drag({{150, 50}}));
  // The right button and keys are not the pad's.
  for (const BaseContainer& event : {host::gui::InputEvent(BFM_INPUT_MOUSE, BFM_INPUT_MOUSERIGHT, 80, 70, true, false),
                                     host::gui::InputEvent(BFM_INPUT_KEYBOARD, 'a', 80, 70, true, false)})
    EXPECT_FALSE(dome.gui->area.InputEvent(event));
  EXPECT_TRUE(dome.owner.values.empty());

  // A double click only asks: (-1, -1) goes to the owner, the cross stays where it was.
  Pad pano(Vector(0.5, 0.5, 0));
  EXPECT_TRUE(pano.Drag({{10, 10}, {150, 80}}, true));
  ASSERT_EQ(pano.owner.values.size(), 1u);
  EXPECT_EQ(pano.owner.values[0], Vector(-1, -1, 0));
  ExpectCrossAt(host::gui::GetRaster(pano.gui->area), 99, 49);
}

TEST_F(XYPadTest, CrossSitsOnThePadsLastPixelAndTheMapFollowsZ)
{
  struct Row
  {
    Vector value;
    Int32 width, x, y;
  } rows[] = {{{0.5, 0.5, 1}, 100, 49, 49}, {{0.5, 0.5, 0}, 200, 99, 49}, {{1, 1, 1}, 100, 99, 99}, {{1, 1, 0}, 200, 199, 99}};
  for (const Row& row : rows)
  {
    SCOPED_TRACE(row.width);
    Pad pad(row.value);
    const BaseBitmap* raster = host::gui::GetRaster(pad.gui->area);
    ASSERT_EQ(raster->GetBw(), row.width);
    ASSERT_EQ(raster->GetBh(), 100);
    ExpectCrossAt(raster, row.x, row.y);
    const BaseBitmap* map = row.value.z > 0 ? g_mapDome : g_mapPano;
    for (auto [x, y] : {std::pair{10, 12}, {row.width - 3, 80}})
    {
      UInt16 want[3], got[3];
      map->GetPixel(x, y, &want[0], &want[1], &want[2]);
      raster->GetPixel(x, y, &got[0], &got[1], &got[2]);
      EXPECT_TRUE(want[0] == got[0] && want[1] == got[1] && want[2] == got[2]) << "the map at (" << x << ", " << y << ")";
    }
  }
  // Without its pictures a pad still draws: the background and the cross.
  FreeXYPad();
  Pad bare(Vector(0.25, 0.5, 0));
  ExpectCrossAt(host::gui::GetRaster(bare.gui->area), 49, 49);
  EXPECT_EQ(g_mapDome, nullptr);
}

TEST_F(XYPadTest, DragInTheTagsPanelTurnsTheProbeAsTheTagsRuleSays)
{
  struct Row
  {
    const char* name;
    Int32 lens, zenith;
    Path path;
    Vector reset;
  } rows[] = {
    {"panorama", 0, 0, {{100, 50}, {160, 30}}, Vector(0.5, 0.5, 0)},
    {"zenith dome", 1, 1, {{50, 50}, {70, 20}, {100, 0}}, Vector(0.5, 1.0, 1)},
  };
  for (const Row& row : rows)
  {
    SCOPED_TRACE(row.name);
    BaseTag* tag = AddTaggedCamera("Cam")->GetTag(OrlixTag::ID);
    BaseTag* reference = AddTaggedCamera("Reference")->GetTag(OrlixTag::ID);
    for (BaseTag* t : {tag, reference})
    {
      host::UserEdit(t, ORLIXTAG_LENS, GeData(row.lens));
      host::UserEdit(t, ORLIXTAG_DOME_ZENITH, GeData(row.zenith));
    }
    host::Panel panel;
    ASSERT_TRUE(host::EvaluatePanel(tag, panel, nullptr));
    for (const host::PanelEntry& e : panel.entries)
      EXPECT_EQ(e.customGui.GetStdString(), e.id == ORLIXTAG_PROBE_PAD ? "XY Pad" : "") << e.symbol;

    String error;
    std::unique_ptr<host::CustomGuiView> view = host::CustomGuiView::Open(tag, ORLIXTAG_PROBE_PAD, &error);
    ASSERT_TRUE(view) << error.GetStdString();
    EXPECT_TRUE(view->Drag(row.path));
    EXPECT_EQ(view->Edits(), static_cast<Int32>(row.path.size() + 1));
    const BaseContainer* bc = tag->GetDataInstance();
    const Vector pad = bc->GetVector(ORLIXTAG_PROBE_PAD);
    host::UserEdit(reference, ORLIXTAG_PROBE_PAD, GeData(pad));
    const BaseContainer* ref = reference->GetDataInstance();
    EXPECT_NE(bc->GetFloat(ORLIXTAG_PROBE_LONGITUDE), 0.0) << "the drag turned the probe";
    EXPECT_EQ(bc->GetFloat(ORLIXTAG_PROBE_LATITUDE), ref->GetFloat(ORLIXTAG_PROBE_LATITUDE));
    EXPECT_EQ(bc->GetFloat(ORLIXTAG_PROBE_LONGITUDE), ref->GetFloat(ORLIXTAG_PROBE_LONGITUDE));

    // The double click's request comes back from the tag as its reset position, and shows.
    EXPECT_TRUE(view->DoubleClick(20, 50));
    EXPECT_EQ(bc->GetVector(ORLIXTAG_PROBE_PAD), row.reset);
    EXPECT_EQ(bc->GetFloat(ORLIXTAG_PROBE_LATITUDE), 0.0);
    EXPECT_EQ(bc->GetFloat(ORLIXTAG_PROBE_LONGITUDE), 0.0);
    EXPECT_EQ(static_cast<XYPadGui*>(view->Gui())->area.value, row.reset);
    BaseBitmap* picture = view->Picture();
    ASSERT_TRUE(picture);
    ExpectCrossAt(picture, static_cast<Int32>((picture->GetBw() - 1) * row.reset.x), static_cast<Int32>(99 * row.reset.y));
    BaseBitmap::Free(picture);
  }
}
