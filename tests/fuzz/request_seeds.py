#!/usr/bin/env python3
"""Seeds and dictionary for the fuzzer of requests, out of the session transcripts and the examples
of docs/protocol.md: each request behind the last ones that it may build on.

usage: request_seeds.py SOURCE_DIR OUT
"""
import glob
import json
import os
import sys

source, out = sys.argv[1:]
sys.path.insert(0, os.path.join(source, "tests", "sessions"))
from run import read_steps  # noqa: E402

CONTEXT = {"set-data-roots", "load-unit", "cob-start", "map-load", "map-spawn", "map-move",
           "model-apply-fix"}


def words_of(value):
    if isinstance(value, dict):
        for key, member in value.items():
            yield f'"{key}":'
            yield from words_of(member)
    elif isinstance(value, list):
        for element in value:
            yield from words_of(element)
    elif isinstance(value, str) and len(value) < 40:
        yield json.dumps(value)


folder = os.path.join(out, "requests")
os.makedirs(folder, exist_ok=True)
pages = glob.glob(os.path.join(source, "tests", "sessions", "*.session"))
pages.append(os.path.join(source, "docs", "protocol.md"))
words = set()
count = 0
for page in sorted(pages):
    context = {}
    copies = {}
    for _, sign, text in read_steps(page):
        if sign == "+":  # the fuzzer's data are copies themselves
            original, copy = text.split()
            copies[copy] = original
        if sign != ">":
            continue
        for copy, original in copies.items():
            text = text.replace(copy, original)
        with open(os.path.join(folder, f"{count:04}"), "w", encoding="utf-8") as file:
            file.write("\n".join([*context.values(), text]) + "\n")
        count += 1
        try:
            request = json.loads(text)
            words.update(words_of(request))
            if request["type"] in CONTEXT:
                context[request["type"]] = text
        except (ValueError, KeyError, TypeError):
            pass
with open(os.path.join(out, "requests.dict"), "w", encoding="utf-8") as file:
    for word in sorted(words):
        escaped = "".join(f"\\x{byte:02X}" for byte in word.encode())
        file.write(f'"{escaped}"\n')
