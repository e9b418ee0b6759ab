#!/usr/bin/env python3
"""Drives the real tessan window under Xvfb and checks what a user would see.

Usage: gui_test.py CASE TESSAN_BINARY   (run inside xvfb-run; CASE "cli" needs no display)

The program is copied into a scratch folder and started there, so the configuration file
(working folder) and the recent list (beside the executable) land in that folder only. The
window reports what its widgets show to TESSAN_STATE_FILE; questions are answered through
TESSAN_PROMPT_ANSWERS. Pictures are grabbed from the X screen with ImageMagick's `import`.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time

TITLE = "Kivrel Tessan v 0.778"
# Under ASan+UBSan (or TSan) the program runs several times slower; the build sets
# TESSAN_TIMEOUT_SCALE and every wait and time limit below stretches by it. The checks stay the same.
SCALE = float(os.environ.get("TESSAN_TIMEOUT_SCALE", "1"))
BOX = (217, 217, 217)        # bounding-box lines
BACKGROUND = (31, 31, 41)    # view background
WHEAT = (245, 222, 179)      # the window's background colour


class Failure(Exception):
    pass


def check(condition, message):
    if not condition:
        raise Failure(message)


# --- pictures ----------------------------------------------------------------------------------

class Picture:
    def __init__(self, path):
        data = subprocess.run(["convert", path, "-depth", "8", "ppm:-"], check=True,
                              capture_output=True).stdout
        parts, pos = [], 0
        while len(parts) < 4:
            while data[pos:pos + 1].isspace():
                pos += 1
            if data[pos:pos + 1] == b"#":
                pos = data.index(b"\n", pos) + 1
                continue
            end = pos
            while not data[end:end + 1].isspace():
                end += 1
            parts.append(data[pos:end])
            pos = end
        check(parts[0] == b"P6", "not a colour picture")
        self.width, self.height = int(parts[1]), int(parts[2])
        self.rgb = data[pos + 1:pos + 1 + self.width * self.height * 3]

    def pixel(self, x, y):
        i = (y * self.width + x) * 3
        return tuple(self.rgb[i:i + 3])

    def count(self, colour, x0=0, y0=0, x1=None, y1=None, tolerance=12):
        x1 = self.width if x1 is None else x1
        y1 = self.height if y1 is None else y1
        n = 0
        for y in range(max(y0, 0), min(y1, self.height)):
            row = y * self.width * 3
            for x in range(max(x0, 0), min(x1, self.width)):
                i = row + x * 3
                if (abs(self.rgb[i] - colour[0]) <= tolerance and abs(self.rgb[i + 1] - colour[1]) <= tolerance
                        and abs(self.rgb[i + 2] - colour[2]) <= tolerance):
                    n += 1
        return n

    def count_dominant(self, channel, x0, y0, x1, y1):
        """Pixels where one channel clearly leads (the triad's red, green or blue arm)."""
        n = 0
        for y in range(y0, y1):
            for x in range(x0, x1):
                p = self.pixel(x, y)
                others = [p[c] for c in range(3) if c != channel]
                if p[channel] > 150 and p[channel] - max(others) > 60:
                    n += 1
        return n

    def distinct_colours(self):
        return len({self.rgb[i:i + 3] for i in range(0, len(self.rgb), 3 * 7)})


# --- running the program -----------------------------------------------------------------------

class App:
    def __init__(self, binary, answers="", args=(), folder=None, size="900x700", extra_env=None):
        self.dir = folder or tempfile.mkdtemp(prefix="tessan-gui-")
        self.exe = os.path.join(self.dir, "tessan")
        shutil.copy2(binary, self.exe)
        self.state_file = os.path.join(self.dir, "state.txt")
        # A second start in the same folder must not read what the first one reported.
        if os.path.exists(self.state_file):
            os.remove(self.state_file)
        env = dict(os.environ, LIBGL_ALWAYS_SOFTWARE="1", TESSAN_STATE_FILE=self.state_file,
                   TESSAN_PROMPT_ANSWERS=answers, **(extra_env or {}))
        self.err = open(os.path.join(self.dir, "stderr.txt"), "w")
        self.proc = subprocess.Popen([self.exe, "--size", size, *args], cwd=self.dir, env=env,
                                     stdout=subprocess.DEVNULL, stderr=self.err)
        self.wait_for(lambda s: s.get("view3", "").startswith("shown"), "the window never showed its view")
        self.window = self.find_window()

    def state(self):
        try:
            with open(self.state_file, encoding="utf-8") as f:
                return dict(line.rstrip("\n").split("=", 1) for line in f if "=" in line)
        except FileNotFoundError:
            return {}

    def wait_for(self, predicate, message, timeout=30.0):
        end = time.time() + timeout * SCALE
        while time.time() < end:
            s = self.state()
            if s and predicate(s):
                return s
            check(self.proc.poll() is None, message + " (the program ended: " + self.stderr() + ")")
            time.sleep(0.1)
        raise Failure(message)

    def find_window(self):
        for _ in range(100):
            # By the program's title, or a project's title (which ends in " - Tessan").
            out = subprocess.run(["xdotool", "search", "--name", "^(" + TITLE + "|.* - Tessan)$"],
                                 capture_output=True, text=True).stdout.split()
            if out:
                return out[0]
            time.sleep(0.1)
        raise Failure("no window titled " + TITLE)

    def key(self, keys):
        subprocess.run(["xdotool", "windowfocus", "--sync", self.window], check=True)
        subprocess.run(["xdotool", "key", keys], check=True)

    def view(self, i):
        f = self.state()["view%d" % i].split()
        return {"shown": f[0] == "shown", "x": int(f[1]), "y": int(f[2]), "w": int(f[3]), "h": int(f[4]),
                "sx": int(f[5]), "sy": int(f[6]), "name": " ".join(f[7:])}

    def camera(self, i):
        f = self.state()["camera%d" % i].split()
        return [float(v) for v in f[0:3]], [float(v) for v in f[4:7]]

    def grab(self, name):
        path = os.path.join(self.dir, name)
        time.sleep(0.5)  # let the last repaint reach the screen
        subprocess.run(["import", "-window", "root", path], check=True)
        return Picture(path)

    def stderr(self):
        self.err.flush()
        with open(os.path.join(self.dir, "stderr.txt")) as f:
            return f.read()

    def close(self, keep=False):
        """Ends the program; the scratch folder goes too unless keep (for a second start there)."""
        if self.proc.poll() is None:
            self.proc.terminate()
            try:
                self.proc.wait(5 * SCALE)
            except subprocess.TimeoutExpired:
                self.proc.kill()
        self.err.close()
        if not keep:
            shutil.rmtree(self.dir, ignore_errors=True)


def distance(a, b):
    return sum((x - y) ** 2 for x, y in zip(a, b)) ** 0.5


def state_int(s, key, index=0):
    return int(s[key].split()[index])


def time_line(app):
    """Track geometry: (x of frame `first`, first frame, pixels per frame, y of the key markers)."""
    s = app.state()
    first, last, ppf, x0 = s["trackmap"].split()
    return int(x0), int(first), float(ppf), state_int(s, "track", 4)


def frame_x(app, frame):
    x0, first, ppf, _ = time_line(app)
    return int(round(x0 + (frame - first) * ppf))


def red_columns(pic, y0, y1):
    """x of the columns holding the time line's red frame line between rows y0 and y1."""
    cols = []
    for x in range(pic.width):
        if all(pic.pixel(x, y)[0] > 180 and pic.pixel(x, y)[1] < 60 and pic.pixel(x, y)[2] < 60
               for y in range(y0, y1, 4)):
            cols.append(x)
    return cols


def type_into(app, widget, text):
    """Types into a time-line field (a spin box: its text part is the left half) and presses Return."""
    x, y, w, h = [int(v) for v in app.state()["tlw." + widget].split()]
    subprocess.run(["xdotool", "mousemove", str(x + w // 4), str(y + h // 2), "click", "1"], check=True)
    subprocess.run(["xdotool", "key", "ctrl+a", "BackSpace"], check=True)
    subprocess.run(["xdotool", "type", text], check=True)
    subprocess.run(["xdotool", "key", "Return"], check=True)


def menu(app, mnemonic, moves):
    """Opens a menu by its mnemonic and picks an entry with the arrow keys, as a user would."""
    app.key("alt+" + mnemonic)
    time.sleep(0.4)
    for move in moves:
        subprocess.run(["xdotool", "key", move], check=True)
        time.sleep(0.1)
    subprocess.run(["xdotool", "key", "Return"], check=True)


# --- volume data -------------------------------------------------------------------------------

def write_series(folder, frames=6, n=24):
    """A small DF3 series data_0000.df3 ...: a dense ball in the middle of the box and a smaller
    blob that moves along x from frame to frame, so that every frame looks different."""
    paths = []
    for k in range(frames):
        body = bytearray(n * n * n)
        c = (n - 1) / 2.0
        bx = 3.0 + (n - 7.0) * k / max(frames - 1, 1)
        for z in range(n):
            for y in range(n):
                row = (z * n + y) * n
                for x in range(n):
                    d = ((x - c) ** 2 + (y - c) ** 2 + (z - c) ** 2) ** 0.5
                    v = 255 if d < n * 0.3 else 0
                    if ((x - bx) ** 2 + (y - 3.0) ** 2 + (z - 3.0) ** 2) < 9.0:
                        v = 255
                    body[row + x] = v
        path = os.path.join(folder, "data_%04d.df3" % k)
        with open(path, "wb") as f:
            f.write(n.to_bytes(2, "big") * 3 + bytes(body))
        paths.append(path)
    return paths


def view_box(pic):
    """The single view's place in a screenshot: (width, bottom), found from its background."""
    bottom = 0
    while bottom < pic.height and distance(pic.pixel(3, bottom), BACKGROUND) < 20:
        bottom += 1
    right = 0
    while right < pic.width and distance(pic.pixel(right, 40), BACKGROUND) < 20:
        right += 1
    return right, bottom


def region_mean_distance(pic, x0, y0, x1, y1, colour=BACKGROUND):
    total, n = 0.0, 0
    for y in range(y0, y1):
        for x in range(x0, x1):
            total += distance(pic.pixel(x, y), colour)
            n += 1
    return total / max(n, 1)


def region_difference(a, b, x0, y0, x1, y1):
    """Mean colour distance between two pictures over a region."""
    total, n = 0.0, 0
    for y in range(y0, y1, 2):
        for x in range(x0, x1, 2):
            total += distance(a.pixel(x, y), b.pixel(x, y))
            n += 1
    return total / max(n, 1)


def shoot(binary, work, name, args, extra_env=None):
    """Runs the window with --screenshot; returns the picture and the last state it reported."""
    out = os.path.join(work, name + ".png")
    state = os.path.join(work, name + ".state")
    env = dict(os.environ, LIBGL_ALWAYS_SOFTWARE="1", TESSAN_STATE_FILE=state)
    env.pop("TESSAN_FORCE_2D_TEXTURES", None)  # the texture path is chosen by the case alone
    env.update(extra_env or {})
    r = subprocess.run([binary, "--size", "640x480", "--screenshot", out, *args], cwd=work, capture_output=True,
                       text=True, timeout=120 * SCALE, env=env)
    check(r.returncode == 0, "screenshot exit code %d: %s" % (r.returncode, r.stderr))
    check(r.stdout.strip() == out, "the path is printed: %r" % r.stdout)
    with open(state, encoding="utf-8") as f:
        reported = dict(line.rstrip("\n").split("=", 1) for line in f if "=" in line)
    return Picture(out), reported


def check_volume_shown(pic, label):
    """The volume covers the middle of the view; the view's top corners stay background."""
    w, bottom = view_box(pic)
    check(w > 200 and 150 < bottom < 470, "%s: view at %dx%d" % (label, w, bottom))
    cx, cy = w // 2, bottom // 2
    centre = region_mean_distance(pic, cx - 10, cy - 10, cx + 10, cy + 10)
    check(centre > 60, "%s: the middle of the view is background (distance %.1f)" % (label, centre))
    for x0 in (w - 30, 120):
        corner = region_mean_distance(pic, x0, 28, x0 + 15, 43)
        check(corner < 8, "%s: corner at x %d is not background (distance %.1f)" % (label, x0, corner))
    return w, bottom


# --- cases -------------------------------------------------------------------------------------

def case_cli(binary):
    r = subprocess.run([binary, "--help"], capture_output=True, text=True, env={"PATH": os.environ["PATH"]})
    check(r.returncode == 0 and "Usage: tessan" in r.stdout and "--screenshot" in r.stdout,
          "--help without a display: %d %r" % (r.returncode, r.stdout))
    r = subprocess.run([binary, "--version"], capture_output=True, text=True)
    check(r.returncode == 0 and "0.778" in r.stdout, "--version: %r" % r.stdout)
    for bad in (["--size", "12"], ["--size", "800x"], ["--frobnicate"], ["a.df3", "b.df3"], ["--screenshot"]):
        r = subprocess.run([binary, *bad], capture_output=True, text=True)
        check(r.returncode == 2 and "tessan:" in r.stderr, "usage error for %s: %d %r" % (bad, r.returncode, r.stderr))


def case_screenshot(binary):
    work = tempfile.mkdtemp(prefix="tessan-shot-")
    try:
        out = os.path.join(work, "view.png")
        r = subprocess.run([binary, "--size", "640x480", "--screenshot", out], cwd=work, capture_output=True,
                           text=True, timeout=60 * SCALE, env=dict(os.environ, LIBGL_ALWAYS_SOFTWARE="1"))
        check(r.returncode == 0, "screenshot exit code %d: %s" % (r.returncode, r.stderr))
        check(r.stdout.strip() == out, "the path is printed: %r" % r.stdout)
        pic = Picture(out)
        check((pic.width, pic.height) == (640, 480), "picture size %dx%d" % (pic.width, pic.height))
        check(pic.distinct_colours() > 20, "the picture is blank")
        # The single view takes the left part; the control panel (wheat) the right.
        check(pic.count(WHEAT, 560, 0, 640, 480) > 5000, "control panel not in the picture")
        check(pic.count(BACKGROUND, 0, 0, 300, 480) > 50000, "view background missing")
        check(pic.count(BOX, 0, 0, 340, 480, tolerance=40) > 600, "bounding box not drawn")
        # The time line sits below the view: the view ends where its background colour ends in
        # the left-most column, and the wheat panel follows.
        bottom = 0
        while bottom < pic.height and distance(pic.pixel(3, bottom), BACKGROUND) < 20:
            bottom += 1
        check(150 < bottom < 400, "view bottom at %d" % bottom)
        check(pic.count(WHEAT, 0, bottom + 5, 640, 480) > 5000, "time line below the view")
        # The axis triad sits in the view's lower-left corner: red, green and blue arms.
        for channel in range(3):
            check(pic.count_dominant(channel, 0, bottom - 100, 100, bottom) > 10, "triad arm %d missing" % channel)
        # The screenshot run leaves no configuration behind.
        check(not os.path.exists(os.path.join(work, "KivrelConfigure.txt")), "screenshot wrote the configuration")
        # Not writable: a message and a non-zero exit.
        r = subprocess.run([binary, "--screenshot", "/nonexistent-dir/x.png"], cwd=work, capture_output=True,
                           text=True, timeout=60 * SCALE, env=dict(os.environ, LIBGL_ALWAYS_SOFTWARE="1"))
        check(r.returncode != 0 and "cannot save" in r.stderr, "unwritable screenshot: %d %r" % (r.returncode, r.stderr))
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_window(binary):
    app = App(binary)
    try:
        name = subprocess.run(["xprop", "-id", app.window, "WM_NAME"], capture_output=True, text=True).stdout
        check('"%s"' % TITLE in name, "window title: %r" % name)
        s = app.state()
        check(s["status0"] == "Powered by wxWidgets" and s["status1"] == "field_1" and s["status2"] == "field_2",
              "status bar texts: %r" % [s.get("status%d" % i) for i in range(3)])
        check(s["menus"] == "File,Edit,View,Animation,Render,Filter,Help", "menus: %r" % s["menus"])
        check(s["layout"] == "one", "starts with one view")
        v = app.view(3)
        check(v["name"] == "Perspective" and v["w"] > 400 and v["h"] > 400, "one large perspective view: %r" % v)
        track = [int(t) for t in s["track"].split()]
        check(track[1] > v["sy"] + v["h"] and track[2] > 700, "the key track runs below the view: %r" % track)
        check(s["frame"] == "0" and s["playing"] == "0" and s["timeline"] == "0 0", "clock at rest on frame 0")
        check(s["undo"] == "Undo|0|0" and s["redo"] == "Redo|0|0", "nothing to undo or redo: %r" % s["undo"])
        for i in range(3):
            check(not app.view(i)["shown"], "view %d hidden in the one-view layout" % i)
        pic = app.grab("window.png")
        check(pic.count(BOX, v["sx"], v["sy"], v["sx"] + v["w"], v["sy"] + v["h"], tolerance=40) > 800,
              "bounding box visible on screen")
        check(pic.count(WHEAT) > 20000, "control panel visible on screen")
    finally:
        app.close()


def case_four_views(binary):
    app = App(binary)
    try:
        app.key("ctrl+4")
        app.wait_for(lambda s: s["layout"] == "four" and s["view0"].startswith("shown"), "Ctrl+4 shows four views")
        views = [app.view(i) for i in range(4)]
        check([v["name"] for v in views] == ["Top", "Front", "Side", "Perspective"], "view names %r" % views)
        check(views[0]["x"] < views[1]["x"] and views[0]["y"] < views[2]["y"], "2 x 2 arrangement %r" % views)
        pic = app.grab("four.png")
        for v in views:
            n = pic.count(BOX, v["sx"], v["sy"], v["sx"] + v["w"], v["sy"] + v["h"], tolerance=40)
            check(n > 200, "box visible in the %s view (%d px)" % (v["name"], n))
        # The front view looks straight at a face: its box outline is an axis-parallel square,
        # so whole rows of box colour appear.
        f = views[1]
        rows = [sum(1 for x in range(f["sx"], f["sx"] + f["w"]) if max(abs(a - b) for a, b in
                    zip(pic.pixel(x, y), BOX)) < 40) for y in range(f["sy"], f["sy"] + f["h"])]
        check(max(rows) > f["w"] * 0.3, "front view shows a square face (longest row %d)" % max(rows))
        app.key("ctrl+1")
        app.wait_for(lambda s: s["layout"] == "one" and s["view0"].startswith("hidden"), "Ctrl+1 back to one view")
    finally:
        app.close()


def case_navigation(binary):
    app = App(binary)
    try:
        v = app.view(3)
        cx, cy = v["sx"] + v["w"] // 2, v["sy"] + v["h"] // 2
        pos0, anchor0 = app.camera(3)
        before = app.grab("before.png")
        # Left-drag to the right: orbit around the anchor, distance kept.
        subprocess.run(["xdotool", "mousemove", str(cx), str(cy), "mousedown", "1",
                        "mousemove", str(cx + 30), str(cy), "sleep", "0.1",
                        "mousemove", str(cx + 80), str(cy), "sleep", "0.1",
                        "mousemove", str(cx + 120), str(cy), "sleep", "0.1", "mouseup", "1"], check=True)
        s = app.wait_for(lambda s: s["camera3"] != "%.6f %.6f %.6f anchor %.6f %.6f %.6f" % (*pos0, *anchor0),
                         "left-drag orbits the camera")
        time.sleep(0.5)
        pos1, anchor1 = app.camera(3)
        check(abs(distance(pos1, anchor1) - distance(pos0, anchor0)) < 1e-3, "orbit keeps the distance")
        check(pos1[0] < pos0[0], "dragging right moves the eye left round the anchor (%r -> %r)" % (pos0, pos1))
        after = app.grab("after.png")
        changed = sum(1 for y in range(v["sy"], v["sy"] + v["h"], 3) for x in range(v["sx"], v["sx"] + v["w"], 3)
                      if before.pixel(x, y) != after.pixel(x, y))
        check(changed > 200, "the picture changed after the orbit (%d samples)" % changed)
        # Wheel toward the user: closer.
        subprocess.run(["xdotool", "mousemove", str(cx), str(cy), "click", "4", "click", "4"], check=True)
        app.wait_for(lambda s: distance(*[[float(t) for t in s["camera3"].split()[a:a + 3]] for a in (0, 4)])
                     < distance(pos1, anchor1) - 0.5, "wheel zooms in")
        # Middle-drag pans: the anchor moves.
        subprocess.run(["xdotool", "mousemove", str(cx), str(cy), "mousedown", "2", "mousemove", str(cx + 60),
                        str(cy), "sleep", "0.1", "mouseup", "2"], check=True)
        app.wait_for(lambda s: s["camera3"].split()[4:7] != ["0.000000"] * 3, "middle-drag pans")
        # Reset camera from the keyboard.
        app.key("ctrl+r")
        app.wait_for(lambda s: s["camera3"] == "%.6f %.6f %.6f anchor %.6f %.6f %.6f" % (*pos0, *anchor0),
                     "Ctrl+R puts the camera back")
    finally:
        app.close()


def case_quit_no(binary):
    app = App(binary, answers="no")
    try:
        app.key("ctrl+q")
        end = time.time() + 10 * SCALE
        while "Really Quit ?" not in app.stderr() and time.time() < end:
            time.sleep(0.1)
        check("prompt: Query: Really Quit ? -> no" in app.stderr(), "the quit question was asked: " + app.stderr())
        time.sleep(1.0)
        check(app.proc.poll() is None, "No keeps the program running")
        for name in ("KivrelConfigure.txt", "KivrelRecent.txt"):
            check(not os.path.exists(os.path.join(app.dir, name)), "No wrote " + name)
    finally:
        app.close()


def case_quit_yes(binary):
    # A recent list beside the executable, read at start and written back at quit.
    folder = tempfile.mkdtemp(prefix="tessan-gui-")
    with open(os.path.join(folder, "KivrelRecent.txt"), "w") as f:
        f.write("/data/a.vsp\n\n/data/b.vsp  \n")
    app = App(binary, answers="yes", folder=folder)
    try:
        # Leave something to remember: four views.
        app.key("ctrl+4")
        app.wait_for(lambda s: s["layout"] == "four", "four views")
        app.key("ctrl+q")
        try:
            rc = app.proc.wait(20 * SCALE)
        except subprocess.TimeoutExpired:
            raise Failure("Yes did not end the program")
        check(rc == 0, "exit code %d" % rc)
        check("prompt: Query: Really Quit ? -> yes" in app.stderr(), "question asked: " + app.stderr())
        with open(os.path.join(app.dir, "KivrelConfigure.txt"), encoding="utf-8") as f:
            conf = f.read()
        check("FrameMainViewLayout=1\n" in conf, "the layout is saved")
        check("ToolTip=" in conf and "ThreadNumFilter=" in conf, "controller and preference items saved")
        check("-ShortcutBegin\n" in conf and "Quit=Ctrl+Q\n" in conf and conf.rstrip().endswith("-ShortcutEnd"),
              "key assignments saved")
        check("--GLCanvas" not in conf, "the configuration holds no scene blocks")
        with open(os.path.join(app.dir, "KivrelRecent.txt")) as f:
            recent = f.read()
        check(recent == "/data/a.vsp\n/data/b.vsp\n", "recent list written back beside the program: %r" % recent)
        # The saved layout comes back on the next start.
        app.err.close()
        app2 = App(binary, folder=app.dir)
        try:
            app2.wait_for(lambda s: s["layout"] == "four", "the saved four-view layout is restored")
        finally:
            app2.close()
    finally:
        app.close()


def case_play(binary):
    app = App(binary)
    try:
        track_y = state_int(app.state(), "track", 1)
        before = app.grab("before.png")
        cols = red_columns(before, track_y + 2, track_y + 50)
        check(cols and abs(sum(cols) / len(cols) - frame_x(app, 0)) <= 2, "frame line on frame 0: %r" % cols)
        # Space plays: the clock, the slider and the frame box move on together.
        app.key("space")
        s = app.wait_for(lambda s: s["playing"] == "1" and int(s["frame"]) >= 10, "Space starts playing")
        check(s["timeline"] == "%s %s" % (s["frame"], s["frame"]), "slider and frame box follow: %r" % s["timeline"])
        app.key("space")
        s = app.wait_for(lambda s: s["playing"] == "0", "Space again stops")
        stopped = int(s["frame"])
        check(stopped >= 10, "stopped on frame %d" % stopped)
        time.sleep(0.5)
        check(int(app.state()["frame"]) == stopped, "the frame stays after stopping")
        # The red frame line moved along the track to the frame shown.
        pic = app.grab("played.png")
        cols = red_columns(pic, track_y + 2, track_y + 50)
        check(cols and abs(sum(cols) / len(cols) - frame_x(app, stopped)) <= 2,
              "frame line at frame %d (x %d): %r" % (stopped, frame_x(app, stopped), cols))
        # The views' frame guide shows the clock's frame too: the picture of the view changed.
        v = app.view(3)
        changed = sum(1 for y in range(v["sy"] + v["h"] - 30, v["sy"] + v["h"], 2)
                      for x in range(v["sx"] + v["w"] - 120, v["sx"] + v["w"], 2)
                      if before.pixel(x, y) != pic.pixel(x, y))
        check(changed > 5, "the frame number in the view changed (%d samples)" % changed)
        # Step keys move exactly one frame; Home and End go to the working area's ends.
        app.key("Right")
        app.wait_for(lambda s: s["frame"] == str(stopped + 1), "Right steps one frame forward")
        app.key("Left")
        app.key("Left")
        app.wait_for(lambda s: s["frame"] == str(stopped - 1), "Left steps back")
        app.key("End")
        app.wait_for(lambda s: s["frame"] == "99" and s["timeline"] == "99 99", "End goes to the last frame")
        app.key("Home")
        app.wait_for(lambda s: s["frame"] == "0", "Home goes to the first frame")
        # Without repeat, playback stops at the end of the working area.
        app.key("End")
        app.key("Left")
        app.key("Left")
        app.wait_for(lambda s: s["frame"] == "97", "two steps back from the end")
        app.key("space")
        app.wait_for(lambda s: s["playing"] == "0" and s["frame"] == "99", "playing stops at the last frame",
                     timeout=10)
        # A working area typed into its two fields confines stepping and playing.
        for name, value in (("wamin", "20"), ("wamax", "30")):
            type_into(app, name, value)
        s = app.wait_for(lambda s: s["clock"] == "99 1 20 30 0", "working area 20..30 taken")
        x0, first, ppf, y = time_line(app)
        subprocess.run(["xdotool", "mousemove", str(frame_x(app, 25)), str(y - 12), "click", "1"], check=True)
        app.wait_for(lambda s: s["frame"] == "25", "a click on the track sets the frame")
        app.key("End")
        app.wait_for(lambda s: s["frame"] == "30", "End: the working area's last frame")
        app.key("Home")
        app.wait_for(lambda s: s["frame"] == "20", "Home: the working area's first frame")
        app.key("space")
        app.wait_for(lambda s: s["playing"] == "0" and s["frame"] == "30", "playing stops at the area's end",
                     timeout=10)
    finally:
        app.close()


def case_undo_drag(binary):
    app = App(binary)
    try:
        app.key("Right")
        app.wait_for(lambda s: s["frame"] == "1", "one step")
        for _ in range(9):
            app.key("Right")
        app.wait_for(lambda s: s["frame"] == "10", "ten steps")
        # Insert keys the shown set ("BoxSize") at frame 10; the set becomes animated.
        app.key("Insert")
        s = app.wait_for(lambda s: len(s["keys"].split()) == 2, "Insert adds a key")
        check(s["timeline_set"] == "BoxSize", "the box set is shown")
        check(abs(float(s["keys"].split()[1]) - 10 / 99) < 1e-6, "key at frame 10: %r" % s["keys"])
        check(s["undo"].startswith("Undo Add Key|1"), "undo names the add: %r" % s["undo"])
        check(s["title"] == "*" + TITLE, "the title marks the change: %r" % s["title"])
        # Drag the key's marker to frame 40.
        _, _, _, y = time_line(app)
        x = int(s["keyx"].split()[1])
        check(abs(x - frame_x(app, 10)) <= 1, "marker where frame 10 is drawn")
        target = frame_x(app, 40)
        subprocess.run(["xdotool", "mousemove", str(x), str(y), "mousedown", "1", "mousemove", str(x + 10), str(y),
                        "sleep", "0.1", "mousemove", str((x + target) // 2), str(y), "sleep", "0.1",
                        "mousemove", str(target), str(y), "sleep", "0.2", "mouseup", "1"], check=True)
        s = app.wait_for(lambda s: s["undo"].startswith("Undo Move Keys"), "the drag is one named step")
        moved = float(s["keys"].split()[1].rstrip("*"))
        check(abs(moved - 40 / 99) < 1e-6, "key dragged to frame 40: %r" % s["keys"])
        # Undo from the Edit menu: the key is back at frame 10 and Redo names the move.
        menu(app, "e", [])
        s = app.wait_for(lambda s: s["redo"].startswith("Redo Move Keys|1"), "Edit > Undo takes the drag back")
        check(abs(float(s["keys"].split()[1].rstrip("*")) - 10 / 99) < 1e-6, "key back at 10: %r" % s["keys"])
        check(s["undo"].startswith("Undo Add Key|1"), "the add is next to undo: %r" % s["undo"])
        # Redo from the menu (second entry): at frame 40 again, nothing left to redo.
        menu(app, "e", ["Down"])
        s = app.wait_for(lambda s: s["redo"] == "Redo|0|0", "Edit > Redo repeats the drag")
        check(abs(float(s["keys"].split()[1].rstrip("*")) - 40 / 99) < 1e-6, "key at 40 again: %r" % s["keys"])
        # The key through the clipboard: selected by a click, copied, pasted at frame 60.
        x = int(s["keyx"].split()[1])
        subprocess.run(["xdotool", "mousemove", str(x), str(y), "click", "1"], check=True)
        app.wait_for(lambda s: s["keys"].split()[1].endswith("*"), "a click selects the key")
        app.key("ctrl+c")
        app.wait_for(lambda s: s["status0"] == "Keys copied: 1", "Ctrl+C copies the selected key")
        app.key("End")
        app.wait_for(lambda s: s["frame"] == "99", "to the last frame")
        for _ in range(39):
            app.key("Left")
        app.wait_for(lambda s: s["frame"] == "60", "back to frame 60")
        app.key("ctrl+v")
        s = app.wait_for(lambda s: len(s["keys"].split()) == 3, "Ctrl+V pastes the key")
        check(abs(float(s["keys"].split()[2].rstrip("*")) - 60 / 99) < 1e-6, "pasted at frame 60: %r" % s["keys"])
        check(s["undo"].startswith("Undo Paste Keys|1"), "one named step: %r" % s["undo"])
        # Delete on the track removes the selected key (the pasted one is not selected).
        subprocess.run(["xdotool", "mousemove", str(int(s["keyx"].split()[1])), str(y), "click", "1"], check=True)
        app.wait_for(lambda s: s["keys"].split()[1].endswith("*"), "the dragged key selected again")
        subprocess.run(["xdotool", "key", "Delete"], check=True)
        s = app.wait_for(lambda s: len(s["keys"].split()) == 2, "Delete removes the selected key")
        check(abs(float(s["keys"].split()[1]) - 60 / 99) < 1e-6, "the pasted key stays: %r" % s["keys"])
        check(s["undo"].startswith("Undo Delete Keys|1"), "named: %r" % s["undo"])
        # All four steps undone by the keys: the set holds its constant only and the scene is clean.
        for _ in range(4):
            app.key("ctrl+z")
        s = app.wait_for(lambda s: s["undo"] == "Undo|0|0", "everything undone")
        check(s["keys"] == "0" and s["title"] == TITLE, "back to the start: %r %r" % (s["keys"], s["title"]))
    finally:
        app.close()


def case_time_remap(binary):
    app = App(binary)
    try:
        check(app.state()["remap_menu"] == "Use time-remap|1|0", "starts off")
        menu(app, "a", ["Up"])
        s = app.wait_for(lambda s: s["remap"] == "1", "Animation > Use time-remap switches the remap on")
        check(s["remap_menu"] == "Use time-remap|1|1", "the entry shows its check: %r" % s["remap_menu"])
        menu(app, "a", ["Up"])
        s = app.wait_for(lambda s: s["remap"] == "0", "and off again")
        check(s["remap_menu"] == "Use time-remap|1|0", "check cleared: %r" % s["remap_menu"])
        # The remap curve's keys on the time line: two wheel notches over the set choice.
        x, y, w, h = [int(v) for v in s["tlw.set"].split()]
        subprocess.run(["xdotool", "mousemove", str(x + w // 2), str(y + h // 2), "click", "5"], check=True)
        app.wait_for(lambda s: s["timeline_set"] == "BoxRotate", "the rotation set")
        subprocess.run(["xdotool", "click", "5"], check=True)
        s = app.wait_for(lambda s: s["timeline_set"] == "TimeRemap", "the remap curve")
        check(s["keys"] == "0 1", "the identity curve's two keys: %r" % s["keys"])
    finally:
        app.close()


def case_preview_saved(binary):
    # The preview settings belong to the scene: a project keeps them, the configuration does not.
    work = tempfile.mkdtemp(prefix="tessan-preview-")
    first = write_series(work)[0]
    cli = os.path.join(os.path.dirname(binary), "tessan-cli")
    project = os.path.join(work, "p.vsp")
    r = subprocess.run([cli, "project", "new", project, "--data", first, "--filter", "volume", "--length", "100"],
                       capture_output=True, text=True)
    check(r.returncode == 0, "project new: %s" % r.stderr)
    app = App(binary, answers="yes", size="1200x1000", args=[project])
    try:
        s = app.state()
        check(s["pp.PreviewNormalQuality"] == "128 normal layers" and s["pp.shade"].startswith("folded [+]Shade"),
              "defaults shown: %r %r" % (s["pp.PreviewNormalQuality"], s["pp.shade"]))
        # One wheel notch over the slice choice: the next entry.
        x, y, w, h, shown = [int(v) for v in s["ppw.PreviewNormalQuality"].split()]
        check(shown == 1, "slice choice on screen")
        subprocess.run(["xdotool", "mousemove", str(x + w // 2), str(y + h // 2), "click", "5"], check=True)
        app.wait_for(lambda s: s["pp.PreviewNormalQuality"] == "192 normal layers", "the wheel picks 192 slices")
        # Unfold the shading group and switch on the emboss shading.
        check(s["ppw.PreviewShading"].split()[4] == "0", "the shading group starts folded")
        x, y, w, h, _ = [int(v) for v in s["ppw.fold"].split()]
        subprocess.run(["xdotool", "mousemove", str(x + w // 2), str(y + h // 2), "click", "1"], check=True)
        s = app.wait_for(lambda s: s["pp.shade"].startswith("open [-]Shade")
                         and s["ppw.PreviewShading"].split()[4] == "1", "[+]Shade Settings unfolds the group")
        # The fold button now has the focus: the play keys still reach the clock.
        app.key("End")
        last = int(app.wait_for(lambda s: int(s["frame"]) > 1, "End with a button focused")["frame"])
        app.key("Left")
        s = app.wait_for(lambda s: s["frame"] == str(last - 1), "Left with a button focused")
        x, y, w, h, _ = [int(v) for v in s["ppw.PreviewShading"].split()]
        subprocess.run(["xdotool", "mousemove", str(x + w // 2), str(y + h // 2), "click", "5"], check=True)
        app.wait_for(lambda s: s["pp.PreviewShading"] == "Emboss Shading", "Emboss Shading chosen")
        # Type a luminance factor.
        x, y, w, h, _ = [int(v) for v in s["ppw.PreviewLuminanceFactor"].split()]
        subprocess.run(["xdotool", "mousemove", str(x + w // 2), str(y + h // 2), "click", "1"], check=True)
        subprocess.run(["xdotool", "key", "ctrl+a", "BackSpace"], check=True)
        subprocess.run(["xdotool", "type", "2.5"], check=True)
        subprocess.run(["xdotool", "key", "Return"], check=True)
        app.wait_for(lambda s: s["pp.PreviewLuminanceFactor"] == "2.5", "typed luminance factor taken")
        # Save the project: the settings are in it, in their order.
        before = os.path.getmtime(project)
        app.key("ctrl+s")
        end = time.time() + 20 * SCALE
        while os.path.getmtime(project) == before and time.time() < end:
            time.sleep(0.1)
        with open(project, encoding="utf-8") as f:
            saved = f.read()
        for line in ("PreviewNormalQuality=5\n", "PreviewShading=1\n", "PreviewType3D=1\n", "PreviewTexFilter=1\n"):
            check(line in saved, "%r saved in %r" % (line, saved))
        check("\nPreviewLuminanceFactor=2.5" in saved, "luminance factor saved")
        check(saved.index("PreviewType3D=") < saved.index("PreviewTexFilter=") and "-ShortcutBegin" not in saved,
              "preview lines in their order, no key assignments in a project")
        # Quit with Yes: the configuration carries the key assignments and no scene settings.
        app.key("ctrl+q")
        try:
            rc = app.proc.wait(20 * SCALE)
        except subprocess.TimeoutExpired:
            raise Failure("Yes did not end the program")
        check(rc == 0, "exit code %d" % rc)
        with open(os.path.join(app.dir, "KivrelConfigure.txt"), encoding="utf-8") as f:
            conf = f.read()
        check("-ShortcutBegin" in conf and "PreviewNormalQuality=" not in conf and "--GLCanvas" not in conf,
              "configuration: key assignments, no scene blocks: %r" % conf)
        # Opening the project again shows what was saved.
        app.err.close()
        app2 = App(binary, folder=app.dir, size="1200x1000", args=[project])
        try:
            s = app2.wait_for(lambda s: s["pp.PreviewNormalQuality"] == "192 normal layers",
                              "the saved slice count is read back")
            check(s["pp.PreviewShading"] == "Emboss Shading" and s["pp.PreviewLuminanceFactor"] == "2.5",
                  "shading and luminance read back: %r %r" % (s["pp.PreviewShading"], s["pp.PreviewLuminanceFactor"]))
        finally:
            app2.close()
    finally:
        app.close()
        shutil.rmtree(work, ignore_errors=True)


def case_project(binary):
    # A project named on the command line sets the clock; keys, clock and preview settings are
    # written back by Save Project and read again by the next start.
    folder = tempfile.mkdtemp(prefix="tessan-gui-")
    project = os.path.join(folder, "scene.vsp")
    with open(project, "w") as f:
        f.write("DF3MaxFrame=49\nDF3WorkAreaMax=49\nDF3ActiveAreaMax=49\nPreviewNormalQuality=2\n")
    app = App(binary, answers="yes", args=[project], folder=folder)
    try:
        s = app.wait_for(lambda s: s["clock"].startswith("49 "), "the project's scene length is read")
        check(s["title"] == project + " - Tessan", "titled after the project: %r" % s["title"])
        check(s["pp.PreviewNormalQuality"] == "64 normal layers", "preview setting read from the project")
        for _ in range(7):
            app.key("Right")
        app.wait_for(lambda s: s["frame"] == "7", "frame 7")
        app.key("Insert")
        s = app.wait_for(lambda s: len(s["keys"].split()) == 2, "a key at frame 7")
        check(s["title"] == "*" + project + " - Tessan", "modified mark: %r" % s["title"])
        app.key("ctrl+s")
        s = app.wait_for(lambda s: s["title"] == project + " - Tessan", "saving clears the modified mark")
        with open(project, encoding="utf-8") as f:
            text = f.read()
        check("DF3MaxFrame=49\n" in text and "--TimeRemap\n" in text and "Parameter_TimeRemap\n" in text,
              "clock and remap curve saved")
        box = text[text.index("Parameter_BoxSize\n"):]
        check("itemnum 2\n" in box and "Parameter_BoxRotate\n" in text, "the box sets with their keys saved")
        check(text.index("DF3MaxFrame=") < text.index("Parameter_BoxSize") < text.index("--GLCanvas")
              < text.index("PreviewType3D=") and "-ShortcutBegin" not in text, "project block order")
        app.close(keep=True)
        app2 = App(binary, answers="yes", args=[project], folder=folder)
        try:
            s = app2.wait_for(lambda s: len(s["keys"].split()) == 2, "the keys come back with the project")
            check(abs(float(s["keys"].split()[1]) - 7 / 49) < 1e-6, "key at frame 7 of 49: %r" % s["keys"])
            check(s["undo"] == "Undo|0|0" and s["title"] == project + " - Tessan",
                  "a fresh history after opening: %r %r" % (s["undo"], s["title"]))
        finally:
            app2.close()
    finally:
        app.close()
        shutil.rmtree(folder, ignore_errors=True)


def case_data_screenshot(binary):
    work = tempfile.mkdtemp(prefix="tessan-data-")
    try:
        first = write_series(work)[0]
        pic3d, s3d = shoot(binary, work, "frame0", [first])
        check(s3d["slot0"] == "6 0 0 1", "slot 0 holds 6 frames and drew frame 0: %r" % s3d["slot0"])
        check(s3d["title"].endswith(" - Tessan"), "the title names the data: %r" % s3d["title"])
        check(pic3d.distinct_colours() > 20, "the picture is blank")
        w, bottom = check_volume_shown(pic3d, "3D textures")
        # The 2D-texture stacks draw the same volume: a similar picture.
        pic2d, s2d = shoot(binary, work, "frame0_2d", [first], {"TESSAN_FORCE_2D_TEXTURES": "1"})
        check(s2d["slot0"] == "6 0 0 1", "2D path drew frame 0: %r" % s2d["slot0"])
        check_volume_shown(pic2d, "2D textures")
        same = region_difference(pic3d, pic2d, 0, 0, w, bottom)
        check(same < 12, "2D and 3D pictures differ too much (%.1f)" % same)
        # A 3D texture cut into bricks (3 KB each here: eight bricks of three planes) draws the
        # whole texture's picture: no seam shows.
        check(s3d.get("slot0tex") == "3D 1", "one whole 3D texture: %r" % s3d.get("slot0tex"))
        picb, sb = shoot(binary, work, "frame0_bricks", [first], {"TESSAN_TEX_BRICK_KB": "3"})
        check(sb.get("slot0tex") == "3D 8", "the texture came in bricks: %r" % sb.get("slot0tex"))
        seams = region_difference(pic3d, picb, 0, 0, w, bottom)
        check(seams < 0.5, "the bricked picture differs from the whole one (%.2f)" % seams)
        # Another frame of the series is another picture (the moving blob).
        pic4, s4 = shoot(binary, work, "frame4", ["--frame", "4", first])
        check(s4["slot0"] == "6 4 4 1", "frame 4 drawn: %r" % s4["slot0"])
        moved = region_difference(pic3d, pic4, 0, 30, w, bottom - 30)
        check(moved > same + 0.5, "frames 0 and 4 look alike (%.2f vs %.2f)" % (moved, same))
        # Without data the middle of the view is background.
        empty, _ = shoot(binary, work, "empty", [])
        cx, cy = w // 2, bottom // 2
        check(region_mean_distance(empty, cx - 10, cy - 10, cx + 10, cy + 10) < 15, "empty view has a volume")
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_data_play_close(binary):
    work = tempfile.mkdtemp(prefix="tessan-data-")
    try:
        first = write_series(work)[0]
        app = App(binary, args=[first])
        try:
            s = app.wait_for(lambda s: s.get("slot0") == "6 0 0 1", "frame 0 of the data is drawn")
            check(s["title"].endswith(" - Tessan"), "data title: %r" % s["title"])
            # The slot panel lists the six files, the current one first and textured.
            s = app.wait_for(lambda s: s.get("seq.items", "").startswith("> [T] 0 data_0000.df3"),
                             "the slot panel shows frame 0 as current and textured")
            items = s["seq.items"].split("|")
            check(len(items) == 6 and items[5].endswith(" 5 data_0005.df3"), "slot panel files: %r" % items)
            check(s["seq.frame"] == "Frame 0 / 6" and s["seq.tab"] == "0", "slot panel frame: %r" % s["seq.frame"])
            check(s["seq.memory"].startswith("Texture "), "memory counters: %r" % s["seq.memory"])
            v = app.view(3)
            box = (v["sx"], v["sy"] + 30, v["sx"] + v["w"], v["sy"] + v["h"] - 30)
            before = app.grab("data0.png")
            cx, cy = v["sx"] + v["w"] // 2, v["sy"] + v["h"] // 2
            check(region_mean_distance(before, cx - 10, cy - 10, cx + 10, cy + 10) > 60, "volume not on screen")
            # Playing shows the following frames: the drawn frame follows the clock.
            app.key("space")
            s = app.wait_for(lambda s: int(s["slot0"].split()[2]) >= 2, "playing draws later frames")
            app.key("space")
            s = app.wait_for(lambda s: s["playing"] == "0", "Space again stops")
            s = app.wait_for(lambda s: s["slot0"].split()[3] == "1", "the stopped frame is drawn")
            check(s["slot0"].split()[1] != "0", "stopped on another frame: %r" % s["slot0"])
            played = app.grab("played.png")
            check(region_difference(before, played, *box) > 1.0, "the view did not change while playing")
            # Close Data (File menu, sixth entry) empties the slot and the view.
            menu(app, "f", ["Down"] * 5)
            s = app.wait_for(lambda s: s["slot0"].startswith("0 ") and s["seq.items"] == "",
                             "Close Data empties the slot and its list")
            check(s["seq.frame"] == "(empty)", "slot panel after closing: %r" % s["seq.frame"])
            # The repaint follows the menu's closing; give it a few grabs.
            for _ in range(8):
                closed = app.grab("closed.png")
                centre = region_mean_distance(closed, cx - 10, cy - 10, cx + 10, cy + 10)
                if centre < 15:
                    break
            check(centre < 15, "the volume is still drawn after Close Data (%.1f)" % centre)
            # Open Data (fourth entry) asks for the first file of a series and opens all of it.
            menu(app, "f", ["Down"] * 3)
            dialog = None
            for _ in range(50):
                out = subprocess.run(["xdotool", "search", "--name", "^Coose first file$"], capture_output=True,
                                     text=True).stdout.split()
                if out:
                    dialog = out[0]
                    break
                time.sleep(0.1)
            check(dialog is not None, "no file dialog titled 'Coose first file'")
            time.sleep(0.5)
            subprocess.run(["xdotool", "windowfocus", "--sync", dialog], check=True)
            subprocess.run(["xdotool", "key", "ctrl+l"], check=True)
            time.sleep(0.3)
            subprocess.run(["xdotool", "type", os.path.join(work, "data_0002.df3")], check=True)
            time.sleep(0.3)
            subprocess.run(["xdotool", "key", "Return"], check=True)
            s = app.wait_for(lambda s: s["slot0"].split()[0] == "6" and s["slot0"].split()[3] == "1",
                             "the series opened from the dialog is drawn")
        finally:
            app.close()
        # A missing file leaves the window as it was, with a message.
        app = App(binary, args=[os.path.join(work, "missing_0000.df3")])
        try:
            time.sleep(1.0)
            s = app.state()
            check(s["slot0"].startswith("0 ") and s["title"] == TITLE, "missing file changed the window: %r" % s)
            check("File not found: " in app.stderr(), "no message for the missing file: %r" % app.stderr())
        finally:
            app.close()
        # A file shorter than its header says: a message, the frame stays unloaded, the loading
        # comes to rest and the window carries on.
        bad = os.path.join(work, "short_0000.df3")
        with open(bad, "wb") as f:
            f.write(bytes([0, 32, 0, 32, 0, 32]) + b"abc")
        app = App(binary, args=[bad])
        try:
            s = app.wait_for(lambda s: s.get("slot0") == "1 0 -1 0" and s.get("loading") == "0",
                             "the short file leaves an undrawn frame and loading at rest")
            check(s["seq.items"] == "> [ ] 0 short_0000.df3", "slot panel for the short file: %r" % s["seq.items"])
            check("prompt: read Error" in app.stderr(), "no message for the short file: %r" % app.stderr())
            app.key("Right")
            app.wait_for(lambda s: s["frame"] in ("0", "1"), "the window still answers keys")
        finally:
            app.close()
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_filter_menu(binary):
    """The Filter menu adds a data filter to the shown slot's chain as one undo step and Undo takes
    it back. A new blur has a zero kernel: the frame is processed and textured again with it and
    must look as before (not blank, not garbled)."""
    work = tempfile.mkdtemp(prefix="tessan-filter-")
    try:
        first = write_series(work)[0]
        app = App(binary, args=[first], folder=work)
        try:
            s = app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "frame 0 never drawn")
            check(s["chain"] == "0", "a new slot has an empty chain: %r" % s["chain"])
            check("Filter" in s["menus"].split(","), "no Filter menu: %r" % s["menus"])
            check(s["menus"].split(",")[-1] == "Help", "Help stays last: %r" % s["menus"])
            v = app.view(3)
            box = (v["sx"], v["sy"], v["sx"] + v["w"], v["sy"] + v["h"])
            before = app.grab("before.png")
            check(region_mean_distance(before, *box) > 5, "no volume shown before the filter")
            # Filter > Data Filter (ninth entry) > Add Gauss Blur (second entry).
            menu(app, "i", ["Down"] * 8 + ["Right", "Down"])
            s = app.wait_for(lambda s: s["chain"] != "0", "the menu added nothing")
            check(s["chain"] == "1|Gauss Blur", "the chain holds the blur: %r" % s["chain"])
            check(s["undo"].startswith("Undo Add Filter") and s["undo"].endswith("|1|0"),
                  "Undo names the addition: %r" % s["undo"])
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "frame 0 not drawn again")
            time.sleep(1.0)
            after = app.grab("after.png")
            changed = region_difference(before, after, *box)
            check(changed < 2.0, "a zero-kernel blur changed the picture (%.3f)" % changed)
            app.key("ctrl+z")
            s = app.wait_for(lambda s: s["chain"] == "0", "Undo left the blur in the chain")
            check(s["undo"].endswith("|0|0"), "nothing left to undo: %r" % s["undo"])
            check(s["redo"].startswith("Redo Add Filter") and s["redo"].endswith("|1|0"),
                  "Redo offers it: %r" % s["redo"])
            # Redo puts it back, Level and Gamma goes after it in the same chain.
            app.key("ctrl+y")
            app.wait_for(lambda s: s["chain"] == "1|Gauss Blur", "Redo did not bring the blur back")
            menu(app, "i", ["Down"] * 8 + ["Right"])
            s = app.wait_for(lambda s: s["chain"].startswith("2"), "the second addition did nothing")
            check(s["chain"] == "2|Gauss Blur|Level Gamma", "items in menu order: %r" % s["chain"])
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "frame 0 not drawn after two")
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_anchor_roundtrip(binary):
    # A pan moves the anchor that every view orbits around; the project keeps it in its own
    # block, so an opened project turns around the same point even without the views' own lines.
    work = tempfile.mkdtemp(prefix="tessan-anchor-")
    try:
        first = write_series(work)[0]
        cli = os.path.join(os.path.dirname(binary), "tessan-cli")
        a = os.path.join(work, "a.vsp")
        r = subprocess.run([cli, "project", "new", a, "--data", first, "--filter", "volume", "--length", "5"],
                           capture_output=True, text=True)
        check(r.returncode == 0, "project new: %s" % r.stderr)
        app = App(binary, args=[a])
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "the project's data is drawn")
            v = app.view(3)
            cx, cy = v["sx"] + v["w"] // 2, v["sy"] + v["h"] // 2
            _, anchor0 = app.camera(3)
            subprocess.run(["xdotool", "mousemove", str(cx), str(cy), "mousedown", "2", "mousemove", str(cx + 40),
                            str(cy + 10), "sleep", "0.1", "mousemove", str(cx + 70), str(cy + 30), "sleep", "0.1",
                            "mouseup", "2"], check=True)
            app.wait_for(lambda s: s["camera3"].split()[4:7] != ["%.6f" % c for c in anchor0], "middle-drag pans")
            time.sleep(0.5)
            _, moved = app.camera(3)
            for i in range(5):
                _, other = app.camera(i)
                check(distance(other, moved) < 1e-6, "view %d orbits the panned anchor: %r vs %r" % (i, other, moved))
            before = os.path.getmtime(a)
            time.sleep(1.1)  # the project new above may have written within the same second
            app.key("ctrl+s")
            end = time.time() + 20 * SCALE
            while os.path.getmtime(a) == before and time.time() < end:
                time.sleep(0.1)
        finally:
            app.close()
        with open(a, encoding="utf-8") as f:
            lines = f.read().split("\n")
        check("--AnchorPos" in lines, "the saved project holds the anchor block")
        at = lines.index("--AnchorPos")
        check(lines[at + 1].startswith("AnchorPos="), "the anchor line follows its marker: %r" % lines[at + 1])
        saved = [float(t) for t in lines[at + 1].split("=", 1)[1].split()]
        check(distance(saved, moved) < 1e-5, "the block holds the moved anchor: %r vs %r" % (saved, moved))
        # Without the views' own anchor lines the anchor can only come from its block.
        stripped = [line for line in lines if not re.match(r"^GLView\dCamAnchor=", line)]
        check(len(stripped) == len(lines) - 5, "five view anchors removed")
        with open(a, "w", encoding="utf-8") as f:
            f.write("\n".join(stripped))
        app = App(binary, args=[a])
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "the re-opened project is drawn")
            time.sleep(0.5)
            for i in range(5):
                _, back = app.camera(i)
                check(distance(back, saved) < 1e-5, "view %d orbits the saved anchor again: %r" % (i, back))
            # An orbit keeps the eye's distance to the anchor read back.
            pos1, anchor1 = app.camera(3)
            v = app.view(3)
            cx, cy = v["sx"] + v["w"] // 2, v["sy"] + v["h"] // 2
            subprocess.run(["xdotool", "mousemove", str(cx), str(cy), "mousedown", "1", "mousemove", str(cx + 50),
                            str(cy), "sleep", "0.1", "mousemove", str(cx + 100), str(cy + 20), "sleep", "0.1",
                            "mouseup", "1"], check=True)
            app.wait_for(lambda s: [float(t) for t in s["camera3"].split()[0:3]] != pos1, "left-drag orbits")
            time.sleep(0.5)
            pos2, anchor2 = app.camera(3)
            check(distance(anchor2, saved) < 1e-5, "the orbit keeps the anchor")
            check(abs(distance(pos2, anchor2) - distance(pos1, anchor1)) < 1e-3,
                  "the eye turns round the read anchor: %r -> %r" % (pos1, pos2))
        finally:
            app.close()
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_project_roundtrip(binary):
    # A project made by the command line, opened by the window, its camera moved and saved; the
    # saved file opened and saved again is the same to the byte, and both draw the same picture.
    work = tempfile.mkdtemp(prefix="tessan-project-")
    try:
        first = write_series(work)[0]
        cli = os.path.join(os.path.dirname(binary), "tessan-cli")
        a = os.path.join(work, "a.vsp")
        r = subprocess.run([cli, "project", "new", a, "--data", first, "--filter", "level:0,1,0,1,1.5,0",
                            "--filter", "volume", "--length", "5"], capture_output=True, text=True)
        check(r.returncode == 0, "project new: %s" % r.stderr)
        # The colour dialog's custom colours: one changed entry, one word that is no colour.
        colours = "ColourDialogCustomColours=#102030 bogus" + " #ffffff" * 14 + "\n"
        with open(a, "a", encoding="utf-8") as f:
            f.write(colours)
        app = App(binary, args=[a])
        try:
            s = app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "the project's data is drawn")
            check(s["title"].startswith(a + " @ ") and s["title"].endswith(" - Tessan"),
                  "titled after the project and its data: %r" % s["title"])
            check(s["chain"] == "2|Level Gamma|Volume", "the project's chain: %r" % s["chain"])
            v = app.view(3)
            cx, cy = v["sx"] + v["w"] // 2, v["sy"] + v["h"] // 2
            pos0, anchor0 = app.camera(3)
            subprocess.run(["xdotool", "mousemove", str(cx), str(cy), "mousedown", "1", "mousemove", str(cx + 40),
                            str(cy), "sleep", "0.1", "mousemove", str(cx + 90), str(cy + 20), "sleep", "0.1",
                            "mouseup", "1"], check=True)
            app.wait_for(lambda s: s["camera3"] != "%.6f %.6f %.6f anchor %.6f %.6f %.6f" % (*pos0, *anchor0),
                         "the camera moved")
            time.sleep(0.5)
            moved = app.state()["camera3"]
            before = os.path.getmtime(a)
            app.key("ctrl+s")
            end = time.time() + 20 * SCALE
            while os.path.getmtime(a) == before and time.time() < end:
                time.sleep(0.1)
            with open(a, encoding="utf-8") as f:
                text_a = f.read()
            check("--GLCanvas" in text_a and "ActiveDataSlot=0" in text_a and "--LevelAndGamma" in text_a,
                  "the window's save holds views, slots and chain")
            check(text_a.endswith(colours.replace("bogus", "#ffffff")),
                  "custom colours kept, the bad word left at its default: %r" % text_a[-140:])
        finally:
            app.close()
        pic_a, state_a = shoot(binary, work, "shot_a", [a])
        b = os.path.join(work, "b.vsp")
        shutil.copyfile(a, b)
        app = App(binary, args=[b])
        try:
            s = app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "the saved project's data is drawn")
            # (the file keeps six decimals, so the last digit may round)
            back = [float(t) for t in s["camera3"].split() if t != "anchor"]
            want = [float(t) for t in moved.split() if t != "anchor"]
            check(max(abs(x - y) for x, y in zip(back, want)) < 1e-5,
                  "the moved camera comes back: %r vs %r" % (s["camera3"], moved))
            before = os.path.getmtime(b)
            time.sleep(1.1)  # a second save within the same second would not change the time stamp
            app.key("ctrl+s")
            end = time.time() + 20 * SCALE
            while os.path.getmtime(b) == before and time.time() < end:
                time.sleep(0.1)
        finally:
            app.close()
        with open(b, encoding="utf-8") as f:
            text_b = f.read()
        check(text_a == text_b, "saving the re-opened project changed it")
        pic_b, state_b = shoot(binary, work, "shot_b", [b])
        check(state_a["slot0"] == state_b["slot0"] == "6 0 0 1", "both drew frame 0: %r %r"
              % (state_a["slot0"], state_b["slot0"]))
        check(pic_a.width == pic_b.width and pic_a.height == pic_b.height, "picture sizes differ")
        # The view is drawn by the same software GL from the same settings: equal to the pixel.
        w, bottom = view_box(pic_a)
        check(w > 200 and bottom > 150, "view at %dx%d" % (w, bottom))
        in_view = sum(1 for y in range(bottom) for x in range(w) if pic_a.pixel(x, y) != pic_b.pixel(x, y))
        check(in_view == 0, "the re-opened project draws differently (%d pixels of the view)" % in_view)
        # The panels too, except for the toolkit's check-box animation, which is caught at any
        # moment of its fade: at most one box-sized patch may differ.
        diff = [(x, y) for y in range(pic_a.height) for x in range(pic_a.width)
                if pic_a.pixel(x, y) != pic_b.pixel(x, y)]
        if diff:
            xs, ys = [p[0] for p in diff], [p[1] for p in diff]
            check(max(xs) - min(xs) < 24 and max(ys) - min(ys) < 24,
                  "the panels differ over %d..%d x %d..%d" % (min(xs), max(xs), min(ys), max(ys)))
        check(pic_a.distinct_colours() > 20, "the picture is blank")
    finally:
        shutil.rmtree(work, ignore_errors=True)

def find_window_named(title, timeout=10.0 * SCALE):
    end = time.time() + timeout
    while time.time() < end:
        out = subprocess.run(["xdotool", "search", "--name", "^" + title + "$"], capture_output=True,
                             text=True).stdout.split()
        if out:
            return out[0]
        time.sleep(0.1)
    raise Failure("no window titled %r" % title)


def save_as(title, path):
    """Types a full path into the name field of the save dialog titled `title` and accepts it."""
    dialog = find_window_named(title)
    time.sleep(0.5)
    subprocess.run(["xdotool", "windowfocus", "--sync", dialog], check=True)
    subprocess.run(["xdotool", "key", "ctrl+a"], check=True)
    subprocess.run(["xdotool", "type", path], check=True)
    time.sleep(0.3)
    subprocess.run(["xdotool", "key", "Return"], check=True)


def pngs(folder):
    return sorted(f for f in os.listdir(folder) if f.endswith(".png")) if os.path.isdir(folder) else []


def case_img_sequence(binary):
    """File > Export > Image sequence writes one PNG per frame of the working area, numbered from 0,
    each showing its own frame; Stop in the progress window ends it early; taken names are refused."""
    work = tempfile.mkdtemp(prefix="tessan-imgseq-")
    try:
        cli = os.path.join(os.path.dirname(binary), "tessan-cli")
        subprocess.run([cli, "sample", os.path.join(work, "d")], check=True, capture_output=True)
        first = os.path.join(work, "d", "demo_0000.df3")
        out = os.path.join(work, "out")
        os.mkdir(out)
        app = App(binary, args=[first], folder=work)
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("24 0 0 1"), "frame 0 of the sample is drawn")
            # File > Export (seventh entry) > Image sequence (first entry of the submenu).
            menu(app, "f", ["Down"] * 6 + ["Right"])
            save_as("Export image sequence", os.path.join(out, "shot_0000.png"))
            s = app.wait_for(lambda s: s.get("status0", "") == "Image sequence: 24 images written", "the export did not end",
                             timeout=150)
            check("stopped" not in s["status0"], "the export stopped by itself: %r" % s["status0"])
            names = pngs(out)
            check(names == ["shot_%04d.png" % i for i in range(24)], "files written: %r" % names)
            v = app.view(int(s["active"]))
            pictures = [Picture(os.path.join(out, n)) for n in names]
            for p in pictures:
                check((p.width, p.height) == (v["w"], v["h"]), "picture size %dx%d, view %dx%d"
                      % (p.width, p.height, v["w"], v["h"]))
            check(pictures[0].distinct_colours() > 20, "the first picture is blank")
            # Consecutive frames differ in the volume itself, not only in the frame-number label
            # (the view's top and bottom strips are left out).
            for i in range(23):
                d = region_difference(pictures[i], pictures[i + 1], 0, 30, v["w"], v["h"] - 40)
                check(d > 0.2, "pictures %d and %d show the same volume (%.3f)" % (i, i + 1, d))
            check(s["frame"] == "0", "the clock is back on its frame: %r" % s["frame"])

            # The same names again: refused with a message, nothing replaced.
            stamp = os.path.getmtime(os.path.join(out, "shot_0005.png"))
            menu(app, "f", ["Down"] * 6 + ["Right"])
            save_as("Export image sequence", os.path.join(out, "shot_0000.png"))
            end = time.time() + 10 * SCALE
            while "overwrite forbidden" not in app.stderr() and time.time() < end:
                time.sleep(0.2)
            check("prompt: Write Error" in app.stderr() and "shot_0000.png overwrite forbidden" in app.stderr(),
                  "no refusal: %r" % app.stderr()[-400:])
            check(os.path.getmtime(os.path.join(out, "shot_0005.png")) == stamp, "a taken file was replaced")

            # Stop mid-way: the export ends with fewer files and writes nothing more.
            out2 = os.path.join(work, "out2")
            os.mkdir(out2)
            menu(app, "f", ["Down"] * 6 + ["Right"])
            save_as("Export image sequence", os.path.join(out2, "part_0000.png"))
            end = time.time() + 60 * SCALE
            while len(pngs(out2)) < 2 and time.time() < end:
                time.sleep(0.05)
            progress = find_window_named("Image sequence")
            subprocess.run(["xdotool", "windowfocus", "--sync", progress], check=True)
            subprocess.run(["xdotool", "key", "Return"], check=True)
            s = app.wait_for(lambda s: s.get("status0", "").startswith("Image sequence stopped"), "Stop did not end the export")
            written = pngs(out2)
            check(2 <= len(written) < 24, "files after Stop: %d" % len(written))
            check(written == ["part_%04d.png" % i for i in range(len(written))], "numbering: %r" % written)
            time.sleep(1.5)
            check(len(pngs(out2)) == len(written), "files were written after Stop")
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)



def case_names_remembered(binary):
    """The image-sequence name chosen in the export dialog and the data file opened are remembered
    in the configuration at quit, and the name read at the next start is saved again."""
    work = tempfile.mkdtemp(prefix="tessan-names-")
    try:
        cli = os.path.join(os.path.dirname(binary), "tessan-cli")
        subprocess.run([cli, "sample", os.path.join(work, "d")], check=True, capture_output=True)
        first = os.path.join(work, "d", "demo_0000.df3")
        out = os.path.join(work, "out")
        os.mkdir(out)
        # A taken first name: the export is refused, but the name chosen is still the new base.
        with open(os.path.join(out, "scan_0000.png"), "wb") as f:
            f.write(b"taken")
        app = App(binary, answers="yes", args=[first], folder=work)
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("24 0 0 1"), "frame 0 of the sample is drawn")
            menu(app, "f", ["Down"] * 6 + ["Right"])
            save_as("Export image sequence", os.path.join(out, "scan_0000.png"))
            end = time.time() + 10 * SCALE
            while "overwrite forbidden" not in app.stderr() and time.time() < end:
                time.sleep(0.2)
            check("overwrite forbidden" in app.stderr(), "no refusal: %r" % app.stderr()[-300:])
            app.key("ctrl+q")
            check(app.proc.wait(20 * SCALE) == 0, "quit with Yes")
        finally:
            app.close(keep=True)
        conf_path = os.path.join(work, "KivrelConfigure.txt")
        with open(conf_path, encoding="utf-8") as f:
            conf = f.read()
        check("ImgSequenceName=scan\n" in conf, "the chosen base name is saved: %r" % conf[:400])
        check("ImportListFile0=%s\n" % first in conf and "ImportListFolder=%s\n" % os.path.dirname(first) in conf,
              "the opened data file and its folder are remembered")
        # Next start: the configuration is read, and quitting writes the name read back, not the default.
        app = App(binary, answers="yes", folder=work)
        try:
            app.key("ctrl+q")
            check(app.proc.wait(20 * SCALE) == 0, "quit with Yes")
        finally:
            app.close(keep=True)
        with open(conf_path, encoding="utf-8") as f:
            conf = f.read()
        check("ImgSequenceName=scan\n" in conf, "the name read at start is kept: %r" % conf[:400])
        check("ImportListFile0=%s\n" % first in conf, "the import list is kept")
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_box_factors(binary):
    """The volume boxes' colour and alpha factors in a project change what is drawn: a red factor
    leaves only red, alpha 0 hides the slot; the Drawing Blocks dialog shows and applies them."""
    work = tempfile.mkdtemp(prefix="tessan-boxes-")
    try:
        first = write_series(work)[0]
        cli = os.path.join(os.path.dirname(binary), "tessan-cli")
        a = os.path.join(work, "a.vsp")
        r = subprocess.run([cli, "project", "new", a, "--data", first, "--filter", "volume", "--length", "5"],
                           capture_output=True, text=True)
        check(r.returncode == 0, "project new: %s" % r.stderr)
        with open(a, encoding="utf-8") as f:
            text = f.read()
        check("TexBoxColorFactor0=1.000000 1.000000 1.000000\n" in text and "TexBoxAlphaFactor0=1.000000\n" in text,
              "the command line's project holds the neutral factors")
        pic, _ = shoot(binary, work, "plain", [a])
        w, bottom = check_volume_shown(pic, "plain")
        cx, cy = w // 2, bottom // 2
        variants = {"red": text.replace("TexBoxColorFactor0=1.000000 1.000000 1.000000",
                                        "TexBoxColorFactor0=1.000000 0.000000 0.000000"),
                    "hidden": text.replace("TexBoxAlphaFactor0=1.000000", "TexBoxAlphaFactor0=0.000000")}
        for name, body in variants.items():
            path = os.path.join(work, name + ".vsp")
            with open(path, "w", encoding="utf-8") as f:
                f.write(body)
            variant, _ = shoot(binary, work, name, [path])
            px = variant.pixel(cx, cy)
            if name == "red":
                plain = pic.pixel(cx, cy)
                check(px[0] > px[1] + 40 and px[0] > px[2] + 40, "red factor: %r (plain %r)" % (px, plain))
            else:
                centre = region_mean_distance(variant, cx - 10, cy - 10, cx + 10, cy + 10)
                check(centre < 8, "alpha 0 leaves the background (distance %.1f)" % centre)
        # The dialog: View > Drawing Blocks (fifth entry); slot 1's alpha is eight tabs on.
        app = App(binary, args=[a], folder=work)
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "the project's data is drawn")
            menu(app, "v", ["Down"] * 4)
            dialog = find_window_named("Drawing Blocks")
            time.sleep(0.5)
            subprocess.run(["xdotool", "windowfocus", "--sync", dialog], check=True)
            subprocess.run(["xdotool", "key"] + ["Tab"] * 8 + ["ctrl+a"], check=True)
            subprocess.run(["xdotool", "type", "0"], check=True)
            subprocess.run(["xdotool", "key", "Tab"], check=True)
            time.sleep(0.3)
            subprocess.run(["xdotool", "key", "Return"], check=True)
            time.sleep(0.5)
            before = os.path.getmtime(a)
            time.sleep(1.1)
            app.key("ctrl+s")
            end = time.time() + 20 * SCALE
            while os.path.getmtime(a) == before and time.time() < end:
                time.sleep(0.1)
        finally:
            app.close(keep=True)
        with open(a, encoding="utf-8") as f:
            saved = f.read()
        check("TexBoxAlphaFactor0=0.000000\n" in saved, "the dialog set slot 1's alpha: %r"
              % [l for l in saved.split("\n") if l.startswith("TexBox")])
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_iso_sequence(binary):
    """File > Export > Isosurface sequence writes the chain's isosurface of every frame of the working
    area as numbered mesh2 files with the surfaces the CLI finds for the same files; Stop ends it."""
    work = tempfile.mkdtemp(prefix="tessan-isoseq-")
    try:
        cli = os.path.join(os.path.dirname(binary), "tessan-cli")
        subprocess.run([cli, "sample", os.path.join(work, "d")], check=True, capture_output=True)
        first = os.path.join(work, "d", "demo_0000.df3")
        out = os.path.join(work, "out")
        os.mkdir(out)
        app = App(binary, args=[first], folder=work)
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("24 0 0 1"), "frame 0 of the sample is drawn")
            # Without an isosurface in the chain there is nothing to export: a message, no file.
            menu(app, "f", ["Down"] * 6 + ["Right", "Down"])
            save_as("Export isosurface sequence", os.path.join(out, "none_0000.pov"))
            end = time.time() + 10 * SCALE
            while "no isosurface" not in app.stderr() and time.time() < end:
                time.sleep(0.2)
            check("prompt: Write Error: The filter list has no isosurface" in app.stderr(),
                  "no message without an isosurface: %r" % app.stderr()[-300:])
            check(os.listdir(out) == [], "files without an isosurface: %r" % os.listdir(out))
            # Filter > Add Isosurface (first entry), then the export.
            menu(app, "i", [])
            app.wait_for(lambda s: s.get("chain") == "1|Isosurface", "no isosurface in the chain")
            menu(app, "f", ["Down"] * 6 + ["Right", "Down"])
            save_as("Export isosurface sequence", os.path.join(out, "iso_0000.pov"))
            s = app.wait_for(lambda s: s.get("status0", "") == "Isosurfaces of 24 frames written",
                             "the export did not end", timeout=150)
            names = sorted(os.listdir(out))
            check(names == ["iso_%04d.pov" % i for i in range(24)], "files written: %r" % names)
            for k in (0, 9, 23):
                with open(os.path.join(out, "iso_%04d.pov" % k)) as f:
                    text = f.read()
                check(text.startswith("//Mesh2file generated by ") and
                      ("#declare ISOSURF_Isosurface_%d=mesh2{" % k) in text, "mesh2 text of frame %d" % k)
                r = subprocess.run([cli, "iso", os.path.join(work, "d", "demo_%04d.df3" % k), "--level", "0.5"],
                                   capture_output=True, text=True, check=True)
                vertices = [l.split(": ")[1] for l in r.stdout.splitlines() if l.startswith("vertices fully")][0]
                check("\tvertex_vectors{\n\t\t%s,\n" % vertices in text,
                      "frame %d: not the %s vertices the CLI finds" % (k, vertices))
            # Stop mid-way.
            out2 = os.path.join(work, "out2")
            os.mkdir(out2)
            menu(app, "f", ["Down"] * 6 + ["Right", "Down"])
            save_as("Export isosurface sequence", os.path.join(out2, "part_0000.pov"))
            end = time.time() + 60 * SCALE
            while len(os.listdir(out2)) < 1 and time.time() < end:
                time.sleep(0.05)
            progress = find_window_named("Isosurface sequence")
            subprocess.run(["xdotool", "windowfocus", "--sync", progress], check=True)
            subprocess.run(["xdotool", "key", "Return"], check=True)
            s = app.wait_for(lambda s: s.get("status0", "").startswith("Isosurface export stopped"),
                             "Stop did not end the export")
            written = sorted(os.listdir(out2))
            check(1 <= len(written) < 24, "files after Stop: %d" % len(written))
            time.sleep(1.5)
            check(len(os.listdir(out2)) == len(written), "files were written after Stop")
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)



def case_stack_series(binary):
    """A slice of a time series of image stacks (one folder per time point, written by our own
    exporter) opens every stack as one frame of the slot, and the frames are drawn."""
    work = tempfile.mkdtemp(prefix="tessan-stacks-")
    try:
        cli = os.path.join(os.path.dirname(binary), "tessan-cli")
        subprocess.run([cli, "sample", os.path.join(work, "d")], check=True, capture_output=True)
        for t in range(3):
            folder = os.path.join(work, "run", "t%03d" % t)
            os.makedirs(folder)
            subprocess.run([cli, "convert", "--slices", "z", os.path.join(work, "d", "demo_%04d.df3" % (4 * t)),
                            os.path.join(folder, "img_%03d.png")], check=True, capture_output=True)
        app = App(binary, args=[os.path.join(work, "run", "t001", "img_064.png")], folder=work)
        try:
            s = app.wait_for(lambda s: s.get("slot0", "").startswith("3 0 0 1"), "frame 0 of the stacks is drawn",
                             timeout=60)
            check(len(s["seq.items"].split("|")) == 3, "three stacks in the slot: %r" % s["seq.items"])
            v = app.view(3)
            cx, cy = v["sx"] + v["w"] // 2, v["sy"] + v["h"] // 2
            pic = app.grab("stack0.png")
            check(region_mean_distance(pic, cx - 10, cy - 10, cx + 10, cy + 10) > 60, "the stack is not drawn")
            app.key("End")
            app.wait_for(lambda s: s.get("slot0", "").startswith("3 2 2 1"), "the last stack is drawn")
        finally:
            app.close()
    finally:
        shutil.rmtree(work, ignore_errors=True)



# --- rendering -----------------------------------------------------------------------------------

def render_setup(folder, sample_frames, delay, extra=""):
    """A folder with the series, a stand-in for the ray tracer that logs when each run starts and
    ends (and waits `delay` seconds before running the real POV-Ray), and a configuration with a
    tiny, quick picture seen from the perspective view."""
    paths = write_series(folder, frames=sample_frames)
    log = os.path.join(folder, "povray.log")
    wrapper = os.path.join(folder, "slowpov.sh")
    with open(wrapper, "w") as f:
        f.write("#!/bin/sh\n"
                "echo \"start $(date +%%s.%%N) $1\" >> %s\n"
                "sleep %s\n"
                "/usr/bin/povray \"$@\" >/dev/null 2>&1; rc=$?\n"
                "echo \"end $(date +%%s.%%N) $1\" >> %s\n"
                "exit $rc\n" % (log, delay, log))
    os.chmod(wrapper, 0o755)
    os.makedirs(os.path.join(folder, "out"), exist_ok=True)
    with open(os.path.join(folder, "KivrelConfigure.txt"), "w") as f:
        f.write("POVRAY_PATH=%s\nWORKING_DIR=%s/POV\nPovOutputDir=%s/out\nPovImageWidth=64\n"
                "PovImageHeight=48\nPovAntialias=0\nPovRenderCamera=3\nPovWorkThread=1\n%s"
                % (wrapper, folder, folder, extra))
    return paths, log


def read_runs(log):
    """(start, end, ini) of every ray-tracer run in the stand-in's log, in start order."""
    starts, ends = {}, {}
    if not os.path.exists(log):
        return []
    with open(log) as f:
        for line in f:
            kind, t, ini = line.split()
            (starts if kind == "start" else ends)[ini] = float(t)
    return sorted((starts[i], ends.get(i), i) for i in starts)


def images(folder):
    return sorted(n for n in os.listdir(os.path.join(folder, "out")) if n.endswith(".png"))


def watch(app, until, timeout, seen):
    """Polls the state until `until(state)`, collecting what status field 2, the render button
    and the gauge showed on the way."""
    end = time.time() + timeout * SCALE
    while time.time() < end:
        s = app.state()
        for key in ("status2", "render_button", "gauge"):
            if key in s and (not seen[key] or seen[key][-1] != s[key]):
                seen[key].append(s[key])
        if s and until(s):
            return s
        check(app.proc.poll() is None, "the program ended: " + app.stderr())
        time.sleep(0.05)
    raise Failure("timed out; seen %r" % seen)


def case_render_sequence(binary):
    """Render sequence from the window: every frame of the 24-frame series becomes one picture,
    one ray tracer at a time, with "PovRendering i/24" in the status bar, the gauge moving and the
    render button showing StopAnim in red on white while the sequence runs."""
    work = tempfile.mkdtemp(prefix="tessan-render-")
    try:
        paths, log = render_setup(work, 24, "0.3")
        app = App(binary, answers="yes", args=[paths[0]], folder=work, size="1200x1000")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("24 0 0 1"), "frame 0 never drawn")
            s = app.state()
            check(s["render"] == "0 0 0 0 0", "nothing renders at the start: %r" % s["render"])
            check(s["render_button"].startswith("Render Anim|"), "the button: %r" % s["render_button"])
            app.key("ctrl+F6")
            seen = {"status2": [], "render_button": [], "gauge": []}
            watch(app, lambda s: s["render"].startswith("1 "), 60, seen)
            s = watch(app, lambda s: s["render"] == "0 24 24 0 0" and s.get("status2") == "not rendering", 120, seen)
            check("You are goint to render sequence." in app.stderr(), "the question was asked")
            names = images(work)
            check(names == ["povanim%04d.png" % i for i in range(24)], "24 pictures: %r" % names)
            runs = read_runs(log)
            check(len(runs) == 24, "24 runs: %d" % len(runs))
            for (s0, e0, ini0), (s1, _, ini1) in zip(runs, runs[1:]):
                check(e0 is not None and s1 >= e0, "%s started before %s ended" % (ini1, ini0))
            check([r[2] for r in runs] == [os.path.join(work, "POV", "povanim%04d.ini" % i) for i in range(24)],
                  "frames in order")
            shown = [t for t in seen["status2"] if t.startswith("PovRendering ")]
            numbers = [int(t.split()[1].split("/")[0]) for t in shown]
            check(len(numbers) >= 5 and all(t.endswith("/24") for t in shown), "status texts: %r" % shown)
            check(numbers == sorted(numbers) and numbers[-1] == 24, "counting up to 24: %r" % numbers)
            check(seen["status2"][-1] == "not rendering", "ends with 'not rendering': %r" % seen["status2"])
            check("StopAnim|#FF0000|#FFFFFF" in seen["render_button"], "StopAnim in red on white: %r"
                  % seen["render_button"])
            check(seen["render_button"][-1].startswith("Render Anim|"), "the button comes back")
            values = [int(g.split()[0]) for g in seen["gauge"] if g.endswith(" 1")]
            check(len(values) >= 5 and values == sorted(values) and values[-1] >= 90, "gauge: %r" % seen["gauge"])
            check(s["gauge"].endswith(" 0"), "the gauge goes when done: %r" % s["gauge"])
            check(s["frame"] == "0", "the clock is back on the frame shown before: %r" % s["frame"])
            with open(os.path.join(work, "POV", "povanim0007.pov")) as f:
                scene = f.read()
            check("density_file df3 \"povanim0007_BOX0.df3\"" in scene or "povanim0007_BOX0.df3" in scene,
                  "frame 7's scene reads frame 7's data")
            camera = s["camera3"].split()
        finally:
            app.close(keep=True)
        # Real pictures: each shows the data, and they follow the frames (the small blob moves
        # across the box, less than a pixel a frame at this size, so first, middle and last).
        pictures = [Picture(os.path.join(work, "out", n)) for n in names]
        for n, pic in zip(names, pictures):
            check((pic.width, pic.height) == (64, 48), "%s is %dx%d" % (n, pic.width, pic.height))
            check(max(max(pic.rgb[i:i + 3]) for i in range(0, len(pic.rgb), 3)) > 60, "%s is blank" % n)
        for a, b in ((0, 12), (12, 23), (0, 23)):
            moved = sum(distance(pictures[a].pixel(x, y), pictures[b].pixel(x, y)) > 40
                        for y in range(48) for x in range(64))
            check(moved >= 4, "frames %d and %d look the same (%d pixels differ)" % (a, b, moved))
        # The same frames rendered by tessan-cli from a project with the window's camera and
        # what the window exports for a slot without items (palette 0, one media interval).
        check_cli_render_equals(binary, work, paths[0], camera, pictures)
    finally:
        shutil.rmtree(work, ignore_errors=True)


def check_cli_render_equals(binary, work, first, camera, pictures):
    project = os.path.join(work, "cli.vsp")
    r = subprocess.run([cli_binary(binary), "project", "new", project, "--data", first, "--filter", "volume"],
                       capture_output=True, text=True)
    check(r.returncode == 0, "tessan-cli project new: %s" % r.stderr)
    with open(project, encoding="utf-8") as f:
        text = f.read()
    for key, value in {"VolumeColorIndex=": "0", "VolumeIntervals=": "1", "PovImageWidth=": "64",
                       "PovImageHeight=": "48", "PovAntialias=": "0", "PovWorkThread=": "1"}.items():
        text = re.sub("^" + re.escape(key) + ".*$", key + value, text, flags=re.M)
    text += "GLView0CamLocation=%s %s %s\nGLView0CamLookAt=%s %s %s\n" % tuple(camera[0:3] + camera[4:7])
    with open(project, "w", encoding="utf-8") as f:
        f.write(text)
    out = os.path.join(work, "cli")
    r = subprocess.run([cli_binary(binary), "render", project, "--frames", "0:%d" % (len(pictures) - 1), "--jobs", "2",
                        "--povray", "/usr/bin/povray", "--workdir", out], capture_output=True, text=True, timeout=170)
    check(r.returncode == 0, "tessan-cli render: %s" % r.stderr[-800:])
    worst, other = 0.0, None
    for i, pic in enumerate(pictures):
        cli = Picture(os.path.join(out, "povanim%04d.png" % i))
        check((cli.width, cli.height) == (pic.width, pic.height), "frame %d: CLI picture of another size" % i)
        diff = region_difference(pic, cli, 0, 0, pic.width, pic.height)
        # The same scene text gives the same picture; the bound leaves room for nothing more than
        # rounding, well below what separates the first frame from the last (about 2).
        check(diff < 0.5, "frame %d: the window's picture differs from the CLI render (mean %.2f)" % (i, diff))
        worst = max(worst, diff)
        if i == len(pictures) - 1:
            # The measure tells frames apart: the last CLI picture against the window's first.
            other = region_difference(pictures[0], cli, 0, 0, pic.width, pic.height)
    check(other > 1.0, "the comparison cannot tell the first frame from the last (%.2f)" % other)
    print("window against CLI: mean colour difference at most %.2f (first against last frame: %.2f)"
          % (worst, other))


def case_render_stop(binary):
    """The render button stops a running sequence after the frame being rendered: that picture
    is finished, no further frame starts."""
    work = tempfile.mkdtemp(prefix="tessan-stop-")
    try:
        paths, log = render_setup(work, 24, "1.0")
        app = App(binary, answers="yes,yes", args=[paths[0]], folder=work, size="1200x1000")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("24 0 0 1"), "frame 0 never drawn")
            app.key("ctrl+F6")
            seen = {"status2": [], "render_button": [], "gauge": []}
            watch(app, lambda s: s.get("status2") == "PovRendering 3/24", 60, seen)
            check(seen["render_button"][-1] == "StopAnim|#FF0000|#FFFFFF", "StopAnim while rendering")
            # Pressing the button itself, as a user would.
            x, y, w, h = [int(v) for v in app.state()["render_button_place"].split()]
            subprocess.run(["xdotool", "mousemove", str(x + w // 2), str(y + h // 2), "click", "1"], check=True)
            s = watch(app, lambda s: s["render"].startswith("0 ") and s.get("status2") == "not rendering", 30, seen)
            check("Rendering sequence is running." in app.stderr(), "the stop question was asked")
            time.sleep(2.5)  # a frame started by mistake would show up in the log by now
            runs = read_runs(log)
            stopped_at = int(s["render"].split()[1])
            check(3 <= len(runs) <= 4 and len(runs) == stopped_at, "runs %d, index %d" % (len(runs), stopped_at))
            check(all(e is not None for _, e, _ in runs), "the running frame was finished")
            check(images(work) == ["povanim%04d.png" % i for i in range(len(runs))], "pictures: %r" % images(work))
            check(app.state()["render_button"].startswith("Render Anim|"), "the button is back")
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_snapshot(binary):
    """Snapshot writes the shown frame's scene and renders one picture of it; with stereo output
    the "Stereogram Snapshot" choice makes two, one per eye."""
    work = tempfile.mkdtemp(prefix="tessan-snap-")
    try:
        paths, log = render_setup(work, 6, "0")
        app = App(binary, answers="0", args=[paths[0]], folder=work, size="1200x1000")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "frame 0 never drawn")
            app.key("Right")
            app.key("Right")
            app.wait_for(lambda s: s["frame"] == "2", "two steps forward")
            app.key("F6")
            end = time.time() + 60 * SCALE
            while time.time() < end and (len(read_runs(log)) < 1 or any(e is None for _, e, _ in read_runs(log))):
                time.sleep(0.1)
            check(images(work) == ["povsnap0002.png"], "one picture of frame 2: %r" % images(work))
            check(sorted(os.listdir(os.path.join(work, "POV"))) == ["povsnap0002.ini", "povsnap0002.pov",
                                                                     "povsnap0002_BOX0.df3"],
                  "the snapshot's files: %r" % os.listdir(os.path.join(work, "POV")))
            check(Picture(os.path.join(work, "out", "povsnap0002.png")).distinct_colours() > 3,
                  "the picture shows something")
            s = app.state()
            check(s["status0"].startswith("Render by Pov-Ray. Output to "), "status: %r" % s["status0"])
        finally:
            app.close(keep=True)
        # Stereo: the choice is asked; answer 0 takes both eyes.
        with open(os.path.join(work, "KivrelConfigure.txt"), "a") as f:
            f.write("PovStereoEye=1\n")
        app = App(binary, answers="0", args=[paths[0]], folder=work, size="1200x1000")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "frame 0 never drawn")
            app.key("F6")
            end = time.time() + 60 * SCALE
            while time.time() < end and (len(read_runs(log)) < 3 or any(e is None for _, e, _ in read_runs(log))):
                time.sleep(0.1)
            check("prompt: Stereogram Snapshot: Rendering with Stereogram." in app.stderr(), "the stereo choice")
            check(images(work) == ["povsnap0002.png", "povsnapL0000.png", "povsnapR0000.png"],
                  "one picture per eye: %r" % images(work))
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)


# --- the rendered scene against the preview ----------------------------------------------------

# The camera of the perspective view in these scenes: off to one side and above, looking at a
# point beside the box centre, so the data sit off the middle of the picture and a mirrored or
# swapped axis would move them.
MATCH_CAMERA = "GLView3CamLocation=1.5 1.1 2.2\nGLView3CamLookAt=0.15 0.1 0\n"
# A light behind the camera, for the isosurface: the visible side is lit evenly, so shading
# darkens the outline alike all round and moves no centroid.
MATCH_LIGHT = ("--LightSource\nLightKind=0\nParameter_Light\ndimension 7\ntimeDepend 0\nvisible 1\nshow 1\n"
               "selectable 1\nitemnum 1\n0 7 1 3 2.2 4.4 1 1 1 1" + " 0" * 14 + "\n--FinishLightSource\n")


def cli_binary(binary):
    return os.path.join(os.path.dirname(binary), "tessan-cli")


def match_project(binary, work, name, filters, size, extra=""):
    """A project of the bundled sample (first frame, down-sized to 32^3) with the given chain
    items, the test camera in the perspective view, and a picture of `size` rendered from that
    view, anti-aliasing off, one render thread."""
    data = os.path.join(work, "data")
    if not os.path.exists(os.path.join(data, "demo_0000.df3")):
        r = subprocess.run([cli_binary(binary), "sample", data], capture_output=True, text=True)
        check(r.returncode == 0, "tessan-cli sample: %s" % r.stderr)
    path = os.path.join(work, name + ".vsp")
    if os.path.exists(path):
        os.remove(path)
    args = [cli_binary(binary), "project", "new", path, "--data", os.path.join(data, "demo_0000.df3")]
    for f in filters:
        args += ["--filter", f]
    r = subprocess.run(args, capture_output=True, text=True)
    check(r.returncode == 0, "tessan-cli project new: %s" % r.stderr)
    with open(path, encoding="utf-8") as f:
        text = f.read()
    replace = {"DownSizeSRC=": "4 4 4", "PovRenderCamera=": "3", "PovImageWidth=": str(size[0]),
               "PovImageHeight=": str(size[1]), "PovAntialias=": "0", "PovWorkThread=": "1",
               "WORKING_DIR=": os.path.join(work, name), "PovOutputDir=": os.path.join(work, name + "_out"),
               # The preview's background, and a picture file in display gamma as the preview is:
               # a dark section plane then stands out of the background in both pictures alike.
               "PovBGColor=": "%.6f %.6f %.6f" % tuple(c / 255.0 for c in BACKGROUND), "PovFileGamma=": "2.2",
               # Fog that lets the volume through: a dark blue, its distance beyond the box.
               "FogDistance=": "4", "FogColor=": "0.15 0.2 0.45"}
    lines = []
    for line in text.split("\n"):
        for key, value in replace.items():
            if line.startswith(key):
                line = key + value
        lines.append(line)
    text = "\n".join(lines)
    if "VOLUME_ALPHA0" in extra:
        # The volume item's "Alpha" at 0: its media neither glow nor absorb in the scene.
        start = text.index("--Volume\n")
        key = text.index("itemnum 1\n0 1 1 1 0 0\n", start)
        text = text[:key] + "itemnum 1\n0 1 1 0 0 0\n" + text[key + len("itemnum 1\n0 1 1 1 0 0\n"):]
        extra = extra.replace("VOLUME_ALPHA0", "")
    if "--LightSource\n--FinishLightSource\n" in text and "LIGHT" in extra:
        text = text.replace("--LightSource\n--FinishLightSource\n", MATCH_LIGHT)
        extra = extra.replace("LIGHT", "")
    with open(path, "w", encoding="utf-8") as f:
        f.write(text + MATCH_CAMERA + extra)
    os.makedirs(os.path.join(work, name + "_out"), exist_ok=True)
    return path


def window_snapshot(binary, work, project, name):
    """Opens the project in the window, takes a snapshot from the Render menu (F6) and waits for
    the real POV-Ray to finish the picture; returns it with the scene text."""
    app = App(binary, answers="yes", args=[project], folder=work, size="640x480")
    try:
        app.wait_for(lambda s: s.get("slot0", "").startswith("24 0 0 1"), "frame 0 never drawn")
        app.key("F6")
        picture = os.path.join(work, name + "_out", "povsnap0000.png")
        end = time.time() + 150
        while time.time() < end:
            s = app.state()
            if os.path.exists(picture) and s.get("render", "").endswith(" 0"):
                break
            check(app.proc.poll() is None, "the program ended: " + app.stderr())
            time.sleep(0.2)
        check(os.path.exists(picture), "no picture from the snapshot; stderr: %s" % app.stderr()[-800:])
        with open(os.path.join(work, name, "povsnap0000.pov"), encoding="utf-8") as f:
            scene = f.read()
        return Picture(picture), scene
    finally:
        app.close(keep=True)


def povray_parses(scene_path):
    """POV-Ray reads the scene without a picture (+MV3.7 as the option file says); True when it
    parses."""
    r = subprocess.run(["povray", "-D", "+W8", "+H6", "-F", "+MV3.7", "+I" + scene_path, "+O/dev/null"],
                       capture_output=True, text=True, cwd=os.path.dirname(scene_path), timeout=120)
    return r.returncode == 0, r.stderr[-1500:]


def background_of(pic):
    """The colour of the picture's four corners (the scene's background), averaged."""
    corners = [pic.pixel(0, 0), pic.pixel(pic.width - 1, 0), pic.pixel(0, pic.height - 1),
               pic.pixel(pic.width - 1, pic.height - 1)]
    return tuple(sum(c[i] for c in corners) / 4.0 for i in range(3))


def mask_against(pic, reference, fraction):
    """The pixels that differ from `reference` (a picture, or one background colour) by more
    than `fraction` of the largest difference in the picture: the silhouette of what is drawn
    over the background, at the same relative depth of its soft edge in either picture."""
    diffs = []
    for y in range(pic.height):
        for x in range(pic.width):
            ref = reference.pixel(x, y) if isinstance(reference, Picture) else reference
            diffs.append(distance(pic.pixel(x, y), ref))
    top = max(diffs)
    check(top > 40, "the picture is blank (largest difference from its background %.1f)" % top)
    return [d > fraction * top for d in diffs], top


def mask_by_hue(pic, fraction):
    """The pixels whose red leads blue by more than `fraction` of the most in the picture: the
    warm colours of palette 1 on a section plane, apart from the white volume and the grey or
    bluish background in either picture."""
    warm = [max(0, p[0] - p[2]) for p in (pic.pixel(x, y) for y in range(pic.height) for x in range(pic.width))]
    top = max(warm)
    check(top > 40, "no warm colour in the picture (largest red lead %d)" % top)
    return [v > fraction * top for v in warm], top


def iou(a, b):
    both = sum(1 for p, q in zip(a, b) if p and q)
    anyone = sum(1 for p, q in zip(a, b) if p or q)
    return both / anyone if anyone else 0.0


def shifted(mask, w, h, dx, dy):
    out = [False] * (w * h)
    for y in range(h):
        for x in range(w):
            sx, sy = x - dx, y - dy
            if 0 <= sx < w and 0 <= sy < h:
                out[y * w + x] = mask[sy * w + sx]
    return out


def mirrored(mask, w, h):
    return [mask[y * w + (w - 1 - x)] for y in range(h) for x in range(w)]


def write_mask(mask, w, h, path):
    with open(path, "wb") as f:
        f.write(b"P5 %d %d 255\n" % (w, h) + bytes(255 if m else 0 for m in mask))


def centroid(mask, w):
    n = sum(mask)
    sx = sum(i % w for i, m in enumerate(mask) if m)
    sy = sum(i // w for i, m in enumerate(mask) if m)
    return (sx / n, sy / n) if n else (None, None)


# The silhouettes must overlap by at least this much (intersection over union) and their
# centroids lie this many pixels apart at most. One voxel of the down-sized sample spans about
# 4.5 pixels of the 340x249 view, so a volume placed half a voxel off (2.2 pixels) fails the
# centroid bound; a mirrored axis or a wrong camera moves the data far more; a picture of the
# wrong aspect stretches the silhouette out of the overlap bound. (The overlap alone cannot
# see a small shift: the rendered silhouette's soft edge is cut a little inside the preview's,
# and moving it by a pixel or two keeps it inside.) Each case checks that a deliberately
# mirrored and a half-voxel-shifted picture do fail.
MATCH_IOU = 0.8
MATCH_CENTROID_PX = 1.2
HALF_VOXEL_PX = 2.2


def silhouettes_match(label, view_mask, pov_mask, w, h, ignore, bound=MATCH_IOU):
    """(IoU, centroid distance) of the two masks, checked against the bounds; the same bounds
    must reject the rendered mask mirrored and moved by half a voxel."""
    def measure(a, b):
        # Pixels under the preview's guide lines, triad and labels say nothing about the data.
        a = [m and not o for m, o in zip(a, ignore)]
        b = [m and not o for m, o in zip(b, ignore)]
        (ax, ay), (bx, by) = centroid(a, w), centroid(b, w)
        return iou(a, b), ((ax - bx) ** 2 + (ay - by) ** 2) ** 0.5

    def passes(m):
        return m[0] >= bound and m[1] <= MATCH_CENTROID_PX

    real = measure(view_mask, pov_mask)
    step = int(HALF_VOXEL_PX + 0.5)
    faults = {"mirrored": mirrored(pov_mask, w, h),
              "half a voxel right": shifted(pov_mask, w, h, step, 0),
              "half a voxel left": shifted(pov_mask, w, h, -step, 0),
              "half a voxel down": shifted(pov_mask, w, h, 0, step),
              "half a voxel up": shifted(pov_mask, w, h, 0, -step)}
    for fault, mask in faults.items():
        m = measure(view_mask, mask)
        check(not passes(m), "%s: the bounds cannot tell a picture %s (IoU %.3f, centroids %.2f px apart)"
              % (label, fault, m[0], m[1]))
    check(passes(real), "%s: the rendered silhouette does not match the preview's: IoU %.3f (at least %.2f), "
          "centroids %.2f px apart (at most %.1f)" % (label, real[0], bound, real[1], MATCH_CENTROID_PX))
    return real


def render_matches_view(binary, name, filters, extra="", fraction=0.2, hue=False, bound=MATCH_IOU):
    """The scene the window exports for its snapshot parses and renders in the real POV-Ray, the
    picture is not blank, and its silhouette is the preview's from the same camera and size."""
    work = tempfile.mkdtemp(prefix="tessan-match-")
    keep = os.environ.get("TESSAN_KEEP")
    try:
        # The preview first (its size gives the picture's), then the same camera without data:
        # what differs from that is the data, not the guide box, the triad or the labels.
        probe = match_project(binary, work, name, filters, (64, 48), extra)
        view, _ = shoot_view(binary, work, "view", probe)
        w, h = view.width, view.height
        project = match_project(binary, work, name, filters, (w, h), extra)
        with open(project, encoding="utf-8") as f:
            empty_text = "".join(l for l in f if not l.startswith("DF3SeqFile="))
        empty = os.path.join(work, "empty.vsp")
        with open(empty, "w", encoding="utf-8") as f:
            f.write(empty_text)
        blank, _ = shoot_view(binary, work, "blank", empty)
        check((blank.width, blank.height) == (w, h), "the two views differ in size")
        view_mask, _ = mask_by_hue(view, fraction) if hue else mask_against(view, blank, fraction)
        ground = background_of(blank)
        overlay = [distance(blank.pixel(x, y), ground) > 12 for y in range(h) for x in range(w)]

        pov, scene = window_snapshot(binary, work, project, name)
        if keep:
            shutil.copytree(work, os.path.join(keep, name + "_work"), dirs_exist_ok=True)
        check((pov.width, pov.height) == (w, h), "picture %dx%d for a %dx%d view" % (pov.width, pov.height, w, h))
        ok, err = povray_parses(os.path.join(work, name, "povsnap0000.pov"))
        check(ok, "POV-Ray does not parse the scene: %s" % err)
        pov_mask, _ = mask_by_hue(pov, fraction) if hue else mask_against(pov, background_of(pov), fraction)
        if keep:
            write_mask(view_mask, w, h, os.path.join(keep, name + "_view.pgm"))
            write_mask(pov_mask, w, h, os.path.join(keep, name + "_pov.pgm"))
            shutil.copy(os.path.join(work, "view.png"), os.path.join(keep, name + "_view.png"))
            shutil.copy(os.path.join(work, name + "_out", "povsnap0000.png"), os.path.join(keep, name + "_pov.png"))
        result = silhouettes_match(name, view_mask, pov_mask, w, h, overlay, bound)
        print("%s: IoU %.3f, centroids %.2f px apart" % (name, result[0], result[1]))
        return scene, pov
    finally:
        shutil.rmtree(work, ignore_errors=True)


def shoot_view(binary, work, name, project):
    """The perspective view alone (--view-shot) of the project at the window size the snapshot
    uses."""
    out = os.path.join(work, name + ".png")
    env = dict(os.environ, LIBGL_ALWAYS_SOFTWARE="1")
    env.pop("TESSAN_FORCE_2D_TEXTURES", None)
    r = subprocess.run([binary, "--size", "640x480", "--view-shot", out, project], cwd=work, capture_output=True,
                       text=True, timeout=120, env=env)
    check(r.returncode == 0, "view shot exit code %d: %s" % (r.returncode, r.stderr[-800:]))
    return Picture(out), r.stderr


def case_render_match_volume(binary):
    scene, _ = render_matches_view(binary, "volume", ["volume"])
    check("media {" in scene and "light_source" not in scene, "a volume alone, no light")


def case_render_match_iso_light(binary):
    scene, _ = render_matches_view(binary, "isolight", ["volume", "iso:90"], extra="LIGHT")
    check("light_source {" in scene and "object { ISOBOX_" in scene and "media {" in scene,
          "volume, isosurface and light in the scene")


def case_render_match_section(binary):
    # The preview draws section planes over the slices, while the ray tracer shows the media in
    # front of the plane glowing over it; with the volume's "Alpha" at 0 the scene holds the
    # plane alone, and the plane's own warm colours are compared. The preview shows the plane's
    # voxels as flat squares where the ray tracer blends them, so a thin ring of density
    # overlaps less than a solid silhouette: the overlap bound is lower, the centroid's the same.
    scene, _ = render_matches_view(binary, "section", ["volume", "crosssection"], extra="VOLUME_ALPHA0", hue=True,
                                   bound=0.6)
    check("OBJECT_C_SECTION_" in scene, "the cross-section is in the scene")


def case_render_match_fog(binary):
    scene, _ = render_matches_view(binary, "fog", ["volume", "fog"])
    check("fog {" in scene, "the fog is in the scene")


def case_pov_settings(binary):
    """The settings dialog changes the picture width; the exported option files carry it, and
    Undo brings the old width back for the next export."""
    work = tempfile.mkdtemp(prefix="tessan-povset-")
    try:
        paths, _ = render_setup(work, 6, "0")
        app = App(binary, answers="yes", args=[paths[0]], folder=work, size="1200x1000")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "frame 0 never drawn")
            menu(app, "r", ["Down"] * 4)
            s = app.wait_for(lambda s: "povdlg.PovImageWidth" in s, "the settings dialog never opened")
            check("povdlg.PovRenderBlockSize" not in s, "expert settings start hidden")
            for key in ("POVRAY_PATH", "WORKING_DIR", "PovWorkThread", "PovRemoveFile", "PovImageHeight",
                        "PovAntialias", "PovOutputType", "PovRadiosity", "PovPhotons", "PovFocalBlur", "PovBGColor",
                        "PovRenderRegion", "PovShowTweaks"):
                check("povdlg." + key in s, "the dialog shows %s" % key)
            x, y, w, h = [int(v) for v in s["povdlg.PovImageWidth"].split()]
            subprocess.run(["xdotool", "mousemove", str(x + w // 2), str(y + h // 2), "click", "1"], check=True)
            subprocess.run(["xdotool", "key", "ctrl+a", "BackSpace"], check=True)
            subprocess.run(["xdotool", "type", "7x"], check=True)
            x, y, w, h = [int(v) for v in s["povdlg.ok"].split()]
            subprocess.run(["xdotool", "mousemove", str(x + w // 2), str(y + h // 2), "click", "1"], check=True)
            end = time.time() + 10 * SCALE
            while "Invalid value: PovImageWidth" not in app.stderr() and time.time() < end:
                time.sleep(0.1)
            check("prompt: Error!: Invalid value: PovImageWidth" in app.stderr(), "a bad width is refused")
            check("povdlg.ok" in app.state(), "the dialog stays open")
            x, y, w, h = [int(v) for v in s["povdlg.PovImageWidth"].split()]
            subprocess.run(["xdotool", "mousemove", str(x + w // 2), str(y + h // 2), "click", "1"], check=True)
            subprocess.run(["xdotool", "key", "ctrl+a", "BackSpace"], check=True)
            subprocess.run(["xdotool", "type", "72"], check=True)
            x, y, w, h = [int(v) for v in s["povdlg.ok"].split()]
            subprocess.run(["xdotool", "mousemove", str(x + w // 2), str(y + h // 2), "click", "1"], check=True)
            s = app.wait_for(lambda s: "povdlg.ok" not in s and s["undo"].startswith("Undo Ray-tracer Settings"),
                             "OK did not close the dialog as one undo step")
            # Render > Export sequence.
            menu(app, "r", ["Down"] * 2)
            ini = os.path.join(work, "POV", "povanim0005.ini")
            app.wait_for(lambda s: s["status0"] == "Disk Output Suceed.povanim0005.ini", "the export never ended")
            with open(ini) as f:
                text = f.read()
            check("Width=72\n" in text and "Height=48\n" in text, "the new width is exported: %r" % text)
            with open(os.path.join(work, "POV", "RenderAnim.sh")) as f:
                check(f.read().startswith("trap ctrl_c INT\n"), "the render script is written")
            check(images(work) == [], "exporting renders nothing")
            app.key("ctrl+z")
            app.wait_for(lambda s: s["redo"].startswith("Redo Ray-tracer Settings"), "Undo of the settings")
            os.remove(ini)
            menu(app, "r", ["Down"] * 2)
            end = time.time() + 30 * SCALE
            while not os.path.exists(ini) and time.time() < end:
                time.sleep(0.1)
            time.sleep(0.5)
            with open(ini) as f:
                check("Width=64\n" in f.read(), "after Undo the old width is exported")
            # Redo, quit: the configuration keeps the width for the next start.
            app.key("ctrl+y")
            app.wait_for(lambda s: s["undo"].startswith("Undo Ray-tracer Settings"), "Redo of the settings")
            app.key("ctrl+q")
            check(app.proc.wait(20 * SCALE) == 0, "quit")
            with open(os.path.join(work, "KivrelConfigure.txt"), encoding="utf-8") as f:
                conf = f.read()
            check("PovImageWidth=72\n" in conf and "POVRAY_PATH=" in conf, "settings saved: %r" % conf)
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_colour_map(binary):
    """Choosing a palette for the slot changes the hue of the preview (colours baked into the
    textures, so the textures are made again)."""
    work = tempfile.mkdtemp(prefix="tessan-cmap-")
    try:
        # A soft ball of middle density: the palette's hue there is far from white.
        n = 24
        body = bytearray(n * n * n)
        c = (n - 1) / 2.0
        for z in range(n):
            for y in range(n):
                for x in range(n):
                    if (x - c) ** 2 + (y - c) ** 2 + (z - c) ** 2 < (n * 0.4) ** 2:
                        body[(z * n + y) * n + x] = 90
        paths = []
        for k in range(2):
            paths.append(os.path.join(work, "ball_%04d.df3" % k))
            with open(paths[-1], "wb") as f:
                f.write(n.to_bytes(2, "big") * 3 + bytes(body))
        with open(os.path.join(work, "KivrelConfigure.txt"), "w") as f:
            f.write("PreviewTextureType=2\n")
        app = App(binary, args=[paths[0]], folder=work, size="1200x1000")
        try:
            s = app.wait_for(lambda s: s.get("slot0", "").startswith("2 0 0 1"), "frame 0 never drawn")
            check(s["cmap.value"] == "0 0", "white at the start: %r" % s["cmap.value"])
            v = app.view(3)
            cx, cy = v["sx"] + v["w"] // 2, v["sy"] + v["h"] // 2
            before = app.grab("before.png")

            def mean(pic):
                tot = [0, 0, 0]
                n = 0
                for y in range(cy - 20, cy + 20):
                    for x in range(cx - 20, cx + 20):
                        p = pic.pixel(x, y)
                        tot = [a + b for a, b in zip(tot, p)]
                        n += 1
                return [t / n for t in tot]
            m0 = mean(before)
            check(max(m0) - min(m0) < 25 and max(m0) > 80, "grey/white before: %r" % m0)
            x, y, w, h = [int(v) for v in s["cmap.choice"].split()]
            subprocess.run(["xdotool", "mousemove", str(x + w // 2), str(y + h // 2), "click", "5"], check=True)
            app.wait_for(lambda s: s["cmap.value"] == "0 1", "the wheel picks palette 1")
            app.wait_for(lambda s: s.get("slot0", "").startswith("2 0 0 1"), "frame 0 not drawn again")
            # The textures are made again in idle time; the new colours come within a few passes.
            end = time.time() + 15 * SCALE
            m1 = mean(app.grab("after.png"))
            while not (m1[0] - m1[2] > 60 and m1[0] > 120) and time.time() < end:
                m1 = mean(app.grab("after.png"))
            check(m1[0] - m1[2] > 60 and m1[0] > 120, "red hue after: %r (before %r)" % (m1, m0))
            # Back to white: the hue goes again.
            subprocess.run(["xdotool", "mousemove", str(x + w // 2), str(y + h // 2), "click", "4"], check=True)
            app.wait_for(lambda s: s["cmap.value"] == "0 0", "the wheel goes back to White")
            end = time.time() + 15 * SCALE
            m2 = mean(app.grab("white.png"))
            while max(m2) - min(m2) >= 25 and time.time() < end:
                m2 = mean(app.grab("white.png"))
            check(max(m2) - min(m2) < 25, "grey/white again: %r" % m2)
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_screenshot_every(binary):
    """--screenshot-every shows every frame in turn and saves each; the pictures differ as the
    frames do."""
    work = tempfile.mkdtemp(prefix="tessan-every-")
    try:
        paths = write_series(work, frames=6)
        out = os.path.join(work, "shots")
        env = dict(os.environ, LIBGL_ALWAYS_SOFTWARE="1")
        state_file = os.path.join(work, "state.txt")
        env["TESSAN_STATE_FILE"] = state_file
        r = subprocess.run([binary, "--size", "640x480", "--screenshot-every", out, paths[0]], cwd=work,
                           capture_output=True, text=True, timeout=120 * SCALE, env=env)
        check(r.returncode == 0, "exit code %d: %s" % (r.returncode, r.stderr))
        expected = [os.path.join(out, "frame_%04d.png" % i) for i in range(6)]
        check(r.stdout.split() == expected, "printed paths: %r" % r.stdout)
        pics = [Picture(p) for p in expected]
        w, bottom = view_box(pics[0])
        for i in range(5):
            d = region_difference(pics[i], pics[i + 1], 0, 0, w, bottom)
            check(d > 0.05, "frames %d and %d look the same (%.3f)" % (i, i + 1, d))
        check_volume_shown(pics[0], "frame 0")
        # The whole window agrees with the frame in every picture: the time line's red frame
        # line stands at the frame shown, not at the first one. Geometry from the last report
        # (screen coordinates; the pictures hold the client area).
        s = {}
        with open(state_file) as f:
            for line in f:
                key, _, value = line.rstrip("\n").partition("=")
                s[key] = value
        view = s["view3"].split()
        origin_x = int(view[5]) - int(view[1])
        origin_y = int(view[6]) - int(view[2])
        first, _, ppf, x0 = s["trackmap"].split()
        track_top = state_int(s, "track", 1) - origin_y
        track_bottom = min(track_top + state_int(s, "track", 3), pics[0].height)
        check(track_bottom - track_top > 12, "the time line is outside the picture (%d..%d)" % (track_top, track_bottom))
        for i, pic in enumerate(pics):
            want = int(round(int(x0) + (i - int(first)) * float(ppf))) - origin_x
            cols = red_columns(pic, track_top + 4, track_bottom - 2)
            check(cols and min(abs(c - want) for c in cols) <= 2,
                  "picture %d: the time line's frame line is at %r, frame %d is at %d" % (i, cols, i, want))
            if i > 0:
                first_x = int(round(int(x0) - int(first) * float(ppf))) - origin_x
                check(all(abs(c - first_x) > 4 for c in cols),
                      "picture %d still shows the time line at frame 0 (%r)" % (i, cols))
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_render_error(binary):
    """A ray tracer that cannot be started stops the sequence after its first frame with the
    message that says so; nothing further is started."""
    work = tempfile.mkdtemp(prefix="tessan-rerr-")
    try:
        paths, log = render_setup(work, 6, "0", extra="POVRAY_PATH=%s/no-such-povray\n" % work)
        app = App(binary, answers="yes", args=[paths[0]], folder=work, size="1200x1000")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "frame 0 never drawn")
            app.key("ctrl+F6")
            seen = {"status2": [], "render_button": [], "gauge": []}
            watch(app, lambda s: "Failed to start or finish Pov-Ray." in app.stderr(), 60, seen)
            s = watch(app, lambda s: s["render"].startswith("0 ") and s["render"].endswith(" 0 0"), 30, seen)
            err = app.stderr()
            check("Animation sequence is automatically stopped." in err, "the sequence is stopped: %r" % err)
            check(s["render"].split()[1] == "1", "only the first frame was started: %r" % s["render"])
            time.sleep(1.0)
            check(app.state()["render"].split()[1] == "1", "nothing started afterwards")
            check(images(work) == [], "no pictures")
            check(app.state()["render_button"].startswith("Render Anim|"), "the button is back")
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)


FAKE_SSH = """#!/bin/bash
# ssh stand-in: every host is a folder under FAKE_ROOT, its home and login folder, so Parallel's
# rsync transfers and clean-up really happen between separate file trees. Like an ssh login it
# sets SHELL (Parallel's remote worker runs the job with it), whatever the caller's environment.
while [ $# -gt 0 ]; do
  case "$1" in
    -[BbcDEeFIiJLlmOopQRSWw]) shift 2 ;;
    --) shift; break ;;
    -*) shift ;;
    *) break ;;
  esac
done
host=$1; shift
[ "${1:-}" = "--" ] && shift
mkdir -p "$FAKE_ROOT/$host"
cd "$FAKE_ROOT/$host" && HOME="$FAKE_ROOT/$host" SHELL=/bin/bash exec bash -c "$*"
"""


def case_render_farm(binary):
    """The Render menu's farm exports: "Export for GNU Parallel" (files sent to the hosts) writes
    scenes with relative paths and RenderParallel.sh, which renders every frame on two stand-in
    ssh hosts and leaves nothing behind there; "Export for Slurm" writes RenderSlurm.sh, which
    run by hand as array task 3 renders exactly frame 3, the same picture. Both tell the command."""
    work = tempfile.mkdtemp(prefix="tessan-farm-")
    try:
        paths, log = render_setup(work, 6, "0")
        pov = os.path.join(work, "POV")
        app = App(binary, answers="1", args=[paths[0]], folder=work, size="1200x1000")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "frame 0 never drawn")
            menu(app, "r", ["Down"] * 5)
            s = app.wait_for(lambda s: s.get("status0", "").startswith("Render with: bash "), "no Parallel export")
            script = os.path.join(pov, "RenderParallel.sh")
            check(s["status0"] == "Render with: bash '%s' [HOSTFILE]" % script, "status: %r" % s["status0"])
            err = app.stderr()
            check("prompt: Export for GNU Parallel: How do the render hosts reach the scene files? -> 1" in err,
                  "the transfer question: %r" % err)
            check("prompt: Render Farm: The GNU Parallel job is written" in err and script in err,
                  "the message names the command")
            menu(app, "r", ["Down"] * 6)
            s = app.wait_for(lambda s: s.get("status0", "").startswith("Render with: sbatch "), "no Slurm export")
            slurm = os.path.join(pov, "RenderSlurm.sh")
            check(s["status0"] == "Render with: sbatch '%s'" % slurm, "status: %r" % s["status0"])
            check("prompt: Render Farm: The Slurm job array is written" in app.stderr(), "the Slurm message")
        finally:
            app.close(keep=True)
        for path in (script, slurm):
            r = subprocess.run(["bash", "-n", path], capture_output=True, text=True)
            check(r.returncode == 0, "bash -n %s: %s" % (path, r.stderr))
        # The Slurm export wrote the scenes again with absolute paths (the window's own renders
        # need them); the Parallel job's list still names every frame's files.
        with open(os.path.join(pov, "render.jobs")) as f:
            jobs = [line.rstrip("\n").split("\t") for line in f]
        check([j[0] for j in jobs] == ["povanim%04d" % i for i in range(6)], "job list: %r" % jobs)
        check(all("%s_BOX0.df3" % j[0] in j and "%s.pov" % j[0] in j for j in jobs), "frame files: %r" % jobs)

        # Slurm task 3 by hand: exactly that frame's picture, in the output folder.
        env = dict(os.environ, SLURM_ARRAY_TASK_ID="3")
        r = subprocess.run(["bash", slurm], env=env, capture_output=True, text=True, timeout=120)
        check(r.returncode == 0, "slurm task: %s %s" % (r.stdout, r.stderr))
        check(images(work) == ["povanim0003.png"], "one picture: %r" % images(work))
        runs = read_runs(log)
        check([os.path.basename(run[2]) for run in runs] == ["povanim0003.ini"], "one run: %r" % runs)

        # Export for Parallel again, now as the only export, and render on two stand-in hosts.
        app = App(binary, answers="1", args=[paths[0]], folder=work, size="1200x1000")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "frame 0 never drawn")
            menu(app, "r", ["Down"] * 5)
            app.wait_for(lambda s: s.get("status0", "").startswith("Render with: bash "), "no Parallel export")
        finally:
            app.close(keep=True)
        with open(os.path.join(pov, "povanim0002.ini")) as f:
            ini = f.read()
        check('Input_File_Name="povanim0002.pov"' in ini and 'Output_File_Name="./povanim0002"' in ini,
              "relative option file: %r" % ini)
        with open(os.path.join(pov, "povanim0002.pov")) as f:
            check('#declare WORKINGDIR="./"' in f.read(), "relative scene")
        fake = os.path.join(work, "fake-ssh")
        with open(fake, "w") as f:
            f.write(FAKE_SSH)
        os.chmod(fake, 0o755)
        hosts_root = os.path.join(work, "hosts")
        os.makedirs(hosts_root)
        hostfile = os.path.join(work, "hostfile")
        with open(hostfile, "w") as f:
            f.write("1/nodeA\n1/nodeB\n")
        env = dict(os.environ, PARALLEL_SSH=fake, FAKE_ROOT=hosts_root)
        r = subprocess.run(["bash", script, hostfile], env=env, capture_output=True, text=True, timeout=170)
        check(r.returncode == 0, "parallel: %s %s" % (r.stdout, r.stderr))
        rendered = sorted(n for n in os.listdir(pov) if n.endswith(".png"))
        check(rendered == ["povanim%04d.png" % i for i in range(6)], "pictures came back: %r" % rendered)
        with open(os.path.join(pov, "render.joblog")) as f:
            used = {line.split("\t")[1] for line in list(f)[1:]}
        check(used <= {"nodeA", "nodeB"} and len(used) >= 1, "jobs ran on the stand-in hosts: %r" % used)
        left = [os.path.join(d, n) for d, _, names in os.walk(hosts_root) for n in names]
        check(left == [], "files left on the hosts: %r" % left)
        same = Picture(os.path.join(pov, "povanim0003.png"))
        check(same.rgb == Picture(os.path.join(work, "out", "povanim0003.png")).rgb, "farm picture = Slurm picture")
        check(same.distinct_colours() > 3, "the picture shows something")
    finally:
        shutil.rmtree(work, ignore_errors=True)


def view_shot(binary, work, name, args):
    """Runs the window with --view-shot; returns the picture of the active view."""
    out = os.path.join(work, name + ".png")
    env = dict(os.environ, LIBGL_ALWAYS_SOFTWARE="1")
    r = subprocess.run([binary, "--size", "640x480", "--view-shot", out, *args], cwd=work, capture_output=True,
                       text=True, timeout=120 * SCALE, env=env)
    check(r.returncode == 0, "view shot exit code %d: %s" % (r.returncode, r.stderr))
    check(r.stdout.strip() == out, "the path is printed: %r" % r.stdout)
    return Picture(out)


def halved(pic):
    """The picture scaled down 2:1 by averaging 2x2 blocks, as rows of (r, g, b)."""
    w, h = pic.width // 2, pic.height // 2
    out = []
    for y in range(h):
        row = []
        for x in range(w):
            acc = [0, 0, 0]
            for dy in (0, 1):
                for dx in (0, 1):
                    p = pic.pixel(2 * x + dx, 2 * y + dy)
                    for c in range(3):
                        acc[c] += p[c]
            row.append(tuple((a + 2) // 4 for a in acc))
        out.append(row)
    return out


def channel_centroid_x(pic, channel, threshold=100):
    """Mean x of the pixels whose channel is bright (the volume's picture in that channel)."""
    total, n = 0.0, 0
    for y in range(pic.height):
        for x in range(pic.width):
            if pic.pixel(x, y)[channel] > threshold:
                total += x
                n += 1
    return total / n if n else None, n


def case_offscreen_shot(binary):
    work = tempfile.mkdtemp(prefix="tessan-offscreen-")
    try:
        first = write_series(work)[0]
        small = view_shot(binary, work, "screen", [first])
        check(small.width > 200 and small.height > 150, "view picture %dx%d" % (small.width, small.height))
        check(small.distinct_colours() > 20, "the view picture is blank")
        big = view_shot(binary, work, "double", ["--view-scale", "2", first])
        check((big.width, big.height) == (2 * small.width, 2 * small.height),
              "off-screen picture %dx%d for a %dx%d view" % (big.width, big.height, small.width, small.height))
        down = halved(big)
        total, far, n = 0.0, 0, 0
        for y in range(small.height):
            for x in range(small.width):
                d = distance(down[y][x], small.pixel(x, y))
                total += d
                far += d > 80
                n += 1
        mean = total / n
        check(mean < 6.0, "off-screen picture scaled down differs from the on-screen one (mean %.2f)" % mean)
        check(far < n // 50, "%d of %d pixels differ strongly" % (far, n))
        # A screenshot larger than the screen (1280x1024) is the active view drawn off-screen at
        # the size asked for.
        out = os.path.join(work, "huge.png")
        r = subprocess.run([binary, "--size", "1600x1200", "--screenshot", out, first], cwd=work,
                           capture_output=True, text=True, timeout=120 * SCALE,
                           env=dict(os.environ, LIBGL_ALWAYS_SOFTWARE="1"))
        check(r.returncode == 0 and r.stdout.strip() == out, "large screenshot: %d %r" % (r.returncode, r.stderr))
        check("off-screen" in r.stderr, "the substitution is not reported: %r" % r.stderr)
        huge = Picture(out)
        check((huge.width, huge.height) == (1600, 1200), "large screenshot is %dx%d" % (huge.width, huge.height))
        check(distance(huge.pixel(800, 5), BACKGROUND) < 20 and distance(huge.pixel(800, 600), BACKGROUND) > 60,
              "the large screenshot is not the view with the volume in the middle")
        # A different view is really a different picture by this measure.
        other = view_shot(binary, work, "frame4", ["--frame", "4", first])
        moved = sum(distance(other.pixel(x, y), small.pixel(x, y))
                    for y in range(0, small.height, 2) for x in range(0, small.width, 2)) / (n / 4)
        check(moved > mean, "the comparison cannot tell frames apart (%.2f vs %.2f)" % (moved, mean))
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_stereo_anaglyph(binary):
    work = tempfile.mkdtemp(prefix="tessan-stereo-")
    try:
        first = write_series(work)[0]
        mono = view_shot(binary, work, "mono", ["--stereo", "off", first])
        pic = view_shot(binary, work, "anaglyph", ["--stereo", "anaglyph", first])
        check(pic.distinct_colours() > 10, "the anaglyph is blank")
        # Red is the left eye, green and blue the right one: the two pictures are the volume
        # seen from two places, so the channels differ where the mono picture has none.
        diff_rg = sum(abs(pic.pixel(x, y)[0] - pic.pixel(x, y)[1])
                      for y in range(0, pic.height, 2) for x in range(0, pic.width, 2))
        diff_mono = sum(abs(mono.pixel(x, y)[0] - mono.pixel(x, y)[1])
                        for y in range(0, mono.height, 2) for x in range(0, mono.width, 2))
        check(diff_rg > 2 * diff_mono + 1000, "red and cyan alike (%d vs mono %d)" % (diff_rg, diff_mono))
        rx, rn = channel_centroid_x(pic, 0)
        gx, gn = channel_centroid_x(pic, 1)
        check(rn > 100 and gn > 100, "the volume is missing in a channel (%d red, %d green)" % (rn, gn))
        check(abs(rx - gx) > 0.5, "the eyes see the volume at the same place (%.2f, %.2f)" % (rx, gx))
        # Side by side: each half holds a picture of the volume.
        pair = view_shot(binary, work, "parallel", ["--stereo", "parallel", first])
        half = pair.width // 2
        left = region_mean_distance(pair, half // 2 - 8, pair.height // 2 - 8, half // 2 + 8, pair.height // 2 + 8)
        right = region_mean_distance(pair, half + half // 2 - 8, pair.height // 2 - 8, half + half // 2 + 8,
                                     pair.height // 2 + 8)
        check(left > 40 and right > 40, "a half of the pair shows no volume (%.1f, %.1f)" % (left, right))
    finally:
        shutil.rmtree(work, ignore_errors=True)


def write_path_project(folder, name, use, show):
    """A project with the four views and one path camera standing right of the box at
    (2.5, 0.3, 0), looking at the centre."""
    path = os.path.join(folder, name)
    with open(path, "w") as f:
        f.write("FrameMainViewLayout=1\nCameraPathShow=%d\n--CameraPath\nCameraPathUse=%d\nCameraPathActive=0\n"
                "--MultiParameter:CamPath\nMultiParamItemNum=1\nParameter_CamPath\ndimension 6\ntimeDepend 0\n"
                "visible 1\nshow 1\nselectable 1\nitemnum 1\n"
                "0 6 1 2.5 0.3 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0\n--CameraPathEnd\n" % (show, use))
    return path


def case_camera_path(binary):
    work = tempfile.mkdtemp(prefix="tessan-campath-")
    try:
        first = write_series(work)[0]
        frustum = (255, 89, 51)  # the active path camera's colour
        plain, _ = shoot(binary, work, "plain", [write_path_project(work, "plain.vsp", 0, 0)])
        shown, _ = shoot(binary, work, "shown", [write_path_project(work, "shown.vsp", 0, 1)])
        check(plain.count(frustum, tolerance=20) == 0, "a path is drawn while hidden")
        n = shown.count(frustum, tolerance=20)
        check(n > 15, "the path camera is not drawn in the views (%d pixels)" % n)
        # Looking through the path: view 0 (top left) shows the box from the camera's place, a
        # different picture from its own top view; the other views stay as they were.
        through, _ = shoot(binary, work, "through", [write_path_project(work, "through.vsp", 1, 0)])
        w, h = through.width, through.height
        top_left = region_difference(plain, through, 0, 0, w // 4, h // 2 - 10)
        check(top_left > 3.0, "view 0 does not follow the path camera (%.2f)" % top_left)
        check(through.count(BOX, 0, 0, w // 4, h // 2 - 10) > 40, "view 0 shows no box through the path camera")
        del first
    finally:
        shutil.rmtree(work, ignore_errors=True)


# --- filter chain page -------------------------------------------------------------------------

def click_widget(app, key, dx=None):
    """Clicks the middle of a widget the window reported as "key=x y w h shown"."""
    x, y, w, h, shown = [int(v) for v in app.state()[key].split()[:5]]
    check(shown == 1, "%s is not on the screen" % key)
    subprocess.run(["xdotool", "mousemove", str(x + (w // 2 if dx is None else dx)), str(y + h // 2), "click", "1"],
                   check=True)


def type_into_widget(app, key, text):
    """Clicks into a text box of the filter page, replaces its text and presses Return."""
    click_widget(app, key)
    time.sleep(0.2)
    subprocess.run(["xdotool", "key", "ctrl+a", "BackSpace"], check=True)
    subprocess.run(["xdotool", "type", text], check=True)
    subprocess.run(["xdotool", "key", "Return"], check=True)


def click_row(app, row):
    """Clicks the label of a row of the chain list."""
    x, y, h = [int(v) for v in app.state()["fcw.rows"].split()]
    subprocess.run(["xdotool", "mousemove", str(x + 120), str(y + row * h + h // 2), "click", "1"], check=True)


def add_from_menu(app, moves, count):
    """Filter > ... by the arrow keys; waits until the chain holds `count` items."""
    menu(app, "i", moves)
    return app.wait_for(lambda s: s["chain"].startswith("%d" % count), "the Filter menu added nothing")


BLUR_MENU = ["Down"] * 8 + ["Right", "Down"]
LEVEL_MENU = ["Down"] * 8 + ["Right"]
VOLUME_MENU = ["Down"] * 6


def drawn_again(app, label):
    """Waits until frame 0 is drawn and gives the views a moment to reach the screen."""
    frames = app.state().get("slot0", "0").split()[0]
    try:
        app.wait_for(lambda s: s.get("slot0", "").startswith(frames + " 0 0 1"), label)
    except Failure:
        raise Failure("%s (slot0 %r)" % (label, app.state().get("slot0")))
    time.sleep(1.5)


def case_filter_panel_blur(binary):
    """A blur added from the menu shows its settings; a kernel size typed into its panel softens
    the volume on the screen; Undo from the Edit menu puts the setting and the picture back."""
    work = tempfile.mkdtemp(prefix="tessan-fpanel-")
    try:
        first = write_series(work)[0]
        app = App(binary, args=[first], folder=work, size="1200x1000")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "frame 0 never drawn")
            v = app.view(3)
            box = (v["sx"], v["sy"], v["sx"] + v["w"], v["sy"] + v["h"])
            s = add_from_menu(app, BLUR_MENU, 1)
            s = app.wait_for(lambda s: s.get("fc.selected") == "0" and "fi.GaussBlurKernelSize" in s,
                             "the new blur's settings are not shown")
            check(s["fc.items"] == "[x] Gauss Blur", "the chain page lists the blur: %r" % s["fc.items"])
            check(s["fi.GaussBlurKernelSize"] == "0" and s["fi.FilterValid"] == "1",
                  "a new blur: kernel 0, switched on: %r %r" % (s["fi.GaussBlurKernelSize"], s["fi.FilterValid"]))
            # What is drawn is what reaches the volume item.
            s = add_from_menu(app, VOLUME_MENU, 2)
            check(s["chain"] == "2|Gauss Blur|Volume", "blur before the volume: %r" % s["chain"])
            app.wait_for(lambda s: s.get("fc.selected") == "1", "the volume item is not selected")
            click_row(app, 0)
            app.wait_for(lambda s: s.get("fc.selected") == "0" and "fiw.GaussBlurKernelSize" in s, "blur not selected")
            drawn_again(app, "frame 0 not drawn with the zero blur")
            before = app.grab("before.png")
            check(region_mean_distance(before, *box) > 5, "no volume shown")
            type_into_widget(app, "fiw.GaussBlurKernelSize", "4")
            # The box shows what was typed at once; the chain's text shows what was taken.
            s = app.wait_for(lambda s: "|GaussBlurKernelSize=4.000000|" in s["chain_text"],
                             "the typed kernel size is not taken")
            check(s["fi.GaussBlurKernelSize"] == "4", "the box shows the size: %r" % s["fi.GaussBlurKernelSize"])
            check(s["undo"].startswith("Undo Filter Setting|1"), "one named undo step: %r" % s["undo"])
            drawn_again(app, "frame 0 not drawn after the kernel change")
            blurred = app.grab("blurred.png")
            softened = region_difference(before, blurred, *box)
            check(softened > 1.5, "the blur did not change the picture (%.3f)" % softened)
            # Edit > Undo (the first entry).
            menu(app, "e", [])
            s = app.wait_for(lambda s: s.get("fi.GaussBlurKernelSize") == "0", "Undo did not reach the panel")
            check(s["redo"].startswith("Redo Filter Setting|1"), "Redo offers the setting: %r" % s["redo"])
            drawn_again(app, "frame 0 not drawn after undo")
            undone = app.grab("undone.png")
            back = region_difference(before, undone, *box)
            check(back < softened / 4 and back < 1.0,
                  "undo did not bring the picture back (%.3f, blurred %.3f)" % (back, softened))
            # A typo leaves the setting alone: no new step.
            type_into_widget(app, "fiw.GaussBlurKernelSize", "4x")
            time.sleep(0.5)
            s = app.state()
            check(s["redo"].startswith("Redo Filter Setting|1"), "rubbish made an edit: %r" % s["redo"])
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_filter_panel_order(binary):
    """Reordering, switching off and removing items from the chain page, each one undo step, and
    the level-and-gamma graph with the frame's histogram under the mapping curve."""
    work = tempfile.mkdtemp(prefix="tessan-forder-")
    try:
        first = write_series(work)[0]
        app = App(binary, args=[first], folder=work, size="1200x1000")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "frame 0 never drawn")
            add_from_menu(app, BLUR_MENU, 1)
            s = add_from_menu(app, LEVEL_MENU, 2)
            check(s["chain"] == "2|Gauss Blur|Level Gamma", "menu order: %r" % s["chain"])
            s = app.wait_for(lambda s: s.get("fc.selected") == "1" and "fi.graph.histogram" in s,
                             "the level item's panel is not shown")
            # The histogram of frame 0: empty space and the dense ball, two bins of 256.
            coverage = float(s["fi.graph.histogram"])
            check(0.0 < coverage < 0.2, "the histogram is not drawn as expected: %r" % coverage)
            check(s["fi.graph.curve"] == "0.0000 0.2500 0.5000 0.7500 1.0000", "identity: %r" % s["fi.graph.curve"])
            # A narrower input window steepens the curve over the histogram.
            type_into_widget(app, "fiw.param.Input.high", "0.5")
            s = app.wait_for(lambda s: s.get("fi.graph.curve") == "0.0000 0.5000 1.0000 1.0000 1.0000",
                             "InMax 0.5 not taken into the curve")
            check(s["fi.param.Input"] == "0 0.5", "the boxes show the window: %r" % s["fi.param.Input"])
            # Select the blur (row 0) and move it down.
            click_row(app, 0)
            app.wait_for(lambda s: s.get("fc.selected") == "0" and "fi.GaussBlurKernelSize" in s, "row 0 not selected")
            click_widget(app, "fcw.down")
            s = app.wait_for(lambda s: s["chain"] == "2|Level Gamma|Gauss Blur", "Down did not move the blur")
            check(s["fc.items"] == "[x] Level Gamma|[x] Gauss Blur" and s["fc.selected"] == "1",
                  "the page follows the move: %r %r" % (s["fc.items"], s["fc.selected"]))
            check(s["undo"].startswith("Undo Move Filter|1"), "named step: %r" % s["undo"])
            # Switch the blur off in its panel.
            click_widget(app, "fiw.FilterValid", dx=8)
            s = app.wait_for(lambda s: s["fc.items"] == "[x] Level Gamma|[ ] Gauss Blur", "the blur is still on")
            app.wait_for(lambda s: "FilterValid=0" in s["chain_text"].partition("--BlurGauss")[2],
                         "switched off, but not in the text form")
            app.key("ctrl+z")
            s = app.wait_for(lambda s: s["fc.items"] == "[x] Level Gamma|[x] Gauss Blur", "undo: on again")
            app.key("ctrl+z")
            s = app.wait_for(lambda s: s["chain"] == "2|Gauss Blur|Level Gamma", "undo: the old order")
            check(s["fc.items"] == "[x] Gauss Blur|[x] Level Gamma", "the page shows the old order: %r" % s["fc.items"])
            # Remove the selected blur; undo brings it back.
            click_widget(app, "fcw.remove")
            s = app.wait_for(lambda s: s["chain"] == "1|Level Gamma", "Remove did nothing")
            check(s["undo"].startswith("Undo Remove Filter|1"), "named step: %r" % s["undo"])
            app.key("ctrl+z")
            app.wait_for(lambda s: s["chain"] == "2|Gauss Blur|Level Gamma", "undo did not restore the blur")
            drawn_again(app, "frame 0 not drawn after the edits")
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_filter_panel_text(binary):
    """Settings edited in the panels appear in the chain's text form: a renamed item, an animated
    value keyed on the time line, a density-curve point."""
    work = tempfile.mkdtemp(prefix="tessan-ftext-")
    try:
        first = write_series(work)[0]
        app = App(binary, args=[first], folder=work, size="1200x1000")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "frame 0 never drawn")
            add_from_menu(app, BLUR_MENU, 1)
            app.wait_for(lambda s: "fiw.FilterName" in s, "no name box")
            type_into_widget(app, "fiw.FilterName", "Soft")
            s = app.wait_for(lambda s: s["chain"] == "1|Soft", "the rename did not reach the chain")
            check(s["fc.items"] == "[x] Soft", "the list shows the new label: %r" % s["fc.items"])
            app.wait_for(lambda s: "|FilterName=Soft|" in s["chain_text"], "the new label is not in the text form")
            type_into_widget(app, "fiw.GaussBlurAssymSize.2", "2.5")
            s = app.wait_for(lambda s: "|GaussBlurAssymSize=0.000000 0.000000 2.500000|" in s["chain_text"],
                             "the per-axis value is not in the text form")
            check(s["fi.GaussBlurAssymSize"] == "0 0 2.5", "per-axis boxes: %r" % s["fi.GaussBlurAssymSize"])
            # An animated value: gamma of a level item; its set is shown on the time line.
            s = add_from_menu(app, LEVEL_MENU, 2)
            app.wait_for(lambda s: "fiw.param.gamma" in s, "no gamma box")
            type_into_widget(app, "fiw.param.gamma", "2")
            s = app.wait_for(lambda s: s.get("fi.graph.curve", "").split()[2:3] == ["0.2500"], "gamma not taken")
            s = app.wait_for(lambda s: "--LevelAndGamma" in s["chain_text"], "no level item in the text form")
            text = s["chain_text"].split("--LevelAndGamma")[1]
            check("Parameter_LevelAndGamma" in text and " 2 " in text.split("Parameter_LevelAndGamma")[1] + " ",
                  "gamma in the set's text: %r" % text)
            check(s["fi.graph.curve"].split()[2] == "0.2500", "gamma 2 halves the mid-grey: %r" % s["fi.graph.curve"])
            click_widget(app, "fiw.showtl")
            s = app.wait_for(lambda s: s["timeline_set"] == "Filter LevelAndGamma", "the set is not on the time line")
            # Removing the item takes its set off the time line.
            click_widget(app, "fcw.remove")
            s = app.wait_for(lambda s: s["chain"] == "1|Soft", "Remove did nothing")
            check(s["timeline_set"] == "BoxSize", "the removed item's set stays on the time line: %r" % s["timeline_set"])
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_preferences_saved(binary):
    """Edit > Preferences changes the worker count; it is saved in KivrelConfigure.txt at quit
    and read back at the next start."""
    app = App(binary, answers="yes", size="1200x1000")
    try:
        s = app.state()
        check(s["pref"].startswith("ThreadNumFilter="), "preferences reported: %r" % s["pref"])
        check(s["pref.keys"] == "Ctrl+P|Ctrl+Z", "key of the dialog: %r" % s["pref.keys"])
        wanted = "3" if s["pref"] != "ThreadNumFilter=3" else "5"
        app.key("ctrl+p")
        time.sleep(1.0)
        subprocess.run(["xdotool", "key", "ctrl+a"], check=True)
        subprocess.run(["xdotool", "type", wanted], check=True)
        subprocess.run(["xdotool", "key", "Return"], check=True)
        app.wait_for(lambda s: s["pref"] == "ThreadNumFilter=" + wanted, "the dialog did not set the worker count")
        app.key("ctrl+q")
        try:
            rc = app.proc.wait(20 * SCALE)
        except subprocess.TimeoutExpired:
            raise Failure("Yes did not end the program")
        check(rc == 0, "exit code %d" % rc)
        with open(os.path.join(app.dir, "KivrelConfigure.txt"), encoding="utf-8") as f:
            conf = f.read()
        check("\nThreadNumFilter=%s\n" % wanted in "\n" + conf, "saved: %r" % conf)
        check("Preferences=Ctrl+P\n" in conf, "the dialog's key is among the saved keys")
        app.err.close()
        app2 = App(binary, folder=app.dir, size="1200x1000")
        try:
            app2.wait_for(lambda s: s["pref"] == "ThreadNumFilter=" + wanted, "the worker count is not read back")
        finally:
            app2.close()
    finally:
        app.close()


def write_big_ball(folder, n=96, frames=2):
    """A larger series (n³ voxels): a dense ball of radius n/5 in the middle, built row by row."""
    paths = []
    c = (n - 1) / 2.0
    r = n / 5.0
    for k in range(frames):
        body = bytearray(n * n * n)
        for z in range(n):
            for y in range(n):
                h = r * r - (y - c) ** 2 - (z - c) ** 2
                if h <= 0:
                    continue
                w = h ** 0.5
                x0, x1 = int(c - w + 1), int(c + w)
                row = (z * n + y) * n
                body[row + x0:row + x1 + 1] = b"\xc8" * (x1 + 1 - x0)
        path = os.path.join(folder, "big_%04d.df3" % k)
        with open(path, "wb") as f:
            f.write(n.to_bytes(2, "big") * 3 + bytes(body))
        paths.append(path)
    return paths


def case_filter_worker(binary):
    """A slow filter setting runs on the worker: the window goes on reporting (its idle loop runs)
    while the status bar says "Filtering...", and the picture changes once the run has ended."""
    work = tempfile.mkdtemp(prefix="tessan-fworker-")
    try:
        first = write_big_ball(work)[0]
        app = App(binary, args=[first], folder=work, size="1200x1000")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("2 0 0 1"), "frame 0 never drawn", timeout=60)
            v = app.view(3)
            box = (v["sx"], v["sy"], v["sx"] + v["w"], v["sy"] + v["h"])
            add_from_menu(app, ["Down"] * 8 + ["Right"] + ["Down"] * 5, 1)  # Morphological Filter
            add_from_menu(app, VOLUME_MENU, 2)
            s = app.wait_for(lambda s: s["filter_run"].startswith("0"), "the runs after adding never ended", 60)
            check(s["chain"] == "2|Morph Filter|Volume", "chain: %r" % s["chain"])
            click_row(app, 0)
            app.wait_for(lambda s: "fiw.MorphOpenCloseKernelSize" in s, "the morphology panel is not shown")
            drawn_again(app, "frame 0 not drawn with the small element")
            before = app.grab("before.png")
            start = time.time()
            type_into_widget(app, "fiw.MorphOpenCloseKernelSize", "12")
            s = app.wait_for(lambda s: s["filter_run"].startswith("1"), "no run on the worker was seen", 30)
            check(s["status1"] == "Filtering...", "the status bar shows the run: %r" % s["status1"])
            s = app.wait_for(lambda s: s["filter_run"].startswith("0"), "the run never ended", 120)
            print("filter run of the radius-12 dilation: %.1f s observed" % (time.time() - start))
            check(s["status1"] == "", "the status is cleared: %r" % s["status1"])
            drawn_again(app, "frame 0 not drawn after the run")
            after = app.grab("after.png")
            grown = region_difference(before, after, *box)
            check(grown > 1.5, "the dilation did not change the picture (%.3f)" % grown)
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)


def drag(x0, y0, x1, y1):
    """Presses the left button at (x0, y0), moves in steps and releases at (x1, y1)."""
    subprocess.run(["xdotool", "mousemove", str(x0), str(y0), "mousedown", "1"], check=True)
    for k in range(1, 6):
        time.sleep(0.05)
        subprocess.run(["xdotool", "mousemove", str(x0 + (x1 - x0) * k // 5), str(y0 + (y1 - y0) * k // 5)],
                       check=True)
    time.sleep(0.1)
    subprocess.run(["xdotool", "mouseup", "1"], check=True)


def case_filter_panel_graph(binary):
    """The mouse on the graphs: dragging a density-curve point and a thumb of the level item's
    input window changes the item (one undo step each); the histogram is drawn under the curve."""
    work = tempfile.mkdtemp(prefix="tessan-fgraph-")
    try:
        first = write_series(work)[0]
        app = App(binary, args=[first], folder=work, size="1200x1000")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "frame 0 never drawn")
            add_from_menu(app, ["Down"] * 8 + ["Right"] + ["Down"] * 4, 1)  # Composite Density Curve
            s = app.wait_for(lambda s: "fi.graph.points" in s and "fiw.graph" in s, "the curve panel is not shown")
            check(float(s["fi.graph.histogram"]) > 0.0, "no histogram under the curve")
            points = [p.split() for p in s["fi.graph.points"].split("|")]
            check(len(points) == 2 and points[1][:2] == ["1.0000", "1.0000"], "the identity's ends: %r" % points)
            # Drag the upper end half-way down.
            x, y = int(points[1][2]), int(points[1][3])
            gx, gy, gw, gh, _ = [int(v) for v in s["fiw.graph"].split()]
            drag(x, y, x, y + (gh - 12) // 2)
            # The window may still be working through the drag's motion events when xdotool
            # returns (a loaded machine, a sanitizer build): wait for where the drag ends.
            def end_point(s):
                return [p.split() for p in s["fi.graph.points"].split("|")][1]
            s = app.wait_for(lambda s: abs(float(end_point(s)[0]) - 1.0) < 0.02 and 0.44 < float(end_point(s)[1]) < 0.56,
                             "the drag did not move the point half-way down")
            check(s["undo"].startswith("Undo Add Curve Point|1") or s["undo"].startswith("Undo|1") or
                  s["undo"].startswith("Undo "), "the drag is a step: %r" % s["undo"])
            app.wait_for(lambda s: "Parameter_DensityCurvePoints" in s["chain_text"], "the points are not in the text form")
            app.key("ctrl+z")
            s = app.wait_for(lambda s: s["fi.graph.points"].split("|")[1].startswith("1.0000 1.0000"),
                             "undo did not put the point back")
            # The level item's input window: drag the high thumb to the middle.
            add_from_menu(app, LEVEL_MENU, 2)
            app.wait_for(lambda s: "fiw.param.Input.thumbs" in s, "no input slider")
            time.sleep(0.5)
            s = app.state()
            lx, hx, ty = [int(v) for v in s["fiw.param.Input.thumbs"].split()]
            drag(hx, ty, (lx + hx) // 2, ty)
            s = app.wait_for(lambda s: s["fi.param.Input"].split()[0] == "0" and
                             0.4 < float(s["fi.param.Input"].split()[1]) < 0.6,
                             "the thumb drag from %d to %d at %d did not set InMax" % (hx, (lx + hx) // 2, ty))
            check(float(s["fi.graph.curve"].split()[2]) == 1.0, "the curve reaches 1 at mid-grey: %r" % s["fi.graph.curve"])
            app.key("ctrl+z")
            app.wait_for(lambda s: s["fi.param.Input"] == "0 1", "undo did not restore the input window")
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)

# --- scene items -------------------------------------------------------------------------------

def write_cone_ball(folder, n=24):
    """One DF3 frame: a dense ball of radius 0.3 n with a thin shell falling linearly from 255 to
    0 over four voxels around it, so the isosurface moves outwards as the level goes down while
    little fog lies in front of it."""
    body = bytearray(n * n * n)
    c = (n - 1) / 2.0
    r, shell = 0.3 * n, 4.0
    for z in range(n):
        for y in range(n):
            row = (z * n + y) * n
            for x in range(n):
                d = ((x - c) ** 2 + (y - c) ** 2 + (z - c) ** 2) ** 0.5
                body[row + x] = 255 if d <= r else max(0, int(round(255 * (1 - (d - r) / shell))))
    path = os.path.join(folder, "cone_0000.df3")
    with open(path, "wb") as f:
        f.write(n.to_bytes(2, "big") * 3 + bytes(body))
    return path


def widget(app, key):
    x, y, w, h = [int(v) for v in app.state()[key].split()]
    check(w > 0 and h > 0 and (x, y) != (0, 0), "%s is not on the screen" % key)
    return x, y, w, h


def reveal(app, key):
    """Scrolls the control panel with the mouse wheel until the widget lies within the window. The
    wheel turns over the panel's left margin: over a choice or a spin box it would change them."""
    v = app.view(3)
    top, bottom = v["sy"], v["sy"] + v["h"]
    margin = v["sx"] + v["w"] + 6
    for _ in range(40):
        x, y, w, h = widget(app, key)
        if y >= top and y + h <= bottom:
            return
        button = "5" if y + h > bottom else "4"
        subprocess.run(["xdotool", "mousemove", str(margin), str((top + bottom) // 2), "click", "--repeat", "3",
                        button], check=True)
        time.sleep(0.4)
    raise Failure("%s cannot be scrolled into view" % key)


def click(app, key, dx=None):
    if key.startswith("scw."):
        reveal(app, key)
    x, y, w, h = widget(app, key)
    cx = x + (w // 2 if dx is None else dx)
    subprocess.run(["xdotool", "mousemove", str(cx), str(y + h // 2), "click", "1"], check=True)
    time.sleep(0.3)


def choose(app, key, downs):
    """Opens a choice and moves `downs` entries down from the one shown, as a user would."""
    click(app, key)
    time.sleep(0.4)
    for _ in range(downs):
        subprocess.run(["xdotool", "key", "Down"], check=True)
        time.sleep(0.05)
    subprocess.run(["xdotool", "key", "Return"], check=True)
    time.sleep(0.3)


def type_spin(app, key, text):
    """Types into a spin box (its text part is the left half) and presses Return."""
    reveal(app, key)
    x, y, w, h = widget(app, key)
    subprocess.run(["xdotool", "mousemove", str(x + w // 4), str(y + h // 2), "click", "--repeat", "3", "1"],
                   check=True)
    subprocess.run(["xdotool", "key", "ctrl+a", "BackSpace"], check=True)
    subprocess.run(["xdotool", "type", text], check=True)
    subprocess.run(["xdotool", "key", "Return"], check=True)


def scene_iso(s):
    f = s["scene.iso"].split()
    return int(f[0]), [float(v) for v in f[1:3]], [int(v) for v in f[3:]]


def drawn_meshes(s):
    return int(s.get("scene.drawn", "0 0 0").split()[0])


def red_excess(pic, x0, y0, x1, y1):
    """Mean of red minus the larger of green and blue over a region."""
    total, n = 0, 0
    for y in range(y0, y1, 2):
        for x in range(x0, x1, 2):
            p = pic.pixel(x, y)
            total += p[0] - max(p[1], p[2])
            n += 1
    return total / max(n, 1)


def case_scene_iso(binary):
    """An isosurface added from the Filter menu shows as a lit mesh; a higher level in the Scene
    panel shrinks it; a colour template of the Custom Color editor recolours it; each Undo
    brings the previous picture back."""
    work = tempfile.mkdtemp(prefix="tessan-scene-")
    try:
        path = write_cone_ball(work)
        app = App(binary, args=[path], folder=work, size="1100x900")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("1 0 0 1"), "frame 0 never drawn")
            v = app.view(3)
            box = (v["sx"], v["sy"], v["sx"] + v["w"], v["sy"] + v["h"])
            cx, cy = v["sx"] + v["w"] // 2, v["sy"] + v["h"] // 2
            core = (cx - 20, cy - 20, cx + 20, cy + 20)
            half = v["h"] // 6
            ball = (cx - half, cy - half, cx + half, cy + half)
            plain = app.grab("plain.png")
            # Filter > Add Isosurface (the first entry).
            menu(app, "i", [])
            s = app.wait_for(lambda s: s["chain"] == "1|Isosurface", "the menu added no isosurface")
            check(s["undo"].startswith("Undo Add Filter"), "Undo names the addition: %r" % s["undo"])
            s = app.wait_for(lambda s: drawn_meshes(s) == 1 and scene_iso(s)[2][1] >= 1, "no mesh drawn")
            count, values, built = scene_iso(s)
            check(count == 1 and abs(values[0] - 0.5) < 1e-6, "the panel lists the new isosurface: %r" % s["scene.iso"])
            check(built[1] > 100, "the mesh has triangles: %r" % s["scene.iso"])
            iso = app.grab("iso.png")
            # The lit surface darkens toward its outline, where the plain volume is bright.
            shown = region_difference(plain, iso, *ball)
            check(shown > 3.0, "the mesh changed nothing on the ball (%.2f)" % shown)

            # A higher level: the chain extracts again, the sphere gets smaller.
            type_spin(app, "scw.level", "0.85")
            s = app.wait_for(lambda s: abs(scene_iso(s)[1][0] - 0.85) < 1e-6 and scene_iso(s)[2][0] >= 2,
                             "the level change was not extracted")
            check(s["undo"].startswith("Undo"), "the level change is an undo step: %r" % s["undo"])
            faces_high = scene_iso(s)[2][1]
            check(faces_high < built[1], "a higher level gives a smaller mesh (%d, %d)" % (faces_high, built[1]))
            time.sleep(1.0)
            high = app.grab("high.png")
            moved = region_difference(iso, high, *ball)
            check(moved > 1.0, "the smaller mesh changed nothing on the screen (%.2f)" % moved)

            # Undo: level 0.5 again, the picture of the first mesh.
            app.key("ctrl+z")
            s = app.wait_for(lambda s: abs(scene_iso(s)[1][0] - 0.5) < 1e-6 and scene_iso(s)[2][1] == built[1],
                             "Undo did not bring the level back")
            time.sleep(1.0)
            back = app.grab("back.png")
            check(region_difference(iso, back, *ball) < moved / 4,
                  "Undo of the level: not the first mesh's picture (%.3f)" % region_difference(iso, back, *ball))

            # The Custom Color editor: a new map (Black White) for the slot, then "Red Yellow".
            click(app, "scw.customcolor")
            s = app.wait_for(lambda s: s.get("customcolor_shown") == "1", "the Custom Color editor did not open")
            click(app, "ccw.newmap")
            app.wait_for(lambda s: s.get("customcolor", "").startswith("1 0 "), "New Map made no map")
            choose(app, "ccw.slotcolor", 10)
            app.wait_for(lambda s: s.get("slotcolor") == "10", "the slot did not take the custom map")
            time.sleep(1.0)
            grey = app.grab("grey.png")
            choose(app, "ccw.template", 1)
            app.wait_for(lambda s: s.get("customcolor", "").split()[3] == "2", "the template did not replace the keys")
            time.sleep(1.0)
            red = app.grab("red.png")
            check(red_excess(red, *core) > 40, "Red Yellow: the mesh is not red (%.1f)" % red_excess(red, *core))
            check(red_excess(grey, *core) < 10, "Black White: the mesh is red (%.1f)" % red_excess(grey, *core))
            app.key("ctrl+z")
            time.sleep(1.5)
            grey_again = app.grab("grey_again.png")
            check(region_difference(grey, grey_again, *box) < 1.0,
                  "Undo of the template: not the earlier picture (%.3f)" % region_difference(grey, grey_again, *box))
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_scene_lights_cameras(binary):
    """Add Light and Add Camera in the Scene panel are undo steps; the lights and the camera path
    are offered on the time line; the camera path moves view 0 when the frame changes."""
    work = tempfile.mkdtemp(prefix="tessan-lights-")
    try:
        first = write_series(work)[0]
        app = App(binary, args=[first], folder=work, size="1100x900")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "frame 0 never drawn")
            # Spot lights: the kind chosen before Add Light.
            choose(app, "scw.lightkind", 1)
            click(app, "scw.addlight")
            # The list changes inside the step; the Edit menu names it once the step is done.
            app.wait_for(lambda s: s["scene.lights"] == "1 1", "Add Light added no spot light")
            app.wait_for(lambda s: s["undo"].startswith("Undo Add Light"), "Undo does not name the light")
            click(app, "scw.addlight")
            app.wait_for(lambda s: s["scene.lights"] == "2 1 1", "a second light was not added")
            app.key("ctrl+z")
            app.wait_for(lambda s: s["scene.lights"] == "1 1", "Undo left the second light")
            app.key("ctrl+y")
            app.wait_for(lambda s: s["scene.lights"] == "2 1 1", "Redo did not bring the light back")
            click(app, "scw.removelight")
            app.wait_for(lambda s: s["scene.lights"] == "1 1", "Remove Light removed nothing")
            app.wait_for(lambda s: s["undo"].startswith("Undo Remove Light"), "Undo does not name the removal")
            app.key("ctrl+z")
            app.wait_for(lambda s: s["scene.lights"] == "2 1 1", "Undo did not bring the removed light back")

            # The chosen light's energy: one undo step, undone back to 1.
            s = app.state()
            chosen = s["scene.light"].split()
            check(chosen[4] == "1.0000", "a new light has energy 1: %r" % s["scene.light"])
            type_spin(app, "scw.energy", "3")
            s = app.wait_for(lambda s: s["scene.light"].split()[4] == "3.0000", "the energy did not change")
            check(s["scene.light"].split()[0] == chosen[0], "the same light: %r" % s["scene.light"])
            app.key("ctrl+z")
            app.wait_for(lambda s: s["scene.light"].split()[4] == "1.0000", "Undo left the energy at 3")
            app.wait_for(lambda s: s["scene.lights"] == "2 1 1", "Undo of the energy changed the list")

            # The lights' key-framed sets are offered on the time line after the shared ones
            # (BoxSize, BoxRotate, TimeRemap; the path's set comes with its first camera).
            choose(app, "tlw.set", 4)
            s = app.wait_for(lambda s: s["timeline_set"] == "Light 2", "the time line does not offer Light 2")
            check(s["keys"] == "0", "a new light holds one constant key: %r" % s["keys"])

            # Cameras: the perspective view's camera at frame 0, another at frame 4 after a turn.
            click(app, "scw.addcamera")
            app.wait_for(lambda s: s["scene.cameras"] == "1 0", "Add Camera added nothing")
            app.wait_for(lambda s: s["undo"].startswith("Undo Add Camera"), "Undo does not name the camera")
            app.key("ctrl+z")
            app.wait_for(lambda s: s["scene.cameras"] == "0", "Undo left the camera")
            app.key("ctrl+y")
            app.wait_for(lambda s: s["scene.cameras"] == "1 0", "Redo did not bring the camera back")
            type_into(app, "framebox", "4")
            app.wait_for(lambda s: s["frame"] == "4", "the frame did not change")
            cam3_before = app.camera(3)[0]
            v = app.view(3)
            subprocess.run(["xdotool", "mousemove", str(v["sx"] + v["w"] // 2), str(v["sy"] + v["h"] // 2),
                            "mousedown", "1", "mousemove_relative", "--", "120", "0", "mouseup", "1"], check=True)
            app.wait_for(lambda s: distance(app.camera(3)[0], cam3_before) > 0.1, "the drag did not turn the view")
            click(app, "scw.addcamera")
            s = app.wait_for(lambda s: s["scene.cameras"] == "2 0 4", "the second camera was not added at frame 4")
            # The path's set on the time line: one key per camera (Light 2 is shown; two up).
            click(app, "tlw.set")
            time.sleep(0.4)
            for _ in range(2):
                subprocess.run(["xdotool", "key", "Up"], check=True)
                time.sleep(0.05)
            subprocess.run(["xdotool", "key", "Return"], check=True)
            s = app.wait_for(lambda s: s["timeline_set"] == "CameraPath", "the time line does not offer the path")
            check(len(s["keys"].split()) == 2, "one key per camera on the time line: %r" % s["keys"])
            # Looking through the path is covered by the camera_path case; following it is a
            # named undo step of its own.
            check(s["scene.follow"] == "0 0", "the path is not followed yet: %r" % s["scene.follow"])
            click(app, "scw.follow")
            app.wait_for(lambda s: s["scene.follow"] == "1 1", "Follow Camera Path did not turn on")
            app.wait_for(lambda s: s["undo"].startswith("Undo Follow Camera Path|1"), "Undo does not name it")
            app.key("ctrl+z")
            app.wait_for(lambda s: s["scene.follow"] == "0 0", "Undo left the path followed")
            app.key("ctrl+y")
            app.wait_for(lambda s: s["scene.follow"] == "1 1", "Redo did not follow the path again")
            app.key("ctrl+z")
            app.wait_for(lambda s: s["scene.follow"] == "0 0", "Undo left the path followed")
            # The undo of the second camera takes it off the path.
            app.key("ctrl+z")
            app.wait_for(lambda s: s["scene.cameras"] == "1 0", "Undo left the second camera")
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_custom_color_rgba(binary):
    """With colours baked into RGBA textures, a template applied in the Custom Color editor makes
    the slot's textures again, so the volume itself takes the new colours; Undo brings the old
    ones back."""
    work = tempfile.mkdtemp(prefix="tessan-rgba-")
    try:
        path = write_cone_ball(work)
        with open(os.path.join(work, "KivrelConfigure.txt"), "w", encoding="utf-8") as f:
            f.write("PreviewTextureType=2\n")
        app = App(binary, args=[path], folder=work, size="1100x900")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("1 0 0 1"), "frame 0 never drawn")
            v = app.view(3)
            cx, cy = v["sx"] + v["w"] // 2, v["sy"] + v["h"] // 2
            half = v["h"] // 8
            core = (cx - half, cy - half, cx + half, cy + half)
            click(app, "scw.customcolor")
            app.wait_for(lambda s: s.get("customcolor_shown") == "1", "the Custom Color editor did not open")
            click(app, "ccw.newmap")
            app.wait_for(lambda s: s.get("customcolor", "").startswith("1 0 "), "New Map made no map")
            choose(app, "ccw.slotcolor", 10)
            app.wait_for(lambda s: s.get("slotcolor") == "10", "the slot did not take the custom map")
            app.wait_for(lambda s: s.get("slot0", "").startswith("1 0 0 1"), "frame 0 not drawn again")
            time.sleep(1.0)
            grey = app.grab("grey.png")
            check(abs(red_excess(grey, *core)) < 10, "Black White is not grey (%.1f)" % red_excess(grey, *core))
            choose(app, "ccw.template", 1)
            app.wait_for(lambda s: s.get("customcolor", "").split()[3] == "2", "the template did not replace the keys")
            app.wait_for(lambda s: s.get("slot0", "").startswith("1 0 0 1"), "frame 0 not drawn after the template")
            time.sleep(1.5)
            red = app.grab("red.png")
            check(red_excess(red, *core) > 40, "the baked volume did not turn red (%.1f)" % red_excess(red, *core))
            app.key("ctrl+z")
            time.sleep(2.0)
            again = app.grab("again.png")
            check(region_difference(grey, again, *core) < 2.0,
                  "Undo of the template: not the grey volume (%.2f)" % region_difference(grey, again, *core))
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_scene_project(binary):
    """Lights, the camera path and the custom colour maps are saved with the project and come back
    when it is opened again, without an undo step."""
    folder = tempfile.mkdtemp(prefix="tessan-scene-project-")
    project = os.path.join(folder, "scene.vsp")
    with open(project, "w") as f:
        f.write("DF3MaxFrame=49\nDF3WorkAreaMax=49\nDF3ActiveAreaMax=49\n")
    app = App(binary, answers="yes", args=[project], folder=folder, size="1100x900")
    try:
        app.wait_for(lambda s: s["clock"].startswith("49 "), "the project's scene length is read")
        click(app, "scw.addlight")
        app.wait_for(lambda s: s["scene.lights"] == "1 0", "Add Light added no point light")
        for _ in range(7):
            app.key("Right")
        app.wait_for(lambda s: s["frame"] == "7", "frame 7")
        click(app, "scw.addcamera")
        app.wait_for(lambda s: s["scene.cameras"] == "1 7", "Add Camera added nothing at frame 7")
        click(app, "scw.customcolor")
        app.wait_for(lambda s: s.get("customcolor_shown") == "1", "the Custom Color editor did not open")
        click(app, "ccw.newmap")
        app.wait_for(lambda s: s.get("customcolor", "").startswith("1 0 "), "New Map made no map")
        choose(app, "ccw.template", 3)  # "Green Red": three keys
        app.wait_for(lambda s: s.get("customcolor", "").split()[3] == "3", "the template did not set three keys")
        app.key("ctrl+s")
        app.wait_for(lambda s: s["title"] == project + " - Tessan", "the project was not saved")
        with open(project, encoding="utf-8") as f:
            text = f.read()
        check("--CameraPath\n" in text and "--LightSource\n" in text and "CUSTOMCOLOR_NUM=1\n" in text,
              "the scene items are in the project")
        app.close(keep=True)
        app2 = App(binary, answers="yes", args=[project], folder=folder, size="1100x900")
        try:
            s = app2.wait_for(lambda s: s["scene.lights"] == "1 0" and s["scene.cameras"] == "1 7",
                              "lights and cameras did not come back")
            check(s["undo"] == "Undo|0|0", "reading is no edit: %r" % s["undo"])
            click(app2, "scw.customcolor")
            s = app2.wait_for(lambda s: s.get("customcolor_shown") == "1", "the editor did not open")
            check(s["customcolor"].split()[:4] == ["1", "0", "0", "3"], "the map came back: %r" % s["customcolor"])
        finally:
            app2.close(keep=True)
    finally:
        app.close()
        shutil.rmtree(folder, ignore_errors=True)


def export_through_dialog(app, path):
    """Clicks the Scene panel's export button and saves as `path` in the file dialog."""
    click(app, "scw.export")
    dialog = None
    for _ in range(50):
        out = subprocess.run(["xdotool", "search", "--name", "^Export isosurfece \\(POV mesh2 Format\\)$"],
                             capture_output=True, text=True).stdout.split()
        if out:
            dialog = out[0]
            break
        time.sleep(0.1)
    check(dialog is not None, "no file dialog titled 'Export isosurfece (POV mesh2 Format)'")
    time.sleep(0.5)
    subprocess.run(["xdotool", "windowfocus", "--sync", dialog], check=True)
    subprocess.run(["xdotool", "key", "ctrl+a"], check=True)
    subprocess.run(["xdotool", "type", path], check=True)
    time.sleep(0.3)
    subprocess.run(["xdotool", "key", "Return"], check=True)
    for _ in range(50):
        gone = subprocess.run(["xdotool", "search", "--name", "^Export isosurfece"], capture_output=True,
                              text=True).stdout.split()
        if not gone:
            return
        time.sleep(0.1)
    raise Failure("the export dialog did not close")


def case_iso_export(binary):
    """The export dialog writes the isosurface as OBJ (by the name's extension); an existing file
    is replaced only after Yes to the question."""
    work = tempfile.mkdtemp(prefix="tessan-export-")
    try:
        path = write_cone_ball(work)
        # The snapshot question at the start, then the two overwrite questions.
        app = App(binary, answers="no,no,yes", args=[path], folder=work, size="1100x900")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("1 0 0 1"), "frame 0 never drawn")
            menu(app, "i", [])
            s = app.wait_for(lambda s: drawn_meshes(s) == 1 and scene_iso(s)[2][1] > 0, "no mesh drawn")
            faces = scene_iso(s)[2][1]
            target = os.path.join(work, "ball.obj")
            export_through_dialog(app, target)
            for _ in range(50):
                if os.path.exists(target):
                    break
                time.sleep(0.1)
            with open(target) as f:
                text = f.read()
            check(text.startswith("o Isosurface\n"), "not an OBJ file: %r" % text[:40])
            check(sum(1 for line in text.splitlines() if line.startswith("f ")) == faces,
                  "the file holds the drawn mesh's %d triangles" % faces)
            with open(target, "w") as f:
                f.write("precious\n")
            export_through_dialog(app, target)
            time.sleep(0.5)
            with open(target) as f:
                check(f.read() == "precious\n", "No to the question replaced the file")
            check("File already exists. Overwrite? -> no" in app.stderr(), "the question was not asked")
            export_through_dialog(app, target)
            for _ in range(50):
                with open(target) as f:
                    if f.read().startswith("o Isosurface"):
                        break
                time.sleep(0.1)
            with open(target) as f:
                check(f.read().startswith("o Isosurface\n"), "Yes to the question did not replace the file")
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)


def case_iso_animated(binary):
    """An isosurface's level keyed on the time line: the preview's mesh follows the level of the
    frame shown, although the data frame stays the same."""
    work = tempfile.mkdtemp(prefix="tessan-animated-")
    try:
        path = write_cone_ball(work)
        app = App(binary, args=[path], folder=work, size="1100x900")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("1 0 0 1"), "frame 0 never drawn")
            menu(app, "i", [])
            s = app.wait_for(lambda s: drawn_meshes(s) == 1 and scene_iso(s)[2][1] > 0, "no mesh drawn")
            faces_low = scene_iso(s)[2][1]
            # The time line offers the item's set after the shared ones.
            choose(app, "tlw.set", 3)
            s = app.wait_for(lambda s: s["timeline_set"].startswith("Isosurface "), "the set is not offered")
            app.key("Insert")  # animated from here on, its key at frame 0 holds level 0.5
            type_into(app, "framebox", "40")
            app.wait_for(lambda s: s["frame"] == "40", "frame 40 not shown")
            type_spin(app, "scw.level", "0.85")
            s = app.wait_for(lambda s: len(s["keys"].split()) == 2, "no key at frame 40")
            s = app.wait_for(lambda s: abs(scene_iso(s)[1][0] - 0.85) < 1e-6 and scene_iso(s)[2][1] < faces_low,
                             "the level of frame 40 was not extracted")
            faces_high = scene_iso(s)[2][1]
            type_into(app, "framebox", "0")
            s = app.wait_for(lambda s: s["frame"] == "0" and abs(scene_iso(s)[1][0] - 0.5) < 1e-6
                             and scene_iso(s)[2][1] == faces_low, "frame 0 does not show the level of its key")
            type_into(app, "framebox", "20")
            s = app.wait_for(lambda s: s["frame"] == "20" and 0.5 < scene_iso(s)[1][0] < 0.85,
                             "frame 20 does not show a level between the keys")
            # The mesh is extracted again for the new level (on the filter worker, so it may come
            # a few passes after the level).
            s = app.wait_for(lambda s: faces_high < scene_iso(s)[2][1] < faces_low,
                             "the mesh between the keys does not lie between them")
            check(drawn_meshes(s) == 1, "the mesh is drawn at frame 20")
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)


def drawn_sections(s):
    return int(s.get("scene.drawn", "0 0 0").split()[1])


def case_scene_sections(binary):
    """A cross-section from the Filter menu is one plane through the data, a three-view three;
    each Undo takes its planes away again and gives the previous picture back."""
    work = tempfile.mkdtemp(prefix="tessan-sections-")
    try:
        path = write_cone_ball(work)
        app = App(binary, args=[path], folder=work, size="1100x900")
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("1 0 0 1"), "frame 0 never drawn")
            v = app.view(3)
            box = (v["sx"], v["sy"], v["sx"] + v["w"], v["sy"] + v["h"])
            time.sleep(0.5)
            plain = app.grab("plain.png")
            menu(app, "i", ["Down"])  # Add Cross-section
            app.wait_for(lambda s: s["chain"] == "1|Cross-section" and drawn_sections(s) == 1,
                         "no cross-section plane drawn")
            time.sleep(1.0)
            one = app.grab("one.png")
            check(region_difference(plain, one, *box) > 2.0, "the plane changed nothing on the screen")
            menu(app, "i", ["Down", "Down"])  # Add Three-View
            app.wait_for(lambda s: s["chain"] == "2|Cross-section|Three-view" and drawn_sections(s) == 4,
                         "the three-view did not add three planes")
            app.key("ctrl+z")
            app.wait_for(lambda s: s["chain"] == "1|Cross-section" and drawn_sections(s) == 1,
                         "Undo left the three-view's planes")
            time.sleep(1.0)
            again = app.grab("again.png")
            check(region_difference(one, again, *box) < 0.5, "Undo: not the one-plane picture")
            app.key("ctrl+z")
            app.wait_for(lambda s: s["chain"] == "0" and drawn_sections(s) == 0, "Undo left the cross-section")
            time.sleep(1.0)
            back = app.grab("back.png")
            check(region_difference(plain, back, *box) < 0.5, "Undo: not the plain picture")
        finally:
            app.close(keep=True)
    finally:
        shutil.rmtree(work, ignore_errors=True)

def case_save_fails(binary):
    # A project save that cannot be written says "File open fails" and leaves the old file as it
    # was. The write is made to fail with a folder where the save puts its temporary file (root
    # writes anywhere, so file modes cannot make it fail).
    folder = tempfile.mkdtemp(prefix="tessan-gui-")
    project = os.path.join(folder, "scene.vsp")
    old = "DF3MaxFrame=49\nDF3WorkAreaMax=49\nDF3ActiveAreaMax=49\n"
    with open(project, "w") as f:
        f.write(old)
    app = App(binary, answers="yes", args=[project], folder=folder)
    try:
        app.wait_for(lambda s: s["clock"].startswith("49 "), "the project is read")
        app.key("Right")
        app.wait_for(lambda s: s["frame"] == "1", "frame 1")
        app.key("Insert")
        app.wait_for(lambda s: s["title"].startswith("*"), "an edit marks the project modified")
        os.mkdir(project + ".tmp")
        app.key("ctrl+s")
        end = time.time() + 20 * SCALE
        while "File open fails" not in app.stderr() and time.time() < end:
            time.sleep(0.1)
        check("prompt: Error!: File open fails" in app.stderr(), "no message: %r" % app.stderr()[-500:])
        with open(project) as f:
            check(f.read() == old, "the old project file changed")
        check(app.state()["title"].startswith("*"), "a failed save must not clear the modified mark")
        check(app.proc.poll() is None, "the program ended")
    finally:
        app.close()
        shutil.rmtree(folder, ignore_errors=True)


def case_monkey(binary):
    # A few thousand random menu commands, key presses and mouse drags (fixed seed) on the demo
    # series: the program must neither crash nor fail a check, and ends by itself with status 0.
    work = tempfile.mkdtemp(prefix="tessan-monkey-")
    try:
        cli = os.path.join(os.path.dirname(binary), "tessan-cli")
        subprocess.run([cli, "sample", work], check=True, capture_output=True)
        exe = os.path.join(work, "tessan")
        shutil.copy2(binary, exe)
        count = int(os.environ.get("TESSAN_MONKEY_COUNT", "2000"))
        seed = os.environ.get("TESSAN_MONKEY_SEED", "7")
        env = dict(os.environ, LIBGL_ALWAYS_SOFTWARE="1", TESSAN_PROMPT_ANSWERS="")
        start = time.time()
        try:
            r = subprocess.run([exe, "--size", "800x600", "--monkey", "%s:%d" % (seed, count),
                                os.path.join(work, "demo_0000.df3")], cwd=work, env=env,
                               stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, timeout=170 * SCALE)
        except subprocess.TimeoutExpired:
            raise Failure("the monkey run did not end within %d s" % (170 * SCALE))
        took = time.time() - start
        summary = [l for l in r.stderr.splitlines() if l.startswith("monkey: ") and "actions" in l]
        check(r.returncode == 0, "exit status %d; stderr tail: %s" % (r.returncode, r.stderr[-2000:]))
        check(len(summary) == 1 and summary[0].startswith("monkey: %d actions" % count),
              "no summary of %d actions: %r" % (count, summary))
        check(summary[0].endswith("; 0 failed checks"), summary[0])
        print(summary[0], "(%.1f s)" % took)
    finally:
        shutil.rmtree(work, ignore_errors=True)



# --- every setting through the widgets, saved and opened again -----------------------------------

class Driver:
    """Commands for the window's drive file (TESSAN_DRIVE_FILE): each is carried out through the
    widgets themselves; `run` waits until the window reports it done."""

    def __init__(self, folder):
        self.path = os.path.join(folder, "drive.txt")
        open(self.path, "w").close()
        self.sent = 0
        self.app = None

    def env(self):
        return {"TESSAN_DRIVE_FILE": self.path}

    def run(self, command, timeout=60.0):
        with open(self.path, "a", encoding="utf-8") as f:
            f.write(command + "\n")
        self.sent += 1
        s = self.app.wait_for(lambda s: int(s.get("drive.done", "0")) >= self.sent,
                              "the window did not carry out %r" % command, timeout)
        check(s.get("drive.error", "") == "", "%r: %s" % (command, s.get("drive.error")))
        return s

    def walk(self, target):
        """Edits every setting control of `target`; fails naming each one that kept its value."""
        s = self.run("walk " + target, timeout=120.0)
        f = s["drive.walk"].split(" ", 4)
        check(f[0] == target, "walk report: %r" % s["drive.walk"])
        total, edited, disabled = int(f[1]), int(f[2]), int(f[3])
        check(total > 0, "%s has no controls" % target)
        # Disabled controls (displays such as "Use 3D Texture") cannot be edited by a user.
        check(edited + disabled == total and disabled <= 2, "%s: %d of %d controls took no new value: %s"
              % (target, total - edited, total, f[4] if len(f) > 4 else ""))
        return edited


def controls(s, target):
    """The walker's view of a target: {index: "kind value"}."""
    prefix = "wd.%s." % target
    return {int(k[len(prefix):]): v for k, v in s.items() if k.startswith(prefix)}


def settle(app, timeout=60.0):
    """Waits until no chain run is going on and the state report has stopped changing."""
    end = time.time() + timeout
    last = None
    while time.time() < end:
        s = app.state()
        if s.get("filter_run", "1").startswith("0") and s == last:
            return s
        last = s
        time.sleep(0.4)
    raise Failure("the window never settled")


def panel_values(app, driver, chain_length):
    """Every control of every panel, as shown: each chain item's panel (its row chosen in the
    list), the scene, preview and custom colour panels and the stereo settings dialog."""
    values = {}
    for row in range(chain_length):
        driver.run("listselect chain|%d" % row)
        s = app.wait_for(lambda s: s.get("fc.selected") == str(row) and controls(s, "filter"),
                         "row %d of the chain is not shown" % row)
        values["filter %d %s" % (row, s["chain"].split("|")[row + 1])] = controls(settle(app), "filter")
    s = settle(app)
    for target in ("scene", "preview", "customcolor"):
        values[target] = controls(s, target)
        check(values[target], "%s shows no controls" % target)
    driver.run("menu View|Stereogram Settings...")
    s = app.wait_for(lambda s: controls(s, "dialog"), "the stereo settings dialog did not open")
    values["stereo dialog"] = controls(s, "dialog")
    driver.run("cancel")
    app.wait_for(lambda s: not controls(s, "dialog"), "the stereo settings dialog did not close")
    return values


def save_project(app, path):
    before = os.path.getmtime(path)
    time.sleep(1.1)  # a save within the same second would keep the time stamp
    app.key("ctrl+s")
    end = time.time() + 20
    while os.path.getmtime(path) == before and time.time() < end:
        time.sleep(0.1)
    check(os.path.getmtime(path) != before, "the project was not saved")
    time.sleep(0.3)
    with open(path, encoding="utf-8") as f:
        return f.read()


def case_settings_roundtrip(binary):
    """Every setting control of every panel (each chain item type added from the Filter menu, the
    scene panel with a light and a camera, the preview panel, the custom colour editor, the stereo
    settings dialog) set to another value through its widget, the project saved, a new window
    opened on it: every control shows the same, and saving again writes the same bytes."""
    work = tempfile.mkdtemp(prefix="tessan-settings-")
    try:
        first = write_series(work)[0]
        cli = os.path.join(os.path.dirname(binary), "tessan-cli")
        project = os.path.join(work, "all.vsp")
        r = subprocess.run([cli, "project", "new", project, "--data", first, "--length", "5"],
                           capture_output=True, text=True)
        check(r.returncode == 0, "project new: %s" % r.stderr)

        # Phase 1: every control edited, the project saved.
        driver = Driver(work)
        app = App(binary, answers="yes", args=[project], folder=work, size="1200x1000", extra_env=driver.env())
        driver.app = app
        try:
            app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "the project's data is drawn")
            driver.run("menuall Filter")
            s = app.wait_for(lambda s: s["chain"].startswith("19|"), "the Filter menu did not add every item type")
            length = int(s["chain"].split("|")[0])
            walked = 0
            for row in range(length):
                driver.run("listselect chain|%d" % row)
                app.wait_for(lambda s: s.get("fc.selected") == str(row), "row %d not chosen" % row)
                walked += driver.walk("filter")
            driver.run("press scene|Add Light")
            driver.run("press scene|Add Camera")
            walked += driver.walk("scene")
            s = settle(app)
            light = s["scene.light"].split()
            check(light[5:8] != ["1.0000", "1.0000", "1.0000"], "the light kept its white: %r" % s["scene.light"])
            # The panel's last two undoable edits: the light colour, then "Follow Camera Path".
            # Undo switches the path back first; the next brings the white back and leaves
            # position and energy alone. Redo walks the same way forward.
            check(s["undo"].startswith("Undo Follow Camera Path|1"), "the switch is no step: %r" % s["undo"])
            follow = s["scene.follow"]
            app.key("ctrl+z")
            s = app.wait_for(lambda s: s["scene.follow"] != follow, "Undo did not switch Follow Camera Path back")
            check(s["scene.light"].split() == light, "Undo of the switch changed the light: %r" % s["scene.light"])
            app.key("ctrl+z")
            s = app.wait_for(lambda s: s["scene.light"].split()[5:8] == ["1.0000"] * 3,
                             "Undo did not take the light colour back: %r" % app.state()["scene.light"])
            check(s["scene.light"].split()[:5] == light[:5], "Undo of the colour moved the light: %r / %r"
                  % (s["scene.light"], " ".join(light)))
            app.key("ctrl+y")
            app.wait_for(lambda s: s["scene.light"].split() == light, "Redo did not bring the colour back")
            app.key("ctrl+y")
            app.wait_for(lambda s: s["scene.follow"] == follow, "Redo did not switch Follow Camera Path again")
            driver.run("press preview|[+]Shade Settings")
            walked += driver.walk("preview")
            # Each preview setting is an undo step: the last one goes back and comes again.
            s = settle(app)
            check(s["undo"].startswith("Undo Preview Setting|1"), "the preview edit is no step: %r" % s["undo"])
            edited = controls(s, "preview")
            app.key("ctrl+z")
            app.wait_for(lambda s: controls(s, "preview") != edited, "Undo did not reach the preview panel")
            app.key("ctrl+y")
            app.wait_for(lambda s: controls(s, "preview") == edited, "Redo did not bring the preview setting back")
            driver.run("press scene|Custom Color...")
            app.wait_for(lambda s: s.get("customcolor_shown") == "1", "the Custom Color editor did not open")
            driver.run("press customcolor|New Map")
            walked += driver.walk("customcolor")
            stereo_before = app.state()["stereo"]
            driver.run("menu View|Stereogram Settings...")
            app.wait_for(lambda s: controls(s, "dialog"), "the stereo settings dialog did not open")
            walked += driver.walk("dialog")
            driver.run("ok")
            s = app.wait_for(lambda s: s["stereo"] != stereo_before, "the dialog's OK changed nothing")
            check(s["undo"].startswith("Undo Stereo Settings|1"), "the dialog is one named step: %r" % s["undo"])
            stereo_after = s["stereo"]
            app.key("ctrl+z")
            s = app.wait_for(lambda s: s["stereo"] == stereo_before, "Undo did not restore the stereo settings")
            check(s["redo"].startswith("Redo Stereo Settings|1"), "Redo offers the dialog: %r" % s["redo"])
            app.key("ctrl+y")
            app.wait_for(lambda s: s["stereo"] == stereo_after, "Redo did not re-apply the stereo settings")
            settle(app)
            text_a = save_project(app, project)
            values_a = panel_values(app, driver, length)
            stereo_a = app.state()["stereo"]
        finally:
            app.close(keep=True)

        # Phase 2: a new window on the saved project shows every value again.
        driver = Driver(work)
        app = App(binary, answers="yes", args=[project], folder=work, size="1200x1000", extra_env=driver.env())
        driver.app = app
        try:
            s = app.wait_for(lambda s: s.get("slot0", "").startswith("6 0 0 1"), "the saved project is drawn")
            check(s["chain"].startswith("%d|" % length), "the chain came back: %r" % s["chain"])
            check(s["stereo"] == stereo_a, "stereo settings: %r, saved %r" % (s["stereo"], stereo_a))
            driver.run("press scene|Custom Color...")
            app.wait_for(lambda s: s.get("customcolor_shown") == "1", "the Custom Color editor did not open")
            # The shading group's fold is the panel's own state, not a setting: unfolded as before.
            driver.run("press preview|[+]Shade Settings")
            values_b = panel_values(app, driver, length)
            text_b = save_project(app, project)
        finally:
            app.close(keep=True)
        lost = []
        for panel in values_a:
            a, b = values_a[panel], values_b.get(panel, {})
            for i in sorted(set(a) | set(b)):
                if a.get(i) != b.get(i):
                    lost.append("%s #%d: %r, re-opened %r" % (panel, i, a.get(i), b.get(i)))
        check(not lost, "%d settings did not survive:\n  %s" % (len(lost), "\n  ".join(lost)))
        check(walked > 60, "only %d controls walked" % walked)
        print("%d controls edited in %d panels; %d values compared after re-opening; project %d bytes"
              % (walked, len(values_a), sum(len(v) for v in values_a.values()), len(text_a)))
        if text_a != text_b:
            import difflib
            diff = "".join(list(difflib.unified_diff(text_a.splitlines(True), text_b.splitlines(True)))[:40])
            raise Failure("saving the re-opened project changed it:\n" + diff)
    finally:
        shutil.rmtree(work, ignore_errors=True)


CASES = {
    "cli": case_cli,
    "settings_roundtrip": case_settings_roundtrip,
    "screenshot": case_screenshot,
    "window": case_window,
    "four_views": case_four_views,
    "navigation": case_navigation,
    "quit_no": case_quit_no,
    "quit_yes": case_quit_yes,
    "play": case_play,
    "undo_drag": case_undo_drag,
    "time_remap": case_time_remap,
    "preview_saved": case_preview_saved,
    "project": case_project,
    "data_screenshot": case_data_screenshot,
    "data_play_close": case_data_play_close,
    "filter_menu": case_filter_menu,
    "project_roundtrip": case_project_roundtrip,
    "anchor_roundtrip": case_anchor_roundtrip,
    "names_remembered": case_names_remembered,
    "box_factors": case_box_factors,
    "img_sequence": case_img_sequence,
    "iso_sequence": case_iso_sequence,
    "stack_series": case_stack_series,
    "render_sequence": case_render_sequence,
    "render_stop": case_render_stop,
    "snapshot": case_snapshot,
    "pov_settings": case_pov_settings,
    "render_match_volume": case_render_match_volume,
    "render_match_iso_light": case_render_match_iso_light,
    "render_match_section": case_render_match_section,
    "render_match_fog": case_render_match_fog,
    "colour_map": case_colour_map,
    "screenshot_every": case_screenshot_every,
    "render_error": case_render_error,
    "render_farm": case_render_farm,
    "offscreen_shot": case_offscreen_shot,
    "stereo_anaglyph": case_stereo_anaglyph,
    "camera_path": case_camera_path,
    "filter_panel_blur": case_filter_panel_blur,
    "filter_panel_order": case_filter_panel_order,
    "filter_panel_text": case_filter_panel_text,
    "preferences_saved": case_preferences_saved,
    "filter_worker": case_filter_worker,
    "filter_panel_graph": case_filter_panel_graph,
    "scene_iso": case_scene_iso,
    "scene_lights_cameras": case_scene_lights_cameras,
    "custom_color_rgba": case_custom_color_rgba,
    "scene_project": case_scene_project,
    "iso_export": case_iso_export,
    "iso_animated": case_iso_animated,
    "scene_sections": case_scene_sections,
    "monkey": case_monkey,
    "save_fails": case_save_fails,
}

if __name__ == "__main__":
    if len(sys.argv) != 3 or sys.argv[1] not in CASES:
        sys.exit("usage: gui_test.py {%s} TESSAN" % ",".join(CASES))
    try:
        CASES[sys.argv[1]](os.path.abspath(sys.argv[2]))
    except Failure as e:
        print("FAILED:", e)
        sys.exit(1)
    print("ok")
