# From what a person or a file manager names to what the player takes on its command line: shell
# functions for the launcher (which is made with this text in it) and for ./play. POSIX, and for a
# usual name without starting another program.
# shellcheck shell=sh disable=SC2034 # results are left in variables, so that line feeds survive

# replace_all TEXT OLD NEW: sets $replaced.
replace_all() {
    replaced=
    remaining=$1
    while :; do
        case $remaining in
        *"$2"*)
            replaced=$replaced${remaining%%"$2"*}$3
            remaining=${remaining#*"$2"}
            ;;
        *) break ;;
        esac
    done
    replaced=$replaced$remaining
}

is_url() {
    case $1 in
    [A-Za-z]*://*) ;;
    *) return 1 ;;
    esac
    case ${1%%://*} in
    *[!A-Za-z0-9+.-]*) return 1 ;;
    esac
}

# decode_percent TEXT: sets $decoded to TEXT with "%41" and the like turned into bytes. A name holds
# no zero byte, so "%00" stays as it is, as does a "%" without two digits.
decode_percent() {
    encoded=$1
    escaped=
    while :; do
        literal=${encoded%%\%*}
        replace_all "$literal" \\ \\\\
        escaped=$escaped$replaced
        [ "$literal" != "$encoded" ] || break
        encoded=${encoded#"$literal"%}
        case $encoded in
        00*)
            escaped=$escaped%
            ;;
        [0-9A-Fa-f][0-9A-Fa-f]*)
            digits=${encoded%"${encoded#??}"}
            encoded=${encoded#??}
            byte=$((0x$digits))
            escaped=$escaped\\0$((byte / 64))$((byte / 8 % 8))$((byte % 8))
            ;;
        *)
            escaped=$escaped%
            ;;
        esac
    done
    decoded=$(printf '%b.' "$escaped") # the mark keeps line feeds at the end
    decoded=${decoded%.}
}

# local_name LOCATION: sets $name to the file that a file: URI of this machine or a plain name
# stands for; fails for an address of anything else.
local_name() {
    case $1 in
    [Ff][Ii][Ll][Ee]:///*) name=${1#*://} ;;
    [Ff][Ii][Ll][Ee]://[Ll][Oo][Cc][Aa][Ll][Hh][Oo][Ss][Tt]/*) name=/${1#*://*/} ;;
    [Ff][Ii][Ll][Ee]:/[!/]*) name=${1#*:} ;;
    *)
        name=$1
        ! is_url "$1"
        return
        ;;
    esac
    decode_percent "$name"
    name=$decoded
}

# absolute_path PATH: sets $absolute. Symbolic links are kept, but in a folder that is followed by
# "..": there the system's own reading of the path counts.
absolute_path() {
    case $1 in
    /*) absolute=$1 ;;
    *) absolute=$PWD/$1 ;;
    esac
    case $absolute in
    */../*)
        folder=${absolute%/*}
        if folder=$(CDPATH='' cd -P -- "$folder" 2>/dev/null && pwd -P && printf .); then
            absolute=${folder%??}/${absolute##*/}
        fi
        ;;
    esac
    while :; do
        case $absolute in
        */./*) replace_all "$absolute" /./ / ;;
        *//*) replace_all "$absolute" // / ;;
        *) break ;;
        esac
        absolute=$replaced
    done
}

# player_argument LOCATION: sets $argument to what the player is given for it. The player reads an
# argument as a URL and decodes "%41" and the like, so a percent sign of a file name is written "%25".
player_argument() {
    if local_name "$1"; then
        absolute_path "$name"
        replace_all "$absolute" % %25
        argument=$replaced
    else
        argument=$1
    fi
}
