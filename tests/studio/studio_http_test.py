"""The studio's safety at the HTTP level: who may ask, which files it serves, where scenes go, and
that a refused request changes nothing."""
import hashlib
import json
import os
import unittest

import studio_support as s


def tree_print(folder):
    """Every file under `folder` with its content's hash: what a refused request must leave alone."""
    out = {}
    for root, _, files in os.walk(folder):
        for name in files:
            path = os.path.join(root, name)
            if name == "studio.log":
                continue
            with open(path, "rb") as f:
                out[os.path.relpath(path, folder)] = hashlib.sha256(f.read()).hexdigest()
    return out


class StudioSafety(unittest.TestCase):
    def setUp(self):
        self.studio = s.Studio("fulldome.json")
        self.addCleanup(self.studio.stop_cleanly, self)

    def test_host_origin_and_token_are_checked(self):
        st = self.studio
        port, token = st.port, st.token
        cases = [
            # (what, request arguments, expected status)
            ("own page by 127.0.0.1", dict(path=f"/?token={token}", token=False), 200),
            ("own page by localhost", dict(path=f"/?token={token}", token=False, host=f"localhost:{port}"), 200),
            ("foreign name", dict(path="/api/document", host=f"evil.example:{port}"), 403),
            ("another port", dict(path="/api/document", host=f"127.0.0.1:{port + 1}"), 403),
            ("no token", dict(path="/api/document", token=False), 401),
            ("wrong token", dict(path="/api/document", headers={"X-Orlix-Token": "0" * 32}), 401),
            ("token cut short", dict(path=f"/api/document?token={token[:-1]}", token=False), 401),
            ("token in the query", dict(path=f"/api/document?token={token}", token=False), 200),
            ("token in the cookie", dict(path="/api/document", token=False, headers={"Cookie": f"a=b; orlix_token={token}"}), 200),
            ("own origin", dict(path="/api/document", headers={"Origin": f"http://127.0.0.1:{port}"}), 200),
            ("foreign origin", dict(path="/api/document", headers={"Origin": "http://evil.example"}), 403),
            ("origin on another port", dict(path="/api/document", headers={"Origin": f"http://localhost:{port + 1}"}), 403),
        ]
        for what, args, expected in cases:
            with self.subTest(what):
                status, headers, body = st.raw("GET", **args)
                self.assertEqual(status, expected, f"{what}: {body[:200]!r}")
                if expected >= 400:
                    self.assertIn("error", json.loads(body), what)

        # The page sets the cookie that pictures and the event stream carry.
        status, headers, _ = st.raw("GET", f"/?token={token}", token=False)
        cookie = headers.get("Set-Cookie", "")
        self.assertIn(f"orlix_token={token}", cookie)
        for attribute in ("HttpOnly", "SameSite=Strict", "Path=/"):
            self.assertIn(attribute, cookie)

    def test_refused_requests_change_nothing(self):
        st = self.studio
        tag = st.lens_tag()
        fov = s.entry(st.panel(tag), "ORLIXTAG_DOME_FOV")
        before_doc = st.document()
        before_files = tree_print(st.folder)
        # Through the real program: a foreign page, a missing token, a value the description refuses,
        # a body over the limit, files and scenes outside the folders the studio may use.
        cases = [
            ("edit from a foreign origin", "POST", "/api/edit", {"node": tag, "id": fov["id"], "value": {"deg": 150}},
             dict(headers={"Origin": "http://evil.example"}), 403),
            ("edit without token", "POST", "/api/edit", {"node": tag, "id": fov["id"], "value": {"deg": 150}},
             dict(token=False), 401),
            ("edit out of range", "POST", "/api/edit", {"node": tag, "id": fov["id"], "value": {"deg": 400}}, {}, 400),
            ("body over 1 MiB", "POST", "/api/edit", b"[" + b"0," * (600 * 1024) + b"0]", {}, 413),
            ("web folder escape", "GET", "/web/../../../../etc/passwd", None, {}, 404),
            ("web folder escape, encoded", "GET", "/web/..%2f..%2f..%2f..%2fetc%2fpasswd", None, {}, 404),
            ("plug-in folder escape", "GET", "/plugin/../../../../../etc/passwd", None, {}, 404),
            ("plug-in folder escape, encoded", "GET", "/plugin/%2e%2e/%2e%2e/%2e%2e/%2e%2e/etc/passwd", None, {}, 404),
            ("plug-in folder, absolute", "GET", "/plugin//etc/passwd", None, {}, 404),
            ("save above the scene folder", "POST", "/api/save", {"path": "../x.json"}, {}, 403),
            ("open a picture above the scene folder", "POST", "/api/open", {"path": "../Textures/sky.png"}, {}, 400),
            ("open a missing scene", "POST", "/api/open", {"path": "missing.json"}, {}, 404),
        ]
        for what, method, path, body, args, expected in cases:
            with self.subTest(what):
                status, _, answer = st.raw(method, path, body, **args)
                self.assertEqual(status, expected, f"{what}: {answer[:200]!r}")
                if status != 413:
                    self.assertIn("error", json.loads(answer), what)
                self.assertNotIn(b"root:", answer, what)
        after_doc = st.document()
        self.assertEqual(after_doc["revision"], before_doc["revision"])
        self.assertEqual(s.entry(st.panel(tag), "ORLIXTAG_DOME_FOV")["value"], fov["value"])
        self.assertEqual(tree_print(st.folder), before_files, "files written or changed")

        # The same save inside the folder works and writes a scene that loads.
        self.assertEqual(st.call("POST", "/api/save", {"path": "copy.json"})["saved"], "copy.json")
        with open(os.path.join(st.folder, "scenes", "copy.json")) as f:
            self.assertEqual(json.load(f)["format"], "orlixcam-scene/1")
        self.assertIn("copy.json", st.call("GET", "/api/scenes")["scenes"])
        st.call("POST", "/api/open", {"path": "copy.json"})


if __name__ == "__main__":
    s.main()
