# shellcheck shell=bash disable=SC2034,SC2154 # variables are shared with the other files here
# Laying out the player's install root from the build folder.

# The player looks for its settings, its history and its engine here and nowhere else.
install_root=/opt/apps/com.quelmark.player

# Whether everything that an install would lay out is there already.
installed_is_current() {
    local stage=$1 file there
    while IFS= read -r -d '' file; do
        there=$install_root/${file#"$stage$install_root/"}
        if [ -L "$file" ]; then
            [ "$(readlink "$there" 2>/dev/null)" = "$(readlink "$file")" ] || return 1
        elif [[ $there == "$install_root"/files/config/* ]]; then
            [ -e "$there" ] || return 1 # settings are the person's own once they are there
        else
            cmp -s "$file" "$there" && [ "$(stat -c %a "$file")" = "$(stat -c %a "$there")" ] || return 1
        fi
    done < <(find "$stage" ! -type d -print0)
}

# Whether the install root can be written without becoming root.
install_root_is_ours() {
    local folder=$install_root
    while [ ! -e "$folder" ]; do
        folder=$(dirname "$folder")
    done
    [ -w "$folder" ] || return 1
    local inside
    for inside in "$install_root"/files{,/bin,/engine,/config}; do
        if [ -e "$inside" ] && [ ! -w "$inside" ]; then
            return 1
        fi
    done
}

# install_player BUILD_FOLDER: lays out the install root, when it isn't yet as it should be.
install_player() {
    local folder=$1 stage=$1/stage
    {
        "${build_prefix[@]}" rm -rf "$stage" &&
            "${build_prefix[@]}" env DESTDIR="$stage" cmake --install "$folder" --prefix "$install_root" >/dev/null
    } || fail "collecting the files to install failed (the reason is above)." \
        "remove $folder and start $program again."
    if ! installed_is_current "$stage"; then
        local by_hand="cmake --install '$folder' --prefix $install_root"
        say "installing into $install_root"
        if install_root_is_ours; then
            cmake --install "$folder" --prefix "$install_root" >/dev/null ||
                fail "installing into $install_root failed (the reason is above)." "check that folder."
        elif can_become_root; then
            as_root cmake --install "$folder" --prefix "$install_root" >/dev/null ||
                fail "installing into $install_root failed (the reason is above)." \
                    "have an administrator run this, then start $program again:" "$by_hand" \
                    "chown -R $person_name $install_root/files/config"
        else
            fail "$install_root may not be written, and there is no sudo to do it with." \
                "have an administrator run this, then start $program again:" "$by_hand" \
                "chown -R $person_name $install_root/files/config"
        fi
        rm -f "$folder/install_manifest.txt" # written by root, it would stop the next install
    fi
    give_settings_to_person
}

# The settings name files that the player empties and folders that it writes to: they belong to
# the person who runs it and are never for everybody to write.
give_settings_to_person() {
    local config=$install_root/files/config
    if [ -n "$(find "$config" ! -user "$person_uid" -print -quit 2>&1)" ]; then
        if ! can_become_root || ! as_root chown -hR "$person_uid:$person_gid" "$config"; then
            fail "$config does not belong to $person_name, so settings and history could not be saved." \
                "have an administrator run this, then start $program again:" \
                "chown -R $person_name $config"
        fi
    fi
    if [ -n "$(find "$config" ! -type l -perm /o=w -print -quit)" ]; then
        "${person_prefix[@]}" chmod -R o-w "$config" ||
            fail "everybody may write to $config, and that could not be changed." \
                "run: chmod -R o-w $config"
    fi
}
