#!/usr/bin/env python3
"""Runs a fuzzer for a fixed number of inputs. --kind tags: the tag reader's, seeded with the media
fixtures and truncated, zero-length, random-byte and bit-flipped copies of them; --kind text: the
text parsers', seeded with playlists and lyrics at their limits. Exit status is the fuzzer's."""
import argparse
import os
import random
import shutil
import subprocess
import sys

# First byte of every input picks the container, in the fuzzer's order.
CONTAINERS = {"mp3": 0, "wav": 1, "flac": 2, "m4a": 3, "wma": 4}
SEEDS = ["noise-22k-mono.mp3", "tone-44k-stereo.mp3", "short-44k-stereo.wav", "chord-44k-stereo.flac",
         "melody-48k-mono.flac", "melody-44k-stereo.m4a", "tone-48k-mono.m4a", "chord-44k-stereo.wma",
         "tone-22k-mono.wma"]
MAX_LEN = 131072

# First byte of every text input picks the parser, in the fuzzer's order: M3U, PLS, XSPF, LRC.
TEXT_SEEDS = {
    "m3u": b"\x00#EXTM3U\n#EXTINF:3000000000,Title, comma\na.mp3\n#EXTINF:nan,x\nfile:///m/b%0A.mp3\n\n\r\n",
    "pls": b"\x01[playlist]\nFile1=a.mp3\nTitle1=A\nLength1=1e300\nNumberOfEntries=1\nVersion=2\n",
    "xspf": b"\x02<?xml version=\"1.0\"?><playlist version=\"1\" xmlns=\"http://xspf.org/ns/0/\"><trackList>"
            b"<track><location>a%20b.mp3</location><title>T</title><duration>9223372036854775807</duration>"
            b"</track></trackList></playlist>",
    "lrc": b"\x03[ar:x]\n[offset:+500]\n[00:01.50][01:02]<00:01.60>Hel<00:01.70>lo\n[9999:59.999]end\n"
           + b"[00:00.00]" * 2000 + b"many\n",
}


def variants(data, rng):
    yield "whole", data
    yield "empty", b""
    for fraction in (0.01, 0.1, 0.5, 0.9):
        yield "cut%g" % fraction, data[: int(len(data) * fraction)]
    yield "random", bytes(rng.getrandbits(8) for _ in range(min(len(data), 4096)))
    for n in range(4):
        flipped = bytearray(data)
        for _ in range(1 + n * 3):
            at = rng.randrange(min(len(flipped), 8192 if n % 2 == 0 else len(flipped)))
            flipped[at] ^= 1 << rng.randrange(8)
        yield "flip%d" % n, bytes(flipped)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--kind", choices=["tags", "text"], default="tags")
    parser.add_argument("--fuzzer", required=True)
    parser.add_argument("--fixtures", required=True)
    parser.add_argument("--work", required=True)
    parser.add_argument("--runs", type=int, default=20000)
    parser.add_argument("--max-seconds", type=int, default=50)
    args = parser.parse_args()

    seeds = os.path.join(args.work, "seeds")
    found = os.path.join(args.work, "found")
    shutil.rmtree(args.work, ignore_errors=True)
    os.makedirs(seeds)
    os.makedirs(found)
    rng = random.Random(20240501)
    if args.kind == "text":
        for name, body in TEXT_SEEDS.items():
            with open(os.path.join(seeds, name), "wb") as f:
                f.write(body)
    for name in SEEDS if args.kind == "tags" else []:
        with open(os.path.join(args.fixtures, name), "rb") as f:
            data = f.read()[:MAX_LEN]
        prefix = bytes([CONTAINERS[name.rsplit(".", 1)[1]]])
        for label, body in variants(data, rng):
            with open(os.path.join(seeds, "%s-%s" % (name, label)), "wb") as f:
                f.write(prefix + body)

    command = [args.fuzzer, "-runs=%d" % args.runs, "-max_total_time=%d" % args.max_seconds,
               "-timeout=10", "-rss_limit_mb=2048", "-max_len=%d" % (MAX_LEN + 1), "-seed=1",
               "-artifact_prefix=" + os.path.join(args.work, ""), found, seeds]
    print(" ".join(command), flush=True)
    return subprocess.run(command).returncode


if __name__ == "__main__":
    sys.exit(main())
