#!/usr/bin/env python3
"""Figures of brindlemoor-cli under faults, timed from outside as a user sees
them:

  kills     photos imported and worked on while the process is killed at
            random moments, and at each naming of a collection; after every
            kill the database must pass its integrity check, every row must
            have its files and no file may be half-written; at the end every
            capture is organized and every collection named.
  hung      how long `import` takes to end when the daemon accepts
            connections and never answers.
  talk      peak memory of reading a video whose sound is a 30-minute talk.

  bench/fault_figures.py BUILD_DIR [kills|hung|talk ...]

Needs ffmpeg, espeak-ng and GNU time (scripts/install-deps installs them).
"""
import hashlib
import json
import os
import random
import socket
import sqlite3
import subprocess
import sys
import tempfile
import threading
import time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from pathlib import Path

VISION = "vision:bench"
EMBEDDING = "embeddinggemma-2:440m"
DIMENSION = 64


class Daemon(ThreadingHTTPServer):
    """Answers as the model daemon does, each reply after a random delay;
    naming replies wait `naming_delay` seconds and set `naming_asked`."""

    daemon_threads = True

    def __init__(self):
        super().__init__(("127.0.0.1", 0), Handler)
        self.naming_delay = 0.0
        self.naming_asked = threading.Event()
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def handle_error(self, request, client_address):
        pass  # a client killed mid-reply is what this bench does on purpose

    @property
    def host(self):
        return f"http://127.0.0.1:{self.server_address[1]}"


def vector_for(text):
    """One of three directions by the text's first digit, with a little
    noise, so that captures gather in a few collections."""
    digits = [c for c in text if c.isdigit()]
    base = int(digits[0]) % 3 if digits else 0
    noise = random.Random(hashlib.sha1(text.encode()).digest())
    return [(1.0 if i == base else 0.0) + noise.uniform(-0.05, 0.05) for i in range(DIMENSION)]


class Handler(BaseHTTPRequestHandler):
    def log_message(self, *args):
        pass

    def reply(self, body):
        data = json.dumps(body).encode()
        self.send_response(200)
        self.send_header("Content-Type", "application/json")
        self.send_header("Content-Length", str(len(data)))
        self.end_headers()
        self.wfile.write(data)

    def do_GET(self):
        if self.path == "/api/tags":
            self.reply({"models": [{"name": VISION}, {"name": EMBEDDING}]})
        else:
            self.reply({"version": "0.0.0"})

    def do_POST(self):
        request = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
        time.sleep(random.uniform(0.02, 0.25))
        if self.path == "/api/embed":
            inputs = request["input"]
            texts = [i if isinstance(i, str) else i.get("text", "") for i in inputs]
            self.reply({"embeddings": [vector_for(t) for t in texts]})
        elif "Name the collection" in request.get("prompt", ""):
            self.server.naming_asked.set()
            time.sleep(self.server.naming_delay)
            self.reply({"response": json.dumps({"name": "Shelf", "emoji": "📚"})})
        else:
            self.reply({"response": json.dumps(
                {"title": "Test card", "summary": "A test card.", "kind": "other",
                 "tags": ["card"], "highlights": [], "links": []}),
                "done": True})


def environment(home, host):
    config = home / "config" / "Brindlemoor"
    config.mkdir(parents=True, exist_ok=True)
    (config / "Brindlemoor.conf").write_text(f"[General]\nvisionModel={VISION}\n")
    return dict(os.environ, HOME=str(home), XDG_DATA_HOME=str(home / "data"),
                XDG_CONFIG_HOME=str(home / "config"), OLLAMA_HOST=host)


def library_faults(root):
    """What is wrong with the library at `root` after a kill: the integrity
    check's words, rows without their files, and files that are not whole."""
    faults = []
    with sqlite3.connect(root / "library.sqlite") as db:
        check = db.execute("PRAGMA integrity_check").fetchone()[0]
        if check != "ok":
            faults.append("integrity: " + check)
        rows = db.execute("SELECT id, image_file FROM captures").fetchall()
    for capture_id, image_file in rows:
        for path in (root / (image_file or f"captures/{capture_id}.png"),
                     root / f"thumbs/{capture_id}.jpg"):
            if not path.exists():
                faults.append(f"{capture_id}: no {path.name}")
    for folder in ("captures", "thumbs", "media"):
        for path in (root / folder).iterdir():
            data = path.read_bytes()
            whole = data.endswith(b"\xff\xd9") if path.suffix == ".jpg" else data.endswith(
                b"IEND\xaeB`\x82")
            if path.suffix in (".jpg", ".png") and not whole:
                faults.append(f"{path.name}: not whole")
    return faults


def run_kills(cli):
    daemon = Daemon()
    home = Path(tempfile.mkdtemp(prefix="bm-kills-"))
    env = environment(home, daemon.host)
    root = home / "data" / "Brindlemoor"
    photos = home / "photos"
    photos.mkdir()
    subprocess.run(["ffmpeg", "-loglevel", "error", "-f", "lavfi", "-i",
                    "testsrc=size=640x360:rate=1", "-frames:v", "60",
                    str(photos / "photo%02d.png")], check=True)
    names = sorted(photos.iterdir())
    kills = 0
    faults = []
    # Chosen kills: whenever a collection is being named. The first ten
    # photos are imported, and each pass that comes to name their
    # collections is killed there, so they stay due for the next one.
    daemon.naming_delay = 3
    chosen = 0
    args = ["import", *map(str, names[:10])]
    for _ in range(6):
        daemon.naming_asked.clear()
        child = subprocess.Popen([cli, *args], env=env, stdout=subprocess.DEVNULL,
                                 stderr=subprocess.DEVNULL)
        if daemon.naming_asked.wait(timeout=120):
            child.kill()
            chosen += 1
        child.wait()
        faults += library_faults(root)
        args = ["work"]
    daemon.naming_delay = 0
    # Random kills: imports of ten photos at a time, then work, each cut
    # short at a random moment.
    rng = random.Random(7)
    for start in range(10, len(names), 10):
        args = ["import", *map(str, names[start:start + 10])]
        for _ in range(3):
            child = subprocess.Popen([cli, *args], env=env, stdout=subprocess.DEVNULL,
                                     stderr=subprocess.DEVNULL)
            time.sleep(rng.uniform(0.05, 1.5))
            if child.poll() is None:
                child.kill()
                kills += 1
            child.wait()
            faults += library_faults(root)
            args = ["work"]
    started = time.monotonic()
    subprocess.run([cli, "work"], env=env, stdout=subprocess.DEVNULL, check=True)
    with sqlite3.connect(root / "library.sqlite") as db:
        stages = dict(db.execute("SELECT stage, count(*) FROM captures GROUP BY stage"))
        unnamed = db.execute("SELECT count(*) FROM collections WHERE named_at_count = 0 AND "
                             "(SELECT count(*) FROM captures WHERE collection_id = "
                             "collections.id) >= 2").fetchone()[0]
    print(f"kills: {kills} at random moments, {chosen} during naming; "
          f"{len(faults)} faults after them{': ' + '; '.join(faults[:5]) if faults else ''}")
    print(f"  after a last work ({time.monotonic() - started:.1f} s): stages {stages}, "
          f"{unnamed} collections left unnamed")


def run_hung(cli):
    listener = socket.socket()
    listener.bind(("127.0.0.1", 0))
    listener.listen(64)
    held = []
    threading.Thread(target=lambda: [held.append(listener.accept()) for _ in iter(int, 1)],
                     daemon=True).start()
    home = Path(tempfile.mkdtemp(prefix="bm-hung-"))
    env = environment(home, f"http://127.0.0.1:{listener.getsockname()[1]}")
    photos = []
    for n in range(2):
        photo = home / f"photo{n}.png"
        subprocess.run(["ffmpeg", "-loglevel", "error", "-f", "lavfi", "-i",
                        f"testsrc=size=640x360:rate=1", "-vf", f"hue=h={n * 90}", "-frames:v",
                        "1", str(photo)], check=True)
        photos.append(str(photo))
    started = time.monotonic()
    result = subprocess.run([cli, "import", *photos], env=env, capture_output=True, text=True)
    print(f"hung daemon: import of 2 photos ended after {time.monotonic() - started:.0f} s "
          f"with exit {result.returncode}; it said: {result.stdout.strip().splitlines()[-1:]}")


def run_talk(cli):
    home = Path(tempfile.mkdtemp(prefix="bm-talk-"))
    text = home / "talk.txt"
    paragraph = ("The library keeps what you choose from the screen. Each capture is read, "
                 "described and filed, and you can find it again by its words. ")
    text.write_text(paragraph * 240)
    speech = home / "talk.wav"
    subprocess.run(["espeak-ng", "-f", str(text), "-w", str(speech)], check=True)
    video = home / "talk.mp4"
    subprocess.run(["ffmpeg", "-loglevel", "error", "-f", "lavfi", "-i",
                    "color=c=white:size=320x240:rate=1", "-i", str(speech), "-t", "1800",
                    "-shortest", "-c:v", "libx264", "-c:a", "aac", str(video)], check=True)
    length = float(subprocess.run(["ffprobe", "-v", "error", "-show_entries", "format=duration",
                                   "-of", "csv=p=0", str(video)], capture_output=True,
                                  text=True).stdout)
    env = environment(home, "http://127.0.0.1:9")  # nothing answers: reading alone
    started = time.monotonic()
    result = subprocess.run(["/usr/bin/time", "-f", "%M", cli, "import", str(video)], env=env,
                            capture_output=True, text=True)
    peak = int(result.stderr.strip().splitlines()[-1])
    print(f"talk: a {length / 60:.1f}-minute talk was read in {time.monotonic() - started:.0f} s "
          f"at a peak of {peak / 1024:.0f} MB")


def main():
    build = Path(sys.argv[1])
    cli = str(build / "tools" / "cli" / "brindlemoor-cli")
    chosen = sys.argv[2:] or ["kills", "hung", "talk"]
    if "kills" in chosen:
        run_kills(cli)
    if "hung" in chosen:
        run_hung(cli)
    if "talk" in chosen:
        run_talk(cli)


if __name__ == "__main__":
    main()
