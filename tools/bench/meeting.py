#!/usr/bin/env python3
"""Watches the real program from outside while it records a meeting, and judges what was seen. Used by meeting.sh.

  meeting.py watch PREFIX OUT             until ended: when each line and each lane's sound stands in the meeting's files
  meeting.py threads PID OUT              processor time of each of the program's threads, now
  meeting.py judge PREFIX WATCHED QUIET0 QUIET1 TALK0 TALK1 FIGURES
                                          tables on the output, figures into FIGURES

PREFIX is the beginning of the names of a meeting's files.
"""

import array
import json
import os
import statistics
import sys
import time

RATE = 16_000
EPOCH = 978_307_200  # dates in the files count from the beginning of 2001
POLL = 0.01
FRAME = 320  # 20 ms
PAUSE = 2.0  # seconds of silence that end an utterance
# What the threads of each name do.
STAGES = {"tavrin-assistan": "window", "models": "engine", "work": "conversion, archive, chunking",
          "devices": "opening devices", "tavrin-sound": "sound server: microphone, devices, monitor",
          "tavrin-tap": "what other programs play"}


def watch(prefix, out_path):
    seen = 0
    delays = {"me": None, "them": None}
    with open(out_path, "w", encoding="utf-8") as out:
        while True:
            now = time.time()
            for lane in delays:
                size = os.path.getsize(f"{prefix}{lane}.pcm")
                delay = now - size / 2 / RATE
                if delays[lane] is None or delay < delays[lane]:
                    delays[lane] = delay
                    out.write(json.dumps({"lane": lane, "start": delay}) + "\n")
            try:
                with open(f"{prefix}segments.jsonl", encoding="utf-8") as file:
                    lines = file.read().split("\n")[:-1]
            except FileNotFoundError:
                lines = []
            for line in lines[seen:]:
                out.write(json.dumps({"time": now, "speaker": json.loads(line)["speakerLabel"]}) + "\n")
            seen = len(lines)
            out.flush()
            time.sleep(POLL)


def threads(pid, out_path):
    result = []
    for task in os.listdir(f"/proc/{pid}/task"):
        try:
            with open(f"/proc/{pid}/task/{task}/stat", encoding="utf-8") as file:
                stat = file.read()
        except FileNotFoundError:
            continue
        name = stat[stat.index("(") + 1:stat.rindex(")")]
        fields = stat[stat.rindex(")") + 2:].split()
        result.append({"id": task, "name": name, "ticks": int(fields[11]) + int(fields[12])})
    with open(out_path, "w", encoding="utf-8") as out:
        json.dump({"time": time.time(), "threads": result}, out)


def shares(before_path, after_path):
    """Per cent of one processor between two looks, by the threads' names."""
    with open(before_path, encoding="utf-8") as one, open(after_path, encoding="utf-8") as other:
        before, after = json.load(one), json.load(other)
    ticks = {thread["id"]: thread["ticks"] for thread in before["threads"]}
    seconds = (after["time"] - before["time"]) * os.sysconf("SC_CLK_TCK")
    result = {}
    for thread in after["threads"]:
        used = 100 * (thread["ticks"] - ticks.get(thread["id"], 0)) / seconds
        result[thread["name"]] = result.get(thread["name"], 0) + used
    return result


def utterances(path):
    """Where speech begins and ends in a lane's file, in seconds, pauses within an utterance left out."""
    with open(path, "rb") as file:
        data = file.read()
    samples = array.array("h", data[:len(data) // 2 * 2])
    loud = [max(map(abs, samples[i:i + FRAME])) for i in range(0, len(samples) - FRAME, FRAME)]
    gate = max(loud, default=0) * 0.03
    found = []
    for i, peak in enumerate(loud):
        if peak <= gate or gate == 0:
            continue
        begin, end = i * FRAME / RATE, (i + 1) * FRAME / RATE
        if found and begin - found[-1][1] < PAUSE:
            found[-1][1] = end
        else:
            found.append([begin, end])
    return found


def latencies(spoken, lines, start):
    """Seconds from the end of each utterance to the last line before the next one; None where no line came."""
    result = []
    for i, (begin, end) in enumerate(spoken):
        until = spoken[i + 1][0] if i + 1 < len(spoken) else float("inf")
        of_it = [moment for moment in lines if start + begin < moment <= start + until]
        late = max(of_it, default=None)
        result.append(late - start - end if late is not None and late > start + end else None)
    return result


def judge(prefix, watched, quiet0, quiet1, talk0, talk1, figures_path):
    with open(watched, encoding="utf-8") as file:
        seen = [json.loads(line) for line in file.read().split("\n")[:-1]]
    with open(f"{prefix}checkpoint.json", encoding="utf-8") as file:
        start = json.load(file)["startedAt"] + EPOCH
    figures = []
    print("\nfrom the end of an utterance to its line in the meeting's files\n")
    everything, missing = [], 0
    for lane, speaker in (("me", "Me"), ("them", "Them")):
        spoken = utterances(f"{prefix}{lane}.pcm")
        found = latencies(spoken, [entry["time"] for entry in seen if entry.get("speaker") == speaker], start)
        known = [value for value in found if value is not None]
        missing += len(found) - len(known)
        everything += known
        print(f"  {speaker:<5}", "  ".join("none" if value is None else f"{value:.2f} s" for value in found))
        sound = min((entry["start"] for entry in seen if entry.get("lane") == lane), default=None)
        if sound is not None:
            figures.append(f"figure|{speaker}: the file's end behind the clock, at best|{sound - start:.3f}|2|s")
    if not everything:
        sys.exit("no line came after an utterance")
    figures += [f"figure|line after the end of a word, median|{statistics.median(everything)}|2|s",
                f"figure|line after the end of a word, worst|{max(everything)}|2|s",
                f"bar|utterances without a line after their end|{missing}|0|0|of {missing + len(everything)}"]
    quiet, talk = shares(quiet0, quiet1), shares(talk0, talk1)
    print("\nper cent of one processor, by threads\n")
    print(f"  {'thread':<18}{'in silence':>12}{'while talked':>14}   what it does")
    for name in sorted(talk, key=lambda name: -talk[name]):
        if talk[name] >= 0.05 or quiet.get(name, 0) >= 0.05:
            print(f"  {name:<18}{quiet.get(name, 0):>12.2f}{talk[name]:>14.2f}   {STAGES.get(name, '')}")
    for label, of in (("in silence", quiet), ("while talked", talk)):
        figures.append(f"figure|processor of a recording meeting, {label}|{sum(of.values())}|1|%")
    hour = sum(share for name, share in quiet.items()) * 36
    figures.append(f"figure|an hour of recording silence, whole program|{hour}|0|s of a processor")
    with open(figures_path, "a", encoding="utf-8") as file:
        file.write("\n".join(figures) + "\n")


if __name__ == "__main__":
    commands = {"watch": (watch, 2), "threads": (threads, 2), "judge": (judge, 7)}
    if len(sys.argv) < 2 or sys.argv[1] not in commands or len(sys.argv) != commands[sys.argv[1]][1] + 2:
        sys.exit(__doc__)
    commands[sys.argv[1]][0](*sys.argv[2:])
