#!/usr/bin/env python3
"""Sets the tool beside other programs on a device that is full: what they answer, and what is there then.

    sudo scripts/full_device.py [build/release/bin/zbm]

Each writes a picture of 400 x 300 random pixels, over a former one, to a file system of 16 MiB in memory that has from 0
to 544 KiB left. Counted are exit code and content: the picture, the former one, or a file that is neither. Needs the
right to mount, and Pillow; rivals that are not installed are left out.
"""
import collections
import os
import random
import shutil
import subprocess
import sys
import tempfile

from PIL import Image

SIZE = (400, 300)
ROOMS = sorted(set(range(0, 544 << 10, 32 << 10)) | set(range(340 << 10, 372 << 10, 4 << 10)))


def rivals(zbm, source):
    python = sys.executable
    pillow = "import sys; from PIL import Image; Image.open(sys.argv[1]).save(sys.argv[2])"
    opencv = "import sys, cv2; sys.exit(0 if cv2.imwrite(sys.argv[2], cv2.imread(sys.argv[1])) else 1)"
    yield "zbm", lambda out: [zbm, "convert", source, out]
    yield "libvips", lambda out: ["vips", "copy", source, out]
    yield "Pillow", lambda out: [python, "-c", pillow, source, out]
    if subprocess.run([python, "-c", "import cv2"], stderr=subprocess.DEVNULL).returncode == 0:
        yield "OpenCV", lambda out: [python, "-c", opencv, source, out]


def leave(device, room):
    space = os.statvfs(device)
    filler = os.open(f"{device}/filler", os.O_CREAT | os.O_WRONLY)
    os.posix_fallocate(filler, 0, space.f_bavail * space.f_bsize - room)
    os.close(filler)


def content(file, wanted, former):
    if not os.path.exists(file):
        return "no file"
    with open(file, "rb") as stream:
        if stream.read() == former:
            return "former picture"
    try:
        return "picture" if Image.open(file).convert("RGB").tobytes() == wanted else "other pixels"
    except Exception:  # whatever a reader says of such a file
        return "broken file"


def attempt(device, command, ending, room, wanted):
    for name in os.listdir(device):
        os.remove(f"{device}/{name}")
    out = f"{device}/out.{ending}"
    Image.new("RGB", (3, 3)).save(out)
    with open(out, "rb") as stream:
        former = stream.read()
    leave(device, room)
    code = subprocess.run(command(out), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode
    others = [name for name in os.listdir(device) if name not in ("filler", f"out.{ending}")]
    return code, content(out, wanted, former) + (" and others" if others else "")


def main():
    zbm = sys.argv[1] if len(sys.argv) > 1 else "build/release/bin/zbm"
    with tempfile.TemporaryDirectory() as folder:
        source, device = f"{folder}/in.tif", f"{folder}/device"
        picture = Image.frombytes("RGB", SIZE, random.Random(1).randbytes(3 * SIZE[0] * SIZE[1]))
        picture.save(source)
        os.mkdir(device)
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=16m", "full_device", device], check=True)
        try:
            for name, command in rivals(os.path.abspath(zbm), source):
                if shutil.which(command("")[0]) is None:
                    continue
                for ending in ("bmp", "png", "tif"):
                    answers = collections.Counter(attempt(device, command, ending, room, picture.tobytes())
                                                  for room in ROOMS)
                    told = ", ".join(f"{count} x exit {code} with {what}"
                                     for (code, what), count in sorted(answers.items()))
                    print(f"{name:8} {ending}: {told}", flush=True)
        finally:
            subprocess.run(["umount", device], check=True)


if __name__ == "__main__":
    main()
