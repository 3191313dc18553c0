"""The studio's page in headless Chromium: the panel follows the host's model, the pad, the menu with
undo and redo, and a render with its progress."""
import os
import sys
import unittest
import urllib.request

import studio_support as s

if __name__ == "__main__" and s.browser_missing():
    print(f"skipped: {s.browser_missing()}")
    sys.exit(77)

from selenium.webdriver.common.action_chains import ActionChains  # noqa: E402
from selenium.webdriver.common.actions.wheel_input import ScrollOrigin  # noqa: E402
from selenium.webdriver.common.by import By  # noqa: E402
from selenium.webdriver.common.keys import Keys  # noqa: E402
from selenium.webdriver.support.ui import Select, WebDriverWait  # noqa: E402

# Each panel row as the page draws it: what the tests compare against the host's model.
PANEL_ROWS_JS = """
const form = document.getElementById('panel');
const rows = {};
for (const el of form.querySelectorAll('[data-symbol]')) {
  if (!el.dataset.symbol) continue;
  const control = el.querySelector(':scope > .control');
  const inputs = control ? [...control.querySelectorAll('input, select, button')] : [];
  const first = inputs[0];
  let value = null;
  if (first && first.type === 'checkbox') value = first.checked;
  else if (first && first.type === 'number') value = Number.isNaN(first.valueAsNumber) ? null : first.valueAsNumber;
  else if (first && first.tagName === 'SELECT') value = first.value;
  rows[el.dataset.symbol] = {type: el.dataset.type, open: el.dataset.open || null,
    greyed: el.classList.contains('disabled'), disabled: inputs.map((i) => i.disabled),
    displayed: el.offsetParent !== null, value};
}
return {node: form.dataset.node, revision: form.dataset.revision, rows};
"""

# A fingerprint of the viewport's current picture, or null while none is shown.
VIEW_PRINT_JS = """
const img = document.getElementById('viewport');
if (!img.complete || !img.naturalWidth) return null;
const c = document.createElement('canvas');
c.width = img.naturalWidth; c.height = img.naturalHeight;
const ctx = c.getContext('2d');
ctx.drawImage(img, 0, 0);
const d = ctx.getImageData(0, 0, c.width, c.height).data;
let h = 0;
for (let i = 0; i < d.length; i += 4) h = (Math.imul(h, 31) + d[i] + d[i + 1] * 7 + d[i + 2] * 13) >>> 0;
return `${c.width}x${c.height}:${h}`;
"""


class StudioPage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.driver, cls.profile = s.start_browser()

    @classmethod
    def tearDownClass(cls):
        s.stop_browser(cls.driver, cls.profile)

    def setUp(self):
        self.studio = s.Studio("stereo_anaglyph_dome.json")
        self.addCleanup(self.studio.stop_cleanly, self)
        self.wait = WebDriverWait(self.driver, s.WAIT)
        self.driver.get(self.studio.url)
        self.wait.until(lambda d: d.find_elements(By.CSS_SELECTOR, "#object-tree .tag"))
        self.driver.get_log("browser")   # start each test with an empty console
        self.addCleanup(self.check_console)

    def check_console(self):
        # A tab the page opens (the manual) asks for a site icon of its own, which the studio hasn't got.
        errors = [e["message"] for e in self.driver.get_log("browser")
                  if e["level"] == "SEVERE" and "/favicon.ico " not in e["message"]]
        self.assertEqual(errors, [], "the page logged errors")

    # ---- helpers ----

    def open_tag(self):
        tag = self.studio.lens_tag()
        self.driver.find_element(By.CSS_SELECTOR, f'#object-tree .tag[data-node="{tag}"]').click()
        self.wait.until(lambda d: self.rows()["node"] == tag and "ORLIXTAG_LENS" in self.rows()["rows"])
        return tag

    def rows(self):
        return self.driver.execute_script(PANEL_ROWS_JS)

    def row(self, symbol):
        return self.driver.find_element(By.CSS_SELECTOR, f'#panel [data-symbol="{symbol}"]')

    def settled_rows(self, node):
        """The page's rows once they show the document's current revision, and the model they show."""
        model = {}

        def caught_up(_):
            model.update(self.studio.panel(node))
            r = self.rows()
            return r if r["node"] == node and r["revision"] == str(model["revision"]) else None
        page = self.wait.until(caught_up)
        return page, model

    def assert_rows_match(self, page, model, toggled=()):
        """Every row against the host's model: shown iff not hidden, greyed out with its inputs off iff
        disabled, groups open as the model says (except those the user toggled), values in shown units."""
        expected = s.visible_entries(model)
        self.assertEqual(sorted(page["rows"]), sorted(expected), "rows on the page against entries not hidden")
        for symbol, e in expected.items():
            row = page["rows"][symbol]
            if e["type"] == "GROUP":
                if symbol not in toggled:
                    self.assertEqual(row["open"], "true" if e["open"] else "false", f"{symbol} open")
                continue
            self.assertEqual(row["greyed"], not e["enabled"], f"{symbol} greyed out")
            self.assertTrue(all(d == (not e["enabled"]) for d in row["disabled"]), f"{symbol} inputs {row}")
            if e["type"] == "BOOL":
                self.assertEqual(row["value"], bool(e["value"]), symbol)
            elif e["type"] in ("REAL", "LONG") and e["value"] is not None:
                if e.get("cycle"):
                    self.assertEqual(row["value"], str(e["value"]), symbol)
                else:
                    self.assertAlmostEqual(row["value"], s.degrees(e), 4, symbol)

    def view_print(self):
        return self.driver.execute_script(VIEW_PRINT_JS)

    def object_names(self):
        # One script: the tree is redrawn whenever the document changes.
        return self.driver.execute_script(
            "return [...document.querySelectorAll('#object-tree > .tree-item.object')].map((e) => e.dataset.name)")

    def open_plugin_menu(self):
        self.driver.find_element(By.ID, "menu-plugins").click()
        self.wait.until(lambda d: d.find_element(By.CSS_SELECTOR, "#plugin-commands [data-command-id]").is_displayed())

    # ---- tests ----

    def test_lens_switch_shows_hides_and_greys_as_the_model_says(self):
        tag = self.open_tag()
        page, model = self.settled_rows(tag)
        self.assert_rows_match(page, model)
        self.assertIn("ORLIXTAG_GROUP_DOME", page["rows"])

        # A lens for each choice of the cycle, picked in the page's <select>.
        lens = s.entry(model, "ORLIXTAG_LENS")
        self.assertGreaterEqual(len(lens["cycle"]), 3)
        seen_groups = set()
        for choice in lens["cycle"] + [lens["cycle"][1]]:
            before = model["revision"]
            Select(self.row("ORLIXTAG_LENS").find_element(By.TAG_NAME, "select")).select_by_value(str(choice["value"]))
            self.wait.until(lambda d: s.entry(self.studio.panel(tag), "ORLIXTAG_LENS")["value"] == choice["value"])
            page, model = self.settled_rows(tag)
            self.assertGreater(model["revision"], before)
            self.assert_rows_match(page, model)
            seen_groups |= {k for k, v in page["rows"].items() if v["type"] == "GROUP"}
        # Lens groups came and went with the lens.
        self.assertTrue({"ORLIXTAG_GROUP_DOME", "ORLIXTAG_GROUP_PANORAMA", "ORLIXTAG_GROUP_CYLINDRICAL"} <= seen_groups)

        # A group the user opens stays open across edits while its default holds.
        stereo = self.row("ORLIXTAG_GROUP_STEREO")
        was_open = stereo.get_attribute("data-open") == "true"
        stereo.find_element(By.CSS_SELECTOR, ".group-head").click()
        self.wait.until(lambda d: self.row("ORLIXTAG_GROUP_STEREO").get_attribute("data-open") == str(not was_open).lower())
        fov = self.row("ORLIXTAG_DOME_FOV").find_element(By.CSS_SELECTOR, "input")
        fov.send_keys(Keys.CONTROL, "a")
        fov.send_keys("200", Keys.ENTER)
        # Typed in degrees, stored as the angle.
        self.wait.until(lambda d: abs(s.degrees(s.entry(self.studio.panel(tag), "ORLIXTAG_DOME_FOV")) - 200) < 1e-9)
        page, model = self.settled_rows(tag)
        self.assertEqual(page["rows"]["ORLIXTAG_GROUP_STEREO"]["open"], str(not was_open).lower())
        self.assert_rows_match(page, model, toggled={"ORLIXTAG_GROUP_STEREO"})

        # Out of range: the server refuses, the page says why and shows the old value again.
        fov = self.row("ORLIXTAG_DOME_FOV").find_element(By.CSS_SELECTOR, "input")
        fov.send_keys(Keys.CONTROL, "a")
        fov.send_keys("400", Keys.ENTER)
        self.wait.until(lambda d: "range" in d.find_element(By.ID, "notice").text)
        self.wait.until(lambda d: self.rows()["rows"]["ORLIXTAG_DOME_FOV"]["value"] == 200)
        self.assertAlmostEqual(s.degrees(s.entry(self.studio.panel(tag), "ORLIXTAG_DOME_FOV")), 200, 9)
        self.driver.get_log("browser")   # the refused edit's 400 is logged by the browser: expected

        # A button that may ask: the user answers up front; what the plug-in said shows.
        self.row("ORLIXTAG_FIT_KEEP_WIDTH").find_element(By.TAG_NAME, "button").click()
        self.wait.until(lambda d: d.switch_to.alert).accept()
        self.wait.until(lambda d: d.find_element(By.ID, "notice").get_attribute("data-kind") == "dialog")
        self.assertTrue(self.driver.find_element(By.ID, "notice").text)

    def test_pad_drag_moves_the_probe_and_the_view(self):
        tag = self.open_tag()
        group = self.row("ORLIXTAG_GROUP_STEREO")
        if group.get_attribute("data-open") != "true":
            group.find_element(By.CSS_SELECTOR, ".group-head").click()
        pad = self.wait.until(lambda d: d.find_element(By.CSS_SELECTOR, '[data-symbol="ORLIXTAG_PROBE_PAD"] img.pad-raster'))
        self.wait.until(lambda d: d.execute_script("return arguments[0].naturalWidth > 0 && arguments[0].complete", pad))
        self.wait.until(lambda d: self.view_print())
        view_before = self.view_print()
        model = self.studio.panel(tag)
        probe_before = [s.entry(model, k)["value"] for k in ("ORLIXTAG_PROBE_LATITUDE", "ORLIXTAG_PROBE_LONGITUDE")]
        undo_before = self.studio.document()["undo"]

        size = pad.size
        (ActionChains(self.driver).move_to_element(pad).click_and_hold()
         .move_by_offset(size["width"] // 8, -size["height"] // 10)
         .move_by_offset(size["width"] // 8, -size["height"] // 10)
         .move_by_offset(size["width"] // 10, 0).release().perform())

        def probe_moved(_):
            m = self.studio.panel(tag)
            now = [s.entry(m, k)["value"] for k in ("ORLIXTAG_PROBE_LATITUDE", "ORLIXTAG_PROBE_LONGITUDE")]
            return m if now != probe_before else None
        model = self.wait.until(probe_moved)
        page, model = self.settled_rows(tag)
        for k in ("ORLIXTAG_PROBE_LATITUDE", "ORLIXTAG_PROBE_LONGITUDE"):
            self.assertAlmostEqual(page["rows"][k]["value"], s.degrees(s.entry(model, k)), 4, k)
        self.wait.until(lambda d: self.view_print() not in (None, view_before))

        # The whole drag is one undo step: one Ctrl+Z puts the probe back.
        self.assertTrue(self.studio.document()["undo"]["canUndo"])
        self.driver.execute_script("document.activeElement.blur()")
        ActionChains(self.driver).key_down(Keys.CONTROL).send_keys("z").key_up(Keys.CONTROL).perform()
        self.wait.until(lambda d: [s.entry(self.studio.panel(tag), k)["value"] for k in
                                   ("ORLIXTAG_PROBE_LATITUDE", "ORLIXTAG_PROBE_LONGITUDE")] == probe_before)
        self.assertEqual(self.studio.document()["undo"]["canUndo"], undo_before["canUndo"])

    def test_viewport_looks_through_cameras_orbits_and_zooms(self):
        d = self.driver
        self.wait.until(lambda d: self.view_print())
        view = d.find_element(By.ID, "viewport")
        camera = self.studio.call("GET", "/api/view")["cameras"][0]
        revision = self.studio.document()["revision"]
        steps = [
            ("look through a scene camera", lambda: Select(d.find_element(By.ID, "camera-select")).select_by_value(camera), camera),
            ("drag: orbit", lambda: ActionChains(d).move_to_element(view).click_and_hold().move_by_offset(60, 20)
             .move_by_offset(40, 10).release().perform(), "editor"),
            ("shift+drag: pan", lambda: ActionChains(d).move_to_element(view).key_down(Keys.SHIFT).click_and_hold()
             .move_by_offset(-50, 30).release().key_up(Keys.SHIFT).perform(), "editor"),
            ("wheel: zoom", lambda: ActionChains(d).scroll_from_origin(ScrollOrigin.from_element(view), 0, 300).perform(), "editor"),
        ]
        for what, act, looking in steps:
            before = self.view_print()
            act()
            self.wait.until(lambda d: self.view_print() not in (None, before), what)
            self.assertEqual(self.studio.call("GET", "/api/view")["camera"], looking, what)
            self.assertEqual(d.find_element(By.ID, "camera-select").get_attribute("value"), looking, what)
        self.assertEqual(self.studio.document()["revision"], revision, "moving the view is no edit")

    def test_create_camera_from_the_menu_then_undo_and_redo(self):
        names = self.object_names()
        self.open_plugin_menu()
        item = self.driver.find_element(By.CSS_SELECTOR, '#plugin-commands [data-command-name*="Fulldome"]')
        self.assertTrue(self.driver.execute_script(
            "const i = arguments[0].querySelector('img'); return !i || (i.complete && i.naturalWidth > 0)", item),
            "the command's icon")
        item.click()
        self.wait.until(lambda d: len(self.object_names()) == len(names) + 1)
        created = [n for n in self.object_names() if n not in names] or self.object_names()[-1:]
        # Its lens tag shows with the plug-in's icon.
        self.wait.until(lambda d: d.execute_script(
            "return [...document.querySelectorAll('#object-tree .tag img')].length > 0 && "
            "[...document.querySelectorAll('#object-tree .tag img')].every((i) => i.complete && i.naturalWidth > 0)"))
        self.assertEqual(len(self.studio.document()["objects"]), len(names) + 1)

        self.driver.find_element(By.ID, "undo").click()
        self.wait.until(lambda d: self.object_names() == names)
        self.wait.until(lambda d: d.find_element(By.ID, "redo").is_enabled())
        ActionChains(self.driver).key_down(Keys.CONTROL).key_down(Keys.SHIFT).send_keys("z") \
            .key_up(Keys.SHIFT).key_up(Keys.CONTROL).perform()
        self.wait.until(lambda d: len(self.object_names()) == len(names) + 1)
        self.assertIn(created[0], self.object_names())

        # The manual opens in a new tab, where the build typeset one.
        if os.path.exists(os.path.join(os.path.dirname(s.ORLIXCAM), "plugins", "OrlixCam", "Manual.pdf")):
            self.open_plugin_menu()
            self.driver.find_element(By.CSS_SELECTOR, '#plugin-commands [data-command-name*="Manual"]').click()
            self.wait.until(lambda d: len(d.window_handles) == 2)
            main = self.driver.current_window_handle
            self.driver.switch_to.window([h for h in self.driver.window_handles if h != main][0])
            self.wait.until(lambda d: d.current_url.endswith("/plugin/Manual.pdf"))
            self.driver.close()
            self.driver.switch_to.window(main)

        # The Examples submenu loads a scene in place of this one.
        self.open_plugin_menu()
        self.driver.find_element(By.CSS_SELECTOR, "#plugin-commands .has-sub").click()
        example = self.wait.until(lambda d: d.find_element(By.XPATH, '//*[@id="plugin-commands"]//*[@data-sub-id][.//span[text()="fulldome.json"]]'))
        example.click()
        self.wait.until(lambda d: self.studio.document()["name"] != "Stereo dome, anaglyph")
        name = self.studio.document()["name"]
        self.wait.until(lambda d: d.find_element(By.ID, "doc-title").text.startswith(name))
        self.wait.until(lambda d: self.object_names() == [o["name"] for o in self.studio.document()["objects"]])

    def test_render_shows_progress_cancels_and_shows_the_picture(self):
        d = self.driver
        # Every percentage the bar shows, in order.
        d.execute_script("""
          window.seenProgress = [];
          new MutationObserver(() => window.seenProgress.push(Number(document.getElementById('render-progress').dataset.percent)))
            .observe(document.getElementById('render-progress'), {attributes: true, attributeFilter: ['data-percent']});
        """)

        def size(w, h, samples):
            for key, value in (("render-width", w), ("render-height", h), ("render-samples", samples)):
                field = d.find_element(By.ID, key)
                field.clear()
                field.send_keys(str(value))

        # A render far too long to finish: cancelled.
        d.find_element(By.ID, "tab-render").click()
        size(2048, 2048, 64)
        d.find_element(By.ID, "render-start").click()
        self.wait.until(lambda d: d.find_element(By.ID, "render-cancel").is_enabled())
        d.find_element(By.ID, "render-cancel").click()
        self.wait.until(lambda d: d.find_element(By.ID, "render-progress").get_attribute("data-state") == "failed")
        self.assertEqual(d.find_element(By.ID, "render-status").text, "Cancelled")
        self.assertFalse(self.studio.call("GET", "/api/render/state")["running"])

        d.execute_script("window.seenProgress = [];")
        size(96, 96, 1)
        d.find_element(By.ID, "render-start").click()
        self.wait.until(lambda d: d.find_element(By.ID, "render-progress").get_attribute("data-state") in ("done", "failed"))
        self.assertEqual(d.find_element(By.ID, "render-progress").get_attribute("data-state"), "done",
                         d.find_element(By.ID, "render-status").text)
        seen = d.execute_script("return window.seenProgress")
        self.assertEqual(seen[-1], 100, seen)
        self.assertEqual(seen, sorted(seen), "progress never goes back")
        self.assertEqual(d.find_element(By.ID, "render-progress").get_attribute("value"), "100")
        picture = d.find_element(By.ID, "render-picture")
        self.wait.until(lambda d: d.execute_script("return arguments[0].complete && arguments[0].naturalWidth > 0", picture))
        self.assertEqual(d.execute_script("return [arguments[0].naturalWidth, arguments[0].naturalHeight]", picture), [96, 96])

        # The download link gives the same picture as an attachment.
        link = d.find_element(By.ID, "render-download")
        self.assertTrue(link.is_displayed())
        request = urllib.request.Request(link.get_attribute("href"), headers={"X-Orlix-Token": self.studio.token})
        with urllib.request.urlopen(request, timeout=s.WAIT) as answer:
            self.assertIn("attachment", answer.headers.get("Content-Disposition", ""))
            self.assertEqual(answer.read(8), b"\x89PNG\r\n\x1a\n")


if __name__ == "__main__":
    s.main()
