# shellcheck shell=bash disable=SC2034,SC2154 # variables are shared with the other files here
# What ./play and ./test share: messages, rights, packages, configuring and building.
# The sourcing script sets $root (the folder of the sources) first.

# shellcheck source=tools/packages.sh
. "$root/tools/packages.sh"

program=${0##*/}

say() {
    printf '%s: %s\n' "$program" "$*" >&2
}

# fail WHAT [WHAT TO DO]...
fail() {
    printf '%s: %s\n' "$program" "$1" >&2
    shift
    if [ $# -gt 0 ]; then
        printf '  What to do: %s\n' "$1" >&2
        shift
    fi
    if [ $# -gt 0 ]; then
        printf '              %s\n' "$@" >&2
    fi
    exit 1
}

# Who runs this: with sudo it is the person who called sudo, not root. Sets person_uid,
# person_gid, person_name, and two command prefixes (arrays, empty when nothing has to change):
# person_prefix runs a command as that person, build_prefix the steps that write to the sources'
# folder.
find_person() {
    person_uid=$(id -u)
    person_prefix=()
    build_prefix=()
    if [ "$person_uid" -eq 0 ] && [[ ${SUDO_UID:-} =~ ^[1-9][0-9]*$ ]]; then
        person_uid=$SUDO_UID
    fi
    local home=${HOME:-}
    local entry
    entry=$(getent passwd "$person_uid") || entry=
    if [ -n "$entry" ]; then
        local rest
        IFS=: read -r person_name _ _ person_gid _ rest _ <<<"$entry"
        if [ -z "$home" ] || [ "$person_uid" -ne "$(id -u)" ]; then
            home=$rest
        fi
    else
        person_name=$person_uid
        person_gid=$(id -g)
    fi
    export HOME=${home:-/}
    if [ "$person_uid" -eq "$(id -u)" ]; then
        return
    fi
    local environment=(HOME="$HOME" USER="$person_name" LOGNAME="$person_name")
    if [ -d "/run/user/$person_uid" ]; then
        environment+=(XDG_RUNTIME_DIR="/run/user/$person_uid")
    fi
    person_prefix=(setpriv --reuid="$person_uid" --regid="$person_gid" --init-groups --
        env "${environment[@]}")
    if "${person_prefix[@]}" test -w "$root"; then
        build_prefix=("${person_prefix[@]}")
    fi
}

can_become_root() {
    [ "$(id -u)" -eq 0 ] || command -v sudo >/dev/null
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    else
        sudo -- "$@"
    fi
}

# Prints the first choice of every named package of which no choice is installed.
missing_packages() {
    local -A installed=()
    local status name wanted choice choices
    while read -r status name; do
        if [ "$status" = installed ]; then
            installed[$name]=1
        fi
    done < <(IFS='|'; set -f
        # shellcheck disable=SC2016,SC2048,SC2086 # dpkg's own variables; split at the bars
        dpkg-query -W -f='${db:Status-Status} ${Package}\n' $* 2>/dev/null)
    for wanted in "$@"; do
        IFS='|' read -ra choices <<<"$wanted"
        for choice in "${choices[@]}"; do
            if [ -n "${installed[$choice]:-}" ]; then
                continue 2
            fi
        done
        printf '%s\n' "${choices[0]}"
    done
}

apt_install() {
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q \
        --no-install-recommends --no-remove -o DPkg::Lock::Timeout=300 "$@" </dev/null >&2
}

# Installs the named packages that are missing; asks for nothing when all are there.
ensure_packages() {
    local packages by_hand
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        fail "this is not a Debian system (there is no apt-get), so nothing can be installed." \
            "install what corresponds to these packages, then build by hand as README.md says:" "$*"
    fi
    mapfile -t packages < <(missing_packages "$@")
    if [ ${#packages[@]} -eq 0 ]; then
        return
    fi
    by_hand="apt-get install --no-install-recommends ${packages[*]}"
    if ! can_become_root; then
        fail "packages are missing, and there is no sudo to install them with: ${packages[*]}" \
            "have an administrator run this, then start $program again:" "$by_hand"
    fi
    say "installing missing packages: ${packages[*]}"
    # Package lists that are missing or out of date are fetched; good ones are left alone.
    if compgen -G '/var/lib/apt/lists/*_Packages*' >/dev/null && apt_install "${packages[@]}"; then
        return
    fi
    as_root apt-get update -q </dev/null >&2 ||
        fail "the package lists could not be fetched (the reason is above)." \
            "check the network and /etc/apt/sources.list, or have an administrator run:" \
            "apt-get update && $by_hand"
    apt_install "${packages[@]}" ||
        fail "these packages could not be installed (the reason is above): ${packages[*]}" \
            "put that right, or have an administrator run this, then start $program again:" \
            "$by_hand"
}

# Whether a package can be added without anything being removed for it.
can_be_added() {
    local plan
    plan=$(LC_ALL=C apt-get install -s -q --no-install-recommends "$1" 2>/dev/null </dev/null) &&
        ! grep -q '^Remv ' <<<"$plan"
}

# Installs the sound server if it can be added, and says so otherwise.
ensure_sound_server() {
    if [ -z "$(missing_packages "$sound_server_package")" ]; then
        return
    fi
    if ! compgen -G '/var/lib/apt/lists/*_Packages*' >/dev/null && can_become_root; then
        as_root apt-get update -q </dev/null >&2 || true # without lists nothing can be added
    fi
    if can_be_added "$sound_server_package"; then
        ensure_packages "$sound_server_package"
    else
        say "$sound_server_package can't be added to what is installed here; the sound tests are skipped"
    fi
}

# The folder and what is in it must be ours to write before anything is built in it.
ensure_writable() {
    local folder=$1
    if ! "${build_prefix[@]}" mkdir -p "$folder" 2>/dev/null ||
        [ -n "$("${build_prefix[@]}" find "$folder" ! -type l ! -writable -print -quit 2>&1)" ]; then
        fail "cannot write to $folder, or to something in it." \
            "make it yours (sudo chown -R $person_name '$folder'), or copy the sources to a folder of yours."
    fi
}

cache_value() {
    sed -n "s/^$2:[A-Z]*=//p" "$1/CMakeCache.txt" 2>/dev/null || true
}

# configure FOLDER BUILD_TYPE [NAME=VALUE]...
# Does nothing when the folder is already configured so. The build itself notices changed
# CMakeLists.txt files.
configure() {
    local folder=$1 type=$2 setting needed='' options=()
    shift 2
    for setting in CMAKE_BUILD_TYPE="$type" "$@"; do
        options+=("-D$setting")
        if [ "$(cache_value "$folder" "${setting%%=*}")" != "${setting#*=}" ]; then
            needed=1
        fi
    done
    if [ -e "$folder/CMakeCache.txt" ] &&
        { [ "$(cache_value "$folder" CMAKE_HOME_DIRECTORY)" != "$root" ] ||
            [ "$(cache_value "$folder" CMAKE_GENERATOR)" != Ninja ]; }; then
        say "$folder was made for another folder or build tool; making it afresh"
        options+=(--fresh)
        needed=1
    fi
    if [ -z "$needed" ] && [ -e "$folder/build.ninja" ]; then
        return
    fi
    say "configuring $folder"
    "${build_prefix[@]}" cmake -S "$root" -B "$folder" -G Ninja "${options[@]}" >&2 ||
        fail "configuring the build failed (the reason is above)." \
            "put that right; if it looks stale, remove $folder and start $program again."
}

# build FOLDER [TARGET]...
build() {
    local folder=$1
    shift
    if [ $# -gt 0 ]; then
        set -- --target "$@"
    fi
    "${build_prefix[@]}" cmake --build "$folder" "$@" >&2 ||
        fail "building in $folder failed (the compiler's message is above)." \
            "put that right; after an update of the system, remove $folder and start $program again."
}

# One build at a time in one folder. The lock ends with unlock_build or with the script.
lock_build() {
    exec {build_lock}<"$1"
    flock -n "$build_lock" || {
        say "waiting for another build in $1 to end"
        flock "$build_lock"
    }
}

unlock_build() {
    exec {build_lock}<&-
}

# Chinese file names need a UTF-8 locale: the player reads its command line in the locale's encoding.
ensure_utf8_locale() {
    if [ "$(locale charmap 2>/dev/null)" != UTF-8 ]; then
        export LC_ALL=C.UTF-8
    fi
}
