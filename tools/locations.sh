# shellcheck shell=bash disable=SC2034,SC2154 # variables are shared with the other files here
# From what a person types to what the player takes on its command line.

is_url() {
    [[ $1 =~ ^[A-Za-z][A-Za-z0-9+.-]*:// ]]
}

# absolute_path PATH: sets $absolute. Symbolic links are kept, "." and ".." and doubled slashes go.
absolute_path() {
    # The trailing mark keeps line feeds at the end of the name.
    absolute=$(realpath --canonicalize-missing --no-symlinks --zero -- "$1" | tr '\0' '/' && printf .)
    absolute=${absolute%/.}
}

# player_argument LOCATION: sets $argument to what the player is given for it. The player reads an
# argument as a URL and decodes "%41" and the like, so a percent sign of a file name is written "%25".
player_argument() {
    if is_url "$1"; then
        argument=$1
        return
    fi
    absolute_path "$1"
    argument=${absolute//%/%25}
}

# check_location LOCATION: sets $problem to why it can't be played at all, before time is spent on
# anything else; to nothing when it may well be.
check_location() {
    problem=
    if [ -z "$1" ]; then
        problem="an empty name was given as a location."
    elif is_url "$1"; then
        return
    elif [ -d "$1" ]; then
        problem="$1 is a folder."
    elif [ ! -e "$1" ]; then
        problem="there is no file $1."
    elif ! "${person_prefix[@]}" test -r "$1"; then
        problem="the file $1 may not be read by $person_name."
    fi
}
