# shellcheck shell=bash disable=SC2034,SC2317 # variables are shared with the scripts that read this,
# and what traps call is taken for unreachable
# A place of its own for a command: an empty HOME, private run-time and temporary folders, nothing of
# the person's desktop. What was started in it ends with it, however that ends. The script that reads
# this (with-home, with-display) calls run_command at its end.
set -u

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
program=${0##*/}
[ $# -gt 0 ] || { echo "usage: $program COMMAND [ARGUMENT...]" >&2; exit 125; }

base=$(mktemp -d /tmp/display.XXXXXXXX) || exit 125
# Every process below carries this in its environment, which is how leftovers are recognised.
export DISPLAY_BENCH=$base
server="" manager="" command=""

own_processes() { # ids of all that descend from here, but for this shell
    grep -lsxzF "DISPLAY_BENCH=$base" /proc/[0-9]*/environ | sed 's#/proc/##; s#/environ##' | grep -vx $$
}

# Waits some seconds without starting a process: nothing is ever written to this pipe.
pause() {
    read -r -t "$1" <>"$base/never"
}

end_process() { # asks, waits up to 3 s, insists
    [ -n "$1" ] || return 0
    kill -TERM "$1" 2>/dev/null
    local i
    for ((i = 0; i < 300; i++)); do
        kill -0 "$1" 2>/dev/null || break
        pause 0.01
    done
    kill -KILL "$1" 2>/dev/null
    wait "$1" 2>/dev/null
}

clean_up() {
    local status=$?
    trap - EXIT
    trap '' TERM INT HUP
    end_process "$command"
    # Without its server the window manager ends by itself.
    end_process "$server"
    end_process "$manager"
    local pid
    for pid in $(own_processes); do
        kill -KILL "$pid" 2>/dev/null
    done
    rm -rf "$base" 2>/dev/null || { sleep 0.2; rm -rf "$base"; }
    exit "$status"
}
trap clean_up EXIT
trap 'exit 143' TERM
trap 'exit 130' INT
trap 'exit 129' HUP

fail() {
    echo "$program: $1" >&2
    exit 125
}

mkfifo "$base/never" || exit 125
mkdir -p "$base/home/Pictures" "$base/home/.config/pulse" "$base/tmp" || exit 125
mkdir -m 700 "$base/run" || exit 125
# A test that wants sound starts its own sound server; none is started behind its back.
echo "autospawn = no" >"$base/home/.config/pulse/client.conf"

# Nothing of the person's desktop reaches the tests.
for name in ${!QT_*} ${!XDG_*} ${!PULSE_*} ${!DBUS_*} ${!KDE_*} ${!GTK_*} ${!LC_*} \
    WAYLAND_DISPLAY DESKTOP_SESSION SESSION_MANAGER XAUTHORITY LANG LANGUAGE; do
    unset "$name"
done
export HOME=$base/home XDG_RUNTIME_DIR=$base/run TMPDIR=$base/tmp
export LC_ALL=C.UTF-8 QT_QPA_PLATFORM=xcb DBUS_SESSION_BUS_ADDRESS=disabled:
# Findings go to files, so that a failure of the leak check itself can be told from a finding.
# intercept_tls_get_addr=0: the leak check takes what stands before a library's thread-local storage for
# its size when that storage lies 16 bytes behind a page's beginning (the loader of glibc 2.19 had it
# there), and crashes. The storage is found all the same: the loader's own memory points at it.
export ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1:intercept_tls_get_addr=0:log_path=$base/sanitizer${ASAN_OPTIONS:+:$ASAN_OPTIONS}
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1${UBSAN_OPTIONS:+:$UBSAN_OPTIONS}
if [ -r "$here/lsan.supp" ]; then
    export LSAN_OPTIONS=suppressions=$here/lsan.supp:print_suppressions=0${LSAN_OPTIONS:+:$LSAN_OPTIONS}
fi
# The toolkit is not built with the sanitizer, which so can't see its locks: what happens within it is
# not looked at.
if [ -r "$here/tsan.supp" ]; then
    export TSAN_OPTIONS=suppressions=$here/tsan.supp:ignore_noninstrumented_modules=1${TSAN_OPTIONS:+:$TSAN_OPTIONS}
fi
ulimit -c 0

# Job control gives each of the three its own process group and default signal handling (a plain
# background command would run with SIGINT ignored).
set -m

run() {
    setpriv --pdeathsig KILL "$@" &
    command=$!
    wait "$command" 2>/dev/null
    status=$?
    command=
}

# Should the leak check's own tracer crash all the same, after the program has done its work, then,
# and with no finding of any kind, the program is run again.
leak_check_failed() {
    [ "$status" -ne 0 ] && grep -qs "LeakSanitizer has encountered a fatal error" "$base"/sanitizer.* &&
        ! grep -qsE "ERROR: AddressSanitizer|detected memory leaks|runtime error" "$base"/sanitizer.*
}

# Runs it and ends this script with its exit status.
run_command() {
    local attempt
    for attempt in 1 2 3; do
        run "$@"
        if [ "$attempt" = 3 ] || ! leak_check_failed; then
            break
        fi
        echo "$program: the leak check itself failed; running $(basename "$1") again" >&2
        rm -f "$base"/sanitizer.*
    done
    cat "$base"/sanitizer.* >&2 2>/dev/null
    exit "$status"
}
