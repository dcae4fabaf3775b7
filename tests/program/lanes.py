"""Looks into the sound of a meeting: raw 16-bit samples, one channel, 16,000 a second.

  lanes.py bursts ME THEM TIME...       each burst of sound is in both lanes, and as far apart as these moments (seconds)
  lanes.py regular ME THEM SECONDS      a burst every so many seconds from the first to the last, in both lanes
  lanes.py sounds FILE                  the lane is no silence
Ends with 1, and says why, when it is not so."""

import array
import sys

RATE = 16_000
STEP = 32  # 2 ms
LOUD = 600 * 600  # mean square; all else that is played here is digital silence
LONGEST_PAUSE = 0.2  # seconds within a burst
LANES_APART = 0.040 + STEP / RATE
# A player needs a moment to start, and more of it on a busy machine.
MOMENTS_APART = 0.8
# A lane that its device holds up is set right by some hundredths of a second; a lost chunk is a quarter of one.
REGULAR_APART = 0.060


def loud_moments(path: str) -> list[float]:
    samples = array.array("h")
    data = open(path, "rb").read()
    samples.frombytes(data[: len(data) // 2 * 2])
    begins = range(0, len(samples) - STEP, STEP)
    return [begin / RATE for begin in begins if sum(v * v for v in samples[begin : begin + STEP]) >= LOUD * STEP]


def bursts(path: str) -> list[float]:
    loud = loud_moments(path)
    return [at for before, at in zip([-1.0] + loud, loud) if at - before > LONGEST_PAUSE]


def faults_between(me: list[float], them: list[float]) -> list[str]:
    if len(me) != len(them):
        return [f"{len(me)} bursts in the lane Me, {len(them)} in the lane Them"]
    worst = max((abs(a - b) for a, b in zip(me, them)), default=0)
    print(f"  {len(me)} bursts, the lanes at most {worst * 1000:.0f} ms apart")
    return [f"the lanes are {worst * 1000:.0f} ms apart"] if worst > LANES_APART else []


def faults_of_moments(heard: list[float], moments: list[float]) -> list[str]:
    if len(heard) != len(moments):
        return [f"{len(heard)} bursts instead of {len(moments)}"]
    # Of each burst from the first one on.
    shifts = [(at - heard[0]) - (moment - moments[0]) for at, moment in zip(heard, moments)]
    worst = max(map(abs, shifts))
    print(f"  their time in the file is at most {worst * 1000:.0f} ms from the clock's")
    return [f"the time line has moved by {worst:.2f} s"] if worst > MOMENTS_APART else []


def faults_of_rhythm(heard: list[float], seconds: float) -> list[str]:
    gaps = [b - a for a, b in zip(heard, heard[1:])]
    wrong = [f"{gap:.2f} s at {at:.1f} s" for gap, at in zip(gaps, heard) if abs(gap - seconds) > REGULAR_APART]
    return [f"bursts are not {seconds} s apart: {', '.join(wrong[:5])}"] if wrong or not gaps else []


def main(what: str, arguments: list[str]) -> int:
    if what == "sounds":
        return 0 if loud_moments(arguments[0]) else 1
    me, them = bursts(arguments[0]), bursts(arguments[1])
    faults = faults_between(me, them)
    numbers = [float(text) for text in arguments[2:]]
    if what == "bursts":
        faults += faults_of_moments(them, numbers)
    elif what == "regular":
        faults += faults_of_rhythm(me, numbers[0]) + faults_of_rhythm(them, numbers[0])
    else:
        faults.append(f"there is no \"{what}\"")
    if faults:
        print("\n".join(faults + [f"Me:   {me}", f"Them: {them}"]), file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2:]))
