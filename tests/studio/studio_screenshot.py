"""Makes the studio's picture for the docs: a stereo dome with its viewport guides, the lens tag's panel
open, in headless Chromium at 1400 x 900.

    python3 tests/studio/studio_screenshot.py build/orlixcam . docs/images/studio.png
"""
import io
import os
import sys

import studio_support as s


def main():
    if len(sys.argv) != 4:
        sys.exit(f"usage: {sys.argv[0]} ORLIXCAM SOURCE_DIR OUT.png")
    s.ORLIXCAM, s.SOURCE_DIR, out = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2]), sys.argv[3]
    missing = s.browser_missing()
    if missing:
        sys.exit(f"cannot take the picture: {missing}")
    from selenium.webdriver.common.by import By
    from selenium.webdriver.support.ui import WebDriverWait

    studio = s.Studio("stereo_anaglyph_dome.json")
    driver, profile = s.start_browser(1400, 900)
    try:
        tag = studio.lens_tag()
        guides = s.entry(studio.panel(tag), "ORLIXTAG_GUIDES")
        studio.call("POST", "/api/edit", {"node": tag, "id": guides["id"], "value": True})
        studio.call("POST", "/api/select", {"node": tag})
        wait = WebDriverWait(driver, s.WAIT)
        # The page itself at 1400 x 900, whatever the window's frame takes.
        driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                               {"width": 1400, "height": 900, "deviceScaleFactor": 1, "mobile": False})
        driver.get(studio.url)
        wait.until(lambda d: d.find_elements(By.CSS_SELECTOR, '#panel [data-symbol="ORLIXTAG_LENS"]'))
        # The stereo settings with the eye probe's pad, the guides group open.
        for group in ("ORLIXTAG_GROUP_STEREO", "ORLIXTAG_GROUP_GUIDES"):
            row = driver.find_element(By.CSS_SELECTOR, f'#panel [data-symbol="{group}"]')
            if row.get_attribute("data-open") != "true":
                row.find_element(By.CSS_SELECTOR, ".group-head").click()
        driver.execute_script("document.querySelector('#panel [data-symbol=\"ORLIXTAG_GROUP_STEREO\"]').scrollIntoView()")
        wait.until(lambda d: d.execute_script(
            "return [...document.querySelectorAll('img')].filter((i) => i.offsetParent && i.getAttribute('src'))"
            ".every((i) => i.complete && i.naturalWidth > 0)"))
        wait.until(lambda d: d.execute_script("const v = document.getElementById('viewport');"
                                              "return v.complete && v.naturalWidth > 0"))
        png = driver.get_screenshot_as_png()
    finally:
        s.stop_browser(driver, profile)
        studio.stop()
    try:
        # A palette keeps the picture small for the docs; without Pillow it stays as the browser made it.
        from PIL import Image
        picture = Image.open(io.BytesIO(png)).convert("RGB").quantize(colors=256, method=Image.Quantize.MEDIANCUT)
        buffer = io.BytesIO()
        picture.save(buffer, "PNG", optimize=True)
        png = buffer.getvalue()
    except ImportError:
        pass
    partial = out + ".partial"
    with open(partial, "wb") as f:
        f.write(png)
    os.replace(partial, out)
    print(f"{out}: {len(png) // 1024} KiB")


if __name__ == "__main__":
    main()
