#!/usr/bin/env python3
"""Prints each page's boxes and rotation as qpdf reads them.

usage: qpdf_boxes.py FILE [PASSWORD]

One line a page: "INDEX media X0 Y0 X1 Y1 crop X0 Y0 X1 Y1|none rotate R".
Inherited attributes are resolved by walking /Parent up the page tree, as a
reader must. Numbers are printed as qpdf gives them.
"""
import json
import subprocess
import sys


def main():
    path = sys.argv[1]
    cmd = ["qpdf", "--json", "--json-key=pages", "--json-key=qpdf"]
    if len(sys.argv) > 2:
        cmd.append("--password=" + sys.argv[2])
    cmd.append(path)
    out = subprocess.run(cmd, check=False, capture_output=True, text=True)
    if out.returncode not in (0, 3):
        sys.stderr.write(out.stderr)
        return 1
    doc = json.loads(out.stdout)
    objects = doc["qpdf"][1]

    def obj(ref):
        return objects["obj:" + ref]["value"]

    def inherited(ref, key):
        seen = set()
        while ref and ref not in seen:
            seen.add(ref)
            d = obj(ref)
            if key in d:
                v = d[key]
                if isinstance(v, str) and v.endswith(" R"):
                    v = obj(v)
                return v
            ref = d.get("/Parent")
        return None

    def box(v):
        if v is None:
            return "none"
        nums = [obj(x) if isinstance(x, str) else x for x in v]
        x0, y0, x1, y1 = (float(n) for n in nums)
        return "%.6f %.6f %.6f %.6f" % (min(x0, x1), min(y0, y1), max(x0, x1), max(y0, y1))

    for i, page in enumerate(doc["pages"]):
        ref = page["object"]
        rot = inherited(ref, "/Rotate")
        print("%d media %s crop %s rotate %d" % (i, box(inherited(ref, "/MediaBox")),
                                                 box(inherited(ref, "/CropBox")), int(rot or 0)))
    return 0


if __name__ == "__main__":
    sys.exit(main())
