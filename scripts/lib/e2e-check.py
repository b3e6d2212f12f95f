#!/usr/bin/env python3
"""What scripts/e2e learns from a session's files: its checks and its figures.

  e2e-check.py sample OUT ROOT NAME:PID...
                                        one line a second per Tarvex listed and per game below
                                        ROOT (CPU seconds, RSS) until no Tarvex listed runs
  e2e-check.py session DIR NAMES...     the checks of a whole session, one line each, then the
                                        figures; exit status 1 when a check failed
  e2e-check.py results DIR NAMES... [--dropped NAMES...]
                                        only: every copy's results are the same (but for the
                                        progress of the drivers who dropped out)

Every game writes its status lines (JSON, with `t` in CLOCK_MONOTONIC milliseconds) to
DIR/<name>/status.jsonl; the relays in front of the clients write their counts to
DIR/relay-<name>.counts; the sampler writes DIR/samples.
"""
import bisect
import json
import math
import os
import re
import statistics
import sys
import time

# Farthest a drawn ghost may stand from the car it stands for, in metres, while both drive.
GHOST_REACH = 25.0
# Largest spread of the moments Tarvex lets the cars of one start go, in milliseconds. The
# games' clocks then start within their own frames of that, which many software-drawn games on
# a small machine stretch: that spread is a figure, not a check.
START_SPREAD_MS = 1000

failed = False


def check(ok, text):
    global failed
    failed = failed or not ok
    print(("ok    " if ok else "FAIL  ") + text, flush=True)


def sample(out, root, pairs):
    """CPU seconds and RSS of each Tarvex listed and of every game below ROOT, once a second."""
    ticks = os.sysconf("SC_CLK_TCK")
    tarvexes = [pair.split(":") for pair in pairs]
    with open(out, "a") as f:
        while True:
            procs = list(tarvexes)
            for pid in filter(str.isdigit, os.listdir("/proc")):
                try:
                    exe = os.readlink(f"/proc/{pid}/exe")
                except OSError:
                    continue
                if exe.startswith(root + "/") and exe.endswith("/game/DuneholtRally"):
                    procs.append((exe[len(root) + 1:].split("/")[0] + "/game", pid))
            alive = 0
            now = int(time.monotonic() * 1000)
            for name, pid in procs:
                try:
                    with open(f"/proc/{pid}/stat") as s:
                        fields = s.read().rsplit(")", 1)[1].split()
                    with open(f"/proc/{pid}/status") as s:
                        rss = re.search(r"VmRSS:\s+(\d+)", s.read())
                except OSError:
                    continue
                alive += name.endswith("/tarvex")
                cpu = int(fields[11]) + int(fields[12])
                f.write(f"{now} {name} {cpu / ticks:.2f} {rss.group(1) if rss else 0}\n")
            f.flush()
            if not alive:
                return
            time.sleep(1)


def read_status(path):
    lines = []
    try:
        with open(path) as f:
            for line in f:
                try:
                    lines.append(json.loads(line))
                except ValueError:
                    pass
    except OSError:
        pass
    return lines


def table(path):
    """The results file without its start times (each copy stamps its own clock)."""
    try:
        with open(path, encoding="latin-1") as f:
            text = f.read().replace("\r", "")
    except OSError:
        return None
    return "\n".join(l for l in text.split("\n") if not l.startswith("Start Time: "))


def races(text):
    """(stage name, {driver: (time text, start, percent)}) per race of a results file."""
    out = []
    for block in text.split("Stage: ")[1:]:
        stage = block.split("\n", 1)[0].strip()
        rows = {}
        header = None
        for line in block.split("\n"):
            if line.startswith("Name "):
                header = line
                continue
            if header and not line.strip():
                break
            if header:
                rows[line[0:20].strip()] = (line[120:140].strip(), line[140:160].strip(),
                                            line[160:].strip())
        out.append((stage, rows))
    return out


def seconds(text):
    m = re.match(r"(\d+):(\d+)\.(\d+)$", text)
    return int(m.group(1)) * 60 + int(m.group(2)) + int(m.group(3)) / 100 if m else None


def comparable(text, dropped):
    """The results as a set of rows per race; the progress of drivers who dropped out left
    out."""
    if not text:
        return None
    out = []
    for block in text.split("Race Number: "):
        rows = []
        for line in block.split("\n"):
            if line[0:20].strip() in dropped:
                line = line[:160]
            rows.append(line)
        out.append(sorted(rows))
    return out


def check_results(root, names, dropped=()):
    tables = {n: table(f"{root}/{n}/results.txt") for n in names}
    missing = [n for n, t in tables.items() if not t]
    seen = {n: comparable(t, dropped) for n, t in tables.items()}
    same = not missing and all(t == seen[names[0]] for t in seen.values())
    check(same, f"results: every copy's results file identical ({len(names)} copies"
          + (f"; the progress of {', '.join(dropped)} aside" if dropped else "") + ")"
          + (f"; missing: {' '.join(missing)}" if missing else ""))
    return tables[names[0]] or ""


def starts(lines):
    """The moments this game's clock started, in order: its countdown reached 0. Held at the
    line, the countdown hovers just below 7 (the game runs it, Tarvex puts it back), so the
    moment is taken from its last second, where nothing holds it any more."""
    out = []
    last = None
    for s in lines:
        c = s.get("countdown", 0)
        if not s.get("in_stage") or c >= 1:
            last = None if not s.get("in_stage") or c >= 6.9 else last
            continue
        if c > 0:
            last = s["t"] + c * 1000
        elif last is not None:
            out.append(last)
            last = None
    return out


def releases(lines):
    """The moments Tarvex let this game's car go: the last status line of each start where the
    countdown still stood where Tarvex holds it. Only as fine as the game's frames."""
    out = []
    held = None
    for s in lines:
        c = s.get("countdown", 0)
        if not s.get("in_stage"):
            held = None
        elif c >= 6.9:
            held = s["t"]
        elif c == 0 and held is not None:
            out.append(held)
            held = None
    return out


def spreads_of(moments, names):
    counts = {len(moments[name]) for name in names}
    if len(counts) != 1:
        return []
    return [max(moments[name][k] for name in names) - min(moments[name][k] for name in names)
            for k in range(counts.pop())]


def session(root, names):
    n = len(names)
    status = {name: read_status(f"{root}/{name}/status.jsonl") for name in names}

    # Results: the same everywhere, every driver through every race at 100 %.
    text = check_results(root, names)
    session_races = races(text)
    complete = len(session_races) >= 2 and all(
        len(rows) == n and all(r[0] and r[2] == "100" for r in rows.values())
        for _, rows in session_races)
    check(complete, f"results: {len(session_races)} races, every one of the {n} drivers "
          "finished each")
    try:
        html = open(f"{root}/{names[0]}/results.htm", encoding="latin-1").read()
    except OSError:
        html = ""
    check(all(stage in html for stage, _ in session_races) and all(nm in html for nm in names),
          "results: the host's HTML export holds every race and every driver")

    # Each finish time is the one its game's own clock showed at its last finish on that stage.
    wrong = []
    for stage, rows in session_races:
        for name in names:
            finishes = [s["finish_time"] for s in status[name]
                        if s.get("stage_name") == stage and s.get("finished")]
            shown = seconds(rows.get(name, ("",))[0])
            game = finishes[-1] if finishes else None
            if shown is None or game is None or not (shown <= game + 0.001 and game - shown < 0.011):
                wrong.append(f"{name} on {stage}: results {shown}, game {game}")
    check(not wrong and session_races, "finish times: each the one its game's own clock showed"
          + (" (" + "; ".join(wrong[:3]) + ")" if wrong else ""))

    # The restart: every game reloaded the first stage once, then a new common start.
    first = session_races[0][0] if session_races else ""
    reloaded = [name for name in names
                if any(s.get("reloads", 0) >= 1 and s.get("stage_name") == first
                       for s in status[name])]
    check(len(reloaded) == n, f"restart: {len(reloaded)} of {n} games reloaded {first} after "
          "the vote")
    spreads = spreads_of({name: starts(status[name]) for name in names}, names)
    # What Tarvex itself controls: when each car was let go. The clocks then count down in
    # each game's own frames, which a machine running many games starves.
    release_spreads = spreads_of({name: releases(status[name]) for name in names}, names)
    check(len(release_spreads) >= 3 and max(release_spreads) <= START_SPREAD_MS,
          f"starts: {len(release_spreads)} common starts (race, restart, second race), cars let "
          f"go within {max(release_spreads) if release_spreads else float('nan'):.0f} ms of each "
          f"other (at most {START_SPREAD_MS}); the games' clocks started within "
          f"{max(spreads) if spreads else float('nan'):.0f} ms")

    ghosts = check_ghosts(status, names)
    if os.environ.get("E2E_CHAT_LINE"):
        speaker, line = os.environ["E2E_CHAT_LINE"].split(":", 1)
        check_chat(root, names, status, speaker, line)
    figures(root, names, status, spreads, ghosts, release_spreads)


def position_at(track, t):
    """The car's status line in force at monotonic time t, from its in-stage lines."""
    times, lines = track
    i = bisect.bisect_right(times, t) - 1
    return lines[i] if i >= 0 else None


def driving(line):
    return line.get("race_time", 0) > 0 and not line.get("finished")


def check_ghosts(status, names):
    n = len(names)
    tracks = {}
    for name in names:
        lines = [s for s in status[name] if s.get("in_stage") and "pos" in s]
        tracks[name] = ([s["t"] for s in lines], lines)
    # A game draws every slot's ghost but its own: the slot missing from its full view is its
    # player's.
    slot_of = {}
    for name in names:
        for s in status[name]:
            drawn = {g["k"] for g in s.get("ghosts", [])}
            if len(drawn) == n - 1:
                missing = set(range(n)) - drawn
                if len(missing) == 1:
                    slot_of[name] = missing.pop()
                break
    name_of = {k: name for name, k in slot_of.items()}
    errors = []
    seen_all = []
    for name in names:
        good = False
        for s in status[name]:
            drawn = s.get("ghosts", [])
            if not driving(s) or not drawn:
                continue
            # Measured only while the other car drives the same run of the stage: one game
            # reloads it for a restart a little before another, and a car that finished or
            # went back to the start has no newer pose to send.
            distances = []
            for g in drawn:
                other = name_of.get(g["k"])
                line = position_at(tracks[other], s["t"]) if other else None
                if line and driving(line) and line.get("reloads", 0) == s.get("reloads", 0):
                    distances.append(math.dist((g["x"], g["y"], g["z"]), line["pos"]))
            errors.extend(distances)
            if len(drawn) == n - 1 and len(distances) == n - 1 and max(distances) <= GHOST_REACH:
                good = True
        if good:
            seen_all.append(name)
    check(len(slot_of) == n and len(seen_all) == n,
          f"ghosts: {len(seen_all)} of {n} games drew all {n - 1} others' ghosts while driving, "
          f"each within {GHOST_REACH:.0f} m of the car it stands for")
    return errors


def check_chat(root, names, status, speaker, line):
    """The line SPEAKER typed in the game: in every console (session log) and game overlay."""
    shown = [name for name in names
             if any(f"{speaker}> {line}" in s.get("overlay_text", "") for s in status[name])]
    consoles = []
    for name in names:
        try:
            with open(f"{root}/{name}/session.log", encoding="utf-8") as log:
                if f" console <{speaker}> {line}\n" in log.read():
                    consoles.append(name)
        except OSError:
            pass
    check(len(shown) == len(names) and len(consoles) == len(names),
          f"chat: \"{line}\" typed in {speaker}'s game, in {len(consoles)} of {len(names)} "
          f"consoles and {len(shown)} of {len(names)} game overlays")


def figures(root, names, status, spreads, ghost_errors, release_spreads):
    n = len(names)
    # The window to measure: the last race in which every car drove while every game drew all
    # the others' ghosts, from the first moment that held everywhere to the last.
    stages = []
    for s in status[names[0]]:
        if s.get("stage_name") and s["stage_name"] not in stages:
            stages.append(s["stage_name"])
    begin, end = 0, math.inf
    for stage in reversed(stages):
        begin, end = 0, math.inf
        for name in names:
            full = [s["t"] for s in status[name]
                    if s.get("stage_name") == stage and len(s.get("ghosts", [])) == n - 1
                    and s.get("race_time", 0) > 0 and not s.get("finished")]
            if not full:
                end = 0
                break
            begin, end = max(begin, full[0]), min(end, full[-1])
        if end > begin:
            break
    if end <= begin:
        print(f"figure: no stretch in which all {n} cars drove with every ghost")
        return
    print(f"figure: measured over {(end - begin) / 1000:.1f} s in which all {n} cars drove, "
          f"each game drawing {n - 1} ghosts")
    per = {}
    try:
        for line in open(f"{root}/samples"):
            t, name, cpu, rss = line.split()
            per.setdefault(name, []).append((int(t), float(cpu), int(rss)))
    except OSError:
        pass
    cpu_of, rss_of = {}, {}
    for name, rows in per.items():
        inside = [r for r in rows if begin <= r[0] <= end]
        if len(inside) >= 2:
            cpu_of[name] = (inside[-1][1] - inside[0][1]) / ((inside[-1][0] - inside[0][0]) / 1000) * 100
            rss_of[name] = max(r[2] for r in inside) / 1024
    for kind, label in (("tarvex", "Tarvex"), ("game", "game")):
        keys = [k for k in cpu_of if k.endswith("/" + kind)]
        if not keys:
            continue
        host = f"{names[0]}/{kind}"
        others = [cpu_of[k] for k in keys if k != host]
        rss = [rss_of[k] for k in keys if k != host]
        text = f"figure: {label} per copy: host {cpu_of.get(host, 0):.1f} % CPU, " \
               f"{rss_of.get(host, 0):.0f} MiB RSS"
        if others:
            text += f"; clients {statistics.median(others):.1f} % CPU median " \
                    f"({max(others):.1f} max), {statistics.median(rss):.0f} MiB RSS median " \
                    f"({max(rss):.0f} max)"
        print(text)
    egress = 0.0
    for name in names[1:]:
        rows = []
        try:
            for line in open(f"{root}/relay-{name}.counts"):
                t, _, _, _, down = line.split()
                rows.append((int(t), int(down)))
        except OSError:
            continue
        inside = [r for r in rows if begin <= r[0] <= end]
        if len(inside) >= 2:
            egress += (inside[-1][1] - inside[0][1]) / ((inside[-1][0] - inside[0][0]) / 1000)
    if egress:
        print(f"figure: host egress {egress / 1000:.1f} kB/s to {n - 1} clients "
              f"({egress / max(1, n - 1) / 1000:.2f} kB/s each)")
    if spreads:
        print("figure: start skew across " + str(n) + " games: "
              + ", ".join(f"{s:.0f} ms" for s in spreads)
              + " (first start, restart, second race)")
    if release_spreads:
        print("figure: cars let go across " + str(n) + " games within: "
              + ", ".join(f"{s:.0f} ms" for s in release_spreads)
              + " (to within a frame of each game)")
    if ghost_errors:
        e = sorted(ghost_errors)
        print(f"figure: ghost position error while both cars drive: median {statistics.median(e):.1f} m, "
              f"95th percentile {e[int(len(e) * 0.95)]:.1f} m, max {e[-1]:.1f} m "
              f"over {len(e)} drawn ghosts")


def main():
    if len(sys.argv) >= 4 and sys.argv[1] == "sample":
        sample(sys.argv[2], sys.argv[3], sys.argv[4:])
        return 0
    if len(sys.argv) >= 4 and sys.argv[1] == "session":
        session(sys.argv[2], sys.argv[3:])
        return 1 if failed else 0
    if len(sys.argv) >= 4 and sys.argv[1] == "results":
        args = sys.argv[3:]
        cut = args.index("--dropped") if "--dropped" in args else len(args)
        check_results(sys.argv[2], args[:cut], args[cut + 1:])
        return 1 if failed else 0
    print(__doc__, file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main())
