# shellcheck shell=bash disable=SC2034,SC2154 # variables are shared with the other files here
# Playing without a screen: a virtual display with a window manager, and proof that a picture came.

picture_deadline=60 # seconds from the player's start to its first picture
demo_seconds=10

started=() # what we started, newest last; nothing else is ever ended

is_ours() {
    local parent
    parent=$(sed -n 's/^PPid:[[:space:]]*//p' "/proc/$1/status" 2>/dev/null) && [ "$parent" = $$ ]
}

is_running() {
    is_ours "$1" && ! grep -q '^State:[[:space:]]*Z' "/proc/$1/status" 2>/dev/null
}

# Asks one of our processes to end, and makes it when it does not within five seconds.
end_process() {
    local pid=$1 tries
    if is_running "$pid"; then
        kill -TERM "$pid" 2>/dev/null || true
        for ((tries = 0; tries < 50; ++tries)); do
            is_running "$pid" || return 0
            sleep 0.1
        done
        if is_running "$pid"; then
            kill -KILL "$pid" 2>/dev/null || true
        fi
    fi
}

end_started() {
    local i
    for ((i = ${#started[@]} - 1; i >= 0; --i)); do
        end_process "${started[i]}"
        wait "${started[i]}" 2>/dev/null || true
    done
    started=()
    rm -rf "$scratch"
}

# start LOG COMMAND...: runs it in the background as the person, sets $started_pid. It does not
# outlive this script, however that ends.
start() {
    local log=$1
    shift
    "${person_prefix[@]}" setpriv --pdeathsig TERM -- "$@" >"$log" 2>&1 </dev/null &
    started_pid=$!
    started+=("$started_pid")
}

# wait_for SECONDS COMMAND...
wait_for() {
    local deadline=$((SECONDS + $1))
    shift
    until "$@"; do
        [ $SECONDS -lt $deadline ] || return 1
        sleep 0.1
    done
}

display_is_ready() {
    [ -s "$scratch/display" ] && xdpyinfo -display ":$(cat "$scratch/display")" >/dev/null 2>&1
}

window_manager_is_ready() {
    xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id'
}

start_display() {
    : >"$scratch/display"
    chmod 666 "$scratch/display"
    # shellcheck disable=SC2016 # the inner shell opens the file that Xvfb reports its number to
    start "$scratch/xvfb.log" sh -c 'exec Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$1"' \
        sh "$scratch/display"
    wait_for 30 display_is_ready || {
        cat "$scratch/xvfb.log" >&2
        fail "the virtual display (Xvfb) did not start (its messages are above)." \
            "check that /tmp may be written, and try: Xvfb :99"
    }
    DISPLAY=:$(cat "$scratch/display")
    export DISPLAY
    start "$scratch/openbox.log" openbox
    wait_for 30 window_manager_is_ready || {
        cat "$scratch/openbox.log" >&2
        fail "the window manager (openbox) did not start (its messages are above)." \
            "check the package: dpkg --verify openbox"
    }
}

# A clip with a picture that no one mistakes, and a tone.
make_demo_clip() {
    local clip=$1
    if [ -s "$clip" ]; then
        return
    fi
    say "making a clip of $demo_seconds s"
    {
        "${build_prefix[@]}" ffmpeg -v error -nostdin -y \
            -f lavfi -i "testsrc2=size=1280x720:rate=25:duration=$demo_seconds" \
            -f lavfi -i "sine=frequency=440:sample_rate=48000:duration=$demo_seconds" \
            -c:v libx264 -preset ultrafast -pix_fmt yuv420p -c:a aac "$clip.part.mp4" >&2 &&
            "${build_prefix[@]}" mv "$clip.part.mp4" "$clip"
    } || fail "the clip could not be made with ffmpeg (the reason is above)." \
        "name a film instead: ./play film.mp4"
}

# Sets engine_pid to the player's running engine and engine_window to the window it paints in.
# With a wanted location, only to the engine that plays it.
find_engine() {
    local wanted=$1 status line words i # a line of stat: PID (NAME) STATE PARENT ...
    for status in /proc/[0-9]*/stat; do
        read -r -d '' line 2>/dev/null <"$status" || [ -n "$line" ] || continue
        line=${line##*) }
        read -r -a words <<<"$line"
        if [ "${words[1]:-}" != "$player_pid" ] || [ "${words[0]}" = Z ]; then
            continue
        fi
        engine_pid=${status//[!0-9]/}
        mapfile -d '' -t words 2>/dev/null <"/proc/$engine_pid/cmdline" || continue
        engine_window=
        for ((i = 0; i < ${#words[@]}; ++i)); do
            if [ "${words[i]}" = -wid ]; then
                engine_window=${words[i + 1]:-}
            fi
        done
        if [ -n "$engine_window" ] && { [ -z "$wanted" ] || [ "${words[1]:-}" = "$wanted" ]; }; then
            return 0
        fi
    done
    return 1
}

engine_still_runs() {
    find_engine "" && [ "$engine_pid" = "$1" ]
}

# window_area WINDOW: sets area to its "WIDTHxHEIGHT" and origin to its "X,Y" on the display.
window_area() {
    local x y width height
    read -r x y width height < <(xwininfo -id "$1" 2>/dev/null | awk '
        /Absolute upper-left X:/ { x = $NF } /Absolute upper-left Y:/ { y = $NF }
        /^ *Width:/ { w = $NF } /^ *Height:/ { h = $NF } END { if (w) print x, y, w, h }') || return 1
    area=${width}x$height
    origin=$x,$y
}

# grab AREA ORIGIN OUTPUT_OPTIONS...: one picture of a part of the display to standard output.
grab() {
    local video_size=$1 at=$2
    shift 2
    ffmpeg -v error -nostdin -f x11grab -draw_mouse 0 -video_size "$video_size" -i "$DISPLAY+$at" \
        -frames:v 1 "$@" -
}

# Whether the engine's window shows a picture: something there is not black. Our own clip has red,
# green and blue in it, and they must all be there.
picture_is_there() {
    window_area "$engine_window" || return 1
    grab "$area" "$origin" -vf scale=48:27:flags=area -f rawvideo -pix_fmt rgb24 2>/dev/null |
        od -An -v -tu1 -w3 | awk -v colourful="$1" '
            { if ($1 > 40 || $2 > 40 || $3 > 40) ++lit
              if ($1 > $2 + 60 && $1 > $3 + 60) ++red
              if ($2 > $1 + 60 && $2 > $3 + 60) ++green
              if ($3 > $1 + 60 && $3 > $2 + 60) ++blue }
            END { exit !(lit >= 13 && (!colourful || (red && green && blue))) }'
}

# find_window TITLE: sets window.
find_window() {
    for window in $(xprop -root _NET_CLIENT_LIST 2>/dev/null | grep -o '0x[0-9a-f]*'); do
        if [ "$(xprop -id "$window" -notype _NET_WM_NAME 2>/dev/null)" = "_NET_WM_NAME = \"$1\"" ]; then
            return
        fi
    done
    return 1
}

# save_screenshot WHICH: "window" for the player's own, "display" for everything.
save_screenshot() {
    if [ "$1" = display ] || ! find_window MainWindow || ! window_area "$window"; then
        area=1280x800
        origin=0,0
    fi
    "${build_prefix[@]}" rm -f "$screenshot" # it may be another's
    grab "$area" "$origin" -f image2pipe -c:v png 2>/dev/null |
        "${build_prefix[@]}" dd of="$screenshot" status=none || true
    [ -s "$screenshot" ] ||
        fail "the screenshot could not be saved as $screenshot." "check that there is room on the disk."
    printf '%s\n' "$screenshot"
}

last_messages() {
    grep -v '^ ' "$scratch/player.log" | tail -n 15 >&2 || true
}

no_picture() {
    say "no picture came: $1"
    say "the player's last messages:"
    last_messages
    say "what the virtual display shows:"
    save_screenshot display
    fail "playing failed." \
        "look at the picture named above, and try the location with: ffprobe LOCATION"
}

# Waits until the engine shows a picture.
await_picture() {
    local wanted=$1 colourful=$2 deadline=$((SECONDS + picture_deadline))
    until find_engine "$wanted" && picture_is_there "$colourful"; do
        is_running "$player_pid" || no_picture "the player ended by itself."
        if find_window 提示; then
            no_picture "the player asks something, and nobody is there to answer."
        fi
        if grep -q '^arglist:' "$scratch/player.log" && ! wait_for 3 find_engine ""; then
            no_picture "the engine ended before it showed one."
        fi
        [ $SECONDS -lt $deadline ] || no_picture "$picture_deadline s have passed."
        sleep 0.2
    done
}

# What the player's and the engine's libraries keep while they run is kept in a folder of ours, when
# the person has no session that offers one.
ensure_runtime_folder() {
    if [ ! -d "${XDG_RUNTIME_DIR:-/run/user/$person_uid}" ]; then
        mkdir -m 700 "$scratch/run"
        [ ${#person_prefix[@]} -eq 0 ] || chown "$person_uid:$person_gid" "$scratch/run"
        export XDG_RUNTIME_DIR=$scratch/run
    fi
}

# The engine must not start a sound server that would outlive us.
leave_sound_servers_alone() {
    if [ -z "${PULSE_SERVER:-}" ] && [ ! -S "${XDG_RUNTIME_DIR:-/run/user/$person_uid}/pulse/native" ]; then
        printf 'autospawn = no\n' >"$scratch/pulse-client.conf"
        export PULSE_CLIENTCONFIG=$scratch/pulse-client.conf
    fi
}

# play_on_virtual_display PLAYER BUILD_FOLDER [ARGUMENT]...
play_on_virtual_display() {
    local player=$1 folder=$2 colourful='' wanted='' status=0 last
    shift 2
    screenshot=$folder/play-screenshot.png
    scratch=$(mktemp -d)
    chmod 755 "$scratch"
    trap end_started EXIT
    trap 'exit 129' HUP
    trap 'exit 130' INT
    trap 'exit 143' TERM
    if [ $# -eq 0 ]; then
        make_demo_clip "$folder/demo-clip.mp4"
        player_argument "$folder/demo-clip.mp4"
        set -- "$argument"
        colourful=1
    fi
    last=${!#}
    if ! is_url "$last"; then
        wanted=${last//%25/%}
    fi
    if ! "${person_prefix[@]}" test -w "$HOME"; then
        # The player keeps its pictures there, and stops with a question when it can't.
        export HOME=$scratch/home
        mkdir -m 777 "$HOME"
        person_prefix+=(${person_prefix[@]+"HOME=$HOME"})
    fi
    ensure_runtime_folder
    leave_sound_servers_alone
    start_display
    start "$scratch/player.log" env -u WAYLAND_DISPLAY -u QT_QPA_PLATFORMTHEME QT_QPA_PLATFORM=xcb "$player" "$@"
    player_pid=$started_pid
    await_picture "$wanted" "$colourful"
    sleep 0.5 # the notice that a film goes on where it stopped needs a moment to be painted
    save_screenshot window
    say "playing to the end"
    last=$engine_pid
    while engine_still_runs "$last"; do
        is_running "$player_pid" || break
        sleep 0.2
    done
    is_running "$player_pid" || {
        last_messages
        fail "the player ended by itself while it played (its last messages are above)."
    }
    end_process "$player_pid"
    wait "$player_pid" || status=$?
    [ $status -eq 0 ] || fail "the player was asked to close and ended with status $status."
    end_started
}
