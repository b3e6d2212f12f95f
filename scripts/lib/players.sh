# Players of a race on this machine, for the scripts that run one (sourced, not run): each
# player is a Tarvex with a stand-in game of its own (its own folder, autopilot pace and seed)
# on an X display of its own, driven only through Tarvex's unattended options.
#
# players_init DIR COUNT sets up; then per player i (0 is the host): prepare_player, a display
# from start_xvfb, and start_player. Everything started is ended on exit (players_cleanup).

players_root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build="${BUILD_DIR:-$players_root/build}"
tarvex="$build/src/app/tarvex"

# Each player: a name, its autopilot and its car. The host races as well.
names=(Host Bot1 Bot2 Bot3 Bot4 Bot5 Bot6 Bot7 Bot8 Bot9 Bot10 Bot11)
paces=(1.00 1.04 0.97 1.08 0.94 1.02 1.06 0.99 0.96 1.01 1.05 0.98)
cars=(0 1 2 3 4 5 6 7 0 1 2 3)

servers=()
player_pids=()
player_displays=()
keep_host=0

# players_init DIR COUNT: the work folder (made absolute in $dir), the number of players, and
# the session's port: one nobody on this machine listens on now.
players_init() {
    dir=$(mkdir -p "$1" && cd "$1" && pwd)
    players=$2
    if [ "$players" -gt ${#names[@]} ] || [ "$players" -lt 1 ]; then
        echo "1 to ${#names[@]} players" >&2
        exit 2
    fi
    for program in "$tarvex" "$build/sim/DuneholtRally"; do
        if [ ! -x "$program" ]; then
            echo "missing $program: build first" >&2
            exit 1
        fi
    done
    if [ -z "${XDG_RUNTIME_DIR:-}" ]; then
        XDG_RUNTIME_DIR=$(mktemp -d)
        chmod 0700 "$XDG_RUNTIME_DIR"
        export XDG_RUNTIME_DIR
    fi
    # Whatever the sound system, the countdown's cues stay out of the way.
    export QT_LOGGING_RULES="${QT_LOGGING_RULES:-qt.multimedia*=false}"
    port=$((20000 + RANDOM % 20000))
    rm -f "$dir/pids"
    trap players_cleanup EXIT
}

players_cleanup() {
    local i
    for i in "${!player_pids[@]}"; do
        if [ "$i" != 0 ] || [ "$keep_host" = 0 ]; then
            kill "${player_pids[$i]}" 2>/dev/null || true
        fi
    done
    # The games end with their X servers.
    for pid in "${servers[@]}"; do
        kill "$pid" 2>/dev/null || true
    done
}

# start_xvfb: a private X server; its display name in $display.
start_xvfb() {
    local fd_file="$dir/.display.$RANDOM"
    Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp -noreset 3>"$fd_file" \
        >/dev/null 2>&1 &
    servers+=("$!")
    for _ in $(seq 100); do
        if [ -s "$fd_file" ]; then
            display=":$(head -n1 "$fd_file")"
            rm -f "$fd_file"
            return
        fi
        sleep 0.05
    done
    echo "Xvfb did not start" >&2
    exit 1
}

# prepare_player I [GAME OPTIONS...]: DIR/<name>/ with the game folder (autopilot, pace, seed,
# status lines in status.jsonl, and the options given) and config/Tarvex.ini.
prepare_player() {
    local i=$1 name=${names[$1]}
    shift
    local home="$dir/$name"
    rm -rf "$home"
    mkdir -p "$home/config"
    "$players_root/scripts/game-folder" "$home/game" --autopilot --pace "${paces[$i]}" \
        --seed "$((i + 7))" --status "$home/status.jsonl" "$@"
    local car_keys
    if [ "$i" = 0 ]; then
        car_keys="CAR=${cars[$i]}
TRANS=1
TYRE=3"
    else
        car_keys="CCAR=${cars[$i]}
CTRANS=1
CTYRE=3"
    fi
    cat >"$home/config/Tarvex.ini" <<INI
[MAIN]
GPATH=$home/game/DuneholtRally
NAME=$name
GNAME=Tarvex Local Race
PNUM=$players
PORT=$port
PUBLIC=0
BROADCASTIP=127.0.0.1
LISTSERVER=
INTERVAL=150
[GAME]
COUNTRY=6
STAGE=1
STAGEID=72
WEATHER=0
DAMAGE=0
IPRO=1
PROID=1
$car_keys
INI
}

# start_player I DISPLAY [TARVEX OPTIONS...]: Tarvex for player I, Ready at once, keeping its
# results (results.txt, results.htm) and a picture of its window at the end (window.png); its
# output in tarvex.log, its process id in ${player_pids[I]}, its display in
# ${player_displays[I]}. The options given come last, so they carry the quick-start argument.
start_player() {
    local i=$1 display=$2
    shift 2
    local name=${names[$i]}
    local home="$dir/$name"
    DISPLAY=$display "$tarvex" --config "$home/config" --ready --results "$home/results.txt" \
        --results "$home/results.htm" --finish-screenshot "$home/window.png" "$@" \
        >"$home/tarvex.log" 2>&1 &
    player_pids[$i]=$!
    player_displays[$i]=$display
    echo "$name $!" >>"$dir/pids"
}

# wait_players LIMIT I...: until the players listed have ended, for at most LIMIT seconds.
# Fails when one did not end in time or ended with a failure.
wait_players() {
    local deadline=$((SECONDS + $1)) failed=0 i pid
    shift
    for i in "$@"; do
        pid=${player_pids[$i]}
        while kill -0 "$pid" 2>/dev/null; do
            if [ $SECONDS -ge $deadline ]; then
                echo "${names[$i]} did not end within the time allowed" >&2
                return 1
            fi
            sleep 0.5
        done
        wait "$pid" || failed=1
    done
    return $failed
}
