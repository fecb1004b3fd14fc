#!/bin/bash
# Installs the package on a freshly made minimal Debian 12, plays a film there, upgrades, removes and
# purges: fresh-system.sh BUILD_FOLDER. Needs root, and a display to look at. The display is this
# machine's: whatever was installed for one there could hide a dependency the package forgot.
# shellcheck disable=SC2317 # functions are called by name
# shellcheck source=tools/tests/lib.sh
. "$(dirname "$0")/../../tools/tests/lib.sh"
build=$1
cache=$build/fresh-system
system=$scratch/system
suite=fresh_system

skip() {
    echo "SKIPPED: $1"
    exit 77
}

# broken WHAT LOG
broken() {
    tail -n 30 "$2"
    echo "$1 (its last words are above)"
    exit 1
}

mirror=$(apt-get indextargets --format "\$(REPO_URI) \$(CODENAME)" 'Created-By: Packages' 2>/dev/null |
    awk '$2 == "bookworm" { print $1; exit }')
mirror=${mirror:-http://deb.debian.org/debian/}

mirror_answers() {
    /usr/lib/apt/apt-helper download-file "${mirror%/}/dists/bookworm/InRelease" "$scratch/release" \
        >/dev/null 2>&1
}

inside() {
    chroot "$system" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 DEBIAN_FRONTEND=noninteractive "$@"
}

as_viewer() {
    inside setpriv --reuid=1000 --regid=1000 --clear-groups -- \
        env HOME=/home/viewer DISPLAY="$DISPLAY" QT_FORCE_STDERR_LOGGING=1 "$@"
}

apt_get() {
    inside "${caller[@]}" apt-get -q -y -o APT::Keep-Downloaded-Packages=true \
        -o DPkg::Options::=--force-unsafe-io "$@" >>"$scratch/apt.log" 2>&1 </dev/null
}

# Everything from here to the system's end happens in mount and process spaces of our own, which
# leave nothing behind.
if [ -z "${FRESH_SYSTEM_INSIDE:-}" ]; then
    [ "$(id -u)" -eq 0 ] || skip "this test makes a system of its own and needs root for it"
    for tool in debootstrap dpkg-shlibdeps unshare ffmpeg; do
        command -v $tool >/dev/null || skip "$tool is not installed"
    done
    unshare --mount --pid --fork mount -t tmpfs none /mnt 2>/dev/null ||
        skip "mounting is not allowed here"
    status=0
    FRESH_SYSTEM_INSIDE=$scratch unshare --mount --propagation private --pid --fork --kill-child=KILL \
        --mount-proc "$0" "$@" || status=$?
    exit $status
fi
trap - EXIT # the process outside tidies up
rmdir "$scratch"
scratch=$FRESH_SYSTEM_INSIDE
system=$scratch/system
caller=(env)

# A fresh system, with its package lists. It is kept, like the packages it fetches.
make_system() {
    mkdir -p "$cache/archives/partial" "$system"
    if [ -s "$cache/system.tar" ]; then
        tar -C "$system" -xpf "$cache/system.tar"
        return
    fi
    mirror_answers || skip "no network: $mirror does not answer"
    echo "making a fresh system from $mirror"
    debootstrap --variant=minbase bookworm "$system" "$mirror" >"$scratch/debootstrap.log" 2>&1 ||
        broken "debootstrap failed" "$scratch/debootstrap.log"
    apt-config dump | grep '^Acquire::https\?::Proxy' >"$system/etc/apt/apt.conf.d/80proxy" || true
    cp /etc/resolv.conf "$system/etc/resolv.conf"
    apt_get update || broken "apt-get update failed" "$scratch/apt.log"
    inside apt-get clean
    tar -C "$system" --one-file-system -cpf "$cache/system.tar.new" .
    mv "$cache/system.tar.new" "$cache/system.tar"
}

enter_system() {
    mount --bind "$cache/archives" "$system/var/cache/apt/archives"
    mount -t proc proc "$system/proc"
    mount --rbind /dev "$system/dev"
    mkdir -p "$system/tmp/.X11-unix"
    mount --bind /tmp/.X11-unix "$system/tmp/.X11-unix"
    printf '#!/bin/sh\nexit 101\n' >"$system/usr/sbin/policy-rc.d" # starts no services
    chmod +x "$system/usr/sbin/policy-rc.d"
    inside useradd -m -s /bin/bash -u 1000 viewer
    inside useradd -m -s /bin/bash -u 1001 other
}

# install PACKAGE
install() {
    cp "$1" "$system/root/"
    local package=/root/${1##*/}
    local options=(--no-install-recommends --allow-downgrades)
    apt_get install "${options[@]}" "$package" && return
    mirror_answers || skip "no network: $mirror does not answer"
    # The lists that were kept may have grown old.
    { apt_get update && apt_get install "${options[@]}" "$package"; } ||
        broken "installing the package failed" "$scratch/apt.log"
}

config=$system/opt/apps/com.quelmark.player/files/config

owner() {
    stat -c '%u:%g %A' "$1"
}

settings_sum() {
    cat "$config/config.ini" "$config/config.json" | md5sum
}

# Whether more than a sixth of the display is of the film's colour.
film_is_seen() {
    ffmpeg -v error -nostdin -f x11grab -video_size 1280x800 -i "$DISPLAY" -frames:v 1 \
        -vf scale=64:40:flags=area -f rawvideo -pix_fmt rgb24 - 2>/dev/null |
        od -An -v -tu1 -w3 | awk '$1 > 200 && $2 < 50 && $3 > 80 && $3 < 180 { ++film }
            END { exit !(film > 64 * 40 / 6) }'
}

# play: starts the film as its owner would and sets seen.
play() {
    local film='/home/viewer/影片 100%.mp4' tries
    as_viewer mkdir -p /home/viewer/Pictures
    as_viewer ffmpeg -v error -nostdin -f lavfi -i color=0xff0080:size=320x240:rate=25:duration=60 \
        -pix_fmt yuv420p "$film" || true
    check no_film_yet no "$(film_is_seen && echo yes || echo no)"
    # shellcheck disable=SC2016 # for the inner shell
    as_viewer sh -c 'cd && echo $$ >player.pid && exec tarnivo-player "$1"' sh "${film##*/}" >"$scratch/player.log" 2>&1 </dev/null &
    local starter=$!
    seen=no
    for ((tries = 0; tries < 150; ++tries)); do
        if film_is_seen; then
            seen=yes
            break
        fi
        kill -0 $starter 2>/dev/null || break
        sleep 0.2
    done
    [ $seen = yes ] || tail -n 20 "$scratch/player.log"
    kill -TERM "$(cat "$system/home/viewer/player.pid")" || true
    ended=0
    wait $starter || ended=$?
}

try_installing_and_playing() {
    caller=(env SUDO_UID=1000 SUDO_USER=viewer)
    install "$first"
    check settings_belong_to_the_caller "1000:1000 drwxr-xr-x" "$(owner "$config")"
    check first_settings "1000:1000 -rw-r--r--" "$(owner "$config/config.ini")"
    check settings_of_the_package same "$(cmp -s "$root/packaging/config.ini" "$config/config.ini" && echo same)"
    play
    check film_is_seen yes "$seen"
    check player_closes 0 "$ended"
    check film_is_in_the_history 1 "$(grep -c '影片 100%.mp4"' "$config/config.json" | sed 's/[1-9][0-9]*/1/')"
    check nobody_else_may_write "" "$(find "$config" -perm /o=w)"
}

try_upgrading() {
    sed -i 's/^default_volum=.*/default_volum=77/' "$config/config.ini"
    local before
    before=$(settings_sum)
    caller=(env SUDO_UID=1001)
    install "$second"
    check upgraded_version "$second_version" "$(inside dpkg-query -W -f "\${Version}" tarnivo-player)"
    check settings_survive_upgrade "$before" "$(settings_sum)"
    check owner_survives_upgrade "1000:1000 -rw-r--r--" "$(owner "$config/config.ini")"
    rm "$config/config.ini"
    ln -s /etc/captured "$config/config.ini"
    install "$first"
    check link_is_left_alone "" "$(cat "$system/etc/captured" 2>/dev/null)"
    rm "$config/config.ini"
    install "$second"
    check lost_settings_are_made_again "1000:1000 -rw-r--r--" "$(owner "$config/config.ini")"
}

try_removing() {
    local before
    before=$(settings_sum)
    apt_get remove tarnivo-player
    check removed "" "$(cd "$system" && ls -d usr/bin/tarnivo-player usr/share/applications/*quelmark* \
        opt/apps/com.quelmark.player/files/bin 2>/dev/null)"
    check settings_survive_removal "$before" "$(settings_sum)"
    install "$second"
    check settings_survive_return "$before" "$(settings_sum)"
    apt_get remove tarnivo-player
    apt_get purge tarnivo-player
    check purged "" "$(find "$system" -xdev \( -name '*quelmark*' -o -name '*tarnivo*' \) \
        ! -path "$system/root/*" ! -path "$system/home/*" ! -path "$system/var/log/*")"
    check no_empty_folder no "$([ -e "$system/opt/apps" ] && echo yes || echo no)"
}

# owner_for CALLER...: whose the settings are when these variables tell who installs.
owner_for() {
    caller=(env "$@")
    apt_get purge tarnivo-player
    install "$first"
    stat -c %u "$config"
}

try_owners() {
    check owner_by_pkexec 1001 "$(owner_for PKEXEC_UID=1001)"
    check owner_unknown 1000 "$(owner_for)"
    check owner_is_nobody_known 1000 "$(owner_for SUDO_UID=4711)"
    inside userdel viewer
    inside userdel other
    check no_owner_at_all 0 "$(owner_for)"
    check nobody_else_may_write_then "" "$(find "$config" -perm /o=w)"
}

first=$("$root/packaging/build-deb" "$build" 1 "$scratch" 2>"$scratch/deb.log") || broken "no package" "$scratch/deb.log"
second=$("$root/packaging/build-deb" "$build" 2 "$scratch" 2>"$scratch/deb.log") || broken "no package" "$scratch/deb.log"
second_version=$(dpkg-deb -f "$second" Version)
make_system
enter_system
try_installing_and_playing
try_upgrading
try_removing
try_owners
finish
