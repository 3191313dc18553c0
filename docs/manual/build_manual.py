#!/usr/bin/env python3
"""Builds the user manual: renders its pictures and panels with the freshly built orlixcam, fills
them into manual.html and typesets the PDF with weasyprint. The PDF is written whole or not at all.

usage: build_manual.py ORLIXCAM PLUGIN_FOLDER SOURCE_DIR WORK_DIR OUT_PDF
"""
import html
import json
import os
import re
import shutil
import subprocess
import sys

# The pictures of the manual: (file, scene, extra arguments). Small, one sample: they illustrate.
RENDERS = [
    ("fulldome", "fulldome", ["--width", "220", "--height", "220"]),
    ("fisheye", "fisheye", ["--width", "220", "--height", "220"]),
    ("little_planet", "little_planet", ["--width", "220", "--height", "220"]),
    ("panorama", "panorama", ["--width", "440", "--height", "220"]),
    ("panorama_custom", "panorama_custom", ["--width", "440", "--height", "147"]),
    ("cylinder", "cylinder", ["--width", "440", "--height", "110"]),
    ("cubemap_cross", "cubemap_cross", ["--width", "400", "--height", "300"]),
    ("cubemap_strip", "cubemap_strip", ["--width", "600", "--height", "100"]),
    ("cubemap_face", "cubemap_face", ["--width", "220", "--height", "220"]),
    ("dome_slate", "dome_slate", ["--width", "260", "--height", "260"]),
    ("separation_map", "separation_map", ["--width", "440", "--height", "220"]),
    ("stereo_anaglyph_dome", "stereo_anaglyph_dome", ["--width", "220", "--height", "220"]),
    ("stereo_panorama_tb", "stereo_panorama_tb", ["--width", "300", "--height", "300"]),
    ("stereo_cubemap_sbs", "stereo_cubemap_sbs", ["--width", "600", "--height", "150"]),
]

# Panels shown as the host lays them out: (marker, scene, node).
VIEWS = [
    ("view_fulldome", "fulldome"),
    ("view_panorama", "panorama_custom"),
    ("view_cylinder", "cylinder"),
    ("view_cubemap", "cubemap_cross"),
    ("view_probe", "stereo_panorama_tb"),
]

PANELS = [
    ("panel:tag", "fulldome", "tag"),
    ("panel:videopost", "stereo_cubemap_sbs", "videopost"),
]


def run(args):
    done = subprocess.run(args, capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit("manual: %s failed:\n%s" % (" ".join(args), done.stderr))
    return done.stdout


def value_text(entry):
    v = entry.get("value")
    if v is None:
        return ""
    if isinstance(v, bool):
        return "&#x2611;" if v else "&#x2610;"
    if isinstance(v, dict) and "deg" in v:
        d = v["deg"]
        return html.escape(", ".join("%g°" % x for x in d) if isinstance(d, list) else "%g°" % d)
    if isinstance(v, float):
        return "%g" % v
    return html.escape(json.dumps(v) if not isinstance(v, str) else v)


def panel_table(panel):
    """The visible entries of a panel as rows: groups as headings, greyed-out entries dimmed."""
    rows = ['<table class="panel"><caption>%s</caption>' % html.escape(panel["node"])]
    hidden = {e["id"] for e in panel["entries"] if e["hidden"]}
    for e in panel["entries"]:
        if e["hidden"] or e["parent"] in hidden:
            hidden.add(e["id"])
            continue
        label = html.escape(e["label"])
        dim = "" if e["enabled"] else ' class="off"'
        if e["type"] == "STATICTEXT":
            label = html.escape(e["value"]) if isinstance(e.get("value"), str) else label
        if not label:
            continue  # a picture or a line without text: nothing to show on paper
        if e["type"] == "GROUP":
            rows.append('<tr class="group"><th colspan="2">%s %s</th></tr>' % ("&#x25BE;" if e.get("open") else "&#x25B8;", label))
        elif e["type"] in ("BUTTON", "BITMAPBUTTON"):
            rows.append('<tr%s><td></td><td><span class="button">%s</span></td></tr>' % (dim, label))
        elif e["type"] == "STATICTEXT":
            rows.append('<tr%s><td colspan="2" class="note">%s</td></tr>' % (dim, label))
        else:
            rows.append('<tr%s><td>%s</td><td>%s</td></tr>' % (dim, label, value_text(e)))
    rows.append("</table>")
    return "\n".join(rows)


def commands_table(text):
    """The menu as `orlixcam commands` lists it: id and name of each command."""
    rows = ['<table class="menu"><tr><th>Id</th><th>Menu entry</th></tr>']
    for line in text.splitlines():
        m = re.match(r"^(\d+)  (.*?)(  \(.*\))?$", line)
        if m:
            rows.append("<tr><td>%s</td><td>%s</td></tr>" % (m.group(1), html.escape(m.group(2))))
    rows.append("</table>")
    return "\n".join(rows)


def main():
    orlixcam, plugins, source, work, out = sys.argv[1:6]
    pictures = os.path.join(work, "pictures")
    os.makedirs(pictures, exist_ok=True)
    examples = os.path.join(plugins, "Examples")
    for name, scene, extra in RENDERS:
        run([orlixcam, "--plugins", plugins, "render", os.path.join(examples, scene + ".json"),
             "-o", os.path.join(pictures, name + ".png"), "--samples", "1"] + extra)

    # The viewports: each lens's guide standing in its scene, and a stereo camera's eye probe.
    for name, scene in VIEWS:
        run([orlixcam, "--plugins", plugins, "view", os.path.join(examples, scene + ".json"),
             "-o", os.path.join(pictures, name + ".png"), "--width", "480", "--height", "300"])
    run([orlixcam, "--plugins", plugins, "pad", os.path.join(examples, "stereo_anaglyph_dome.json"),
         "-o", os.path.join(pictures, "pad.png"), "--drag", "50,50:70,35"])

    filled = {}
    for marker, scene, node in PANELS:
        shown = run([orlixcam, "--plugins", plugins, "panel", os.path.join(examples, scene + ".json"), "--node", node, "--json"])
        filled[marker] = panel_table(json.loads(shown))
    filled["commands"] = commands_table(run([orlixcam, "--plugins", plugins, "commands"]))

    with open(os.path.join(source, "docs", "manual", "manual.html"), encoding="utf-8") as f:
        page = f.read()
    page = re.sub(r"<!-- fill: ([a-z:]+) -->", lambda m: filled[m.group(1)], page)
    shutil.copy(os.path.join(source, "docs", "manual", "manual.css"), work)
    with open(os.path.join(work, "manual.html"), "w", encoding="utf-8") as f:
        f.write(page)

    partial = out + ".part"
    run(["weasyprint", "--base-url", work, os.path.join(work, "manual.html"), partial])
    os.replace(partial, out)


if __name__ == "__main__":
    main()
