#!/bin/bash
# The install rules: install.sh BUILD_FOLDER
# shellcheck source=tools/tests/lib.sh
. "$(dirname "$0")/lib.sh"
build=$1
umask 077

install_into() {
    cmake --install "$build" --prefix "$1" >/dev/null
    rm -f "$build/install_manifest.txt"
}

into=$scratch/"a root"
install_into "$into"
check lays_out_everything "drwxr-xr-x files/bin
-rwxr-xr-x files/bin/tarnivo-player
lrwxrwxrwx files/bin/mplayer
drwxr-xr-x files/engine
-rw-r--r-- files/engine/config
drwxr-xr-x files/config
-rw-r--r-- files/config/config.ini" "$(cd "$into" &&
    for path in files/bin{,/tarnivo-player,/mplayer} files/engine{,/config} files/config{,/config.ini}; do stat -c '%A %n' "$path"; done)"
check nothing_more 4 "$(find "$into" ! -type d | wc -l)"
check engine_is_a_link "$(command -v mplayer)" "$(readlink "$into/files/bin/mplayer")"
check settings "[DEFAULT]
first_start=1
default_volum=30
default_last_time=1" "$(cat "$into/files/config/config.ini")"

echo mine >"$into/files/config/config.ini"
echo list >"$into/files/config/config.json"
echo old >"$into/files/bin/tarnivo-player"
touch -d 2001-01-01 "$into/files/bin/tarnivo-player" # files of one age are taken for the same
ln -sfn /nowhere "$into/files/bin/mplayer"
install_into "$into"
check settings_are_kept mine "$(cat "$into/files/config/config.ini")"
check history_is_kept list "$(cat "$into/files/config/config.json")"
check program_is_renewed same "$(cmp -s "$build/app/tarnivo-player" "$into/files/bin/tarnivo-player" && echo same)"
check engine_is_renewed "$(command -v mplayer)" "$(readlink "$into/files/bin/mplayer")"

# From here on, the install step of ./play, with the install root somewhere else.
# shellcheck source=tools/common.sh
. "$root/tools/common.sh"
# shellcheck source=tools/install-root.sh
. "$root/tools/install-root.sh"
find_person
into=$scratch/opt/player
stage=$scratch/stage
install_root=$into
installed() {
    if installed_is_current "$stage"; then echo current; else echo stale; fi
}
DESTDIR=$stage cmake --install "$build" --prefix "$into" >/dev/null
rm -f "$build/install_manifest.txt"
check nothing_there stale "$(installed)"
install_into "$into"
check all_there current "$(installed)"
echo mine >"$into/files/config/config.ini"
check changed_settings_are_no_reason current "$(installed)"
chmod a-x "$into/files/bin/tarnivo-player"
check not_executable stale "$(installed)"
chmod a+x "$into/files/bin/tarnivo-player"
check executable_again current "$(installed)"
echo >>"$into/files/bin/tarnivo-player"
touch -d 2001-01-01 "$into/files/bin/tarnivo-player"
check other_program stale "$(installed)"
install_into "$into"
ln -sfn /nowhere "$into/files/bin/mplayer"
check other_engine stale "$(installed)"
install_into "$into"
rm "$into/files/config/config.ini"
check no_settings stale "$(installed)"
install_into "$into"

echo '{}' >"$into/files/config/config.json"
chmod 777 "$into/files/config"
chmod 666 "$into/files/config/config.json"
give_settings_to_person
check not_for_everybody "drwxrwxr-x -rw-rw-r-- $(id -un)" \
    "$(stat -c %A "$into/files/config" "$into/files/config/config.json" | xargs) $(stat -c %U "$into/files/config")"
if [ "$(id -u)" -eq 0 ]; then
    person_uid=65534 person_gid=65534
    ln -s /etc/hostname "$into/files/config/link"
    before=$(stat -Lc %u "$into/files/config/link")
    give_settings_to_person
    check belongs_to_the_person "65534 65534 65534" \
        "$(stat -c %u "$into/files/config" "$into/files/config/config.ini" "$into/files/config/config.json" | xargs)"
    check what_a_link_points_to_does_not "$before" "$(stat -Lc %u "$into/files/config/link")"
fi
finish
