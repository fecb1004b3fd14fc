#!/bin/bash
# Installing what is missing, with stand-ins for the package tools.
# shellcheck disable=SC2016,SC2317 # the stand-ins expand what is quoted here; functions are called by name
# shellcheck source=tools/tests/lib.sh
. "$(dirname "$0")/lib.sh"
# shellcheck source=tools/common.sh
. "$root/tools/common.sh"

calls=$scratch/calls
export calls
stand_in dpkg-query 'printf "%s\n" "installed g++" "installed fonts-noto-cjk" "config-files cmake"; exit 1'
stand_in apt-get 'echo "apt-get $*" >>"$calls"; [ "$1" = update ] || [ ! -e "$calls.broken" ]'
stand_in sudo 'echo sudo >>"$calls"; shift; exec "$@"'

check installed "" "$(missing_packages g++)"
check removed_but_configured cmake "$(missing_packages g++ cmake)"
check another_choice "" "$(missing_packages 'fonts-wqy-microhei|fonts-noto-cjk')"
check first_choice "ninja-build" "$(missing_packages 'ninja-build|samurai')"

# outcome COMMAND...: its status, what it called, and whether it says what to do.
outcome() {
    local status=0
    : >"$calls"
    ("$@") >"$scratch/out" 2>&1 || status=$?
    printf '%s' "$status"
    sed -e 's/ -y -q .*Timeout=300//; s/ -q$//; s/^/; /' "$calls" | tr -d '\n'
    grep -q 'What to do:' "$scratch/out" && printf '; says what to do'
    true
}
lists=/var/lib/apt/lists
if compgen -G "$lists/*_Packages*" >/dev/null; then update=; else update='; apt-get update'; fi

stand_in id 'echo 0'
check all_there 0 "$(outcome ensure_packages g++)"
check missing "0$update; apt-get install cmake ffmpeg" "$(outcome ensure_packages g++ cmake ffmpeg)"
touch "$calls.broken"
attempt=${update:+}
[ -n "$update" ] || attempt='; apt-get install cmake'
check fails_twice "1$attempt; apt-get update; apt-get install cmake; says what to do" \
    "$(outcome ensure_packages cmake)"
rm "$calls.broken"

stand_in id 'echo 1000'
check asks_for_nothing 0 "$(outcome ensure_packages g++)"
check through_sudo "; sudo; apt-get install cmake" "$(outcome ensure_packages cmake | sed 's/.*\(; sudo; apt-get install\)/\1/')"
no_sudo() {
    command() {
        [ "$*" != "-v sudo" ] && builtin command "$@"
    }
    ensure_packages cmake
}
check no_sudo "1; says what to do" "$(outcome no_sudo)"
# The sound server, on machines where it goes with what is installed and where it doesn't.
simulated() { # what "apt-get install -s" says, and its status
    printf '%s\n' "$1" >"$calls.plan"
    printf '%s\n' "$2" >"$calls.status"
}
stand_in apt-get 'case "$*" in "install -s "*) cat "$calls.plan"; exit "$(cat "$calls.status")" ;; esac
echo "apt-get $*" >>"$calls"'
stand_in id 'echo 0'
simulated 'Inst pulseaudio (16.1 Debian:12 [amd64])' 0
check sound_server_is_added "0$update; apt-get install pulseaudio" \
    "$(outcome ensure_sound_server | sed 's/; apt-get update; apt-get update/; apt-get update/')"
left_out() {
    outcome ensure_sound_server | sed 's/; apt-get update//'
    sed 's/^.*: /; /' "$scratch/out"
}
without="0; pulseaudio can't be added to what is installed here; the sound tests are skipped"
simulated 'Remv pipewire-alsa [0.3.65]' 0
check sound_server_would_remove_another "$without" "$(left_out)"
simulated 'pipewire-alsa : Conflicts: pulseaudio' 100
check sound_server_is_excluded "$without" "$(left_out)"
simulated '' 100
stand_in dpkg-query 'printf "%s\n" "installed pulseaudio"'
check sound_server_is_there 0 "$(outcome ensure_sound_server)"
stand_in id 'echo 1000'

no_debian() {
    command() {
        [ "$*" != "-v apt-get" ] && builtin command "$@"
    }
    ensure_packages g++
}
check no_debian "1; says what to do" "$(outcome no_debian)"
finish
