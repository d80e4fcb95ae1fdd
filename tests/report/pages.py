#!/usr/bin/python3
"""Takes the pages of 'kxinfo report' apart, and shows them in a browser.

  pages.py numbers|marks|markup|browser FOLDER    in a private network, with the programs in PATH

Pictures of pages are left in FOLDER. Ends with status 77 where there is no browser.
"""

import contextlib
import html.parser
import json
import os
import pathlib
import re
import selectors
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import threading

ROOT = pathlib.Path(__file__).resolve().parents[2]
LIMIT = 120  # seconds
VOID = {"meta", "rect", "circle", "line", "polyline"}
TAGS = VOID | set("""html head title style body header main section h1 h2 p table caption thead tbody
    tr th td div small data span ul li svg figure figcaption""".split())
ATTRIBUTES = set("""lang charset http-equiv content name class scope aria-label aria-hidden role value style
    data-side viewbox x y width height rx cx cy r x2 y1 y2 points""".split())
ACTING = re.compile("[\x00-\x09\x0b-\x1f\x7f-\x9f\u200b-\u200f\u202a-\u202e\u2066-\u2069\ufeff]")


def expect(holds, *what):
    if not holds:
        raise AssertionError(" ".join(map(str, what)))


def run(*command, status=0):
    done = subprocess.run(command, capture_output=True, timeout=LIMIT, check=False)
    expect(done.returncode == status, command, done.returncode, done.stderr.decode())
    return done.stdout.decode()


@contextlib.contextmanager
def cameras(*arguments):
    process = subprocess.Popen([b"kxinfo-simcam", *arguments], stdout=subprocess.PIPE, text=True)
    expect("ready" in process.stdout.readline(), "no cameras")
    counts = []  # of commands, at the end
    try:
        yield counts
    finally:
        process.terminate()
        counts.append(process.communicate(timeout=LIMIT)[0])


class Page(html.parser.HTMLParser):
    """Rows by name; of each, its class and for each side the text and the numbers in data elements."""

    def __init__(self, text):
        super().__init__()
        self.rows, self.stack, self.header = {}, [], None
        self.feed(text)
        expect(self.stack == [], "open at the end:", self.stack)

    def handle_starttag(self, tag, attributes):
        own = dict(attributes)
        expect(tag in TAGS, "element", tag)
        expect(set(own) <= ATTRIBUTES, "attributes", tag, own)
        expect(len(own) == len(attributes), "attributes twice", attributes)
        if tag not in VOID:
            self.stack.append(tag)
        if tag == "th" and "scope" in own:
            self.header = own["scope"] == "row" and {"class": self.row, "name": "", "sides": []}
        elif tag == "tr":
            self.row = own.get("class", "")
        elif tag == "td":
            self.cell = {"side": own.get("data-side"), "text": ""}
            if self.cell["side"]:
                self.header["sides"].append(self.cell)
        elif tag == "data":
            self.cell[own["class"]] = own["value"]
        elif tag == "svg":
            expect(own.get("aria-hidden") or (own["role"] == "img" and own["aria-label"]), own)
        elif tag in VOID and "td" in self.stack:
            self.cell.setdefault("drawn", []).append({"tag": tag, **own})
        elif tag == "th":
            raise AssertionError("a header without scope")

    def handle_endtag(self, tag):
        if tag in VOID:
            return
        expect(tag == self.stack.pop(), "closed wrongly:", tag)
        if tag == "th" and self.header:
            self.rows[self.header["name"]] = self.header

    def handle_data(self, data):
        if "td" in self.stack:
            self.cell["text"] += data
        elif "th" in self.stack and self.header:
            self.header["name"] += data


def page_of(folder, *arguments):
    file = folder / "page.html"
    run("kxinfo", "report", *arguments, str(file))
    text = file.read_text()
    expect(not ACTING.search(text), "characters that act unseen", ACTING.search(text))
    expect(not re.search(r"url\(|@import|https?:", text), "something is loaded")
    expect("content=\"default-src 'none'; style-src 'unsafe-inline'\"" in text, "no policy")
    expect('<html lang="en">' in text, "no language")
    return Page(text)


PAIR = ["--set", "DeviceTemperature=41.5", "--camera", "S1234@127.0.0.2", "--camera", "S5678@127.0.0.3",
        "--set", "S5678:Width=640", "--set", "S5678:OffsetX=400", "--set", "S5678:ExposureTime=250.5"]


def load_tables(folder):
    for colour, power in ("red", 0.6), ("green", 0.8), ("blue", 1.5):
        table = folder / colour
        table.write_text("".join(f"{round(4095 * (i / 4095) ** power)}\n" for i in range(4096)))
        run("kxinfo", "lut", "S1234", "load", str(table), "--channel", colour)


def same_numbers(page, switches):
    """Each value, minimum, maximum and step is the number that 'kxinfo get' tells, to the last digit."""
    document = json.loads(run("kxinfo", "get", "S1234", "--json", *switches))
    count = 0
    for told in document["properties"]:
        side = page.rows[told["name"]]["sides"][0]
        for member in "value", "minimum", "maximum", "increment":
            value = told[member]
            shown = side.get(member)
            expect(shown is not None if value is not None else shown is None, told, side)
            if isinstance(value, float):
                expect(float(shown) == value, told, side)
            elif value is not None:
                expect(shown == (value if isinstance(value, str) else json.dumps(value)), told, side)
            count += value is not None
        if told["value"] is None:
            expect("–" in side["text"] and told["problem"] in side["text"], told, side)
        for entry in told.get("entries", []):
            expect(("● " if entry == told["value"] else "○ ") + entry in side["text"], told, side)
    return count


def at(side, kind):
    drawn = next(each for each in side["drawn"] if each.get("class", each["tag"]) == kind)
    x = float(drawn.get("x", drawn.get("cx")).rstrip("%"))
    return (x, x + float(drawn["width"].rstrip("%"))) if "width" in drawn else x


def numbers(folder, _):
    with cameras("--camera", "S1234@127.0.0.2") as counts:
        page_of(folder)
    expect("writereg=0 " in counts[0] and "writemem=0 " in counts[0], "looking wrote", counts)
    with cameras(*PAIR):
        load_tables(folder)
        looked = same_numbers(page_of(folder, "S1234"), [])
        switched = page_of(folder, "S1234", "--switch")
        expect(same_numbers(switched, ["--switch"]) > looked > 20, "too few numbers")

        # Where a marker stands is what the numbers say.
        height = switched.rows["Gain"]["sides"][0]
        part = 100 * float(height["value"]) / float(height["maximum"])
        expect(abs(at(height, "circle") - part) < 0.01, height)
        lower, upper = (100 * float(height[end]) / float(height["maximum"]) for end in ("lower", "upper"))
        expect(abs(at(height, "limits")[0] - lower) < 0.01, height)
        expect(abs(at(height, "limits")[1] - upper) < 0.01, height)
        limit = switched.rows["gainAutoMinValue"]["sides"][0]
        expect(height["lower"] == limit["value"], height, limit)

        region = page_of(folder, "S5678").rows["On the sensor"]["sides"][0]
        drawn = next(each for each in region["drawn"] if each.get("class") == "region")
        expect([drawn[key] for key in ("x", "y", "width", "height")] == ["400", "0", "640", "1216"], drawn)

        curves = {each["class"]: [tuple(map(float, point.split(","))) for point in each["points"].split()]
                  for each in switched.rows["Curves"]["sides"][0]["drawn"] if each["tag"] == "polyline"}
        for name, power in ("Gamma", 0.45), ("Red", 0.6), ("Green", 0.8), ("Blue", 1.5):
            for x, y in curves[name]:
                expect(abs(100 - y - 100 * (x / 100) ** power) < 1, name, x, y)
        expect("41.5 C" in switched.rows["DeviceTemperature"]["sides"][0]["text"], "no temperature")
        doctor = switched.rows["Findings"]["sides"][0]["text"]
        expect("This computer" in doctor and "nothing found" in doctor, doctor)
        host = switched.rows["Parameters"]["sides"][0]["text"]
        expect("✓ KxScParamExposure: published, ExposureTime 10000 us" in host, host)

        (folder / "page.html").unlink()
        run("kxinfo", "report", "S9999", str(folder / "page.html"), status=1)
        expect(not (folder / "page.html").exists(), "a page of a camera that is not there")
        run("kxinfo", "report", "--all", str(folder / "all"))
        expect(sorted(os.listdir(folder / "all")) == ["S1234.html", "S5678.html"], "not all")


def marks(folder, _):
    """What differs is what 'kxinfo diff' says."""
    saved = folder / "saved.json"
    with cameras(*PAIR):
        run("kxinfo", "save", "S1234", str(saved), "--switch")
        known = {row["name"] for row in json.loads(saved.read_text())["settings"]}
        for sides in ("S1234", "S5678"), (str(saved), "S5678"), ("S1234", str(saved)):
            different = {line.split(":")[0] for line in
                         run("kxinfo", "diff", *sides, "--switch", status=int("S5678" in sides)).splitlines()}
            rows = page_of(folder, "--switch", "--compare", *sides).rows
            expect({name for name in known if "differs" in rows[name]["class"]} == different & known,
                   sides, different)
            expect({name for name in known if "same" in rows[name]["class"]} == known - different, sides)
            expect("not" in rows["LUTIndex"]["class"] or str(saved) not in sides, rows["LUTIndex"])
            for row in rows.values():
                sign = row["class"]
                expect(sign in ("= same", "≠ differs", "? not compared"), row)
                expect(len(row["sides"]) == 2 and row["sides"][0]["side"] != row["sides"][1]["side"], row)
        # On one scale: half of the width is in one place on both sides.
        a, b = page_of(folder, "--compare", "S1234", "S5678").rows["Width"]["sides"]
        expect(at(a, "track") == (0, 100) and at(b, "track")[1] < 100, a, b)
    for arguments in (["S1234", "--compare", "a", "b"], ["--all", "x"], ["--compare", "a", "b", "--all", "x"]):
        run("kxinfo", "report", *arguments, str(folder / "page.html"), status=2)


HOSTILE = "</title></style><script>alert(1)</script><b class=\"x\" onclick='y()'>&amp;\u202e"
ENTRY = "<i>'&" # of an enumeration


# Texts of an answer to a search: where they stand, and how long they may be.
NAMES = {"Maker": (0x48, 32), "Model": (0x68, 32), "Device version": (0x88, 32), "Serial number": (0xD8, 16),
         "User name": (0xE8, 16)}


def lie(address, camera, names):
    """Serves a camera under another address and other names, until the process ends."""
    door = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    door.bind((address, 3956))
    ways, waiting = {}, selectors.DefaultSelector()
    waiting.register(door, selectors.EVENT_READ)

    def serve():
        while True:
            for key, _ in waiting.select():
                if key.fileobj is door:
                    packet, client = door.recvfrom(4096)
                    if client not in ways:
                        ways[client] = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
                        ways[client].connect((camera, 3956))
                        waiting.register(ways[client], selectors.EVENT_READ, client)
                    ways[client].send(packet)
                    continue
                packet = bytearray(key.fileobj.recv(4096))
                if packet[2:4] == b"\0\3":  # found
                    packet[8 + 0x24:8 + 0x28] = socket.inet_aton(address)
                    for name, text in names.items():
                        start, size = NAMES[name]
                        packet[8 + start:8 + start + size] = text.ljust(size, b"\0")[:size]
                door.sendto(packet, key.data)

    threading.Thread(target=serve, daemon=True).start()


def markup(folder, _):
    """Whatever cameras and files say stands there as text: no element and no attribute is theirs."""
    escaped = html.escape(HOSTILE)
    model = folder / "model.xml"
    model.write_text((ROOT / "simcam/dalsa-1936x1216.xml").read_text()
                     .replace("<Unit>C</Unit>", f"<Unit>{escaped}{'x' * 10000}</Unit>")
                     .replace("<ToolTip>", f"<ToolTip>{escaped}")
                     .replace('<EnumEntry Name="Continuous">', f'<EnumEntry Name="{html.escape(ENTRY)}">'))
    settings = {"version": 1, "settings": [], "lookupTables": [],
                "camera": {"manufacturer": "\x00" + HOSTILE, "model": HOSTILE * 2, "serial": HOSTILE}}
    file = folder / "<i>'\".json"
    file.write_text(json.dumps(settings))
    lies = {"Maker": b"Dalsa</h1><script>x()</script>", "Model": b"'><img src=x onerror=y()>\xe2\x80\xae\xff",
            "Device version": b"-->&lt;]]>\x1b[31m", "Serial number": b"<b>'\"&\x01</b>", "User name": b"</svg><a href>"}
    shown = {"Maker": "Dalsa</h1><script>x()</script>", "Model": "'><img src=x onerror=y()>\\u202e\\xff",
             "Device version": "-->&lt;]]>\\x1b[31m", "Serial number": "<b>'\"&\\x01</b>", "User name": "</svg><a href>"}
    with cameras("--description", str(model), "--camera", "S1234@127.0.0.2"):
        lie("127.0.0.9", "127.0.0.2", lies)
        page = page_of(folder, "127.0.0.9", "--switch")
        for name, text in shown.items():
            expect(page.rows[name]["sides"][0]["text"] == text, name, page.rows[name])
        temperature = page.rows["DeviceTemperature"]["sides"][0]["text"]
        expect(HOSTILE.replace("\u202e", "\\u202e") in temperature, temperature[:200])
        expect(2000 < len(temperature) < 2200, "how long a text is cut:", len(temperature))
        expect("○ " + ENTRY in page.rows["GainAuto"]["sides"][0]["text"], page.rows["GainAuto"])
        rows = page_of(folder, "--compare", "127.0.0.9", str(file)).rows
        expect(rows["Maker"]["sides"][1]["text"] == "\\x00" + HOSTILE.replace("\u202e", "\\u202e"),
               rows["Maker"])
        expect(rows["Serial number"]["sides"][1]["side"] == str(file), rows["Serial number"])


def browser(folder, pictures):
    program = shutil.which("chromium")
    if not program:
        print("skipped: there is no Chromium; scripts/setup --ci installs it")
        sys.exit(77)

    def show(page, *options):
        return run("timeout", "60", program, "--headless=new", "--no-sandbox", "--disable-gpu",
                   "--hide-scrollbars", "--run-all-compositor-stages-before-draw",
                   f"--user-data-dir={folder}/profile", *options, f"file://{page}")

    one, two = folder / "one.html", folder / "two.html"
    with cameras(*PAIR):
        load_tables(folder)
        run("kxinfo", "report", "S1234", str(one), "--switch")
        run("kxinfo", "report", "--compare", "S1234", "S5678", str(two), "--switch")
        # What a browser makes of it is what was written.
        same_numbers(Page(show(one, "--dump-dom")),
                     ["--switch"])

    dark = "--blink-settings=preferredColorScheme=0"
    seen = {}
    for name, page, width, options in (("one", one, 1100, ()), ("two", two, 1200, ()),
                                       ("dark", one, 1100, (dark,)), ("narrow", two, 400, ())):
        picture = pictures / f"{name}.png"
        picture.unlink(missing_ok=True)
        show(page, f"--window-size={width},2400", f"--screenshot={picture}", *options)
        seen[name] = picture.read_bytes()
        expect(struct.unpack(">II", seen[name][16:24]) == (width, 2400), name)
    expect(seen["one"] != seen["dark"], "dark looks like light")

    # A script that tells how wide the page is runs without the policy, and not with it.
    script = "<script>parent.postMessage(document.documentElement.scrollWidth, '*')</script></body>"
    inside, outside = folder / "inside.html", folder / "outside.html"

    def told(text, width):
        inside.write_text(text.replace("</body>", script))
        outside.write_text(f"<title>nothing</title><iframe width={width} src=inside.html></iframe>"
                           "<script>onmessage = event => { document.title = event.data }</script>")
        return re.search("<title>(.*?)</title>", show(outside, "--dump-dom"))[1]

    for page in one, two:
        for width in 320, 400, 700, 800, 1600:
            wide = told(page.read_text().replace("Content-Security-Policy", "x"), width)
            expect(int(wide) <= width, page.name, "is", wide, "wide in", width)
        expect(told(page.read_text(), 800) == "nothing", "a script ran")


if __name__ == "__main__":
    os.environ["KXGIGE_DISCOVERY_MS"] = "300"
    with tempfile.TemporaryDirectory() as scratch:
        globals()[sys.argv[1]](pathlib.Path(scratch), pathlib.Path(sys.argv[2]))
