#!/bin/bash
# The package as Debian's own tools see it: checks.sh BUILD_FOLDER
# shellcheck source=tools/tests/lib.sh
. "$(dirname "$0")/../../tools/tests/lib.sh"
build=$1
packaging=$root/packaging

for tool in dpkg-shlibdeps lintian desktop-file-validate appstreamcli man; do
    command -v $tool >/dev/null || {
        echo "SKIPPED: $tool is not installed"
        exit 77
    }
done

package=$("$packaging/build-deb" "$build" 1 "$scratch" 2>"$scratch/messages") || cat "$scratch/messages"
opened=$scratch/opened
dpkg-deb -R "$package" "$opened"

field() {
    dpkg-deb -f "$package" "$1"
}

# Whatever a tool has to say is an error.
check lintian "" "$(lintian --allow-root --display-info --display-experimental --tag-display-limit 0 \
    --suppress-tags hardening-no-fortify-functions "$package" 2>&1)"
check desktop_entry "" "$(desktop-file-validate "$opened/usr/share/applications/com.quelmark.player.desktop" 2>&1)"
check software_centre 0 "$(appstreamcli validate --no-net --strict \
    "$opened/usr/share/metainfo/com.quelmark.player.metainfo.xml" >"$scratch/messages" 2>&1; echo $?)"
# No address stands in a package that is made without any.
if grep -q '^PLAYER_WEB_ADDRESS:STRING=$' "$build/CMakeCache.txt"; then
    check no_web_address "" "$(grep -rIoh 'https\?://[^ <"]*' "$opened/usr/share/metainfo")"
fi
if grep -q '^PLAYER_MAIL_ADDRESS:STRING=$' "$build/CMakeCache.txt"; then
    check local_maintainer "Tarnivo Player developers <nobody@localhost>" "$(field Maintainer)"
fi
# With an address there is a home page and pictures, which are those of the documents.
cmake -S "$root" -B "$scratch/addressed" -DPLAYER_TESTS=OFF -DPLAYER_WEB_ADDRESS=https://example.org/player \
    >"$scratch/messages" 2>&1 || cat "$scratch/messages"
addressed=$scratch/addressed/packaging/com.quelmark.player.metainfo.xml
check software_centre_with_address 0 \
    "$(appstreamcli validate --no-net --strict "$addressed" >"$scratch/messages" 2>&1; echo $?)"
check home_page "https://example.org/player" "$(sed -n 's|.*<url type="homepage">\(.*\)</url>|\1|p' "$addressed")"
check pictures "fullscreen.png playing.png settings.png" \
    "$(sed -n 's|.*<image>https://example.org/player/images/\(.*\)</image>|\1|p' "$addressed" | sort | while IFS= read -r picture; do
        [ -s "$root/docs/images/$picture" ] && echo "$picture"
    done | xargs)"
for page in man1 zh_CN/man1; do
    check "manual_in_$page" "" "$(LC_ALL=C.UTF-8 MANROFFSEQ='' man --warnings -E UTF-8 -l -Tutf8 -Z \
        "$opened/usr/share/man/$page/tarnivo-player.1.gz" 2>&1 >/dev/null)"
done

check depends "ffmpeg libc6 libgcc-s1 libqt5core5a libqt5dbus5 libqt5gui5 libqt5multimedia5 libqt5widgets5 libstdc++6 libxcb1 mplayer qttranslations5-l10n" \
    "$(field Depends | tr ',' '\n' | sed 's/^ *//; s/ .*//' | sort | xargs)"
check recommends "pulseaudio | pipewire-pulse, fonts-wqy-microhei | fonts-noto-cjk, vdpau-driver-all | vdpau-driver" \
    "$(field Recommends)"
check no_settings_inside "" "$(find "$opened/opt" -path '*/files/config*')"
check no_conffiles "" "$(cat "$opened/DEBIAN/conffiles" 2>/dev/null)"
check settings_of_the_engine same "$(cmp -s "$packaging/engine/config" \
    "$opened/opt/apps/com.quelmark.player/files/engine/config" && echo same)"
check engine_is_a_link /usr/bin/mplayer "$(readlink "$opened/opt/apps/com.quelmark.player/files/bin/mplayer")"
check owned_by_root "root/root" "$(dpkg-deb -c "$package" | awk '{ print $2 }' | sort -u)"
check writable_by_root_alone "" "$(find "$opened" ! -type l -perm /022)"
check files_are_as_summed "" "$(cd "$opened" && md5sum --quiet -c DEBIAN/md5sums 2>&1)"

icons=$opened/usr/share/icons/hicolor
for icon in "$icons"/*/apps/*.png; do
    size=${icon#"$icons/"}
    size=${size%%/*}
    # Width and height are the big-endian numbers behind a PNG's first 16 bytes.
    read -r width height < <(od -An -tu4 --endian=big -j16 -N8 "$icon")
    check "icon_$size" "$size" "${width}x$height"
done
check scalable_icon 1 "$(find "$icons/scalable/apps" -name com.quelmark.player.svg | wc -l)"

# One version, wherever it stands.
version=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' "$root/CMakeLists.txt")
check version "$version-1" "$(field Version)"
check version_of_changes "$version" "$(sed -n 's/^## \([0-9.]*\) .*/\1/p' "$root/CHANGELOG.md" | head -n 1)"
check version_of_manual 2 "$(grep -l "^.TH .*$version" "$packaging"/*.1 | wc -l)"
check version_of_release 1 "$(grep -c "<release version=\"$version\"" \
    "$opened/usr/share/metainfo/com.quelmark.player.metainfo.xml")"
check launcher_starts_the_program 1 \
    "$(grep -c '^exec /opt/apps/com.quelmark.player/files/bin/tarnivo-player "\$@"$' "$opened/usr/bin/tarnivo-player")"
finish
