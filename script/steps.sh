# What the scripts have in common that build something: where it is built, and what they say while they do it. Sourced by them
# from the root of the tree.
#
# On a terminal ninja and ctest show what they are at. Elsewhere a step is a line, with the time since the script began, and a
# long one has a line for each quarter of it.

started=$SECONDS
caller=$OLDPWD # folders that are named begin there
if [ -n "${RIB_BUILD_DIR-}" ]; then
    RIB_BUILD_DIR=$(cd "$caller" && realpath -m -- "$RIB_BUILD_DIR")
    export RIB_BUILD_DIR
fi
build_root=${RIB_BUILD_DIR:-$PWD/build}
# Where the sources cannot be written, and where they can, Python leaves nothing in them.
export PYTHONDONTWRITEBYTECODE=1

# All that is installed: where a folder has tests, too, `all` would be those as well.
installed_targets=(rib_installable)

# From the root: $0 may be relative to where the caller stands.
script_name=$(root=$PWD && cd "$caller" && realpath --relative-to="$root" -- "$0")

# What stands at the head of a script, up to the first line that is no comment.
print_usage() {
    sed -n '2,${/^#/!q;s/^# \{0,1\}//p}' "$script_name"
}

# refuse MESSAGE...: for arguments that nothing can be made of.
refuse() {
    printf '%s: %s; see --help\n' "$script_name" "$*" >&2
    exit 2
}

# fail MESSAGE...: for what the machine lacks.
fail() {
    printf '%s: %s\n' "$script_name" "$*" >&2
    exit 1
}

elapsed() {
    local seconds=$((SECONDS - started))
    printf '%d:%02d' $((seconds / 60)) $((seconds % 60))
}

step() {
    printf '[%6s] %s\n' "$(elapsed)" "$*"
}

# How another folder is named: all scripts take the variable, and some have an option, too.
how_to_move() {
    if [[ $(print_usage) == *--build-dir* ]]; then
        printf 'name another folder with --build-dir or RIB_BUILD_DIR'
    else
        printf 'name another folder with RIB_BUILD_DIR'
    fi
}

# Builds go where there is room, and where we may write.
check_build_root() {
    build_root=$(cd "$caller" && realpath -m -- "$build_root")
    mkdir -p "$build_root" 2>/dev/null && [ -w "$build_root" ] ||
        fail "cannot write to $build_root: $(how_to_move)"
    local free
    free=$(df -Pk "$build_root" | awk 'NR == 2 { print int($4 / 1024) }')
    [ "$free" -ge "${least_room_mb:-300}" ] ||
        fail "$build_root has $free MB left, which is too little: make room, or $(how_to_move)"
}

# The compilers that the environment names for a preset, unless it names its own.
compilers_for() {
    cmake --preset "$1" -N | grep CMAKE_CXX_COMPILER= >/dev/null || printf '%s %s\n' "${CC-}" "${CXX-}"
}

# configure FOLDER PRESET OPTION...: quiet unless it fails. A folder that other compilers were named for is made anew.
configure() {
    local folder=$1 preset=$2 log fresh=()
    shift 2
    mkdir -p "$folder"
    log=$folder/configure.log
    compilers_for "$preset" >"$folder/compilers.wanted"
    if [ -e "$folder/compilers" ] && ! cmp -s "$folder/compilers" "$folder/compilers.wanted"; then
        fresh=(--fresh)
    fi
    cmake --preset "$preset" -B "$folder" "${fresh[@]}" "$@" >"$log" 2>&1 || {
        cat "$log" >&2
        fail "cmake could not configure $folder"
    }
    # What was decided and is worth knowing: a cache that does not work, parts that are left out.
    sed -n 's/^-- \(Compiling without .*\|Building the codec alone.*\)$/         \1/p' "$log"
    mv "$folder/compilers.wanted" "$folder/compilers"
}

# build FOLDER OPTION-OF-CMAKE...: on a terminal with ninja's own line of status.
build() {
    local folder=$1 status=0
    shift
    if [ -t 1 ]; then
        cmake --build "$folder" "$@" || status=$?
    else
        NINJA_STATUS='[%f/%t] ' cmake --build "$folder" "$@" 2>&1 | show_quarters || status=$?
    fi
    [ $status -eq 0 ] && return
    free=$(df -Pk "$folder" | awk 'NR == 2 { print int($4 / 1024) }')
    [ "$free" -ge 20 ] || fail "the disk of $folder is full: make room, or $(how_to_move)"
    fail "building $folder failed"
}

# Ninja's lines of progress become one a quarter; everything else, warnings and errors foremost, passes.
show_quarters() {
    local line
    quarter=0
    while IFS= read -r line; do
        if [[ $line =~ ^\[([0-9]+)/([0-9]+)\]\  ]]; then
            note_quarter "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}" files
        elif [ "$line" != "ninja: no work to do." ]; then
            printf '%s\n' "$line"
        fi
    done
}

# note_quarter DONE ALL THINGS: a line for the first in each quarter but the last. Few things are done before one looks.
note_quarter() {
    local now=$((4 * $1 / $2))
    if [ "$now" -gt "$quarter" ] && [ "$now" -lt 4 ] && [ "$2" -ge 40 ]; then
        quarter=$now
        step "  $1 of $2 $3"
    fi
}

# run_tests FOLDER OPTION-OF-CTEST...: what fails is shown as it comes. What ctest says in the end stands in FOLDER/closing.txt, for
# the caller to show; its status is that of ctest.
run_tests() {
    local folder=$1
    shift
    ctest --test-dir "$folder" --output-on-failure --no-tests=error "$@" 2>&1 | show_tests "$folder/closing.txt"
}

show_tests() {
    local closing=$1 line is_over=
    quarter=0
    : >"$closing"
    while IFS= read -r line; do
        if [ -n "$is_over" ] || [[ $line =~ ^[0-9]+%\ tests\ passed ]]; then
            is_over=yes
            printf '%s\n' "$line" >>"$closing"
        elif [[ $line =~ ^\ *([0-9]+)/([0-9]+)\ Test\ +#[0-9]+:\ (.*)$ ]]; then
            show_test "${BASH_REMATCH[1]}" "${BASH_REMATCH[2]}" "${BASH_REMATCH[3]}" "$line"
        elif ! [[ $line =~ ^(Test project .*|\ *Start\ +[0-9]+:.*|)$ ]]; then
            printf '%s\n' "$line"
        fi
    done
    [ -z "$is_over" ] || [ ! -t 1 ] || printf '\r\033[K'
    [ -n "$is_over" ] || : # ctest itself has said why it ran nothing
}

# show_test NUMBER ALL NAME-AND-OUTCOME LINE
show_test() {
    case $3 in
    *\ Passed\ * | *\*\*\*Skipped\ *)
        if [ -t 1 ]; then
            printf '\r\033[K[%d/%d] %.60s' "$1" "$2" "${3%% *}"
        else
            note_quarter "$1" "$2" tests
        fi
        ;;
    *) printf '%s\n' "$4" ;;
    esac
}
