"""The studio under load: 200 requests from 8 clients at once while a render runs; no error, no lost
edit, and the revision counts every edit exactly once."""
import json
import threading
import unittest

import studio_support as s

CLIENTS = 8
REQUESTS = 25   # per client: 200 in all
# Each client edits a number of its own that no rule of the tag rewrites, so each one's last value
# must survive.
PARAMETERS = [
    "ORLIXTAG_DOME_FOV",
    "ORLIXTAG_EYE_SEPARATION",
    "ORLIXTAG_ZERO_PARALLAX",
    "ORLIXTAG_CYL_HEIGHT",
    "ORLIXTAG_CYL_RADIUS",
    "ORLIXTAG_PROBE_LATITUDE",
    "ORLIXTAG_PROBE_LONGITUDE",
    "ORLIXTAG_SEPARATION_MAP_VALUE",
]


def values_for(e, count, client):
    """`count` distinct values inside the entry's range, in the form the server takes."""
    lo = e["min"] if e["min"] is not None else 0.0
    hi = e["max"] if e["max"] is not None else lo + 1000.0
    out = [lo + (hi - lo) * (0.1 + 0.8 * k / count) + client * 1e-3 for k in range(count)]
    if e["unit"] == "DEGREE":
        return [{"deg": v} for v in out]
    return [round(v, 6) if e["type"] == "REAL" else int(v) for v in out]


def same(e, a, b):
    return abs(s.degrees(e, a) - s.degrees(e, b)) < 1e-6


class StudioLoad(unittest.TestCase):
    def test_requests_at_once_while_rendering(self):
        st = s.Studio("stereo_anaglyph_dome.json")
        self.addCleanup(st.stop_cleanly, self)
        tag = st.lens_tag()
        panel = st.panel(tag)
        entries = [s.entry(panel, symbol) for symbol in PARAMETERS]
        for e in entries:
            self.assertIn(e["type"], ("REAL", "LONG"), e["symbol"])
        start_revision = st.document()["revision"]

        # A render long enough to run under the whole burst; it works on a copy of the document.
        job = st.call("POST", "/api/render", {"editor": False, "width": 1024, "height": 1024, "samples": 64})["job"]
        self.assertTrue(st.call("GET", "/api/render/state")["running"])

        failures, last_sent, edits = [], {}, [0] * CLIENTS
        go = threading.Barrier(CLIENTS)

        def client(c):
            e = entries[c]
            plan = [k % 3 for k in range(REQUESTS)]
            values = iter(values_for(e, plan.count(0), c))
            go.wait()
            for k, kind in enumerate(plan):
                try:
                    if kind == 0:
                        value = next(values)
                        answer = st.call("POST", "/api/edit", {"node": tag, "id": e["id"], "value": value})
                        mine = s.entry(answer["panel"], e["symbol"])["value"]
                        if not same(e, mine, value):
                            failures.append(f"client {c}: sent {value}, the answer holds {mine}")
                        last_sent[c] = value
                        edits[c] += 1
                    elif (k + c) % 3 == 1:
                        st.call("GET", f"/api/panel?node={tag}")
                    elif k % 2:
                        status, headers, data = st.raw("GET", "/api/view.png?w=160&h=90")
                        if status != 200 or not data.startswith(b"\x89PNG"):
                            failures.append(f"client {c}: view.png {status} {data[:100]!r}")
                    else:
                        st.call("GET", "/api/document")
                except Exception as ex:   # collected, so every client finishes its run
                    failures.append(f"client {c} request {k}: {ex}")

        threads = [threading.Thread(target=client, args=(c,)) for c in range(CLIENTS)]
        for t in threads:
            t.start()
        for t in threads:
            t.join(s.WAIT * 10)
        self.assertFalse(any(t.is_alive() for t in threads), "a client hung")
        self.assertEqual(failures, [])

        # No lost edit: each client's last value is the document's, and the revision counted each edit once.
        final = st.panel(tag)
        for c, e in enumerate(entries):
            self.assertTrue(same(e, s.entry(final, e["symbol"])["value"], last_sent[c]),
                            f"{e['symbol']}: {s.entry(final, e['symbol'])['value']} != {last_sent[c]}")
        self.assertEqual(st.document()["revision"] - start_revision, sum(edits))

        # The render went on beside the burst: it is still running or finished well.
        state = st.call("GET", "/api/render/state")
        self.assertEqual(state["job"], job)
        self.assertTrue(state["running"] or state["ok"], json.dumps(state))
        # It may end between the look and the cancel: then there is nothing to cancel (409).
        status, _, answer = st.raw("POST", "/api/render/cancel")
        self.assertIn(status, (200, 409), answer)


if __name__ == "__main__":
    s.main()
