# shellcheck shell=bash disable=SC2034,SC2154 # variables are shared with the other files here
# From what a person types to what the player takes on its command line. The sourcing script sets
# $root (the folder of the sources) first.

# shellcheck source=packaging/locations.sh
. "$root/packaging/locations.sh"

# check_location LOCATION: sets $problem to why it can't be played at all, before time is spent on
# anything else; to nothing when it may well be.
check_location() {
    problem=
    if [ -z "$1" ]; then
        problem="an empty name was given as a location."
    elif ! local_name "$1"; then
        return
    elif [ -d "$name" ]; then
        problem="$name is a folder."
    elif [ ! -e "$name" ]; then
        problem="there is no file $name."
    elif ! "${person_prefix[@]}" test -r "$name"; then
        problem="the file $name may not be read by $person_name."
    fi
}
