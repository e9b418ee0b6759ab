#!/usr/bin/env python3
"""Drives the real tessan window under Xvfb and checks what a user would see.

Usage: gui_test.py CASE TESSAN_BINARY   (run inside xvfb-run; CASE "cli" needs no display)

The program is copied into a scratch folder and started there, so the configuration file
(working folder) and the recent list (beside the executable) land in that folder only. The
window reports what its widgets show to TESSAN_STATE_FILE; questions are answered through
TESSAN_PROMPT_ANSWERS. Pictures are grabbed from the X screen with ImageMagick's `import`.
"""
import os
import shutil
import subprocess
import sys
import tempfile
import time

TITLE = "Kivrel Tessan v 0.778"
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
    def __init__(self, binary, answers="", args=(), folder=None, size="900x700"):
        self.dir = folder or tempfile.mkdtemp(prefix="tessan-gui-")
        self.exe = os.path.join(self.dir, "tessan")
        shutil.copy2(binary, self.exe)
        self.state_file = os.path.join(self.dir, "state.txt")
        # A second start in the same folder must not read what the first one reported.
        if os.path.exists(self.state_file):
            os.remove(self.state_file)
        env = dict(os.environ, LIBGL_ALWAYS_SOFTWARE="1", TESSAN_STATE_FILE=self.state_file,
                   TESSAN_PROMPT_ANSWERS=answers)
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
        end = time.time() + timeout
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
                self.proc.wait(5)
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
                       text=True, timeout=120, env=env)
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
                           text=True, timeout=60, env=dict(os.environ, LIBGL_ALWAYS_SOFTWARE="1"))
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
                           text=True, timeout=60, env=dict(os.environ, LIBGL_ALWAYS_SOFTWARE="1"))
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
        check(s["menus"] == "File,Edit,View,Animation,Filter,Help", "menus: %r" % s["menus"])
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
        end = time.time() + 10
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
            rc = app.proc.wait(20)
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
    app = App(binary, answers="yes", size="1200x1000")
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
        app.wait_for(lambda s: s["frame"] == "99", "End with a button focused")
        app.key("Left")
        s = app.wait_for(lambda s: s["frame"] == "98", "Left with a button focused")
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
        # Quit with Yes: the settings are in the configuration, before the key assignments.
        app.key("ctrl+q")
        try:
            rc = app.proc.wait(20)
        except subprocess.TimeoutExpired:
            raise Failure("Yes did not end the program")
        check(rc == 0, "exit code %d" % rc)
        with open(os.path.join(app.dir, "KivrelConfigure.txt"), encoding="utf-8") as f:
            conf = f.read()
        for line in ("PreviewNormalQuality=5\n", "PreviewShading=1\n", "PreviewType3D=1\n", "PreviewTexFilter=1\n"):
            check(line in conf, "%r saved in %r" % (line, conf))
        check("\nPreviewLuminanceFactor=2.5" in conf, "luminance factor saved")
        check(conf.index("PreviewType3D=") < conf.index("PreviewTexFilter=") < conf.index("-ShortcutBegin"),
              "preview lines in their order, before the key assignments")
        # The next start shows what was saved.
        app.err.close()
        app2 = App(binary, folder=app.dir, size="1200x1000")
        try:
            s = app2.wait_for(lambda s: s["pp.PreviewNormalQuality"] == "192 normal layers",
                              "the saved slice count is read back")
            check(s["pp.PreviewShading"] == "Emboss Shading" and s["pp.PreviewLuminanceFactor"] == "2.5",
                  "shading and luminance read back: %r %r" % (s["pp.PreviewShading"], s["pp.PreviewLuminanceFactor"]))
        finally:
            app2.close()
    finally:
        app.close()


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
        end = time.time() + 20
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
                               stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, timeout=170)
        except subprocess.TimeoutExpired:
            raise Failure("the monkey run did not end within 170 s")
        took = time.time() - start
        summary = [l for l in r.stderr.splitlines() if l.startswith("monkey: ") and "actions" in l]
        check(r.returncode == 0, "exit status %d; stderr tail: %s" % (r.returncode, r.stderr[-2000:]))
        check(len(summary) == 1 and summary[0].startswith("monkey: %d actions" % count),
              "no summary of %d actions: %r" % (count, summary))
        check(summary[0].endswith("; 0 failed checks"), summary[0])
        print(summary[0], "(%.1f s)" % took)
    finally:
        shutil.rmtree(work, ignore_errors=True)


CASES = {
    "cli": case_cli,
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
